// The call that reads orbit ephemeris messages.
#include "ingestion/oem.h"

#include <vectable/oem.h>

#include <algorithm>

#include "exports/boundary.h"
#include "support/cancellation.h"

using namespace VecTableDllExports;

int32_t VecOemLoadFile(const char* filePath, int32_t satNum, int64_t* satKeys, int32_t capacity, int32_t* count) {
    constexpr std::string_view kCall = VecTableCardReading::kOemCall;
    Clear(count);
    if (NullArgument(kCall, filePath, count) || (capacity > 0 && NullArgument(kCall, satKeys))) return kFailure;
    if (capacity < 0) {
        LogCall(kCall, "Negative capacity.");
        return kFailure;
    }
    const VecTableSupport::CancellationHold hold;
    const PathArgument path(filePath);
    const VecTableSupport::ReadingPlace place(path.View());
    return Guarded(kCall, kFailure, [&] {
        std::vector<int64_t> keys;
        const int32_t result = VecTableCardReading::LoadOem(path.View(), satNum, keys);
        std::copy_n(keys.begin(), std::min(keys.size(), static_cast<std::size_t>(capacity)), satKeys);
        *count = static_cast<int32_t>(keys.size());
        return result;
    });
}
