// What a line is, told by its content; and the formats that there are.
#pragma once

#include <span>
#include <string_view>

#include "ingestion/readers/readers.h"

namespace VecTableCardReading {

// The type of a line, padded with blanks to the length of its buffer, in any letter case. The tests run in a fixed
// order and the first that holds decides.
VECTABLE_MODULE CardType VecTabCardType(std::string_view line) noexcept;

// Whether the line begins as a line of a list does. An earlier test of VecTabCardType may claim it still.
bool BeginsListLine(std::string_view line) noexcept;

// All formats, in the order of their tests.
std::span<const Format* const> Formats() noexcept;

}  // namespace VecTableCardReading
