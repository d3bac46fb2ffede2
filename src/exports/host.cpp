// What the host program settles.
#include <vectable/host.h>

#include "support/key_modes.h"
#include "support/trace_log.h"

static_assert(VEC_HOST_TRACE_ERROR == VecTableSupport::kTraceError);
static_assert(VEC_HOST_TRACE_INFO == VecTableSupport::kTraceInfo);

using VecTableSupport::keyModeSettings;

void VecHostSetTraceSink(VecHostTraceSink sink, void* context) {
    VecTableSupport::SetTraceSink(sink, context);
}

int32_t VecHostTraceToFile(const char* path) {
    return VecTableSupport::TraceToFile(path);
}

void VecHostSetUseAllKeyMode(int32_t onOff) {
    keyModeSettings.useAllKeyMode = onOff != 0;
}

void VecHostSetAllKeyMode(int32_t mode) {
    keyModeSettings.allKeyMode = mode;
}

void VecHostSetElsetKeyMode(int32_t mode) {
    keyModeSettings.elsetKeyMode = mode;
}

void VecHostSetDupKeyMode(int32_t mode) {
    keyModeSettings.dupKeyMode = mode;
}
