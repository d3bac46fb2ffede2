// The calls of catalogue.h.
#include <vectable/catalogue.h>
#include <vectable/host.h>

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "catalogue/answers.h"
#include "catalogue/catalogue.h"
#include "catalogue/describe.h"
#include "catalogue/load.h"
#include "catalogue/new_row.h"
#include "exports/boundary.h"
#include "store/read_gate.h"
#include "store/record_lookup.h"
#include "support/finite.h"

using namespace VecTableDllExports;
using namespace VecTableCatalogue;
using VecTableTypes::kCovTerms;

namespace {

constexpr int64_t kRefused = -1;
constexpr int64_t kMostPoints = INT32_MAX;

int64_t Refuse(std::string_view call, std::string_view why) noexcept {
    LogCall(call, why);
    return kRefused;
}

void LogFile(std::string_view call, std::string_view path, std::string_view what) noexcept {
    VecTableSupport::TextBuilder<VEC_CAT_PATH_LENGTH + 128> text;
    text.Add(call).Add(": ").Add(path).Add(": ").Add(what).Add(".");
    VecTableSupport::TraceLogError(text.Written());
}

std::string_view TextOr(const char* text) noexcept {
    return text == nullptr ? std::string_view() : text;
}

// Why a table cannot be a row; empty when it can.
std::string_view WhatIsWrong(const VecCatTable& table) noexcept {
    if (table.count < 1 || table.count > kMostPoints) return "A table has 1 to 2147483647 points.";
    if (table.ds50UTCs == nullptr || table.states == nullptr) return "Null argument.";
    if (table.covAxes < VEC_CAT_AXES_UNKNOWN || table.covAxes > VEC_CAT_AXES_ORBIT)
        return "Unknown axes of covariances.";
    const std::span times(table.ds50UTCs, static_cast<std::size_t>(table.count));
    if (!std::ranges::all_of(times, VecTableSupport::IsFinite)) return "A time is not finite.";
    if (std::ranges::adjacent_find(times, std::ranges::greater_equal()) != times.end()) return "The times must rise.";
    return {};
}

NewRow RowOfTable(const VecCatTable& table) {
    RowFacts facts{table.satNum, table.frame, table.covAxes, 0, {}};
    facts.Text(RowText::kName) = TextOr(table.name);
    facts.Text(RowText::kIdentifier) = TextOr(table.identifier);
    facts.Text(RowText::kPath) = TextOr(table.path);
    static constexpr Covariance kNone{};
    const auto covOf = [&](std::size_t i) {
        const double* cov = table.covs == nullptr ? kNone.data() : table.covs + kCovTerms * i;
        return std::span<const double, kCovTerms>(cov, kCovTerms);
    };
    const auto count = static_cast<std::size_t>(table.count);
    std::size_t numCovs = 0;
    for (std::size_t i = 0; i < count; ++i) numCovs += IsCovariance(covOf(i)) ? 1 : 0;
    NewRow row(facts, count, numCovs);
    for (std::size_t i = 0; i < count; ++i) {
        const std::span<const double, 6> state(table.states + 6 * i, 6);
        row.Add(table.ds50UTCs[i], state.first<3>(), state.last<3>(), table.revNums == nullptr ? 0 : table.revNums[i],
                covOf(i));
    }
    return row;
}

class StoreReading {
  public:
    StoreReading() noexcept { VecTableTree::BeginRead(); }
    StoreReading(const StoreReading&) = delete;
    StoreReading& operator=(const StoreReading&) = delete;
    ~StoreReading() { VecTableTree::EndRead(); }
};

// The row of a stored record; none when the key is unknown or the record has no points.
std::optional<NewRow> RowOfStored(int64_t satKey) {
    const StoreReading reading;
    VecTableTypes::VecTabRecord* record = nullptr;
    VecTableTree::FindRecPtr(satKey, record, nullptr, true);
    if (record == nullptr || record->numOfPts == 0) return std::nullopt;
    RowFacts facts{record->satNum, record->coordSys, VEC_CAT_AXES_UNKNOWN, 0, {}};
    facts.Text(RowText::kName) = record->satName.Trimmed();
    facts.Text(RowText::kPath) = record->filePath.Trimmed();
    facts.Text(RowText::kFormat) = record->format;
    return RowOf(facts, record->points.All().first(static_cast<std::size_t>(record->numOfPts)));
}

}  // namespace

VecCatalogue* VecCatNew(void) {
    return Guarded("VecCatNew", static_cast<VecCatalogue*>(nullptr), [] { return new VecCatalogue; });
}

