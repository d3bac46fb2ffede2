#include "ingestion/point_assembly.h"

#include <cmath>
#include <gtest/gtest.h>

#include "helpers/store_test.h"
#include "store/record_lookup.h"

using namespace VecTableCardReading;

namespace {

VecTabPoint PointAt(double time) {
    VecTabPoint point;
    point.ds50UTC = time;
    return point;
}

void AddPoints(VecTabRecord& record, int count) {
    for (int i = 0; i < count; ++i) AddOneEpPoint(PointAt(100.0 + record.numOfPts), record);
}

}  // namespace

TEST(PointAssembly, TheCapacityMovesInStepsOfAThousand) {
    VecTabRecord record;
    EXPECT_FALSE(record.points.IsAllocated());
    AddPoints(record, 1000);
    EXPECT_EQ(record.points.Capacity(), 1000U);
    AddOneEpPoint(PointAt(0.0), record);  // dropped, and yet it makes the array grow
    EXPECT_EQ(record.numOfPts, 1000);
    EXPECT_EQ(record.points.Capacity(), 2000U);
    AddPoints(record, 234);
    TrimVecTablePts(record);
    EXPECT_EQ(record.points.Capacity(), 1234U);
    AddPoints(record, 1);
    EXPECT_EQ(record.points.Capacity(), 2234U);
    for (std::size_t i = 1; i <= 1235; ++i) ASSERT_EQ(record.points[i].ds50UTC, 99.0 + static_cast<double>(i));
    for (std::size_t i = 1236; i <= 2234; ++i) ASSERT_EQ(record.points[i].ds50UTC, 0.0);

    VecTabRecord one;
    AddPoints(one, 1);
    TrimVecTablePts(one);
    AddPoints(one, 1);
    EXPECT_EQ(one.points.Capacity(), 1001U);
}

TEST(PointAssembly, TimesRiseStrictly) {
    for (const double first : {0.0, -5.0, 100.0}) {
        VecTabRecord record;
        record.epochDs50UTC = 42.0;
        AddOneEpPoint(PointAt(first), record);
        EXPECT_EQ(record.epochDs50UTC, first);
        for (const double dropped : {first, first - 1.0, double(NAN)}) AddOneEpPoint(PointAt(dropped), record);
        EXPECT_EQ(record.numOfPts, 1);
        AddOneEpPoint(PointAt(first + 1e9), record);
        AddOneEpPoint(PointAt(first + 1.0), record);
        EXPECT_EQ(record.numOfPts, 2);
    }
}

TEST(PointAssembly, GivenTermsReplaceThoseOfThePoint) {
    Covariance terms;
    terms.fill(3.0);
    VecTabPoint point = PointAt(1.0);
    point.cov.fill(2.0);
    VecTabRecord record;
    AddOneEpPoint(point, record, terms.data());
    point.ds50UTC = 2.0;
    AddOneEpPoint(point, record);
    EXPECT_EQ(record.points[1].cov, terms);
    EXPECT_EQ(record.points[2].cov, point.cov);
}

TEST_F(StoreTest, ABadLineGivesTwoEntries) {
    SkipBadEphemPoint("ReadV31-Invalid ephemeris time format", "bad ");
    ASSERT_EQ(log.entries.size(), 2U);
    EXPECT_EQ(log.entries[0].text, "*** ReadV31-Invalid ephemeris time format : Bad ephemeris data. ***");
    EXPECT_EQ(log.entries[1].text, "bad ");
}

TEST_F(StoreTest, ATypeCodeIsSplitInDecimal) {
    struct {
        int32_t typeCode, coordSys, tens;
    } const cases[] = {{12, 2, 10}, {2, 2, 0}, {100, 0, 100}, {-13, -3, -10}, {INT32_MIN, -8, INT32_MIN + 8}};
    for (const auto& c : cases) {
        VecTabRecord record;
        VecTableTree::FindRec(Add(c.typeCode, 100.0, c.typeCode), record);
        EXPECT_EQ(record.coordSys, c.coordSys);
        EXPECT_EQ(record.coordSysTens, c.tens);
    }
}

TEST_F(StoreTest, CovarianceTermsThatAreAllZeroAreNone) {
    const int64_t key = Add(1, 1.0);
    const Vector zero{};
    Covariance terms{};
    State state;
    terms[0] = -0.0;
    EXPECT_EQ(VecTabAddSatEphemCovMtx(key, 1.0, zero.data(), zero.data(), 0, terms.data()), 0);
    AskByIndex(key, 1, state);
    EXPECT_FALSE(std::signbit(state.covMtx[0]));
    terms[20] = NAN;
    EXPECT_EQ(VecTabAddSatEphemExt(key, 2.0, zero.data(), zero.data(), 0, terms.data()), 0);
    AskByIndex(key, 2, state);
    EXPECT_TRUE(std::signbit(state.covMtx[0]));
    EXPECT_TRUE(std::isnan(state.covMtx[35]));
}
