#include "ingestion/formats.h"

#include <algorithm>
#include <array>

#include "ingestion/readers/reading.h"
#include "support/text.h"

namespace VecTableCardReading {
namespace {

// A file that only names others.
constexpr Format kListFormat = {CardType::kFileLine, "list", {}, 0};

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
    if (Holds(line, 1, kV31Format.head)) return CardType::kV31;
    if (Holds(line, 1, kUniversalFormat.head)) return CardType::kUniversal;
    if (Holds(line, 1, kOemFormat.head)) return CardType::kOem;
    if (IsSimObsCard(line)) return CardType::kSimObs;
    if (IsVecEphCard(line)) return CardType::kVecEph;
    if (IsItcCard(line)) return CardType::kItc;
    if (Holds(line, 1, kEcrFormat.head)) return CardType::kEcr;
    if (Holds(line, 1, kJ2kFormat.head)) return CardType::kJ2k;
    if (IsFileLine(line)) return CardType::kFileLine;
    if (IsNameLine(line)) return CardType::kNameLine;
    if (Holds(line, 1, kDotEFormat.head)) return CardType::kDotE;
    if (MayBeOwnerCard(line)) return IsOwnerOperatorFile(line) ? CardType::kOwner : CardType::kNone;
    if (IsOasysCard(line)) return CardType::kOasys;
    if (Holds(line, 1, kLchFormat.head)) return CardType::kLch;
    if (IsEelvCard(line)) return CardType::kEelv;
    if (IsSatNumOnly(line)) return CardType::kDceText;
    if (Holds(line, 1, kLaunchFormat.head)) return CardType::kLaunch;
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
