#include "ingestion/point_assembly.h"

#include <cmath>

#include "helpers/store_test.h"
#include "store/record_lookup.h"

using namespace VecTableCardReading;

namespace {

void AddPoint(VecTabRecord& record, double time) {
    AddOneEpPoint({time, {}, {}, 0, {}}, record);
}

void AddPoints(VecTabRecord& record, int count) {
    for (int i = 0; i < count; ++i) AddPoint(record, 100.0 + record.numOfPts);
}

}  // namespace

TEST(PointAssembly, TheCapacityMovesInStepsOfAThousand) {
    VecTabRecord record;
    EXPECT_FALSE(record.points.IsAllocated());
    AddPoints(record, 1000);
    EXPECT_EQ(record.points.Capacity(), 1000U);
    AddPoint(record, 0.0);  // dropped, and yet it makes the array grow
    EXPECT_EQ(record.numOfPts, 1000);
    EXPECT_EQ(record.points.Capacity(), 2000U);
    AddPoints(record, 234);
    TrimVecTablePts(record);
    EXPECT_EQ(record.points.Capacity(), 1234U);
    AddPoints(record, 1);
    EXPECT_EQ(record.points.Capacity(), 2234U);
    for (std::size_t i = 1; i <= 1235; ++i) ASSERT_EQ(record.points[i].ds50UTC, 99.0 + double(i));
    for (std::size_t i = 1236; i <= 2234; ++i) ASSERT_EQ(record.points[i].ds50UTC, 0.0);
}
