// What a line is, told by its content; and the formats that there are.
#pragma once

#include <string_view>

#include "ingestion/readers/readers.h"

namespace VecTableCardReading {

// The type of a line, padded with blanks to the length of its buffer, in any letter case. The tests run in a fixed
// order and the first that holds decides.
VECTABLE_MODULE CardType VecTabCardType(std::string_view line) noexcept;

// Whether the line begins as a line of a list does. An earlier test of VecTabCardType may claim it still.
bool BeginsListLine(std::string_view line) noexcept;

// The format that an open file is read as; "list" where a line that names a file comes before any card; or null.
const Format* FormatOfFile(InputUnit& unit, std::string_view filePath) noexcept;

}  // namespace VecTableCardReading
