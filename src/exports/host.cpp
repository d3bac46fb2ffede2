// What the host program settles.
#include <vectable/host.h>
#include <vectable/vectable.h>

#include "exports/boundary.h"
#include "ingestion/formats.h"
#include "ingestion/load_driver.h"
#include "ingestion/loaded_keys.h"
#include "store/frames.h"
#include "store/record_lookup.h"
#include "store/search_tree.h"
#include "support/dates.h"
#include "support/kept_entries.h"
#include "support/key_modes.h"
#include "support/platform/cancellation.h"
#include "support/text.h"
#include "support/thread_owned.h"
#include "support/trace_log.h"

static_assert(VEC_HOST_TRACE_ERROR == VecTableSupport::kTraceError);
static_assert(VEC_HOST_TRACE_INFO == VecTableSupport::kTraceInfo);

using namespace VecTableDllExports;
using VecTableSupport::keyModeSettings;
using VecTableSupport::StrToCharArr;

namespace {

// Those of a list that its thread has asked for.
struct ListedFiles {
    std::vector<VecTableCardReading::ListMember> files;
    std::size_t taken = 0;  // of them, from the first on
};

// Does the work with the open file.
template <typename Work>
int32_t WithFile(std::string_view call, const char* filePath, Work work) noexcept {
    const VecTableSupport::CancellationHold hold;
    return Guarded(call, kFailure, [&] {
        const PathArgument path(filePath);
        VecTableSupport::InputUnit unit;
        const int32_t code = VecTableSupport::FileOpenMt(path.View(), unit);
        if (code == 0) work(unit, path.View());
        return code;
    });
}

}  // namespace

void VecHostSetTraceSink(VecHostTraceSink sink, void* context) {
    VecTableSupport::SetTraceSink(sink, context);
}

int32_t VecHostTraceToFile(const char* path) {
    return VecTableSupport::TraceToFile(path);
}

void VecHostKeepEntry(int32_t level, const char* text, int32_t length, void* /*context*/) {
    if (text != nullptr && length >= 0) VecTableSupport::KeepEntry(level, {text, static_cast<std::size_t>(length)});
}

int32_t VecHostTakeEntry(int32_t* level, char* text, int32_t capacity, char path[VEC_TAB_PATH_LENGTH],
                         int64_t* lineNumber) {
    ClearText(path, VEC_TAB_PATH_LENGTH);
    Clear(level);
    Clear(lineNumber);
    VecTableSupport::KeptEntry entry;
    if (level == nullptr || path == nullptr || lineNumber == nullptr || capacity < 0) return -1;
    if ((text == nullptr && capacity > 0) || !VecTableSupport::TakeKeptEntry(entry)) return -1;
    *level = entry.level;
    *lineNumber = entry.line;
    StrToCharArr(entry.text, static_cast<std::size_t>(capacity), text);
    StrToCharArr(entry.path, VEC_TAB_PATH_LENGTH, path);
    return static_cast<int32_t>(entry.text.size());
}

int32_t VecHostTakeKeys(int64_t* satKeys, int32_t capacity) {
    if (NoRoom("VecHostTakeKeys", satKeys, capacity)) return -1;
    const auto taken = VecTableCardReading::TakeLoadedKeys(static_cast<std::size_t>(capacity));
    return CopyKeys(taken, satKeys, capacity);
}

int32_t VecHostGetLoaded(int32_t order, int64_t* satKeys, int32_t capacity) {
    constexpr std::string_view kCall = "VecHostGetLoaded";
    if (NoRoom(kCall, satKeys, capacity)) return -1;
    return Guarded(kCall, -1, [&] { return CopyKeys(VecTableTree::TreeKeys(order), satKeys, capacity); });
}

void VecHostFrameName(int32_t coordSys, char name[VEC_HOST_FRAME_NAME_LENGTH]) {
    if (NullArgument("VecHostFrameName", name)) return;
    StrToCharArr(VecTableTypes::FrameOf(coordSys).name, VEC_HOST_FRAME_NAME_LENGTH, name);
}

int32_t VecHostReadingLine(char path[VEC_TAB_PATH_LENGTH], int64_t* lineNumber) {
    ClearText(path, VEC_TAB_PATH_LENGTH);
    Clear(lineNumber);
    const auto* place = VecTableSupport::ReadingPlace::Current();
    if (path == nullptr || lineNumber == nullptr || place == nullptr) return kFailure;
    StrToCharArr(place->Path(), VEC_TAB_PATH_LENGTH, path);
    *lineNumber = place->Line();
    return kSuccess;
}

int32_t VecHostEntryKind(void) {
    return VecTableSupport::TraceEntryKind();
}

int32_t VecHostGetFormat(int64_t satKey, char format[VEC_HOST_FORMAT_LENGTH]) {
    ClearText(format, VEC_HOST_FORMAT_LENGTH);
    if (NullArgument("VecHostGetFormat", format)) return kFailure;
    const VecTableTree::StoredRecord record(satKey);
    if (!record) return kFailure;
    StrToCharArr(record->format, VEC_HOST_FORMAT_LENGTH, format);
    return kSuccess;
}

int32_t VecHostGetFileFormat(const char* filePath, char format[VEC_HOST_FORMAT_LENGTH], int32_t* holds) {
    constexpr std::string_view kCall = "VecHostGetFileFormat";
    ClearText(format, VEC_HOST_FORMAT_LENGTH);
    Clear(holds);
    if (NullArgument(kCall, filePath, format, holds)) return kFailure;
    return WithFile(kCall, filePath, [&](VecTableSupport::InputUnit& unit, std::string_view path) {
        const auto* found = VecTableCardReading::FormatOfFile(unit, path);
        if (found == nullptr) return;
        StrToCharArr(found->name, VEC_HOST_FORMAT_LENGTH, format);
        *holds = found->holds;
    });
}

int32_t VecHostFindListed(const char* filePath, int32_t* count) {
    constexpr std::string_view kCall = "VecHostFindListed";
    Clear(count);
    auto* listed = VecTableSupport::ThreadOwned<ListedFiles>();
    if (NullArgument(kCall, filePath, count) || listed == nullptr) return kFailure;
    *listed = {};
    return WithFile(kCall, filePath, [&](VecTableSupport::InputUnit& unit, std::string_view path) {
        if (!VecTableCardReading::FileIsDotDCE(path)) listed->files = VecTableCardReading::ListMembers(unit);
        *count = static_cast<int32_t>(listed->files.size());
    });
}

int32_t VecHostTakeListed(char* path, int32_t capacity, int64_t* lineNumber) {
    constexpr std::string_view kCall = "VecHostTakeListed";
    Clear(lineNumber);
    if (NoRoom(kCall, path, capacity)) return -1;
    ClearText(path, static_cast<std::size_t>(capacity));
    auto* listed = VecTableSupport::ThreadOwned<ListedFiles>();
    if (NullArgument(kCall, lineNumber) || listed == nullptr || listed->taken == listed->files.size()) return -1;
    const auto& file = listed->files[listed->taken++];
    StrToCharArr(file.path, static_cast<std::size_t>(capacity), path);
    *lineNumber = file.line;
    return static_cast<int32_t>(file.path.size());
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
    Clear(ds50UTC);
    if (NullArgument("VecHostTimeOfText", text, ds50UTC)) return kFailure;
    *ds50UTC = VecTableSupport::TimeOfText(text);
    return *ds50UTC > 0.0 ? kSuccess : kFailure;
}
