// The readers, one for each format. A reader goes on from the line after the card that started it, fills the record
// point by point, and reports: `status` is 0, or 2 with an entry in the log. A bad line is reported and passed over.
// `line` is the card as it stands in the file.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "store/record_types.h"
#include "support/files.h"

namespace VecTableCardReading {

using VecTableSupport::InputUnit;
using VecTableTypes::VecTabRecord;

// Characters of a line, as in the widest format.
inline constexpr std::size_t kLineLength = 512;

using Line = VecTableSupport::LineBuffer<kLineLength>;

VECTABLE_MODULE void ReadDCEBinary(std::string_view filePath, VecTabRecord& record, std::int32_t& status);
VECTABLE_MODULE void ReadDCEText(InputUnit& unit, const Line& line, VecTabRecord& record, std::int32_t& status);
VECTABLE_MODULE void ReadDotE(std::string_view filePath, InputUnit& unit, VecTabRecord& record, std::int32_t& status);
VECTABLE_MODULE void ReadECR(InputUnit& unit, VecTabRecord& record, std::int32_t& status);
VECTABLE_MODULE void ReadEELV(InputUnit& unit, const Line& line, VecTabRecord& record, std::int32_t& status);
VECTABLE_MODULE void ReadITC(InputUnit& unit, const Line& line, VecTabRecord& record, std::int32_t& status);
VECTABLE_MODULE void ReadJ2K(InputUnit& unit, VecTabRecord& record, std::int32_t& status);
VECTABLE_MODULE void ReadLaunchFormat(InputUnit& unit, VecTabRecord& record, std::int32_t& status);
VECTABLE_MODULE void ReadLCH(InputUnit& unit, VecTabRecord& record, std::int32_t& status);
VECTABLE_MODULE void ReadOASYS(std::string_view filePath, InputUnit& unit, VecTabRecord& record, std::int32_t& status);
VECTABLE_MODULE void ReadOwner(std::string_view filePath, InputUnit& unit, const Line& line, VecTabRecord& record,
                               std::int32_t& status);
VECTABLE_MODULE void ReadSimObs(InputUnit& unit, const Line& line, VecTabRecord& record, std::int32_t& status);
VECTABLE_MODULE void ReadV31(InputUnit& unit, const Line& line, VecTabRecord& record, std::int32_t& status);
VECTABLE_MODULE void ReadVecEph(InputUnit& unit, const Line& line, VecTabRecord& record, std::int32_t& status);
VECTABLE_MODULE void ReadVTUniversalVecTab(InputUnit& unit, const Line& line, VecTabRecord& record,
                                           std::int32_t& status);

}  // namespace VecTableCardReading
