#include "ingestion/oem.h"

#include <utility>

#include "ingestion/loaded_keys.h"
#include "ingestion/oem_segments.h"
#include "ingestion/readers/readers.h"
#include "store/record_lookup.h"
#include "support/keys.h"
#include "support/text.h"
#include "support/trace_log.h"

namespace VecTableCardReading {
namespace {

using VecTableSupport::TextBuilder;

// The records of one file on their way into the store, which leaves them again unless they are kept.
class StoredTogether {
  public:
    explicit StoredTogether(std::size_t count) {
        keys_.reserve(count);
        added_.reserve(count);
        MakeRoomForLoadedKeys(count);
    }
    StoredTogether(const StoredTogether&) = delete;
    StoredTogether& operator=(const StoredTogether&) = delete;
    ~StoredTogether() {
        for (const std::int64_t key : added_) {
            std::int32_t shrunk = 0, status = 0;
            VecTableTree::RemoveNode(key, shrunk, status);
        }
    }

    // False when the store refuses the record. A duplicate that the host allows has a key, and stays what it was.
    bool Add(VecTabRecord record) {
        VecTableTree::VecTabBinTree* node = nullptr;
        const std::int64_t key = VecTableTree::AddRecToMem(std::move(record), &node);
        if (key == VecTableSupport::kNoKey || key == 0) return false;
        keys_.push_back(key);
        if (node != nullptr) added_.push_back(key);
        return true;
    }

    std::vector<std::int64_t> Keep() noexcept {
        for (const std::int64_t key : added_) RememberLoadedKey(key);
        added_.clear();
        return std::move(keys_);
    }

  private:
    std::vector<std::int64_t> keys_;
    std::vector<std::int64_t> added_;
};

}  // namespace

bool IsMessage(InputUnit& unit) noexcept {
    const bool isMessage = IsOemFile(unit);
    unit.Rewind();
    return isMessage;
}

bool ReadMessage(InputUnit& unit, std::string_view filePath, std::int32_t satNum, std::vector<VecTabRecord>& records) {
    VecTabRecord pattern;
    pattern.satNum = satNum == 0 ? VEC_TAB_UNKNOWN_SAT_NUM : satNum;
    pattern.format = kOemFormat.name;
    pattern.filePath = VecTableTypes::PathText(filePath);
    OemSegments segments(pattern, unit.LineNumber(), records);
    return ReadOemText(unit, segments);
}

std::int32_t LoadOem(std::string_view filePath, std::int32_t satNum, std::vector<std::int64_t>& satKeys) {
    InputUnit unit;
    const std::int32_t code = VecTableSupport::FileOpenMt(filePath, unit);
    if (code != 0) return code;
    std::vector<VecTabRecord> records;
    if (!ReadMessage(unit, filePath, satNum, records)) return VEC_TAB_FAILURE;

    StoredTogether stored(records.size());
    for (std::size_t i = 0; i < records.size(); ++i) {
        if (stored.Add(std::move(records[i]))) continue;
        TextBuilder<128> text;
        text.Add(kOemFormat.reader).Add(": Segment ").AddInteger(static_cast<std::int64_t>(i) + 1);
        text.Add(" cannot be stored, and so none of the file is.");
        VecTableSupport::TraceLogError(text.Written());
        return VEC_TAB_FAILURE;
    }
    satKeys = stored.Keep();
    return VEC_TAB_SUCCESS;
}

}  // namespace VecTableCardReading
