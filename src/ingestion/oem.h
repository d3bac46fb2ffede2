// Orbit ephemeris messages (CCSDS OEM): every segment becomes a record, all of them or none.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "store/record_types.h"
#include "support/files.h"

namespace VecTableCardReading {

// Whether an open file is one, which is then at its start again.
VECTABLE_MODULE bool IsMessage(VecTableSupport::InputUnit& unit) noexcept;

// The records of an open message. False with an entry in the log. `satNum` 0 stands for the number of a file that gives
// none.
VECTABLE_MODULE bool ReadMessage(VecTableSupport::InputUnit& unit, std::string_view filePath, std::int32_t satNum,
                                 std::vector<VecTableTypes::VecTabRecord>& records);

// 0 with the keys in the order of the file; 2 with an entry in the log and the store as it was; or the error number of
// the system when the file cannot be opened. The store is as it was after std::bad_alloc, too. `satNum` as above.
std::int32_t LoadOem(std::string_view filePath, std::int32_t satNum, std::vector<std::int64_t>& satKeys);

}  // namespace VecTableCardReading
