// States as comma-separated values.
#pragma once

#include <string>

#include "answers.h"

namespace Vectab {

std::string CsvHeader(bool covariance);
std::string CsvLine(const Record& record, const Answer& answer, bool covariance);

}  // namespace Vectab
