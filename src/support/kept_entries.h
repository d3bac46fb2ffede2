// Entries of the trace log that wait, each thread's own, until their thread takes them.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace VecTableSupport {

struct KeptEntry {
    std::int32_t level;
    std::int64_t line;  // of the file at `path`, from 1; 0 for none
    std::string path;   // of the file that the thread was reading; empty for none
    std::string text;
};

// Keeps an entry for the calling thread. Until the last one is taken, those after the first VEC_HOST_MOST_KEPT of a
// level are dropped; so is one that there is no memory for.
void KeepEntry(std::int32_t level, std::string_view text) noexcept;

// Takes the calling thread's oldest entry; false when there is none.
bool TakeKeptEntry(KeptEntry& entry) noexcept;

}  // namespace VecTableSupport
