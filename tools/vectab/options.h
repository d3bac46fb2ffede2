// Options that several commands share.
#pragma once

#include <CLI/CLI.hpp>

#include "tables.h"

namespace Vectab {

inline void AddFiles(CLI::App& command, Inputs& inputs) {
    command.add_option("FILE", inputs.files, "Ephemeris files, or lists of such files; - is standard input")
        ->required()
        ->type_name("");
    command.add_flag("--strict", inputs.strict, "Exit status 1 when there is a warning on a table");
}

inline void AddChoice(CLI::App& command, Choice& choice) {
    command.add_option("--sat", choice.satNum, "Only the records of this satellite number")->type_name("NUMBER");
    command.add_option("--record", choice.number, "Only the record with this number in the table that info prints")
        ->type_name("NUMBER");
}

}  // namespace Vectab
