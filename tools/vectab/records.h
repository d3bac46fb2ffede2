// The stored records of a file.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace Vectab {

struct Record {
    std::int64_t key;
    std::int32_t satNum;
    std::int32_t frame;
    std::int32_t points;
    double start;  // days since 1950, UTC
    double end;
    std::string name;
    std::string file;

    double SpanSeconds() const noexcept;
};

// A point of a record, or a state between points.
struct State {
    double ds50UTC;
    double pos[3];  // km
    double vel[3];  // km/s
    std::int32_t revNum;
};

// The records of a file, stored as long as this lives. The words of the library's log are passed on to standard error.
class LoadedFile {
  public:
    // A failure when the file gives no record.
    explicit LoadedFile(const std::string& path, bool verbose = false);
    ~LoadedFile();
    LoadedFile(const LoadedFile&) = delete;
    LoadedFile& operator=(const LoadedFile&) = delete;

    const std::string& Path() const noexcept { return path_; }
    const std::vector<Record>& Records() const noexcept { return records_; }

    // Whether the file was read to its end; an exit status tells of it when it was not.
    bool Complete() const noexcept { return complete_; }

  private:
    std::string path_;
    std::vector<Record> records_;
    bool complete_ = true;
};

// Loads one file after the other and hands it to the work. What cannot be loaded is told on standard error. The result
// is the exit status.
int ForEachFile(const std::vector<std::string>& paths, bool verbose,
                const std::function<void(const LoadedFile&)>& work);

// Which record of a file is meant, where it holds several.
struct Choice {
    std::optional<std::int32_t> satNum;
    std::optional<std::size_t> number;  // as the table of `info` counts, from 1
};

// The record that is meant. A failure, which lists what there is, when that is none or not clear.
const Record& Choose(const LoadedFile& file, const Choice& choice);

// A stored point, counted from 1.
State PointOf(const Record& record, std::int32_t number);

std::string FrameName(std::int32_t frame);

// Whether positions are lengths along three axes.
bool IsCartesian(std::int32_t frame) noexcept;

}  // namespace Vectab
