#include "ingestion/card_identification.h"

#include <algorithm>
#include <array>
#include <functional>

#include "support/text.h"

namespace VecTableCardReading {
namespace {

using VecTableSupport::FixedText;
using VecTableSupport::IsDigit;
using VecTableSupport::ToUpperCase;

// Columns are counted from 1; those after the end of the line are blank.
char Column(std::string_view line, std::size_t column) noexcept {
    return column <= line.size() ? ToUpperCase(line[column - 1]) : ' ';
}

// Whether the columns from `column` on hold the text, given in upper case.
bool Holds(std::string_view line, std::size_t column, std::string_view text) noexcept {
    for (const char c : text) {
        if (Column(line, column++) != c) return false;
    }
    return true;
}

bool IsItcHeader(std::string_view line) noexcept {
    return Column(line, 65) == '.' && Column(line, 29) == ' ' && Column(line, 51) == ' ' &&
           (Holds(line, 113, "SP") || Holds(line, 113, "GP"));
}

constexpr std::array<std::string_view, 6> kFileKeywords = {"EPHFIL", "SATFIL",       "EPHINP",
                                                           "VECTAB", "VECTOR_TABLE", "EPHEMFILE"};
constexpr std::string_view kNameKeyword = "#VECTABLE";

// Which characters a line of a list begins with: one look passes over nearly every line of a file.
constexpr std::array<bool, 256> kBeginsKeyword = [] {
    std::array<bool, 256> begins{};
    const auto add = [&](char c) { begins[static_cast<unsigned char>(c)] = true; };
    add(kNameKeyword.front());
    for (const std::string_view keyword : kFileKeywords) {
        add(keyword.front());
        add(VecTableSupport::ToLowerCase(keyword.front()));
    }
    return begins;
}();

bool IsFileLine(std::string_view line) noexcept {
    return std::any_of(kFileKeywords.begin(), kFileKeywords.end(),
                       [&](std::string_view keyword) { return Holds(line, 1, keyword); });
}

bool IsNameLine(std::string_view line) noexcept {
    return Holds(line, 1, kNameKeyword);
}

bool IsOasysDataLine(std::string_view line) noexcept {
    return Column(line, 5) == '/' && Column(line, 8) == '/' && Column(line, 14) == ':' && Column(line, 17) == ':' &&
           Column(line, 20) == '.';
}

bool IsEelvCard(std::string_view line) noexcept {
    constexpr std::array<std::size_t, 6> kPoints = {2, 25, 48, 71, 94, 117};
    return std::all_of(kPoints.begin(), kPoints.end(), [&](std::size_t column) { return Column(line, column) == '.'; });
}

}  // namespace

CardType VecTabCardType(std::string_view line) noexcept {
    if (Holds(line, 1, "EPHEMERIS FILE FOR SATELLITE")) return CardType::kV31;
    if (Holds(line, 1, "VT_UNIVERSAL_VECTABLE_V")) return CardType::kUniversal;
    if (Holds(line, 1, " CCSDS_OEM_VERS")) return CardType::kOem;
    if (Column(line, 57) == '.') {
        if (Holds(line, 75, "     Z")) return CardType::kSimObs;
        if (Holds(line, 75, "SP ") || Holds(line, 75, "GP ")) return CardType::kVecEph;
    }
    if (IsItcHeader(line)) return CardType::kItc;
    if (Holds(line, 1, "CLASSIFICATION: UNCLASSIFIED")) return CardType::kEcr;
    if (Holds(line, 1, " SPEPH PREDICTION EPHEMERIS")) return CardType::kJ2k;
    if (IsFileLine(line)) return CardType::kFileLine;
    if (IsNameLine(line)) return CardType::kNameLine;
    if (Holds(line, 1, "STK.V")) return CardType::kDotE;
    if (Column(line, 12) == '.' && Column(line, 16) == ' ') {
        return IsOwnerOperatorFile(line) ? CardType::kOwner : CardType::kNone;
    }
    if (Holds(line, 13, "VERSION:")) return CardType::kOasys;
    if (IsOasysDataLine(line)) return CardType::kOasys;
    if (Holds(line, 1, "CLASSIFICATION:                 UNCLASSIFIED")) return CardType::kLch;
    if (IsEelvCard(line)) return CardType::kEelv;
    if (IsSatNumOnly(line)) return CardType::kDceText;
    if (Holds(line, 1, "TIME(SEC): TIME")) return CardType::kLaunch;
    return CardType::kNone;
}

std::string_view FormatName(CardType card) noexcept {
    switch (card) {
        case CardType::kV31:
            return "V31";
        case CardType::kSimObs:
            return "simulated observations";
        case CardType::kVecEph:
            return "vector ephemeris";
        case CardType::kItc:
            return "ITC";
        case CardType::kEcr:
            return "ECR";
        case CardType::kJ2k:
            return "J2K";
        case CardType::kOwner:
            return "owner-operator";
        case CardType::kDotE:
            return "Dot-E";
        case CardType::kOasys:
            return "OASYS";
        case CardType::kLch:
            return "LCH";
        case CardType::kEelv:
            return "EELV";
        case CardType::kUniversal:
            return "universal";
        case CardType::kDceText:
            return "DCE text";
        case CardType::kLaunch:
            return "launch";
        case CardType::kFileLine:
        case CardType::kNameLine:
        case CardType::kOem:
        case CardType::kNone:
            break;
    }
    return {};
}

bool BeginsListLine(std::string_view line) noexcept {
    if (line.empty() || !kBeginsKeyword[static_cast<unsigned char>(line.front())]) return false;
    return IsFileLine(line) || IsNameLine(line);
}

bool IsOwnerOperatorFile(std::string_view line) noexcept {
    constexpr std::size_t kFields = 6;
    constexpr std::size_t kFirstRun = 15;  // index of column 16
    std::array<std::size_t, kFields> dots;
    std::size_t place = kFirstRun;
    for (std::size_t& dot : dots) {
        dot = place = line.find('.', place + 1);
        if (place == std::string_view::npos) return false;
    }

    // The last column of each run of blanks; the seventh run closes the sixth field.
    std::array<std::size_t, kFields> runs{kFirstRun};
    std::size_t run = 0;
    std::size_t column = kFirstRun + 1;
    for (; column < line.size(); ++column) {
        if (line[column] != ' ') continue;
        if (column != runs[run] + 1 && ++run == kFields) break;
        runs[run] = column;
    }
    if (column == line.size()) return false;
    return std::equal(runs.begin(), runs.end(), dots.begin(), std::less_equal<>());
}

bool IsSatNumOnly(std::string_view line) noexcept {
    constexpr std::size_t kMostDigits = 9;
    if (line.empty() || !IsDigit(line.front())) return false;
    const std::size_t length = std::min(line.find_first_not_of("0123456789"), line.size());
    return length <= kMostDigits && std::none_of(line.begin() + length, line.end(), IsDigit);
}

bool FileIsDotDCE(std::string_view filePath) noexcept {
    const auto point = filePath.rfind('.');
    if (point == std::string_view::npos || point + 4 > filePath.size()) return false;
    return ToUpperCase(FixedText<4>(filePath.substr(point))).View() == ".DCE";
}

}  // namespace VecTableCardReading
