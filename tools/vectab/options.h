// Options that several commands share.
#pragma once

#include <CLI/CLI.hpp>

#include "records.h"

namespace Vectab {

inline void AddChoice(CLI::App& command, Choice& choice) {
    command.add_option("--sat", choice.satNum, "The record of this satellite number, where the file holds several")
        ->type_name("NUMBER");
    command.add_option("--record", choice.number, "The record with this number in the table that info prints")
        ->type_name("NUMBER");
}

}  // namespace Vectab