int32_t VecCatOpen(const char* path, int32_t flags, VecCatalogue** catalogue) {
    constexpr std::string_view kCall = "VecCatOpen";
    if (catalogue != nullptr) *catalogue = nullptr;
    if (NullArgument(kCall, path, catalogue)) return kFailure;
    return Guarded(kCall, kFailure, [&] {
        auto opened = std::make_unique<VecCatalogue>();
        if (const int32_t code = opened->mapping.Open(path); code != 0) return code;
        Versions::Change change(opened->versions);
        const std::string_view wrong = AddRows(opened->mapping, (flags & VEC_CAT_VERIFY) != 0, change);
        if (!wrong.empty()) {
            LogFile(kCall, path, wrong);
            return kFailure;
        }
        change.Publish();
        *catalogue = opened.release();
        return kSuccess;
    });
}

int32_t VecCatSave(const VecCatalogue* catalogue, const char* path) {
    constexpr std::string_view kCall = "VecCatSave";
    if (NullArgument(kCall, catalogue, path)) return kFailure;
    return Guarded(kCall, kFailure, [&] {
        const Versions::Reading version(catalogue->versions);
        const int32_t code = SaveSnapshot(*version, path);
        if (code == kFailure) LogFile(kCall, path, "it could not be written");
        return code;
    });
}

void VecCatFree(VecCatalogue* catalogue) {
    delete catalogue;
}

int64_t VecCatLoadFiles(VecCatalogue* catalogue, int64_t count, const char* const* paths, const VecCatLoad* options,
                        VecCatFile* files) {
    constexpr std::string_view kCall = "VecCatLoadFiles";
    if (count < 0) return Refuse(kCall, "Negative count.");
    if (NullArgument(kCall, catalogue) || (count > 0 && NullArgument(kCall, paths))) return kRefused;
    const std::span given(paths, static_cast<std::size_t>(count));
    if (std::ranges::find(given, nullptr) != given.end()) return Refuse(kCall, "Null argument.");
    const VecCatLoad wanted = options == nullptr ? VecCatLoad{} : *options;
    return Guarded(kCall, kRefused, [&] {
        const std::span reports(files, files == nullptr ? 0 : given.size());
        const int64_t failed = LoadFiles(catalogue->versions, given, wanted, reports);
        return failed < 0 ? Refuse(kCall, "Stopped.") : failed;
    });
}

int64_t VecCatAddTable(VecCatalogue* catalogue, const VecCatTable* table) {
    constexpr std::string_view kCall = "VecCatAddTable";
    if (NullArgument(kCall, catalogue, table)) return kRefused;
    if (const std::string_view wrong = WhatIsWrong(*table); !wrong.empty()) return Refuse(kCall, wrong);
    return Guarded(kCall, kRefused, [&] {
        NewRow row = RowOfTable(*table);
        Versions::Change change(catalogue->versions);
        const int64_t number = change.Append(row.Finished());
        change.Publish();
        row.Release();
        return number;
    });
}

int64_t VecCatAddStored(VecCatalogue* catalogue, int64_t count, const int64_t* satKeys) {
    constexpr std::string_view kCall = "VecCatAddStored";
    if (count < 0) return Refuse(kCall, "Negative count.");
    if (NullArgument(kCall, catalogue) || (count > 0 && NullArgument(kCall, satKeys))) return kRefused;
    return Guarded(kCall, kRefused, [&] {
        std::vector<NewRow> rows;
        for (int64_t i = 0; i < count; ++i) {
            std::optional<NewRow> row = RowOfStored(satKeys[i]);
            if (!row) return Refuse(kCall, "A key is unknown, or its record has no points.");
            rows.push_back(std::move(*row));
        }
        Versions::Change change(catalogue->versions);
        const int64_t first = change.Base().numRows;
        for (NewRow& row : rows) change.Append(row.Finished());
        change.Publish();
        for (NewRow& row : rows) row.Release();
        return first;
    });
}

int32_t VecCatReplace(VecCatalogue* catalogue, int64_t row, const VecCatTable* table) {
    constexpr std::string_view kCall = "VecCatReplace";
    if (NullArgument(kCall, catalogue, table)) return kFailure;
    if (const std::string_view wrong = WhatIsWrong(*table); !wrong.empty()) {
        LogCall(kCall, wrong);
        return kFailure;
    }
    return Guarded(kCall, kFailure, [&] {
        NewRow replacement = RowOfTable(*table);
        Versions::Change change(catalogue->versions);
        if (!change.Base()[row].IsThere()) {
            LogCall(kCall, "No such row.");
            return kFailure;
        }
        change.Replace(row, replacement.Finished());
        change.Publish();
        replacement.Release();
        return kSuccess;
    });
}

int32_t VecCatRemove(VecCatalogue* catalogue, int64_t count, const int64_t* rows) {
    constexpr std::string_view kCall = "VecCatRemove";
    if (NullArgument(kCall, catalogue) || (count > 0 && NullArgument(kCall, rows))) return kFailure;
    return Guarded(kCall, kFailure, [&] {
        Versions::Change change(catalogue->versions);
        const bool areThere =
            count >= 0 && std::all_of(rows, rows + count, [&](int64_t row) { return change.Base()[row].IsThere(); });
        if (!areThere) {
            LogCall(kCall, count < 0 ? "Negative count." : "No such row.");
            return kFailure;
        }
        for (int64_t i = 0; i < count; ++i) change.Replace(rows[i], {});
        change.Publish();
        return kSuccess;
    });
}

