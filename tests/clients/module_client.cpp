// A client of the module-level operations, linked against the shared library: what is exported can be used.
#include <cstdio>
#include <cstdlib>
#include <thread>
#include <vector>

#include "evaluation/hermite.h"
#include "evaluation/interpolation.h"
#include "evaluation/query.h"
#include "ingestion/load_driver.h"
#include "ingestion/point_assembly.h"
#include "ingestion/readers/readers.h"
#include "store/read_gate.h"
#include "store/record_lookup.h"
#include "store/save_walk.h"
#include "store/search_tree.h"

namespace {

using VecTableTypes::FixedText;
using VecTableTypes::VecTabPoint;
using VecTableTypes::VecTabRecord;

void Expect(bool condition, int line) {
    if (condition) return;
    std::fprintf(stderr, "line %d\n", line);
    std::exit(EXIT_FAILURE);
}
#define EXPECT(condition) Expect(condition, __LINE__)

// A record that is found holds the gate; here the thread that leaves it has never read.
VecTabRecord LookUp(std::int64_t key) {
    VecTabRecord* found = nullptr;
    FixedText<128> text("not yet blank");
    VecTableTree::FindRecPtr(key, found, &text);
    EXPECT(found != nullptr && found->satNum == 10001 && text.IsBlank());
    std::thread(VecTableTree::EndRead).join();
    VecTabRecord copy;
    VecTableTree::FindRec(key, copy);
    EXPECT(copy.numOfPts == 121 && VecTableDllVarsUtils::GetSatKey(10001) == key);
    return copy;
}

void Evaluate(const VecTabRecord& record) {
    const VecTabPoint &before = record.points[3], &after = record.points[4];
    const double time = (before.ds50UTC + after.ds50UTC) / 2.0;
    VecTabPoint point;
    EXPECT(VecTableProcessing::InterpolateEP(record, time + 37.0 / 86400.0, point) == 0);
    EXPECT((point.pos[0] > before.pos[0]) != (point.pos[0] > after.pos[0]));
    EXPECT(VecTableProcessing::HermiteVecTab(std::vector{before, after}, time).ds50UTC == time);
    EXPECT(VecTableProcessing::UpdateRev(point, before, 5) == 5);
    std::array<double, 36> matrix;
    VecTableDllVarsUtils::To6x6CovMtx(matrix, point.cov);
    EXPECT(matrix[35] == 0.0);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) return EXIT_FAILURE;
    VecTableCardReading::InputUnit input;
    EXPECT(VecTableSupport::FileOpenMt(argv[1], input) == 0);
    const std::int64_t key = VecTableCardReading::AddVecTabFile(input, argv[1]);
    VecTabRecord record = LookUp(key);
    Evaluate(record);
    record.satNum = 7;
    VecTableCardReading::AddOneEpPoint({30000.0, {}, {}, 5, {}}, record);
    EXPECT(VecTableTree::AddRecToMem(record) != key && record.numOfPts == 122);
    VecTableTypes::FreeVecTabRecord(record);
    VecTableSupport::OutputUnit output;
    EXPECT(VecTableSupport::FileOpen(8, argv[2], VecTableSupport::OutputAction::kReplace, output) == 0);
    VecTableTree::VecTabWriteLines(output);
    VecTableTree::VecTabWriteLinesRecursive(output, VecTableTree::FindNode(key));
    EXPECT(output.Close() == 0 && VecTableTree::GetNumOfTreeNodes() == 2);
    std::int32_t shrunk = 0, status = 0;
    VecTableTree::RemoveNode(key, shrunk, status);  // waits for ever when a read is left open
    EXPECT(status == 0);
    VecTableTree::EmptyTree(status);
    EXPECT(VecTableTree::TreeIsEmpty());
    return EXIT_SUCCESS;
}
