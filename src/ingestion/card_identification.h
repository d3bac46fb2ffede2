// What kind of file a line belongs to: told by the content of single lines, the cards.
#pragma once

#include <cstdint>
#include <string_view>

#include "support/module.h"

namespace VecTableCardReading {

// The numbers 5 and 14 are not in use.
enum class CardType : std::int32_t {
    kV31 = 1,
    kSimObs = 2,
    kVecEph = 3,
    kItc = 4,
    kEcr = 6,
    kJ2k = 7,
    kFileLine = 8,  // names another file
    kOem = 9,       // known, and not read
    kOwner = 10,
    kNameLine = 11,  // names the ephemeris that follows
    kDotE = 12,
    kOasys = 13,
    kLch = 15,
    kEelv = 16,
    kUniversal = 17,
    kDceText = 18,
    kLaunch = 19,
    kNone = 100,
};

// The type of a line, padded with blanks to the length of its buffer, in any letter case. The tests run in a fixed
// order and the first that holds decides.
VECTABLE_MODULE CardType VecTabCardType(std::string_view line) noexcept;

// The name of the format whose reader a card starts; empty for a card that starts none.
std::string_view FormatName(CardType card) noexcept;

// Whether the line begins as a line of a list does. An earlier test of VecTabCardType may claim it still.
bool BeginsListLine(std::string_view line) noexcept;

// Whether at least six fields stand after column 16, with a point after the start of each.
VECTABLE_MODULE bool IsOwnerOperatorFile(std::string_view line) noexcept;

// Whether the line is one to nine digits from column 1 on, with no digit after them.
VECTABLE_MODULE bool IsSatNumOnly(std::string_view line) noexcept;

// Whether the extension of the path begins with ".DCE", in any letter case.
VECTABLE_MODULE bool FileIsDotDCE(std::string_view filePath) noexcept;

}  // namespace VecTableCardReading
