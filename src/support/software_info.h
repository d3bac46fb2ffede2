// What the library says of itself.
#pragma once

#include <string_view>

#include "support/fixed_text.h"

namespace VecTableSupport {

// Name, version and build of the library.
FixedText<128> GetSoftwareInfo(std::string_view name) noexcept;

}  // namespace VecTableSupport
