// Runs gnuplot.
#pragma once

#include <string>

namespace Vectab {

// What gnuplot writes to its standard output for the script. A failure when it is missing or refuses the script.
std::string RunGnuplot(const std::string& script);

}  // namespace Vectab
