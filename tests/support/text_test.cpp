#include "support/text.h"

#include <gtest/gtest.h>
#include <string>
#include <utility>

#include "support/keys.h"

using namespace VecTableSupport;

TEST(Text, TheNumberInATextIsFound) {
    const std::pair<const char*, std::int32_t> cases[] = {{"  123  ", 123},
                                                          {"123abc", 123},
                                                          {"-45", -45},
                                                          {"\t 7", 7},
                                                          {"+45", 45},
                                                          {"12 34", kNoInteger},
                                                          {"12abc3", -123},
                                                          {"abc", kNoInteger},
                                                          {"", kNoInteger},
                                                          {"+-1", -123},
                                                          {"+", kNoInteger},
                                                          {"2147483648", kNoInteger},
                                                          {"-2147483648", INT32_MIN}};
    for (const auto& [text, expected] : cases) EXPECT_EQ(StrToInt(text), expected) << '"' << text << '"';
}

TEST(Text, TheValueOfAKeywordLineIsFound) {
    const std::pair<const char*, const char*> cases[] = {{"EPHFIL = /a/B c.e   ", "/a/B c.e"},
                                                         {"EPHFIL=x", "x"},
                                                         {"EPHFIL =\t a=b \t", "a=b"},
                                                         {"EPHFIL x", ""},
                                                         {"EPHFIL =   ", ""}};
    for (const auto& [line, expected] : cases) EXPECT_EQ(GetInputFileName(line), expected);
}

TEST(Text, ArraysAndNumbersFillTheirLengths) {
    EXPECT_EQ(CharArrToStr<5>("ab\0cd").View(), "ab   ");
    EXPECT_EQ(CharArrToStr<5>("abcdefg").View(), "abcde");
    char out[] = "xxxx";
    StrToCharArr("a", 3, out);
    EXPECT_EQ(std::string(out), "a  x");
    EXPECT_EQ(IntegerText(-12, 5).View(), "  -12");
    EXPECT_EQ(IntegerText(123456, 5).View(), "*****");
    EXPECT_EQ(IntegerText(INT64_MIN, 0).View(), "-9223372036854775808");
    EXPECT_EQ(DigitsText(42, 9).View(), "000000042");
    EXPECT_EQ(DigitsText(-42, 9).View(), "*********");
}
