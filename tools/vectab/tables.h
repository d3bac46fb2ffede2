// The tables that a command works on: the records of files, with what is to be said of each.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "notes.h"
#include "records.h"
#include "survey.h"

namespace Vectab {

// What every command is told on its command line.
struct Inputs {
    std::vector<std::string> files;
    Choice choice;
    bool strict = false;
    bool verbose = false;
};

struct Table {
    const LoadedFile& file;
    const Record& record;
    Survey survey;
    std::vector<Note> notes;

    Table(const LoadedFile& loaded, const Record& chosen);

    // Tells the notes on standard error, a line each. Those without a detail were told when the file was read.
    void Warn() const;
};

// Loads file after file, and hands every record that is meant to the work, after the warnings on it. The result is the
// exit status: that of a failure also when there were warnings that are to count. A failure when no record is meant.
int ForEachTable(const Inputs& inputs, const std::function<void(const Table&)>& work);

}  // namespace Vectab
