// Files that fail their reader: the words in the log, status 2, and nothing stored but what was finished before.
#include <gtest/gtest.h>

#include "helpers/store_test.h"

namespace {

// A line with texts at given columns, counted from 1.
std::string At(std::initializer_list<std::pair<std::size_t, std::string>> pieces) {
    std::string line;
    for (const auto& [column, text] : pieces) line.append(column - 1 - line.size(), ' ').append(text);
    return line + "\n";
}

const std::string kNoData =
    "ReadOnlyVecTabs: Input ephemeris does not contain any ephemeris data. It will not be stored.";
const std::string kVecEphCard = At({{46, "25060000000.000"}, {75, "SP "}});
const std::string kSimObsCard = At({{46, "25060000000.000"}, {80, "Z"}});
const std::string kItcCard = At({{52, "2025060000000.000"}, {113, "SP"}});
const std::string kTitle = "EPHEMERIS FILE FOR SATELLITE ";

struct FailingFile {
    const char* name;
    std::string text;
    Strings words;
};

const FailingFile kFiles[] = {
    {"VecEphOfAnUnknownFrame",
     kVecEphCard + At({{18, "7000.0"}, {67, "25544"}, {78, "XYZ"}}) + At({{3, "25060120000.000"}}),
     {At({{18, "7000.0"}, {67, "25544"}, {78, "XYZ"}}), "*** ReadVecEph: Invalid Coordinate system. ***"}},
    {"VecEphHeaderAlone", kVecEphCard, {kNoData}},
    {"SimObsOfAnUnknownFrame",
     kSimObsCard + At({{2, "25544"}, {8, "25060120000.000"}, {76, "   "}}) + "1\n2\n",
     {At({{2, "25544"}, {8, "25060120000.000"}}), "*** ReadSimObs: Invalid Coordinate system. ***"}},
    {"ItcHeaderAlone", kItcCard, {kNoData}},
    {"ItcCutWithinAGroup", kItcCard + At({{4, "25060120000.000"}}) + "1 2 3 4 5 6 7\n", {kNoData}},
    {"V31WithoutANumber", kTitle + "12x45\n", {kTitle + "12x45\n", "*** ReadV31: Invalid satellite number. ***"}},
    {"V31OfAnUnknownFrame",
     kTitle + "12345\n" + At({{1, "Propagation by"}, {66, "eci"}}),
     {At({{1, "Propagation by"}, {66, "eci"}}), "*** ReadV31: Unrecognized Coordinates. ***"}},
    {"V31WithoutAFence", kTitle + "12345\n25060120000.000 1 2 3\n", {kNoData}},
    {"EcrCutWithinItsHeader", "CLASSIFICATION: UNCLASSIFIED\n25544\n\n\n\n", {kNoData}},
    {"EcrOfTheCardAlone", "CLASSIFICATION: UNCLASSIFIED", {kNoData}},
    {"J2kOfTheCardAlone", " SPEPH PREDICTION EPHEMERIS\n", {kNoData}},
    {"OwnerWithoutAGoodLine",
     "25400120000.000 1.0 1.0 1.0 1.0 1.0 1.0\n",
     {"*** ReadOwner : Bad ephemeris data. ***\n", "25400120000.000 1.0 1.0 1.0 1.0 1.0 1.0\n", kNoData}},
};

}  // namespace

class FailingFiles : public StoreTest, public testing::WithParamInterface<FailingFile> {};

TEST_P(FailingFiles, AreReportedAndNotStored) {
    EXPECT_EQ(VecTabLoadFile(Write("12345.txt", GetParam().text).c_str()), 2);
    EXPECT_EQ(VecTabGetCount(), 0);
    Strings expected = GetParam().words;
    for (std::string& words : expected) words.erase(words.find_last_not_of(" \n") + 1);
    EXPECT_EQ(log.Take(), expected);
}

// Bad lines are logged at the length that their format tells.
TEST_F(StoreTest, BadTextsAreLoggedAtTheirLength) {
    const std::string badDate = "x" + std::string(20, 'y');
    const std::pair<std::string, std::size_t> cases[] = {
        {kVecEphCard + At({{78, "ECI"}}) + At({{3, badDate}}), 15},
        {kVecEphCard + At({{18, "x"}, {78, "ECI"}}) + At({{3, "25060120000.000"}}), 512},
        {kSimObsCard + At({{8, badDate}, {76, "ECI"}}) + "1\n2\n", 15},
        {kSimObsCard + At({{8, "25060120000.000"}, {76, "ECI"}}) + "x\n2\n", 512},
        {kItcCard + At({{4, badDate}}) + "\n\n\n", 15},
        {kItcCard + At({{4, "25060120000.000"}}) + "\n\n\n", 512},
        {kTitle + "00001\n" + std::string(48, '=') + "\n" + badDate, 15},
        {kTitle + "00001\n" + std::string(48, '=') + "\n25060120000.000 x", 497},
        {" SPEPH PREDICTION EPHEMERIS\n" + badDate, 19},
        {" SPEPH PREDICTION EPHEMERIS\n" + At({{12, "25 060 12 00 00.000 x"}}), 512},
        {"CLASSIFICATION: UNCLASSIFIED\n\n\n\n\n\n\n\n\n\n\n" + badDate + "\n\n", 15},
        {"CLASSIFICATION: UNCLASSIFIED\n\n\n\n\n\n\n\n\n\n\n25060120000.000 x\n\n", 512},
        {"25060120000.000 1.0 1.0 1.0 1.0 1.0 1.0\nx\n", 512},
    };
    for (const auto& [text, length] : cases) {
        VecTabRemoveAllSats();
        log.entries.clear();
        VecTabLoadFile(Write("12345.txt", text).c_str());
        ASSERT_GE(log.entries.size(), 3U) << text;
        EXPECT_EQ(log.entries[2].text.size(), length) << text;
    }
}

INSTANTIATE_TEST_SUITE_P(Readers, FailingFiles, testing::ValuesIn(kFiles),
                         [](const auto& instance) { return std::string(instance.param.name); });
