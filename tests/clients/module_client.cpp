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

constexpr double kStart = 27395.0;

// 7000 km and a kilometre a second along x, a point a minute.
VecTabRecord SteadyMotion() {
    VecTabRecord record;
    record.satNum = 7;
    record.epochDs50UTC = kStart;
    for (int i = 0; i < 6; ++i) {
        const VecTabPoint point{kStart + i / 1440.0, {7000.0 + 60.0 * i, 0.0, 0.0}, {1.0, 0.0, 0.0}, 5, {}};
        VecTableCardReading::AddOneEpPoint(point, record);
    }
    return record;
}

void EvaluateRecord(const VecTabRecord& record) {
    VecTabPoint point;
    EXPECT(VecTableProcessing::InterpolateEP(record, kStart + 2.5 / 1440.0 + 37.0 / 86400.0, point) == 0);
    EXPECT(point.pos[0] > 7149.99 && point.pos[0] < 7150.01);
    const std::vector<VecTabPoint> two = {record.points[1], record.points[2]};
    EXPECT(VecTableProcessing::HermiteVecTab(two, kStart + 0.5 / 1440.0).pos[0] > 7029.99);
    EXPECT(VecTableProcessing::UpdateRev(point, record.points[1], 5) == 5);
    std::array<double, 36> matrix;
    VecTableDllVarsUtils::To6x6CovMtx(matrix, point.cov);
    EXPECT(matrix[35] == 0.0);
}

// A record that is found holds the gate; here the thread that leaves it has never read.
void LookUp(std::int64_t key) {
    VecTabRecord* found = nullptr;
    FixedText<128> text("not yet blank");
    VecTableTree::FindRecPtr(key, found, &text);
    EXPECT(found != nullptr && found->satNum == 7 && text.IsBlank());
    std::thread(VecTableTree::EndRead).join();
    VecTabRecord copy;
    VecTableTree::FindRec(key, copy);
    EXPECT(copy.numOfPts == 6 && copy.points[6].pos[0] == 7300.0);
    VecTableTypes::FreeVecTabRecord(copy);
    EXPECT(!copy.points.IsAllocated() && VecTableDllVarsUtils::GetSatKey(7) == key);
}

void ReadAndWriteFiles(const char* sample, const char* list) {
    VecTableCardReading::InputUnit input;
    EXPECT(VecTableSupport::FileOpenMt(sample, input) == 0);
    EXPECT(VecTableCardReading::AddVecTabFile(input, sample) > 0);
    VecTableSupport::OutputUnit output;
    EXPECT(VecTableSupport::FileOpen(8, list, VecTableSupport::OutputAction::kReplace, output) == 0);
    VecTableTree::VecTabWriteLines(output);
    EXPECT(output.Close() == 0);
    EXPECT(VecTableTree::GetNumOfTreeNodes() == 2);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) return EXIT_FAILURE;
    const VecTabRecord record = SteadyMotion();
    const std::int64_t key = VecTableTree::AddRecToMem(record);
    EvaluateRecord(record);
    LookUp(key);
    ReadAndWriteFiles(argv[1], argv[2]);
    std::int32_t shrunk = 0, status = 0;
    VecTableTree::RemoveNode(key, shrunk, status);  // waits for ever when a read is left open
    EXPECT(status == 0);
    VecTableTree::EmptyTree(status);
    EXPECT(VecTableTree::TreeIsEmpty());
    return EXIT_SUCCESS;
}
