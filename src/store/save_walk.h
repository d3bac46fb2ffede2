// The lines by which list files name what is stored.
#pragma once

#include "store/record_types.h"
#include "support/output.h"

namespace VecTableTree {

// "EPHFIL = " and the path of a record's file.
VecTableSupport::FixedText<521> FileLine(const VecTableTypes::VecTabRecord& record) noexcept;

// Writes the lines of all records: a node, then its left subtree, then its right one. A reader of the gate.
VECTABLE_MODULE void VecTabWriteLines(VecTableSupport::OutputUnit& unit) noexcept;

// The same of a node, which may be null, and all below it. The gate is for the caller to hold.
VECTABLE_MODULE void VecTabWriteLinesRecursive(VecTableSupport::OutputUnit& unit,
                                               const VecTableTypes::VecTabBinTree* node) noexcept;

}  // namespace VecTableTree
