#include "support/text.h"

#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <string>

using namespace VecTableSupport;

TEST(Text, TheNumberInATextIsFound) {
    struct {
        const char* text;
        std::int32_t expected;
    } const cases[] = {
        {"  123  ", 123},
        {"123abc", 123},
        {"-45", -45},
        {"+45", 45},
        {"12 34", kNoInteger},
        {"12abc3", kNoInteger},
        {"abc", kNoInteger},
        {"", kNoInteger},
        {"+-1", kNoInteger},
        {"+", kNoInteger},
        {"2147483648", kNoInteger},
        {"-2147483648", std::numeric_limits<std::int32_t>::min()},
    };
    for (const auto& c : cases) EXPECT_EQ(StrToInt(c.text), c.expected) << '"' << c.text << '"';
}

TEST(Text, TheValueOfAKeywordLineIsFound) {
    EXPECT_EQ(GetInputFileName("EPHFIL = /a/B c.e   "), "/a/B c.e");
    EXPECT_EQ(GetInputFileName("EPHFIL=x"), "x");
    EXPECT_EQ(GetInputFileName("EPHFIL =\t a=b \t"), "a=b");
    EXPECT_EQ(GetInputFileName("EPHFIL x"), "");
    EXPECT_EQ(GetInputFileName("EPHFIL =   "), "");
}

TEST(Text, ACallersArrayIsReadToItsLengthOrItsFirstNul) {
    EXPECT_EQ(CharArrToStr<5>("ab\0cd").View(), "ab   ");
    EXPECT_EQ(CharArrToStr<5>("abcdefg").View(), "abcde");
    char out[4] = {'x', 'x', 'x', 'x'};
    StrToCharArr("a", 3, out);
    EXPECT_EQ(std::string(out, 4), "a  x");
}

TEST(Text, NumbersFillTheirColumns) {
    EXPECT_EQ(IntegerText(-12, 5).View(), "  -12");
    EXPECT_EQ(IntegerText(-12, 0).View(), "-12");
    EXPECT_EQ(IntegerText(123456, 5).View(), "*****");
    EXPECT_EQ(IntegerText(std::numeric_limits<std::int64_t>::min(), 20).View(), "-9223372036854775808");
    EXPECT_EQ(DigitsText(42, 9).View(), "000000042");
    EXPECT_EQ(DigitsText(-42, 9).View(), "*********");
}
