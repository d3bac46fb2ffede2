#include "ingestion/point_assembly.h"

#include "helpers/store_test.h"
#include "store/record_lookup.h"

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
