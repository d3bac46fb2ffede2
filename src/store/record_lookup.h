// The way into the store and out of it: a finished record gets a key, a key leads back to the record.
//
// Threads: a tree key is looked up inside the read gate, which then stays held until the caller's EndRead. A
// direct-memory key takes no gate: its record is for the caller to keep while it is used. The gate keeps a record
// alive; it does not keep two threads that change one record apart.
#pragma once

#include <cstdint>
#include <span>

#include "store/record_types.h"
#include "store/search_tree.h"

namespace VecTableTree {

using VecTableTypes::FixedText;

// Stores a record: a deep copy of it, unless the caller moves it in. The result is its key, -1 on failure, 0 for a
// duplicate that DupKeyModeGet has reported. `nodeOut`, when given, receives the new node, or null when nothing was
// stored.
VECTABLE_MODULE std::int64_t AddRecToMem(VecTabRecord record, VecTabBinTree** nodeOut = nullptr);

// The stored record of a key, or null with the message of the failure in `errText`, blanks otherwise. For a tree key
// the gate is entered, unless `gateHeld` says that the caller is inside, and is held on return, whether or not a record
// was found. A direct-memory key enters no gate.
VECTABLE_MODULE void FindRecPtr(std::int64_t key, VecTabRecord*& recOut, FixedText<128>* errText = nullptr,
                                bool gateHeld = false) noexcept;

// The stored records of many keys, null where there is none, looked up side by side: the waits for memory overlap. What
// a request needs first of each record is asked for. The gate is for the caller to hold when there are tree keys.
inline constexpr std::size_t kRecordsAtOnce = 64;  // at most
void FindRecords(std::span<const std::int64_t> keys, std::span<const VecTabRecord*> records) noexcept;

// A deep copy of the record of a key. satNum of `recOut` is -123 when there is none. No call
// of the library uses it: it is for module-level callers.
VECTABLE_MODULE void FindRec(std::int64_t key, VecTabRecord& recOut, FixedText<128>* errText = nullptr);

// The key of the first record of a satellite, in the order node, left subtree, right subtree; -1 when there is none.
// A descent to the satellite's keys; a walk over all nodes where some keys do not tell the satellite, direct-memory
// ones above all: an index of them would cost every store more than it saves.
VECTABLE_MODULE std::int64_t SatKeyGet(std::int32_t satNum) noexcept;

// A stored record for the length of a scope, the gate with it. A failed lookup holds nothing, and is logged.
class StoredRecord {
  public:
    explicit StoredRecord(std::int64_t key) noexcept;
    StoredRecord(const StoredRecord&) = delete;
    StoredRecord& operator=(const StoredRecord&) = delete;
    ~StoredRecord();

    explicit operator bool() const noexcept { return record_ != nullptr; }
    VecTabRecord& operator*() const noexcept { return *record_; }
    VecTabRecord* operator->() const noexcept { return record_; }

  private:
    VecTabRecord* record_ = nullptr;
    bool gateHeld_;
};

}  // namespace VecTableTree
