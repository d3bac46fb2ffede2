// What every exported call does at the C boundary: no exception passes, no null pointer is followed.
#pragma once

#include <vectable/vectable.h>

#include <algorithm>
#include <cstdint>
#include <new>
#include <span>
#include <string_view>

#include "store/record_types.h"
#include "support/fixed_text.h"
#include "support/text.h"
#include "support/trace_log.h"

namespace VecTableDllExports {

inline constexpr std::int32_t kSuccess = VEC_TAB_SUCCESS;
inline constexpr std::int32_t kFailure = VEC_TAB_FAILURE;

inline void LogCall(std::string_view call, std::string_view message) noexcept {
    VecTableSupport::TextBuilder<128> text;
    text.Add(call).Add(": ").Add(message);
    VecTableSupport::TraceLogError(text.Written());
}

// Runs the work of a call. An exception becomes an entry in the log and the call's failure value.
template <typename Work, typename Result>
Result Guarded(std::string_view call, Result failure, Work work) noexcept {
    try {
        return work();
    } catch (const std::bad_alloc&) {
        LogCall(call, "Out of memory.");
    } catch (...) {
        LogCall(call, "Internal error.");
    }
    return failure;
}

// Whether one of the required arguments is null; that is logged.
template <typename... Pointers>
bool NullArgument(std::string_view call, const Pointers*... arguments) noexcept {
    const bool null = ((arguments == nullptr) || ...);
    if (null) LogCall(call, "Null argument.");
    return null;
}

// Whether nothing can be written to an array that has room for so much; that is logged.
inline bool NoRoom(std::string_view call, const void* array, std::int32_t capacity) noexcept {
    if (capacity < 0) LogCall(call, "Negative capacity.");
    return capacity < 0 || (capacity > 0 && NullArgument(call, array));
}

// Writes as many keys as there is room for; the result is how many there are.
inline std::int32_t CopyKeys(std::span<const std::int64_t> keys, std::int64_t* satKeys,
                             std::int32_t capacity) noexcept {
    std::copy_n(keys.begin(), std::min(keys.size(), static_cast<std::size_t>(capacity)), satKeys);
    return static_cast<std::int32_t>(keys.size());
}

template <typename Value>
void Clear(Value* array, std::size_t count = 1) noexcept {
    if (array != nullptr) std::fill_n(array, count, Value());
}

inline void ClearText(char* array, std::size_t count) noexcept {
    if (array != nullptr) std::fill_n(array, count, ' ');
}

// A path argument without its leading and trailing blanks.
class PathArgument {
  public:
    explicit PathArgument(const char* array) noexcept
        : text_(VecTableSupport::CharArrToStr<VEC_TAB_PATH_LENGTH>(array)) {}
    std::string_view View() const noexcept { return VecTableSupport::WithoutLeadingBlanks(text_.Trimmed()); }

  private:
    VecTableTypes::PathText text_;
};

}  // namespace VecTableDllExports
