// The stored records of a file.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "source.h"

namespace Vectab {

// The name of the format of orbit ephemeris messages.
inline constexpr std::string_view kOemFormat = "OEM";

struct Record {
    std::int64_t key;
    std::size_t number;  // in its file, from 1
    std::int32_t satNum;
    std::int32_t frame;
    std::int32_t points;
    double start;  // days since 1950, UTC
    double end;
    std::string name;
    std::string satName;
    std::string file;
    std::string format;
    std::size_t badLines;  // of the file

    double SpanSeconds() const noexcept;
};

// A point of a record, or a state between points.
struct State {
    double ds50UTC;
    double pos[3];  // km
    double vel[3];  // km/s
    std::int32_t revNum;
};

// Stored records, which leave the store at the end of the scope.
class StoredKeys {
  public:
    StoredKeys() = default;
    ~StoredKeys();
    StoredKeys(const StoredKeys&) = delete;
    StoredKeys& operator=(const StoredKeys&) = delete;

    // Adds what the last load has stored.
    std::vector<std::int64_t> TakeLoaded();

  private:
    std::vector<std::int64_t> keys_;
};

// The records of a file, stored as long as this lives. The messages of the library's log are passed on to standard
// error.
class LoadedFile {
  public:
    // A failure when the file gives no record.
    explicit LoadedFile(const std::string& name, bool verbose = false);

    // For messages.
    const std::string& Name() const noexcept { return source_.Name(); }
    const std::vector<Record>& Records() const noexcept { return records_; }

    // Whether all was read, of the files that a list names too; an exit status tells of it when it was not.
    bool Complete() const noexcept { return complete_; }

    // How a record is called in messages.
    std::string Label(const Record& record) const;

    // How many records there are, of which satellites.
    std::string WhatThereIs() const;

  private:
    void Load();
    void LoadListed();
    void DescribeLoaded();
    void LeaveOutCut();
    void TellMissing();
    void PassOnLog(bool verbose);
    std::unordered_set<std::string> Files() const;

    Source source_;
    std::vector<ListedFile> listed_;
    StoredKeys keys_;
    std::vector<Record> records_;
    bool complete_ = true;
};

// Loads one file after the other and hands it to the work. What cannot be loaded is told on standard error. The result
// is the exit status.
int ForEachFile(const std::vector<std::string>& names, bool verbose,
                const std::function<void(const LoadedFile&)>& work);

// Which records of a file are meant, where it holds several.
struct Choice {
    std::optional<std::int32_t> satNum;
    std::optional<std::size_t> number;  // as the table of `info` counts, from 1

    bool Fits(const Record& record) const noexcept;
};

// The one record that is meant. A failure, which lists what there is, when that is none or not clear.
const Record& Choose(const LoadedFile& file, const Choice& choice);

std::string FrameName(std::int32_t frame);

// Whether positions are lengths along three axes.
bool IsCartesian(std::int32_t frame) noexcept;

}  // namespace Vectab
