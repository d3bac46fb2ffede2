#include "catalogue/load.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <new>
#include <optional>
#include <string>
#include <sys/stat.h>
#include <unordered_map>
#include <utility>
#include <vector>

#include "catalogue/new_row.h"
#include "catalogue/workers.h"
#include "ingestion/load_driver.h"
#include "ingestion/oem.h"
#include "support/thread_owned.h"
#include "support/trace_log.h"

namespace VecTableCatalogue {
namespace {

using VecTableCardReading::ListMember;
using VecTableSupport::EntryCapture;
using VecTableSupport::InputUnit;
using VecTableTypes::EphemName;
using VecTableTypes::VecTabRecord;

// A file on its way into the catalogue.
struct Loading {
    std::string path;
    EphemName name{};  // of its first record, from the list that names it
    std::int32_t satNum = 0;
    bool isListed = false;
    bool keepsEntries = false;

    std::int32_t status = 0;
    bool isOutOfMemory = false;
    std::vector<ListMember> members{};
    std::vector<NewRow> rows{};
    std::vector<EntryCapture::Entry> entries{};
    std::int64_t badLines = 0;
};

void AddRow(const VecTabRecord& record, Loading& file, std::int32_t covAxes) {
    const bool isUnknown = record.satNum == VEC_TAB_UNKNOWN_SAT_NUM && file.satNum != 0;
    RowFacts facts{isUnknown ? file.satNum : record.satNum, record.coordSys, covAxes, 0, {}};
    facts.Text(RowText::kName) = record.ephemName.IsBlank() ? record.satName.Trimmed() : record.ephemName.Trimmed();
    facts.Text(RowText::kIdentifier) = covAxes == VEC_CAT_AXES_FRAME ? record.satName.Trimmed() : std::string_view();
    facts.Text(RowText::kPath) = file.path;
    facts.Text(RowText::kFormat) = record.format;
    file.rows.push_back(RowOf(facts, record.points.All().first(static_cast<std::size_t>(record.numOfPts))));
}

// Messages are read whole or not at all, and have their covariances rotated into the frame of the states.
std::int32_t ReadWholeMessage(InputUnit& unit, Loading& file) {
    std::vector<VecTabRecord> records;
    if (!VecTableCardReading::ReadMessage(unit, file.path, file.satNum, records)) return VEC_TAB_FAILURE;
    for (const VecTabRecord& record : records) AddRow(record, file, VEC_CAT_AXES_FRAME);
    return VEC_TAB_SUCCESS;
}

// The points of a reader lie in memory that its thread uses again for the next file.
std::int32_t ReadCards(InputUnit& unit, Loading& file) {
    VecTabRecord fallback;
    auto* working = VecTableSupport::ThreadOwned<VecTabRecord>();
    if (working == nullptr) working = &fallback;
    return VecTableCardReading::WalkFile(
        unit, file.path, file.name, *working,
        [](VecTabRecord& record, void* context) {
            AddRow(record, *static_cast<Loading*>(context), VEC_CAT_AXES_UNKNOWN);
        },
        &file);
}

std::int32_t Read(Loading& file) {
    InputUnit unit;
    if (const std::int32_t code = unit.Open(file.path); code != 0) return code;
    if (VecTableCardReading::IsMessage(unit)) return ReadWholeMessage(unit, file);
    if (!file.isListed) file.members = VecTableCardReading::ListMembers(unit);
    unit.Rewind();
    return ReadCards(unit, file);
}

void Load(Loading& file) noexcept {
    EntryCapture capture(file.keepsEntries);
    try {
        file.status = Read(file);
    } catch (const std::bad_alloc&) {
        file.isOutOfMemory = true;
    }
    file.entries = capture.Take();
    file.badLines = capture.SkippedLines();
}

std::int64_t SizeOf(const std::string& path) noexcept {
    struct stat properties;
    return ::stat(path.c_str(), &properties) == 0 && S_ISREG(properties.st_mode) ? properties.st_size : 0;
}

// Loads files on threads; the calling one looks after progress.
class Round {
  public:
    Round(std::vector<Loading>& files, const VecCatLoad& options) : files_(files), options_(options) {
        for (const Loading& file : files) numBytes_ += sizes_.emplace_back(SizeOf(file.path));
    }

    // False when it was stopped.
    bool Run() {
        Workers workers(ThreadCount(options_.threads, files_.size()), files_.size(),
                        [this](std::size_t i) { Take(i); });
        if (!workers.HasThreads()) workers.TakePart();
        constexpr std::chrono::milliseconds kTick{100};
        std::unique_lock lock(mutex_);
        while (!done_.wait_for(lock, kTick, [&] { return numDone_ == files_.size(); })) {
            if (Tell(lock)) continue;
            workers.Stop();
            return false;
        }
        return Tell(lock);
    }

  private:
    void Take(std::size_t i) noexcept {
        Load(files_[i]);
        const std::lock_guard lock(mutex_);
        ++numDone_;
        doneBytes_ += sizes_[i];
        if (numDone_ == files_.size()) done_.notify_one();
    }

