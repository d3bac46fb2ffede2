#include "ingestion/card_identification.h"

#include <gtest/gtest.h>
#include <initializer_list>
#include <string>
#include <utility>

#include "support/files.h"

using namespace VecTableCardReading;

namespace {

// A line with texts at given columns.
std::string At(std::initializer_list<std::pair<std::size_t, const char*>> pieces) {
    std::string line(512, ' ');
    for (const auto& [column, text] : pieces) line.replace(column - 1, std::string_view(text).size(), text);
    return line;
}

CardType TypeOf(const std::string& line) {
    VecTableSupport::LineBuffer<512> buffer;
    buffer.Assign(line);
    return VecTabCardType(buffer.Text());
}

}  // namespace

TEST(CardIdentification, TheFirstTestThatHoldsDecides) {
    const std::pair<std::string, CardType> cases[] = {
        {"Ephemeris File For Satellite 12345", CardType::kV31},
        {"VT_Universal_VecTable_V1", CardType::kUniversal},
        {" CCSDS_OEM_VERS = 2.0", CardType::kOem},
        {"CCSDS_OEM_VERS = 2.0", CardType::kNone},
        {At({{57, "."}, {80, "Z"}}), CardType::kSimObs},
        {At({{57, "."}, {80, "z"}}), CardType::kSimObs},
        {At({{57, "."}, {75, "SP "}}), CardType::kVecEph},
        {At({{57, "."}, {75, "gp "}}), CardType::kVecEph},
        {At({{57, "."}, {75, "SPX"}}), CardType::kNone},
        {At({{65, "."}, {113, "SP"}}), CardType::kItc},
        {At({{65, "."}, {113, "gp"}}), CardType::kItc},
        {At({{65, "."}, {29, "x"}, {113, "SP"}}), CardType::kNone},
        {At({{57, "."}, {65, "."}, {75, "GP "}, {113, "SP"}}), CardType::kVecEph},
        {"Classification: Unclassified", CardType::kEcr},
        {" SPEPH Prediction Ephemeris", CardType::kJ2k},
        {"EPHFIL = x", CardType::kFileLine},
        {"satfil=x", CardType::kFileLine},
        {"EPHINP", CardType::kFileLine},
        {"VECTAB x", CardType::kFileLine},
        {"VECTOR_TABLE = x", CardType::kFileLine},
        {"ephemfile = x", CardType::kFileLine},
        {At({{1, "EPHFIL = x"}, {57, "."}, {75, "SP "}}), CardType::kVecEph},
        {" EPHFIL = x", CardType::kNone},
        {"#VecTable = name", CardType::kNameLine},
        {"stk.v.4.3", CardType::kDotE},
        {At({{13, "Version: 3"}}), CardType::kOasys},
        {"2025/03/01 13:05:06.25 1 2 3 4 5 6", CardType::kOasys},
        {"2025/03/01 13:05:06 1 2 3 4 5 6", CardType::kNone},
        {At({{5, "/"}, {8, "/"}, {14, ":"}, {17, ":"}, {20, "."}}), CardType::kOasys},
        {At({{5, "/"}, {8, "/"}, {14, ":"}, {17, ":"}, {12, "."}, {20, "."}}), CardType::kNone},
        {"CLASSIFICATION:                 unclassified", CardType::kLch},
        {At({{2, "."}, {25, "."}, {48, "."}, {71, "."}, {94, "."}, {117, "."}}), CardType::kEelv},
        {"12345", CardType::kDceText},
        {"123456789 words", CardType::kDceText},
        {"1234567890", CardType::kNone},
        {"12345 6", CardType::kNone},
        {" 12345", CardType::kNone},
        {"Time(sec): Time", CardType::kLaunch},
        {"", CardType::kNone},
        {std::string(2000, '.'), CardType::kEelv},
    };
    for (const auto& [line, expected] : cases) EXPECT_EQ(TypeOf(line), expected) << '"' << line << '"';
}

TEST(CardIdentification, AnOwnerLineHasSixFieldsWithPointsBehindItsDate) {
    const std::string date = "25060130506.250 ";
    const std::pair<std::string, CardType> cases[] = {
        {date + "7000.0 0.0 0.0 0.0 7.5 0.0", CardType::kOwner},
        {date + "   7000.0   0.0  0.0  0.0  7.5 .5 and more", CardType::kOwner},
        {date + "7000.0 0.0 0.0 0.0 7.5", CardType::kNone},
        {date + "7000.0 0.0 0.0 0.0 7.5 5", CardType::kNone},
        {date + "7000 0.0 0.0 0.0 7.5 0.0.0", CardType::kOwner},  // each point stands behind its run of blanks
        {date + "7.0.0.0.0.0.0 1 2 3 4 5", CardType::kNone},
        {date + "12345", CardType::kNone},  // tried against no later test
        {At({{12, "."}, {13, "VERSION:"}}), CardType::kOasys},
        {date + std::string(484, '1') + ".1.1.1.1.1.1", CardType::kNone},
    };
    for (const auto& [line, expected] : cases) EXPECT_EQ(TypeOf(line), expected) << '"' << line << '"';
    const std::string full = date + "1.1 1.1 1.1 1.1 1.1 1." + std::string(600, '1');
    EXPECT_EQ(TypeOf(full), CardType::kNone);  // the sixth field never ends within the line
}

TEST(CardIdentification, TheExtensionOfBinaryFilesCountsInAnyLetterCase) {
    for (const char* path : {"a.DCE", "a.dce", "/x.y/a.Dce", "a.dced", ".dce"}) EXPECT_TRUE(FileIsDotDCE(path)) << path;
    for (const char* path : {"a.dc", "dce", "a.dce.x", "", "a.dxe"}) EXPECT_FALSE(FileIsDotDCE(path)) << path;
}
