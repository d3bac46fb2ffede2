// The lines by which list files name what is stored.
#pragma once

#include "store/record_types.h"
#include "support/output.h"

namespace VecTableTree {

// "EPHFIL = " and the path of a record's file.
VecTableSupport::FixedText<521> FileLine(const VecTableTypes::VecTabRecord& record) noexcept;

// Writes the lines of all records: a node, then its left subtree, then its right one. A reader of the gate.
VECTABLE_MODULE void VecTabWriteLines(VecTableSupport::OutputUnit& unit) noexcept;

}  // namespace VecTableTree
