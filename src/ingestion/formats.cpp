#include "ingestion/formats.h"

#include <algorithm>
#include <array>

#include "ingestion/readers/reading.h"
#include "support/text.h"

namespace VecTableCardReading {
namespace {

// A file that only names others.
constexpr Format kListFormat = {CardType::kFileLine, "list", "", 0};

// What a card, or a line that names a file, tells a file to be.
constexpr const Format* kFormats[] = {&kListFormat,  &kV31Format, &kUniversalFormat, &kSimObsFormat,  &kVecEphFormat,
                                      &kItcFormat,   &kEcrFormat, &kJ2kFormat,       &kDotEFormat,    &kOwnerFormat,
                                      &kOasysFormat, &kLchFormat, &kEelvFormat,      &kDceTextFormat, &kLaunchFormat};

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

}  // namespace

CardType VecTabCardType(std::string_view line) noexcept {
    if (IsV31Card(line)) return CardType::kV31;
    if (IsUniversalCard(line)) return CardType::kUniversal;
    if (IsOemCard(line)) return CardType::kOem;
    if (IsSimObsCard(line)) return CardType::kSimObs;
    if (IsVecEphCard(line)) return CardType::kVecEph;
    if (IsItcCard(line)) return CardType::kItc;
    if (IsEcrCard(line)) return CardType::kEcr;
    if (IsJ2kCard(line)) return CardType::kJ2k;
    if (IsFileLine(line)) return CardType::kFileLine;
    if (IsNameLine(line)) return CardType::kNameLine;
    if (IsDotECard(line)) return CardType::kDotE;
    if (MayBeOwnerCard(line)) return IsOwnerOperatorFile(line) ? CardType::kOwner : CardType::kNone;
    if (IsOasysCard(line)) return CardType::kOasys;
    if (IsLchCard(line)) return CardType::kLch;
    if (IsEelvCard(line)) return CardType::kEelv;
    if (IsSatNumOnly(line)) return CardType::kDceText;
    if (IsLaunchCard(line)) return CardType::kLaunch;
    return CardType::kNone;
}

bool BeginsListLine(std::string_view line) noexcept {
    if (line.empty() || !kBeginsKeyword[static_cast<unsigned char>(line.front())]) return false;
    return IsFileLine(line) || IsNameLine(line);
}

const Format* FormatOfFile(InputUnit& unit, std::string_view filePath) noexcept {
    if (FileIsDotDCE(filePath)) return &kDceBinaryFormat;
    if (IsOemFile(unit)) return &kOemFormat;
    unit.Rewind();
    Line line;
    while (unit.ReadLine(line) == ReadStatus::kOk) {
        const CardType card = line.IsCommentOrBlank() ? CardType::kNone : VecTabCardType(line.Text());
        if (card == CardType::kNone) continue;
        for (const Format* format : kFormats) {
            if (format->card == card) return format;
        }
    }
    return nullptr;
}

}  // namespace VecTableCardReading
