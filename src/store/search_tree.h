// The search tree of all stored records: height-balanced, keyed by satKey as a signed number.
//
// Invariants: keys are unique; smaller keys to the left; balance is the height of the right subtree less that of the
// left one, and is -1, 0 or +1.
//
// Threads: AddNode, RemoveNode and EmptyTree enter the read gate as writers, GetNumOfTreeNodes and GetTreeKeys as
// readers. FindNode and GetRec leave the gate to their caller; TreeIsEmpty needs none.
#pragma once

#include <cstdint>
#include <vector>

#include "store/record_types.h"

namespace VecTableTree {

using VecTableTypes::VecTabBinTree;
using VecTableTypes::VecTabRecord;

// The root, null when the tree is empty.
VecTabBinTree* VecTabTreeRoot() noexcept;

// A number that changes with every change of the tree. Inside the gate it stays.
std::uint64_t TreeVersion() noexcept;

// Whether the key of every node tells the satellite of its record: it is one of TreeKeysOf. A direct-memory key never
// is, nor is a key that was stepped out of them. The gate is for the caller to hold.
bool KeysTellSatellites() noexcept;

// Links a node that has its key and, in tree mode, its record. In tree mode a key held by a different record is
// stepped, up to 100 attempts. `status`: 0 or 1 when the node is in the tree, 2 or 3 when it is not. The result is the
// key of the node; the node itself may be gone on return, when another thread has removed it.
VECTABLE_MODULE std::int64_t AddNode(VecTabBinTree& node, std::int32_t& status) noexcept;

// Whether two records have the same identity: satNum, coordSys and, to the bit, epochDs50UTC.
VECTABLE_MODULE bool Equal(const VecTabRecord& a, const VecTabRecord& b) noexcept;

// The node with this key, or null. Takes no gate.
VECTABLE_MODULE VecTabBinTree* FindNode(std::int64_t key) noexcept;

// Removes and releases a node with its record. `shrunk` is the recursion's own: the
// interface wants 0 on entry. `status`: 0, or 2 with an entry in the log.
VECTABLE_MODULE void RemoveNode(std::int64_t key, std::int32_t& shrunk, std::int32_t& status) noexcept;

// Releases every node and record. The interface wants a `status` of 0 on entry; it is 0 on return.
VECTABLE_MODULE void EmptyTree(std::int32_t& status) noexcept;

VECTABLE_MODULE bool TreeIsEmpty() noexcept;

VECTABLE_MODULE std::int32_t GetNumOfTreeNodes() noexcept;

// All keys. `order`: 0 by the text of FieldsToStr (satellite, frame, epoch), 1 the exact reverse of 0, 2 by entry into
// the store, any other value by key. `count` must be 0 on entry and is the number of keys on return; `keys` has room
// for all of them.
VECTABLE_MODULE void GetTreeKeys(std::int32_t& count, std::int64_t* keys, std::int32_t order);

// The same keys, as many as there are at one moment.
std::vector<std::int64_t> TreeKeys(std::int32_t order);

// The record of a node, wherever it is held; null when there is none.
VECTABLE_MODULE VecTabRecord* GetRec(const VecTabBinTree& node) noexcept;

}  // namespace VecTableTree
