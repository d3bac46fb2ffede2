#include "support/software_info.h"

#include "support/text.h"

namespace VecTableSupport {

FixedText<128> GetSoftwareInfo(std::string_view name) noexcept {
    TextBuilder<128> info;
    info.Add(name).Add(" " VECTABLE_VERSION ", C++").AddInteger(__cplusplus / 100 % 100);
    info.Add(", compiler " __VERSION__ ", " VECTABLE_BUILD_TYPE);
    return info.Text();
}

}  // namespace VecTableSupport
