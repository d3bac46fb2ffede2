#include "ingestion/card_identification.h"

#include "helpers/tables.h"

using namespace VecTableCardReading;

namespace {

// "57=.;80=Z" is a line with these texts at these columns.
std::string Line(const std::string& cell) {
    std::string line(512, ' ');
    std::istringstream pieces(cell);
    for (std::string piece; std::getline(pieces, piece, ';');) {
        const std::size_t mark = piece.find('=');
        line.replace(std::stoul(piece) - 1, piece.size() - mark - 1, piece.substr(mark + 1));
    }
    return line;
}

}  // namespace

TEST(CardIdentification, TheFirstTestThatHoldsDecides) {
    for (const Row& row : ReadTable("cards.txt")) {
        const CardType expected{std::stoi(row[1])};
        EXPECT_EQ(VecTabCardType(Line(row[0])), expected) << row[0];
        const CardType list = ListCardType(Line(row[0]));
        EXPECT_TRUE(list == expected || list == CardType::kNone) << row[0];
        if (expected == CardType::kFileLine || expected == CardType::kNameLine) {
            EXPECT_EQ(list, expected) << row[0];
        }
    }
    EXPECT_EQ(VecTabCardType(""), CardType::kNone);
    EXPECT_EQ(VecTabCardType(std::string(512, '.')), CardType::kEelv);
    // The sixth field never ends within the line.
    EXPECT_EQ(VecTabCardType("25060130506.250 1.1 1.1 1.1 1.1 1.1 1." + std::string(474, '1')), CardType::kNone);
}

TEST(CardIdentification, TheExtensionOfBinaryFilesCountsInAnyLetterCase) {
    for (const char* path : {"a.DCE", "a.dce", "/x.y/a.Dce", "a.dced", ".dce"}) EXPECT_TRUE(FileIsDotDCE(path)) << path;
    for (const char* path : {"a.dc", "dce", "a.dce.x", "", "a.dxe"}) EXPECT_FALSE(FileIsDotDCE(path)) << path;
}
