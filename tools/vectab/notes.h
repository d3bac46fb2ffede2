// What is to be said of a table before anybody trusts it.
#pragma once

#include <string>
#include <vector>

#include "records.h"
#include "survey.h"

namespace Vectab {

struct Note {
    std::string message;  // for a column of a table
    std::string detail;   // what that means for states from the table; may be empty
};

std::vector<Note> NotesOn(const Record& record, const Survey& survey);

// The notes, with commas between; a dash when there are none.
std::string Listed(const std::vector<Note>& notes);

}  // namespace Vectab
