// The formats that tables are converted to. One source file each.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "answers.h"
#include "output.h"

namespace Vectab {

// What is to be written of a table. There may be more of it than memory holds.
struct Answers {
    std::int64_t count = 0;
    double start = 0.0;  // days since 1950, UTC
    double end = 0.0;
    std::function<void(const UseAnswer&)> forEach;  // as often as wanted
};

struct Writer {
    const char* name;       // for --to
    const char* extension;  // of a file's name

    // Why the table cannot be written at all; empty when it can.
    std::string (*refusal)(const Table& table);

    // Whether a time that is written for the table is read back as the same.
    bool (*holdsTime)(const Table& table, double ds50UTC);

    // What of the table is lost or changed, a few words each. `out` is the path that is written.
    std::vector<std::string> (*losses)(const Table& table, const std::string& out);

    void (*writeHead)(Output& output);
    void (*writeTable)(Output& output, const Table& table, const Answers& answers);
};

extern const Writer kOemWriter;
extern const Writer kDotEWriter;
extern const Writer kCsvWriter;

bool AnyRevolution(const Survey& survey) noexcept;

}  // namespace Vectab
