#include "store/save_walk.h"

#include "store/read_gate.h"
#include "store/search_tree.h"
#include "support/text.h"

namespace VecTableTree {
namespace {

using VecTableSupport::OutputUnit;
using VecTableSupport::TextBuilder;

// The records are read in place: a save copies no points.
void VecTabWriteLinesRecursive(OutputUnit& unit, const VecTabBinTree* node) noexcept {
    if (node == nullptr) return;
    const VecTabRecord* record = GetRec(*node);
    if (record != nullptr) {
        if (!record->ephemName.IsBlank()) {
            unit.WriteLine(TextBuilder<140>().Add("#VECTABLE = ").Add(record->ephemName.View()).Text().View());
        }
        unit.WriteLine(FileLine(*record).View());
    }
    VecTabWriteLinesRecursive(unit, node->left);
    VecTabWriteLinesRecursive(unit, node->right);
}

}  // namespace

VecTableSupport::FixedText<521> FileLine(const VecTabRecord& record) noexcept {
    return TextBuilder<521>().Add("EPHFIL = ").Add(record.filePath.View()).Text();
}

void VecTabWriteLines(OutputUnit& unit) noexcept {
    const ReadSection section;
    VecTabWriteLinesRecursive(unit, VecTabTreeRoot());
}

}  // namespace VecTableTree
