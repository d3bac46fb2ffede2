// What the readers share.
#pragma once

#include <cstdint>
#include <string_view>

#include "store/record_types.h"

namespace VecTableCardReading {

// The satellite number of a file that gives none.
inline constexpr std::int32_t kUnknownSatNum = 99999;

// The satellite number that the first five characters of the file's name are, or kUnknownSatNum.
std::int32_t SatNumOfFileName(std::string_view filePath) noexcept;

// Reports a failure that ends a reader: "*** `readerName`: `words` ***".
void FailReader(std::string_view readerName, std::string_view words, std::int32_t& status) noexcept;

// How every reader ends: the epoch of a record is the time of its first point.
void CloseRecord(VecTableTypes::VecTabRecord& record) noexcept;

}  // namespace VecTableCardReading