    bool Tell(std::unique_lock<std::mutex>& lock) {
        if (options_.progress == nullptr) return true;
        const auto files = static_cast<std::int64_t>(numDone_), bytes = doneBytes_;
        lock.unlock();
        const bool goesOn =
            options_.progress(options_.context, files, static_cast<std::int64_t>(files_.size()), bytes, numBytes_) == 0;
        lock.lock();
        return goesOn;
    }

    std::vector<Loading>& files_;
    const VecCatLoad& options_;
    std::vector<std::int64_t> sizes_;
    std::int64_t numBytes_ = 0;
    std::mutex mutex_;
    std::condition_variable done_;
    std::size_t numDone_ = 0;
    std::int64_t doneBytes_ = 0;
};

// The members of a list, in its order.
std::vector<Loading> MembersOf(const std::vector<Loading>& files) {
    std::vector<Loading> members;
    for (const Loading& file : files) {
        for (const ListMember& member : file.members) {
            Loading& loading = members.emplace_back(Loading{member.path, {}, file.satNum, true, file.keepsEntries});
            if (member.name) loading.name = EphemName(*member.name);
        }
    }
    return members;
}

void TellEntries(const Loading& file, const VecCatLoad& options) {
    for (const EntryCapture::Entry& entry : file.entries) {
        if (options.message == nullptr) {
            VecTableSupport::TraceCaptured(entry);
        } else {
            options.message(options.context, entry.level, entry.path.c_str(), entry.line, entry.text.c_str());
        }
    }
}

// Rows of files in the order of their paths: those of a list's members come before its own.
class Arrival {
  public:
    Arrival(Versions& versions, const VecCatLoad& options) : change_(versions), options_(options) {
        if (options.onSame != VEC_CAT_REPLACE_SAME) return;
        for (std::int64_t number = 0; number < change_.NumRows(); ++number) {
            if (const Row& row = change_.Base()[number]; row.IsThere()) numbers_.try_emplace(ObjectOf(row), number);
        }
    }

    VecCatFile Add(Loading& file, std::span<Loading> members) {
        VecCatFile report{0, change_.NumRows(), 0, 0, 0};
        for (Loading& member : members) Take(member, report);
        Take(file, report);
        report.numRows = change_.NumRows() - report.firstRow;
        return report;
    }

    void Publish() {
        change_.Publish();
        for (NewRow* row : taken_) row->Release();
    }

  private:
    void Take(Loading& file, VecCatFile& report) {
        TellEntries(file, options_);
        if (report.status == 0) report.status = file.isListed && file.status != 0 ? VEC_TAB_FAILURE : file.status;
        report.badLines += file.badLines;
        for (NewRow& row : file.rows) {
            row.SetBadLines(file.badLines);
            const Row& finished = row.Finished();
            report.numPts += finished.numPts;
            Put(finished);
            taken_.push_back(&row);
        }
    }

    // What two tables of one object have in common.
    static std::string ObjectOf(const Row& row) {
        const RowRecord& record = *row.record;
        const std::string_view identifier = record.Text(RowText::kIdentifier);
        std::string object = std::to_string(record.frame) + (identifier.empty() ? " n" : " i");
        if (!identifier.empty()) return object.append(identifier);
        return object.append(std::to_string(record.satNum)).append(" ").append(record.Text(RowText::kName));
    }

    void Put(const Row& row) {
        if (options_.onSame == VEC_CAT_REPLACE_SAME) {
            const auto [same, isNew] = numbers_.try_emplace(ObjectOf(row), change_.NumRows());
            if (!isNew) return change_.Replace(same->second, row);
        }
        change_.Append(row);
    }

    Versions::Change change_;
    std::unordered_map<std::string, std::int64_t> numbers_;  // of rows by their objects, where these are replaced
    const VecCatLoad& options_;
    std::vector<NewRow*> taken_;
};

}  // namespace

std::int64_t LoadFiles(Versions& versions, std::span<const char* const> paths, const VecCatLoad& options,
                       std::span<VecCatFile> files) {
    const bool keepsEntries =
        options.message != nullptr || VecTableSupport::TraceIsWanted(VecTableSupport::kTraceError);
    std::vector<Loading> loadings;
    loadings.reserve(paths.size());
    for (const char* path : paths) loadings.push_back(Loading{path, {}, options.satNum, false, keepsEntries});
    if (!Round(loadings, options).Run()) return -1;
    std::vector<Loading> members = MembersOf(loadings);
    if (!members.empty() && !Round(members, options).Run()) return -1;
    const auto isOut = [](const Loading& file) { return file.isOutOfMemory; };
    if (std::ranges::any_of(loadings, isOut) || std::ranges::any_of(members, isOut)) throw std::bad_alloc();

    Arrival arrival(versions, options);
    std::int64_t failed = 0;
    std::span<Loading> rest(members);
    for (std::size_t i = 0; i < loadings.size(); ++i) {
        const std::size_t own = loadings[i].members.size();
        const VecCatFile report = arrival.Add(loadings[i], rest.first(own));
        rest = rest.subspan(own);
        failed += report.status != 0 ? 1 : 0;
        if (!files.empty()) files[i] = report;
    }
    arrival.Publish();
    return failed;
}

}  // namespace VecTableCatalogue