int64_t VecCatNumRows(const VecCatalogue* catalogue) {
    return catalogue == nullptr ? 0 : Versions::Reading(catalogue->versions)->numRows;
}

int32_t VecCatGetRow(const VecCatalogue* catalogue, int64_t row, VecCatRow* described) {
    constexpr std::string_view kCall = "VecCatGetRow";
    if (NullArgument(kCall, catalogue, described)) return kFailure;
    const auto size = described->size;
    if (size != sizeof(VecCatRow)) {
        LogCall(kCall, "The size of the structure is not set.");
        return kFailure;
    }
    const Versions::Reading version(catalogue->versions);
    const Row& found = (*version)[row];
    *described = found.IsThere() ? Describe(found) : VecCatRow{};
    described->size = size;
    if (!found.IsThere()) LogCall(kCall, "No such row.");
    return found.IsThere() ? kSuccess : kFailure;
}

int64_t VecCatFind(const VecCatalogue* catalogue, const VecCatQuery* query, int64_t capacity, int64_t* rows) {
    constexpr std::string_view kCall = "VecCatFind";
    if (capacity < 0) return Refuse(kCall, "Negative capacity.");
    if (NullArgument(kCall, catalogue) || (capacity > 0 && NullArgument(kCall, rows))) return kRefused;
    const VecCatQuery wanted = query == nullptr ? VecCatQuery{} : *query;
    const Versions::Reading version(catalogue->versions);
    int64_t found = 0;
    for (int64_t number = 0; number < version->numRows; ++number) {
        if (!Fits((*version)[number], wanted)) continue;
        if (found < capacity) rows[found] = number;
        ++found;
    }
    return found;
}

int32_t VecCatGetPoints(const VecCatalogue* catalogue, int64_t row, int64_t first, int64_t count, double* ds50UTCs,
                        double* states, int32_t* revNums, double* covs) {
    constexpr std::string_view kCall = "VecCatGetPoints";
    if (NullArgument(kCall, catalogue)) return kFailure;
    const Versions::Reading version(catalogue->versions);
    const Row& found = (*version)[row];
    if (!found.IsThere() || first < 0 || count < 0 || first > found.numPts || count > found.numPts - first) {
        LogCall(kCall, found.IsThere() ? "No such points." : "No such row.");
        return kFailure;
    }
    CopyPoints(found, first, count, {ds50UTCs, states, revNums, covs});
    return kSuccess;
}

namespace {

// Whether the arrays of the answers can be told by 64-bit offsets.
bool IsCountable(int64_t numRows, int64_t numTimes) noexcept {
    int64_t requests, bytes;
    return !__builtin_mul_overflow(numRows, numTimes, &requests) &&
           !__builtin_mul_overflow(requests, int64_t{kCovTerms * sizeof(double)}, &bytes);
}

int64_t Answer(std::string_view call, const VecCatalogue* catalogue, const Requests& requests,
               const VecCatAnswer* wanted) noexcept {
    if (NullArgument(call, catalogue, wanted)) return kRefused;
    if (requests.numRows < 0 || requests.numTimes < 0) return Refuse(call, "Negative count.");
    if (!IsCountable(requests.numRows, requests.pairs ? 1 : requests.numTimes))
        return Refuse(call, "Too many requests.");
    const int64_t count = requests.Count();
    if (count == 0) return 0;
    if (NullArgument(call, requests.ds50UTCs)) return kRefused;
    const Versions::Reading version(catalogue->versions);
    const Answers answers{wanted->states, wanted->covs, wanted->revNums, wanted->outcomes};
    const int64_t without = AnswerRequests(*version, requests, answers, wanted->threads);
    if (without > 0) {
        VecTableSupport::TextBuilder<128> text;
        text.Add(call).Add(": ").AddInteger(without).Add(" of ").AddInteger(count).Add(" requests have no state.");
        VecTableSupport::TraceLogInfo(text.Written());
    }
    return without;
}

}  // namespace

int64_t VecCatGrid(const VecCatalogue* catalogue, int64_t numRows, const int64_t* rows, int64_t numTimes,
                   const double* ds50UTCs, const VecCatAnswer* wanted) {
    return Answer("VecCatGrid", catalogue, {numRows, rows, numTimes, ds50UTCs, false}, wanted);
}

int64_t VecCatPairs(const VecCatalogue* catalogue, int64_t count, const int64_t* rows, const double* ds50UTCs,
                    const VecCatAnswer* wanted) {
    return Answer("VecCatPairs", catalogue, {count, rows, count, ds50UTCs, true}, wanted);
}
