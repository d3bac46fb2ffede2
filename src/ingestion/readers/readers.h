// The formats, each with what it is, the test for its card and its reader. They are defined in the sources of the
// readers: a new one is declared here, stands in formats.cpp, and is started in load_driver.cpp.
//
// A reader goes on from the line after the card that started it, fills the record point by point, and reports: `status`
// is 0, or 2 with an entry in the log. A bad line is reported and passed over. `line` is the card as it stands in the
// file. Readers and tests share nothing between threads.
#pragma once

#include <vectable/host.h>

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

// What a line is. The numbers 5 and 14 are not in use.
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

struct Format {
    CardType card;            // that starts the reader; kNone where none does
    std::string_view name;    // to users
    std::string_view reader;  // in the messages of the log
    std::int32_t holds;       // what a file of it can hold: VEC_HOST_HOLDS_..., added up
    std::string_view head{};  // of its card, in upper case; empty where a test of its own tells the card
};

extern const Format kDceBinaryFormat, kDceTextFormat, kDotEFormat, kEcrFormat, kEelvFormat, kItcFormat, kJ2kFormat;
extern const Format kLaunchFormat, kLchFormat, kOasysFormat, kOemFormat, kOwnerFormat, kSimObsFormat, kUniversalFormat;
extern const Format kV31Format, kVecEphFormat;

// The tests of cards that no head tells. They take a line padded with blanks to the length of its buffer, in any letter
// case, and count on the order in which VecTabCardType asks them.
bool IsEelvCard(std::string_view line) noexcept;
bool IsItcCard(std::string_view line) noexcept;
bool IsOasysCard(std::string_view line) noexcept;
bool IsSimObsCard(std::string_view line) noexcept;
bool IsVecEphCard(std::string_view line) noexcept;

// Whether the line has the point and the blank of an owner-operator line: then no later test is asked.
bool MayBeOwnerCard(std::string_view line) noexcept;
// Whether at least six fields stand after column 16, with a point after the start of each.
VECTABLE_MODULE bool IsOwnerOperatorFile(std::string_view line) noexcept;

// Whether the line is one to nine digits from column 1 on, with no digit after them: DCE text.
VECTABLE_MODULE bool IsSatNumOnly(std::string_view line) noexcept;

// Whether the extension of the path begins with ".DCE", in any letter case.
VECTABLE_MODULE bool FileIsDotDCE(std::string_view filePath) noexcept;

// Whether the first line that says anything is that of an orbit ephemeris message, in text form or XML.
bool IsOemFile(InputUnit& unit) noexcept;

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
VECTABLE_MODULE void ReadVTUniversalVecTab(InputUnit& unit, const Line& line, VecTabRecord& record,
                                           std::int32_t& status);
VECTABLE_MODULE void ReadV31(InputUnit& unit, const Line& line, VecTabRecord& record, std::int32_t& status);
VECTABLE_MODULE void ReadVecEph(InputUnit& unit, const Line& line, VecTabRecord& record, std::int32_t& status);

// Reads a message in text form from its first line on. False when the file is no such message or has a line that is not
// of its form; an entry in the log says which and why.
class OemSegments;
bool ReadOemText(InputUnit& unit, OemSegments& segments);

}  // namespace VecTableCardReading
