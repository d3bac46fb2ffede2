// The formats that tables are converted to. One source file each.
#pragma once

#include <string>
#include <vector>

#include "answers.h"
#include "output.h"

namespace Vectab {

struct Writer {
    const char* name;    // for --to
    const char* ending;  // of a file's name

    // Why the table cannot be written at all; empty when it can.
    std::string (*refusal)(const Table& table);

    // What of the table is lost or changed, a few words each. `out` is the path that is written.
    std::vector<std::string> (*losses)(const Table& table, const std::string& out);

    void (*writeHead)(Output& output);
    void (*writeTable)(Output& output, const Table& table, const std::vector<Answer>& answers);
};

extern const Writer kOemWriter;
extern const Writer kDotEWriter;
extern const Writer kCsvWriter;

bool AnyRevolution(const Survey& survey) noexcept;

}  // namespace Vectab
