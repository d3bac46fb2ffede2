#include "ingestion/point_assembly.h"

#include "evaluation/interpolation.h"
#include "helpers/store_test.h"
#include "support/time_scales.h"

using namespace VecTableCardReading;

TEST(PointAssembly, TheCapacityMovesInStepsOfAThousand) {
    VecTabRecord record;
    const auto add = [&](int count) {
        for (int i = 0; i < count; ++i) AddOneEpPoint({100.0 + record.numOfPts, {}, {}, 0, {}}, record);
        return record.points.Capacity();
    };
    EXPECT_EQ(add(0), 0U);
    EXPECT_EQ(add(1000), 1000U);
    AddOneEpPoint({}, record);  // dropped, and yet it makes the array grow
    EXPECT_EQ(record.numOfPts, 1000);
    EXPECT_EQ(add(234), 2000U);
    TrimVecTablePts(record);
    EXPECT_EQ(record.points.Capacity(), 1234U);
    EXPECT_EQ(add(1), 2234U);
    for (std::size_t i = 1; i <= 2234; ++i) ASSERT_EQ(record.points[i].ds50UTC, i <= 1235 ? 99.0 + double(i) : 0.0);
}

TEST(PointAssembly, ACountThatACallerSetsBackCutsTheTable) {
    for (const int count : {0, 1, 3, 7}) {
        VecTabRecord record;
        for (int i = 0; i < 9; ++i) AddOneEpPoint({100.0 + i / 1440.0, {}, {}, i, {}}, record);
        record.numOfPts = count;
        const LogCapture log;
        VecTabPoint state;
        const double afterIt = VecTableSupport::Utc2Tai(100.0 + (count + 0.5) / 1440.0);
        EXPECT_EQ(VecTableProcessing::InterpolateEP(record, afterIt, state), count == 1 ? 0 : 2);
        VecTabRecord trimmed = record;
        TrimVecTablePts(trimmed);
        EXPECT_EQ(trimmed.points.Capacity(), count == 0 ? 1000U : static_cast<std::size_t>(count));
        for (VecTabRecord* cut : {&record, &trimmed}) {
            AddOneEpPoint({100.0 + (count - 0.5) / 1440.0, {}, {}, 77, {}}, *cut);
            EXPECT_EQ(cut->numOfPts, count + 1);
            EXPECT_EQ(cut->LastPoint().revNum, 77);
            EXPECT_EQ(cut->epochDs50UTC, cut->points[1].ds50UTC);
            EXPECT_EQ(cut->points.Span().lastTime, cut->LastPoint().ds50UTC);
        }
    }
}
