// Walks a file line by line, finds out from its cards what it is, has the reader of the format fill a record, and hands
// the record to whoever wants it: a load stores it. Threads may walk and load at the same time.
//
// A file is walked twice: the first pass follows the lines that name other files (one level deep), the second reads the
// file itself. Text lengths: a path 512 characters, a name 128, a line 1500 in the first pass and 512 in the second.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "store/record_types.h"
#include "support/files.h"

namespace VecTableCardReading {

using VecTableSupport::InputUnit;

using VecTableTypes::EphemName;
using VecTableTypes::PathText;
using VecTableTypes::VecTabRecord;

// Loads an ephemeris file or a list file. 0; 2 when the load failed, with entries in the log and the records finished
// so far stored; or the error number of the system when the file cannot be opened.
VECTABLE_MODULE std::int32_t ReadVecTabsFrFile(std::string_view filePath);

// Both passes over an open file.
VECTABLE_MODULE std::int32_t ReadVecTabsFrFileUnit(InputUnit& unit, std::string_view filePath);

// The second pass over an open file. `ephemName` names the first record and is blank once a record has been stored.
// `satKeyOut`, when given, receives what AddRecToMem gave for the last record.
VECTABLE_MODULE std::int32_t ReadOnlyVecTabs(InputUnit& unit, std::string_view filePath, EphemName& ephemName,
                                             std::int64_t* satKeyOut);

// Only the second pass: the key of the last record stored, -1 on failure or when there was none.
VECTABLE_MODULE std::int64_t AddVecTabFile(InputUnit& unit, std::string_view filePath);

// Gets a finished record, which it may move from. What it throws ends the walk and is thrown on.
using TakeRecord = void (*)(VecTabRecord& record, void* context);

// The second pass over an open file without the store: 0, or 2 with entries in the log; the records finished so far
// have been taken. `working` is what the readers fill: memory that it has is used again. `ephemName` names the first
// record and is blank once a record has been taken, but for a binary file.
VECTABLE_MODULE std::int32_t WalkFile(InputUnit& unit, std::string_view filePath, EphemName& ephemName,
                                      VecTabRecord& working, TakeRecord take, void* context);

struct ListMember {
    std::string path;                 // as long as the list has it, which may be longer than a path of a load
    std::int64_t line;                // of the list, from 1
    std::optional<std::string> name;  // of the next record that is taken, where the list gives one before this line
};

// The files that an open file names, from its first line on; none is opened.
VECTABLE_MODULE std::vector<ListMember> ListMembers(InputUnit& unit);

}  // namespace VecTableCardReading
