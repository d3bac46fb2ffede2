#include "store/search_tree.h"

#include <algorithm>
#include <array>
#include <limits>
#include <utility>
#include <vector>

#include "store/direct_memory.h"
#include "store/gate.h"
#include "support/key_modes.h"
#include "support/keys.h"
#include "support/sort.h"
#include "support/text.h"
#include "support/trace_log.h"

namespace VecTableTree {
namespace {

using VecTableSupport::FixedText;
using VecTableSupport::IsDma;
using VecTableSupport::SortEntry;
using VecTableSupport::TextBuilder;
using VecTableSupport::TraceLogError;

using Subtree = VecTabBinTree*;

// What AddNodeRecursive found.
constexpr std::int32_t kInserted = 0;       // and the height is settled
constexpr std::int32_t kHeightGrew = 1;     // inserted, and the subtree grew in height
constexpr std::int32_t kKeyTaken = 2;       // by a different record
constexpr std::int32_t kRecordPresent = 3;  // the key is taken by the same record

// Atomic because TreeIsEmpty and the lookups look at it from outside the gate.
constinit std::atomic<VecTabBinTree*> treeRoot{nullptr};

// Atomic for the same lookups; the gate orders it for all others, so relaxed is enough.
constinit std::atomic<std::uint64_t> treeVersion{1};

// What every change of the tree ends with.
void Publish(VecTabBinTree* root) noexcept {
    treeRoot.store(root, std::memory_order_release);
    treeVersion.store(treeVersion.load(std::memory_order_relaxed) + 1, std::memory_order_relaxed);
}

// The nodes linked into the tree, and those of them whose key does not tell the satellite.
constinit std::int32_t nodeCount GUARDED_BY(gate) = 0;
constinit std::int32_t strayCount GUARDED_BY(gate) = 0;

bool IsStray(const VecTabBinTree& node) noexcept {
    return node.rec == nullptr || !VecTableSupport::TreeKeysOf(node.rec->satNum).Holds(node.satKey);
}

// Counts a node in, by +1, or out.
void Count(const VecTabBinTree& node, std::int32_t by) noexcept NEEDS(gate) {
    nodeCount += by;
    if (IsStray(node)) strayCount += by;
}

// The last sequence number given out. It stays at its limit once it gets there.
constinit std::int32_t SEQNUM GUARDED_BY(gate) = 0;

// One of the two mirror images that the rules of balance come in.
struct Side {
    VecTabBinTree* VecTabBinTree::*here;
    VecTabBinTree* VecTabBinTree::*there;
    std::int32_t heavy;  // the balance of a node whose subtree here is the higher one
};
constexpr Side kLeft{&VecTabBinTree::left, &VecTabBinTree::right, -1};
constexpr Side kRight{&VecTabBinTree::right, &VecTabBinTree::left, +1};

// The child here becomes the root of the subtree, and the root its child there.
void RotateOnce(Subtree& root, Side side) noexcept {
    Subtree child = root->*side.here;
    root->*side.here = child->*side.there;
    child->*side.there = root;
    root = child;
}

// The inner grandchild becomes the root of the subtree; balances of all three.
void RotateTwice(Subtree& root, Side side) noexcept {
    Subtree old = root;
    Subtree child = root->*side.here;
    Subtree middle = child->*side.there;
    child->*side.there = middle->*side.here;
    middle->*side.here = child;
    root->*side.here = middle->*side.there;
    middle->*side.there = old;
    root = middle;
    old->balance = middle->balance == side.heavy ? -side.heavy : 0;
    child->balance = middle->balance == -side.heavy ? side.heavy : 0;
    middle->balance = 0;
}

// The subtree here of this node grew in height.
void RebalanceGrown(Subtree& root, Side side, std::int32_t& status) noexcept {
    if (root->balance == -side.heavy) {
        root->balance = 0;
        status = kInserted;
    } else if (root->balance == 0) {
        root->balance = side.heavy;
    } else if ((root->*side.here)->balance == side.heavy) {
        RotateOnce(root, side);
        root->balance = (root->*side.there)->balance = 0;
        status = kInserted;
    } else {
        RotateTwice(root, side);
        status = kInserted;
    }
}

// The subtree here of this node lost height.
void RebalanceShrunk(Subtree& root, Side side, std::int32_t& shrunk) noexcept {
    const Side other = side.heavy == kLeft.heavy ? kRight : kLeft;
    if (root->balance == side.heavy) {
        root->balance = 0;
    } else if (root->balance == 0) {
        root->balance = other.heavy;
        shrunk = 0;
    } else if ((root->*other.here)->balance == side.heavy) {
        RotateTwice(root, other);
    } else {
        const bool childEven = (root->*other.here)->balance == 0;
        RotateOnce(root, other);
        root->balance = childEven ? side.heavy : 0;
        (root->*side.here)->balance = childEven ? other.heavy : 0;
        if (childEven) shrunk = 0;
    }
}

bool SameRecord(const VecTabBinTree& a, const VecTabBinTree& b) noexcept {
    return a.rec != nullptr && b.rec != nullptr && Equal(*a.rec, *b.rec);
}

void AddNodeRecursive(Subtree& root, VecTabBinTree& node, std::int32_t& status) noexcept NEEDS(gate) {
    if (root == nullptr) {
        if (SEQNUM < std::numeric_limits<std::int32_t>::max()) ++SEQNUM;
        node.seqNum = SEQNUM;
        root = &node;
        status = kHeightGrew;
        return;
    }
    if (node.satKey == root->satKey) {
        status = SameRecord(*root, node) ? kRecordPresent : kKeyTaken;
        return;
    }
    const Side side = node.satKey < root->satKey ? kLeft : kRight;
    AddNodeRecursive(root->*side.here, node, status);
    if (status == kHeightGrew) RebalanceGrown(root, side, status);
}

// Puts the in-order predecessor's content into the target and releases the predecessor's node.
void SwapNode(Subtree& root, VecTabBinTree& target, std::int32_t& shrunk) noexcept {
    if (root->right != nullptr) {
        SwapNode(root->right, target, shrunk);
        if (shrunk == 1) RebalanceShrunk(root, kRight, shrunk);
        return;
    }
    VecTabBinTree* predecessor = root;
    target.satKey = predecessor->satKey;
    target.rec = std::move(predecessor->rec);
    target.seqNum = predecessor->seqNum;
    root = predecessor->left;
    shrunk = 1;
    delete predecessor;
}

void RemoveFoundNode(Subtree& root, std::int32_t& shrunk) noexcept NEEDS(gate) {
    Count(*root, -1);
    if (root->left != nullptr && root->right != nullptr) {
        SwapNode(root->left, *root, shrunk);
        if (shrunk == 1) RebalanceShrunk(root, kLeft, shrunk);
        return;
    }
    VecTabBinTree* removed = root;
    root = removed->right == nullptr ? removed->left : removed->right;
    shrunk = 1;
    delete removed;
}

void RemoveNodeRecursive(Subtree& root, std::int64_t key, std::int32_t& shrunk, std::int32_t& status) noexcept
    NEEDS(gate) {
    if (root == nullptr) {
        status = 2;
        return;
    }
    if (key == root->satKey) {
        RemoveFoundNode(root, shrunk);
        return;
    }
    const Side side = key < root->satKey ? kLeft : kRight;
    RemoveNodeRecursive(root->*side.here, key, shrunk, status);
    if (shrunk == 1) RebalanceShrunk(root, side, shrunk);
}

void LogUnknownKey(std::int64_t key) noexcept {
    TextBuilder<128> text;
    text.Add("RemoveNode: Unable to locate this key ").AddInteger(key, 19).Add(" in its binary tree.");
    TraceLogError(text.Text().View());
}

// How often each kind of removal was met, for the log.
using DmaRemovals = std::array<std::size_t, 3>;

void EmptyTreeRecursive(Subtree& root, DmaRemovals& removals) noexcept {
    if (root == nullptr) return;
    EmptyTreeRecursive(root->left, removals);
    EmptyTreeRecursive(root->right, removals);
    if (IsDma(root->satKey)) ++removals[static_cast<std::size_t>(ReleaseDma(root->satKey))];
    delete root;
    root = nullptr;
}

// What a listing needs of a node, so that its text can be printed when the gate is left.
struct CombKey {
    std::int64_t satKey;
    std::int32_t seqNum;
    bool hasRecord;
    VecTableTypes::Identity identity;
};

// Right subtree, node, left subtree: keys come in descending order.
void GetTreeCombKeys(const VecTabBinTree* root, std::vector<CombKey>& combKeys) {
    if (root == nullptr) return;
    __builtin_prefetch(root->left);  // the walk comes back for them after the right subtree
    __builtin_prefetch(root->rec.get());
    GetTreeCombKeys(root->right, combKeys);
    const VecTabRecord* record = GetRec(*root);
    const bool hasRecord = record != nullptr;
    combKeys.push_back(
        {root->satKey, root->seqNum, hasRecord, hasRecord ? IdentityOf(*record) : VecTableTypes::Identity()});
    GetTreeCombKeys(root->left, combKeys);
}

std::vector<CombKey> GatherCombKeys() {
    std::vector<CombKey> combKeys;
    const ReadSection section;
    combKeys.reserve(static_cast<std::size_t>(nodeCount));
    GetTreeCombKeys(VecTabTreeRoot(), combKeys);
    return combKeys;
}

FixedText<32> SortText(const CombKey& combKey, bool byEntry) noexcept {
    if (!byEntry && combKey.hasRecord) return FieldsToStr(combKey.identity);
    return TextBuilder<32>().AddDigits(combKey.seqNum, 12).Text();
}

bool IsByKey(std::int32_t order) noexcept {
    return order < 0 || order > 2;
}

void GetKeysQuick(const VecTabBinTree* root, std::int32_t& count, std::int64_t* keys) noexcept {
    if (root == nullptr) return;
    GetKeysQuick(root->left, count, keys);
    keys[count++] = root->satKey;
    GetKeysQuick(root->right, count, keys);
}

}  // namespace

VecTabBinTree* VecTabTreeRoot() noexcept {
    return treeRoot.load(std::memory_order_acquire);
}

std::uint64_t TreeVersion() noexcept {
    return treeVersion.load(std::memory_order_relaxed);
}

bool KeysTellSatellites() noexcept NEEDS_SHARED(gate) {
    return strayCount == 0;
}

std::int64_t AddNode(VecTabBinTree& node, std::int32_t& status) noexcept {
    constexpr int kMostAttempts = 100;
    const WriteSection section;
    Subtree root = VecTabTreeRoot();
    AddNodeRecursive(root, node, status);
    if (VecTableSupport::KeyMode() == VecTableSupport::kTreeMode) {
        for (int attempts = 1; status == kKeyTaken; ++attempts) {
            node.satKey = VecTableSupport::NextSatKey(node.satKey);
            if (attempts == kMostAttempts) {
                status = kRecordPresent;
            } else {
                AddNodeRecursive(root, node, status);
            }
        }
    }
    if (status < kKeyTaken) Count(node, +1);
    Publish(root);
    return node.satKey;
}

bool Equal(const VecTabRecord& a, const VecTabRecord& b) noexcept {
    return IdentityOf(a) == IdentityOf(b);
}

VecTabBinTree* FindNode(std::int64_t key) noexcept {
    VecTabBinTree* node = VecTabTreeRoot();
    while (node != nullptr && node->satKey != key) node = key < node->satKey ? node->left : node->right;
    return node;
}

// The object of a direct-memory key is released inside the section too, so that no walk under the gate meets a record
// on its way out; a key that names none is refused without waiting for it. What failed is logged after the section: a
// log may be slow.
void RemoveNode(std::int64_t key, std::int32_t& shrunk, std::int32_t& status) noexcept {
    status = 0;
    if (IsDma(key) && key <= 0) {
        status = 2;
        TraceLogError("RemoveNode: Invalid DMA key (<=0).");
        return;
    }
    if (IsDma(key) && FindDmaObject(key) == nullptr) {
        status = 2;
        LogDmaRemoval(DmaRemoval::kNoObject);
        return;
    }
    auto removal = DmaRemoval::kRemoved;
    {
        const WriteSection section;
        if (IsDma(key)) removal = ReleaseDma(key);
        if (removal == DmaRemoval::kRemoved) {
            Subtree root = VecTabTreeRoot();
            RemoveNodeRecursive(root, key, shrunk, status);
            Publish(root);
        }
    }
    if (removal != DmaRemoval::kRemoved) {
        status = 2;
        LogDmaRemoval(removal);
    } else if (status != 0) {
        LogUnknownKey(key);
    }
}

void EmptyTree(std::int32_t& status) noexcept {
    if (status != 0) return;
    DmaRemovals removals{};
    {
        const WriteSection section;
        Subtree root = VecTabTreeRoot();
        EmptyTreeRecursive(root, removals);
        nodeCount = strayCount = 0;
        Publish(root);
    }
    for (const auto failed : {DmaRemoval::kNoObject, DmaRemoval::kWrongObject}) {
        for (std::size_t i = 0; i < removals[static_cast<std::size_t>(failed)]; ++i) LogDmaRemoval(failed);
    }
}

bool TreeIsEmpty() noexcept {
    return VecTabTreeRoot() == nullptr;
}

std::int32_t GetNumOfTreeNodes() noexcept {
    const ReadSection section;
    return nodeCount;
}

std::vector<std::int64_t> TreeKeys(std::int32_t order) {
    std::vector<std::int64_t> keys;
    if (IsByKey(order)) {
        const ReadSection section;
        std::int32_t count = 0;
        keys.resize(static_cast<std::size_t>(nodeCount));
        GetKeysQuick(VecTabTreeRoot(), count, keys.data());
        return keys;
    }
    const std::vector<CombKey> combKeys = GatherCombKeys();
    std::vector<SortEntry> entries;
    entries.reserve(combKeys.size());
    for (const CombKey& combKey : combKeys) entries.push_back({SortText(combKey, order == 2), combKey.satKey});
    VecTableSupport::QuickSortIterative(entries);
    if (order == 1) std::reverse(entries.begin(), entries.end());
    keys.reserve(entries.size());
    for (const SortEntry& entry : entries) keys.push_back(entry.key);
    return keys;
}

void GetTreeKeys(std::int32_t& count, std::int64_t* keys, std::int32_t order) {
    if (IsByKey(order)) {
        const ReadSection section;
        GetKeysQuick(VecTabTreeRoot(), count, keys);
        return;
    }
    for (const std::int64_t key : TreeKeys(order)) keys[count++] = key;
}

VecTabRecord* GetRec(const VecTabBinTree& node) noexcept {
    if (!IsDma(node.satKey)) return node.rec.get();
    const DmaObject* object = FindDmaObject(node.satKey);
    return object == nullptr ? nullptr : object->propData.load();
}

}  // namespace VecTableTree
