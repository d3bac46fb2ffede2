// The reader of the text form of orbit ephemeris messages.
#pragma once

#include <vector>

#include "ingestion/readers/readers.h"

namespace VecTableCardReading {

// Reads a message from its first line on: a record for each segment, its other fields those of `pattern`. False when
// the file is no such message or has a line that is not of its form; an entry in the log says which and why.
bool ReadOem(InputUnit& unit, const VecTabRecord& pattern, std::vector<VecTabRecord>& records);

}  // namespace VecTableCardReading
