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

TEST(PointAssembly, TimesRiseStrictly) {
    for (const double first : {0.0, -5.0, 100.0}) {
        VecTabRecord record;
        record.epochDs50UTC = 42.0;
        AddPoint(record, first);
        EXPECT_EQ(record.epochDs50UTC, first);
        for (const double dropped : {first, first - 1.0, double(NAN)}) AddPoint(record, dropped);
        EXPECT_EQ(record.numOfPts, 1);
        AddPoint(record, first + 1e9);
        AddPoint(record, first + 1.0);
        EXPECT_EQ(record.numOfPts, 2);
    }
}

TEST_F(StoreTest, ATypeCodeIsSplitInDecimal) {
    const std::array<int32_t, 3> cases[] = {
        {12, 2, 10}, {2, 2, 0}, {100, 0, 100}, {-13, -3, -10}, {INT32_MIN, -8, INT32_MIN + 8}};
    for (const auto& [typeCode, coordSys, tens] : cases) {
        VecTabRecord record;
        VecTableTree::FindRec(Add(typeCode, 100.0, typeCode), record);
        EXPECT_EQ(record.coordSys, coordSys);
        EXPECT_EQ(record.coordSysTens, tens);
    }
}

TEST_F(StoreTest, CovarianceTermsThatAreAllZeroAreNone) {
    const int64_t key = Add(1, 1.0);
    const Vector zero{};
    Covariance terms{-0.0};
    State state;
    EXPECT_EQ(VecTabAddSatEphemCovMtx(key, 1.0, zero.data(), zero.data(), 0, terms.data()), 0);
    AskByIndex(key, 1, state);
    EXPECT_FALSE(std::signbit(state.covMtx[0]));
    terms[20] = NAN;
    EXPECT_EQ(VecTabAddSatEphemExt(key, 2.0, zero.data(), zero.data(), 0, terms.data()), 0);
    AskByIndex(key, 2, state);
    EXPECT_TRUE(std::signbit(state.covMtx[0]));
    EXPECT_TRUE(std::isnan(state.covMtx[35]));
}
