#include "support/number_fields.h"

#include <gtest/gtest.h>
#include <vector>

using namespace VecTableSupport;

namespace {

constexpr double kUntouched = -99.0;

}  // namespace

TEST(NumberFields, RealFieldsFollowTheRuleOfFixedColumns) {
    struct {
        const char* field;
        int decimals;
        double expected;  // kUntouched: no number
    } const cases[] = {
        {"      12.5", 6, 12.5},
        {"   1 2 . 5", 6, 12.5},
        {"  12345678", 6, 12.345678},
        {"        -5", 6, -0.000005},
        {"         5", 0, 5.0},
        {"", 6, 0.0},
        {"          ", 6, 0.0},
        {"-1.5E+02", 3, -150.0},
        {"+.5d-1", 3, 0.05},
        {"12345e2", 3, 1234.5},
        {"1.", 3, 1.0},
        {"0.1000000000000000055511151231257827", 0, 0.1},
        {"-", 3, kUntouched},
        {"+", 0, kUntouched},
        {".", 3, kUntouched},
        {"E5", 3, kUntouched},
        {"1.5+3", 3, kUntouched},
        {"1e", 0, kUntouched},
        {"1d+", 0, kUntouched},
        {"+-1", 0, kUntouched},
        {"--1", 0, kUntouched},
        {"1,5", 0, kUntouched},
        {"nan", 0, kUntouched},
        {"inf", 0, kUntouched},
        {"-infinity", 0, kUntouched},
        {"0x1A", 0, kUntouched},
        {"1e999", 0, kUntouched},
        {"2*1.0", 0, kUntouched},
        {"\t1", 0, kUntouched},
        {"1111111111222222222233333333334444444444555555555566666666667777", 0, 1.1111111112222222e63},
        {"1 1111111112222222222333333333344444444445555555555666666666677777", 0, kUntouched},
    };
    for (const auto& c : cases) {
        double value = kUntouched;
        const ReadStatus expected = c.expected == kUntouched ? ReadStatus::kError : ReadStatus::kOk;
        EXPECT_EQ(ReadRealField(c.field, c.decimals, value), expected) << '"' << c.field << '"';
        EXPECT_EQ(value, c.expected) << '"' << c.field << '"';
    }
}

TEST(NumberFields, IntegerFieldsTakeDigitsAndASign) {
    struct {
        const char* field;
        std::int32_t expected;  // -99: no number
    } const cases[] = {
        {"  123", 123}, {"1 2 3", 123},      {"", 0},    {"-7", -7},   {"+7", 7},    {"2147483647", 2147483647},
        {"1.", -99},    {"2147483648", -99}, {"-", -99}, {"+-3", -99}, {"1e2", -99}, {"abc", -99},
    };
    for (const auto& c : cases) {
        std::int32_t value = -99;
        const ReadStatus expected = c.expected == -99 ? ReadStatus::kError : ReadStatus::kOk;
        EXPECT_EQ(ReadIntegerField(c.field, value), expected) << '"' << c.field << '"';
        EXPECT_EQ(value, c.expected) << '"' << c.field << '"';
    }
}

TEST(NumberFields, FreeFormTakesBlanksTabsAndCommas) {
    struct {
        const char* text;
        ReadStatus status;
        std::vector<double> values;  // three are wanted; what is not read stays -99
    } const cases[] = {
        {"1 2 3", ReadStatus::kOk, {1, 2, 3}},
        {" \t1\t2 , 3,", ReadStatus::kOk, {1, 2, 3}},
        {"1,,3", ReadStatus::kOk, {1, kUntouched, 3}},
        {", ,3", ReadStatus::kOk, {kUntouched, kUntouched, 3}},
        {"1 2 3 words, and more", ReadStatus::kOk, {1, 2, 3}},
        {"+1.5e3 -2D-1 3.E+001", ReadStatus::kOk, {1500, -0.2, 30}},
        {"1 2", ReadStatus::kEndOfData, {1, 2, kUntouched}},
        {"1,2,", ReadStatus::kEndOfData, {1, 2, kUntouched}},
        {"   ", ReadStatus::kEndOfData, {kUntouched, kUntouched, kUntouched}},
        {"1 x 3", ReadStatus::kError, {1, kUntouched, kUntouched}},
        {"1 2 3x", ReadStatus::kError, {1, 2, kUntouched}},
        {"1 2 3*4", ReadStatus::kError, {1, 2, kUntouched}},
        {"1 nan 3", ReadStatus::kError, {1, kUntouched, kUntouched}},
        {"1 inf 3", ReadStatus::kError, {1, kUntouched, kUntouched}},
        {"1 1e400 3", ReadStatus::kError, {1, kUntouched, kUntouched}},
        {"1 - 3", ReadStatus::kError, {1, kUntouched, kUntouched}},
        {"1 2d 3", ReadStatus::kError, {1, kUntouched, kUntouched}},
        {"1;2;3", ReadStatus::kError, {kUntouched, kUntouched, kUntouched}},
    };
    for (const auto& c : cases) {
        std::vector<double> values(3, kUntouched);
        EXPECT_EQ(ReadFreeForm(c.text, values), c.status) << '"' << c.text << '"';
        EXPECT_EQ(values, c.values) << '"' << c.text << '"';
    }
}

TEST(NumberFields, FreeFormMixesIntegersAndReals) {
    FreeFormScanner scanner("12, -3 4.5 6.5");
    std::int32_t first = 0, second = 0, fourth = 0;
    double third = 0.0;
    EXPECT_EQ(scanner.Next(first), ReadStatus::kOk);
    EXPECT_EQ(scanner.Next(second), ReadStatus::kOk);
    EXPECT_EQ(scanner.Next(third), ReadStatus::kOk);
    EXPECT_EQ(scanner.Next(fourth), ReadStatus::kError);
    EXPECT_EQ(first, 12);
    EXPECT_EQ(second, -3);
    EXPECT_EQ(third, 4.5);
}
