// The call that reads orbit ephemeris messages.
#include "ingestion/oem.h"

#include <vectable/oem.h>

#include "exports/boundary.h"
#include "ingestion/loaded_keys.h"
#include "ingestion/readers/readers.h"
#include "support/platform/cancellation.h"

using namespace VecTableDllExports;

int32_t VecOemLoadFile(const char* filePath, int32_t satNum, int64_t* satKeys, int32_t capacity, int32_t* count) {
    const std::string_view kCall = VecTableCardReading::kOemFormat.reader;
    Clear(count);
    if (NullArgument(kCall, filePath, count) || NoRoom(kCall, satKeys, capacity)) return kFailure;
    const VecTableSupport::CancellationHold hold;
    const PathArgument path(filePath);
    const VecTableSupport::ReadingPlace place(path.View());
    const VecTableCardReading::LoadScope scope;
    return Guarded(kCall, kFailure, [&] {
        std::vector<int64_t> keys;
        const int32_t result = VecTableCardReading::LoadOem(path.View(), satNum, keys);
        *count = CopyKeys(keys, satKeys, capacity);
        return result;
    });
}
