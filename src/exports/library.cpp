// The calls that need no store.
#include <vectable/vectable.h>

#include "exports/boundary.h"
#include "store/record_types.h"
#include "support/keys.h"
#include "support/software_info.h"

using namespace VecTableDllExports;

int32_t VecTabInit(void) {
    return kSuccess;
}

void VecTabGetInfo(char infoText[VEC_TAB_INFO_LENGTH]) {
    if (NullArgument("VecTabGetInfo", infoText)) return;
    VecTableSupport::StrToCharArr(VecTableSupport::GetSoftwareInfo("VecTable").View(), VEC_TAB_INFO_LENGTH, infoText);
}

int64_t VecTabFieldsToSatKey(int32_t satNum, const char* epochText) {
    if (NullArgument("VecTabFieldsToSatKey", epochText)) return VecTableSupport::kNoKey;
    constexpr std::size_t kLength = VEC_TAB_EPOCH_LENGTH;
    constexpr std::size_t kYear = 2;
    const auto given = VecTableSupport::CharArrToStr<kLength>(epochText);
    VecTableSupport::FixedText<kLength> text(VecTableSupport::WithoutLeadingBlanks(given.View()));
    VecTableSupport::BlankToZeroChar(text.Data() + kYear, kLength - kYear);
    return VecTableSupport::CreateSatKey(satNum, VecTableTypes::kVecTabElsetType, text.View());
}
