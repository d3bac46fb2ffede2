// The readers, one for each format. A reader goes on from the line behind the card that started it, fills the record
// point by point, and reports: `status` is 0, or 2 with an entry in the log. A bad line is reported and passed over.
#pragma once

#include <cstdint>
#include <string_view>

#include "store/record_types.h"
#include "support/files.h"

namespace VecTableCardReading {

using VecTableSupport::InputUnit;
using VecTableTypes::VecTabRecord;

using Line = VecTableSupport::LineBuffer<512>;

VECTABLE_MODULE void ReadDotE(std::string_view filePath, InputUnit& unit, VecTabRecord& record, std::int32_t& status);

}  // namespace VecTableCardReading
