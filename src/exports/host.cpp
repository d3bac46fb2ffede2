// What the host program settles.
#include <vectable/host.h>

#include "exports/boundary.h"
#include "store/frames.h"
#include "support/dates.h"
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

void VecHostFrameName(int32_t coordSys, char name[VEC_HOST_FRAME_NAME_LENGTH]) {
    VecTableDllExports::ClearText(name, VEC_HOST_FRAME_NAME_LENGTH);
    if (VecTableDllExports::NullArgument("VecHostFrameName", name)) return;
    VecTableSupport::StrToCharArr(VecTableTypes::FrameName(coordSys), VEC_HOST_FRAME_NAME_LENGTH, name);
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

int32_t VecHostTimeOfText(const char* text, double* ds50UTC) {
    using namespace VecTableDllExports;
    Clear(ds50UTC);
    if (NullArgument("VecHostTimeOfText", text, ds50UTC)) return kFailure;
    *ds50UTC = VecTableSupport::TimeOfText(text);
    return *ds50UTC > 0.0 ? kSuccess : kFailure;
}
