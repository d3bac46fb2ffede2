// Collects the entries of the trace log for the length of a scope.
#pragma once

#include <vectable/host.h>

#include <mutex>
#include <string>
#include <vector>

#include "store/gate.h"

struct LogEntry {
    int32_t level;
    std::string text;       // exactly as logged
    std::string path = {};  // of the file being read, and the number of the line
    int64_t line = 0;
    bool gateHeld = false;  // a slow sink would hold up writers
    bool operator==(const LogEntry&) const = default;
};

class LogCapture {
  public:
    LogCapture() { VecHostSetTraceSink(Collect, this); }
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;
    ~LogCapture() { VecHostSetTraceSink(nullptr, nullptr); }

    // The entries of one level so far, without their trailing blanks; they are then forgotten.
    std::vector<std::string> Take(int32_t level = VEC_HOST_TRACE_ERROR) {
        std::vector<std::string> taken;
        for (const LogEntry& entry : entries) {
            if (entry.level == level) taken.push_back(entry.text.substr(0, entry.text.find_last_not_of(' ') + 1));
        }
        entries.clear();
        return taken;
    }

    std::vector<LogEntry> entries;

  private:
    static void Collect(int32_t level, const char* text, int32_t length, void* context) {
        LogEntry entry{level, std::string(text, static_cast<size_t>(length))};
        char path[512];
        VecHostReadingLine(path, &entry.line);
        entry.path.assign(path, path + std::string_view(path, 512).find_last_not_of(' ') + 1);
        entry.gateHeld = VecTableTree::gate.Readers() != 0 || VecTableTree::gate.IsUpdating();
        static_cast<LogCapture*>(context)->entries.push_back(entry);
    }
};
