#include "store/record_lookup.h"

#include <array>
#include <limits>
#include <memory>
#include <new>
#include <utility>

#include "store/direct_memory.h"
#include "store/gate.h"
#include "support/key_modes.h"
#include "support/keys.h"
#include "support/text.h"
#include "support/trace_log.h"

namespace VecTableTree {
namespace {

using VecTableSupport::IsDma;
using VecTableSupport::KeyRange;
using VecTableSupport::kNoKey;
using VecTableSupport::TextBuilder;
using VecTableSupport::TraceLogError;

constexpr std::int32_t kNoRecordFound = -123;

void LogWithKey(std::string_view before, std::int64_t key, std::string_view after) noexcept {
    TraceLogError(TextBuilder<128>().Add(before).AddInteger(key, 19).Add(after).Text().View());
}

// Gives an object back that did not get as far as the tree.
struct DmaRelease {
    void operator()(DmaObject* object) const noexcept {
        delete object->propData.exchange(nullptr);
        object->selfAddr.store(0, std::memory_order_release);
        ReleaseDmaObject(*object);
    }
};
using OwnedDmaObject = std::unique_ptr<DmaObject, DmaRelease>;

// An object that holds the record, or null with an entry in the log.
OwnedDmaObject MakeDmaObject(VecTabRecord& record) noexcept {
    OwnedDmaObject object(AllocateDmaObject());
    if (object == nullptr) {
        TraceLogError("AddRecToMem: Cannot allocate memory for a new dma.");
        return nullptr;
    }
    object->propData = new (std::nothrow) VecTabRecord(std::move(record));
    if (object->propData == nullptr) {
        TraceLogError("AddRecToMem: Cannot allocate memory for a new rec.");
        return nullptr;
    }
    object->elsetType = VecTableTypes::kVecTabElsetType;
    return object;
}

std::unique_ptr<VecTabBinTree> MakeNode(std::int64_t key) noexcept {
    std::unique_ptr<VecTabBinTree> node(new (std::nothrow) VecTabBinTree);
    if (node == nullptr) {
        LogWithKey("AddRecToMem: Unable to allocate memory for key ", key, ".");
    } else {
        node->satKey = key;
    }
    return node;
}

// Links the node and lets go of it: the result is its key. A node that found no place is released: the result is -1.
std::int64_t Link(std::unique_ptr<VecTabBinTree> node, VecTabBinTree** nodeOut) noexcept {
    std::int32_t status = 0;
    const std::int64_t key = AddNode(*node, status);
    if (status > 1) return kNoKey;
    if (nodeOut != nullptr) *nodeOut = node.get();
    static_cast<void>(node.release());
    return key;
}

std::int64_t AddToDirectMemory(VecTabRecord& record, VecTabBinTree** nodeOut) noexcept {
    OwnedDmaObject object = MakeDmaObject(record);
    if (object == nullptr) return kNoKey;
    const auto address = static_cast<std::int64_t>(reinterpret_cast<std::intptr_t>(object.get()));
    const std::int64_t key = VecTableSupport::AddrToSatKey(address);
    std::unique_ptr<VecTabBinTree> node = MakeNode(key);
    if (node == nullptr) return kNoKey;
    object->selfAddr.store(address, std::memory_order_release);
    if (Link(std::move(node), nodeOut) == kNoKey) return kNoKey;
    static_cast<void>(object.release());
    return key;
}

std::int64_t AddToTree(VecTabRecord& record, VecTabBinTree** nodeOut) {
    const std::int64_t key =
        VecTableSupport::CreateSatKey(record.satNum, VecTableTypes::kVecTabElsetType, record.epochDs50UTC);
    if (key == kNoKey) return kNoKey;
    std::unique_ptr<VecTabBinTree> node = MakeNode(key);
    if (node == nullptr) return kNoKey;
    node->rec = std::make_unique<VecTabRecord>(std::move(record));
    const std::int64_t linkedKey = Link(std::move(node), nodeOut);
    if (linkedKey != kNoKey) return linkedKey;
    if (VecTableSupport::DupKeyModeGet() != 0) return key;
    LogWithKey("AddRecToMem: Duplicated record/key ", key, " found.");
    return 0;
}

std::string_view WhyNoRecord(std::int64_t key) noexcept {
    if (!IsDma(key)) {
        return TreeIsEmpty() ? "FindRecPtr: Search tree is empty." : "FindRecPtr: search key doens't exist.";
    }
    if (key <= 0) return "FindRecPtr: Invalid DMA key (<=0).";
    return FindDmaObject(key) == nullptr ? "FindRecPtr: Invalid DMA key." : "FindRecPtr: Prop data doesn't exist.";
}

// The record that a thread has found last, good as long as the tree is the same.
struct LastFound {
    std::uint64_t version = 0;  // none of a tree
    std::int64_t key = 0;
    VecTabRecord* record = nullptr;
};
VECTABLE_NEAR_THREAD constinit thread_local LastFound lastFound;

VecTabRecord* FindInTree(std::int64_t key) noexcept {
    LastFound& last = lastFound;
    const std::uint64_t version = TreeVersion();
    if (last.key != key || last.version != version) {
        const VecTabBinTree* node = FindNode(key);
        last = {version, key, node == nullptr ? nullptr : node->rec.get()};
    }
    return last.record;
}

// Node, left subtree, right subtree; what cannot hold one of the keys is left out.
std::int64_t FindAssociatedKey(const VecTabBinTree* root, std::int32_t satNum, const KeyRange& keys) noexcept {
    if (root == nullptr) return kNoKey;
    if (root->satKey < keys.first) return FindAssociatedKey(root->right, satNum, keys);
    if (root->satKey > keys.last) return FindAssociatedKey(root->left, satNum, keys);
    const VecTabRecord* record = GetRec(*root);
    if (record != nullptr && record->satNum == satNum) return root->satKey;
    const std::int64_t key = FindAssociatedKey(root->left, satNum, keys);
    return key != kNoKey ? key : FindAssociatedKey(root->right, satNum, keys);
}

}  // namespace

std::int64_t AddRecToMem(VecTabRecord record, VecTabBinTree** nodeOut) {
    if (nodeOut != nullptr) *nodeOut = nullptr;
    return VecTableSupport::KeyMode() == VecTableSupport::kDirectMemoryMode ? AddToDirectMemory(record, nodeOut)
                                                                            : AddToTree(record, nodeOut);
}

void FindRecPtr(std::int64_t key, VecTabRecord*& recOut, FixedText<128>* errText, bool gateHeld) noexcept NOT_ANALYSED {
    if (IsDma(key)) {
        const DmaObject* object = FindDmaObject(key);
        recOut = object == nullptr ? nullptr : object->propData.load(std::memory_order_acquire);
    } else {
        if (!gateHeld) gate.BeginRead();
        recOut = FindInTree(key);
    }
    if (errText != nullptr) *errText = FixedText<128>(recOut == nullptr ? WhyNoRecord(key) : std::string_view());
}

void FindRecords(std::span<const std::int64_t> keys, std::span<const VecTabRecord*> records) noexcept {
    std::array<const DmaObject*, kRecordsAtOnce> objects;
    std::array<const VecTabBinTree*, kRecordsAtOnce> nodes;
    for (std::size_t i = 0; i < keys.size(); ++i) {
        objects[i] = IsDma(keys[i]) ? DmaObjectAt(keys[i]) : nullptr;
        nodes[i] = IsDma(keys[i]) ? nullptr : VecTabTreeRoot();
        __builtin_prefetch(objects[i]);
    }
    for (bool moving = true; moving;) {
        moving = false;
        for (std::size_t i = 0; i < keys.size(); ++i) {
            if (nodes[i] == nullptr || nodes[i]->satKey == keys[i]) continue;
            nodes[i] = keys[i] < nodes[i]->satKey ? nodes[i]->left : nodes[i]->right;
            __builtin_prefetch(nodes[i]);
            moving = true;
        }
    }
    for (std::size_t i = 0; i < keys.size(); ++i) {
        records[i] = nodes[i] != nullptr ? nodes[i]->rec.get() : nullptr;
        if (objects[i] != nullptr && IsObjectOf(*objects[i], keys[i])) records[i] = objects[i]->propData.load();
        __builtin_prefetch(records[i]);
    }
}

void FindRec(std::int64_t key, VecTabRecord& recOut, FixedText<128>* errText) {
    recOut = VecTabRecord();
    recOut.satNum = kNoRecordFound;
    std::string_view message;
    if (IsDma(key)) {
        const DmaObject* object = key > 0 ? FindDmaObject(key) : nullptr;
        const VecTabRecord* record = nullptr;
        if (object != nullptr && VecTableTypes::VecTabElsetType(object->elsetType)) record = object->propData.load();
        if (record != nullptr) recOut = VecTabRecord(*record);
        if (key <= 0) message = "FindRec: Invalid DMA key (<=0).";
    } else if (TreeIsEmpty()) {
        message = "FindRec: Search tree is empty.";
    } else {
        const ReadSection section;
        const VecTabBinTree* node = FindNode(key);
        const bool found = node != nullptr && node->rec != nullptr;
        if (found) recOut = VecTabRecord(*node->rec);
        if (!found) message = "FindRec: search key doens't exist.";
    }
    if (errText != nullptr) *errText = FixedText<128>(message);
}

std::int64_t SatKeyGet(std::int32_t satNum) noexcept {
    if (TreeIsEmpty()) return kNoKey;
    constexpr KeyRange kAny{std::numeric_limits<std::int64_t>::min(), std::numeric_limits<std::int64_t>::max()};
    const ReadSection section;
    const KeyRange keys = KeysTellSatellites() ? VecTableSupport::TreeKeysOf(satNum) : kAny;
    return FindAssociatedKey(VecTabTreeRoot(), satNum, keys);
}

// The log may be slow, and a writer would wait for it.
StoredRecord::StoredRecord(std::int64_t key) noexcept NOT_ANALYSED : gateHeld_(!IsDma(key)) {
    FindRecPtr(key, record_);
    if (record_ != nullptr) [[likely]]
        return;
    const std::string_view message = WhyNoRecord(key);
    if (std::exchange(gateHeld_, false)) gate.EndRead();
    TraceLogError(FixedText<128>(message).View());
}

StoredRecord::~StoredRecord() NOT_ANALYSED {
    if (gateHeld_) gate.EndRead();
}

}  // namespace VecTableTree
