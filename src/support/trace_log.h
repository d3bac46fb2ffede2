// The trace log: one for the process, two levels. An entry is the text as given, trailing blanks included. Logging
// never fails and never stops the work; entries of several threads never mix.
#pragma once

#include <cstdint>
#include <string_view>

namespace VecTableSupport {

inline constexpr std::int32_t kTraceError = 1;
inline constexpr std::int32_t kTraceInfo = 2;

using TraceSink = void (*)(std::int32_t level, const char* text, std::int32_t length, void* context);

void TraceLogError(std::string_view text) noexcept;
void TraceLogInfo(std::string_view text) noexcept;

// Entries go to the sink from now on, or nowhere when it is null. On return the old sink is not called again.
void SetTraceSink(TraceSink sink, void* context) noexcept;

// Entries are appended to a file from now on. 0, or the error number of the system; the log is then as it was.
std::int32_t TraceToFile(const char* path) noexcept;

}  // namespace VecTableSupport
