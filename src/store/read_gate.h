// Entering and leaving the read gate, which keeps the search tree and its records in place for a reader.
//
// A thread inside must not enter again, on either side. To its callers the gate has one count for the process: a reader
// may leave on another thread than it has entered on.
#pragma once

#include "support/module.h"

namespace VecTableTree {

VECTABLE_MODULE void BeginRead() noexcept;
VECTABLE_MODULE void EndRead() noexcept;

}  // namespace VecTableTree
