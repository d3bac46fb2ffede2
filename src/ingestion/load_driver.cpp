#include "ingestion/load_driver.h"

#include <map>
#include <utility>
#include <vector>

#include "ingestion/formats.h"
#include "ingestion/loaded_keys.h"
#include "ingestion/point_assembly.h"
#include "store/record_lookup.h"
#include "support/dates.h"
#include "support/keys.h"
#include "support/text.h"
#include "support/trace_log.h"

namespace VecTableCardReading {
namespace {

using VecTableSupport::EntryKeeper;
using VecTableSupport::GetInputFileName;
using VecTableSupport::LineBuffer;
using VecTableSupport::ReadingPlace;
using VecTableSupport::ReadStatus;
using VecTableSupport::TextBuilder;
using VecTableSupport::TraceLogError;
using VecTableSupport::TraceLogInfo;

constexpr std::int32_t kNoReader = -1;

// The last ephemeris of a walk.
struct Summary {
    std::int32_t numOfPts = 0;
    double start = 0.0;  // days since 1950, UTC
    double end = 0.0;
    std::int32_t coordSys = 0;
};

// What one walk over a file works on. The readers fill the record, one after the other.
struct Walk {
    InputUnit& unit;
    std::string_view filePath;
    VecTabRecord& record;
    TakeRecord take;
    void* context;
    Summary summary{};

    bool HasTaken() const noexcept { return summary.numOfPts != 0; }
};

// The record keeps its texts and numbers for the next reader.
void HandOut(Walk& walk) {
    VecTabRecord& record = walk.record;
    walk.summary = {record.numOfPts, record.points[1].ds50UTC, record.LastPoint().ds50UTC, record.coordSys};
    walk.take(record, walk.context);
}

bool HasPoints(const VecTabRecord& record) noexcept {
    if (record.numOfPts != 0) return true;
    TraceLogError("ReadOnlyVecTabs: Input ephemeris does not contain any ephemeris data. It will not be stored.");
    return false;
}

// Runs the reader that a card starts, which makes `status` 0, or 2 with an entry in the log. Other cards leave it.
void RunReader(CardType card, const Line& line, Walk& walk, std::int32_t& status) {
    InputUnit& unit = walk.unit;
    VecTabRecord& record = walk.record;
    record.numOfPts = 0;
    switch (card) {
        case CardType::kV31:
            return ReadV31(unit, line, record, status);
        case CardType::kSimObs:
            return ReadSimObs(unit, line, record, status);
        case CardType::kVecEph:
            return ReadVecEph(unit, line, record, status);
        case CardType::kItc:
            return ReadITC(unit, line, record, status);
        case CardType::kEcr:
            return ReadECR(unit, record, status);
        case CardType::kJ2k:
            return ReadJ2K(unit, record, status);
        case CardType::kOwner:
            return ReadOwner(walk.filePath, unit, line, record, status);
        case CardType::kDotE:
            return ReadDotE(walk.filePath, unit, record, status);
        case CardType::kOasys:
            return ReadOASYS(walk.filePath, unit, record, status);
        case CardType::kLch:
            return ReadLCH(unit, record, status);
        case CardType::kEelv:
            return ReadEELV(unit, line, record, status);
        case CardType::kUniversal:
            return ReadVTUniversalVecTab(unit, line, record, status);
        case CardType::kDceText:
            return ReadDCEText(unit, line, record, status);
        case CardType::kLaunch:
            return ReadLaunchFormat(unit, record, status);
        case CardType::kFileLine:
        case CardType::kNameLine:
        case CardType::kOem:
        case CardType::kNone:
            return;
    }
}

// Reads the file by its cards. False when a reader failed, which ends the walk.
bool ReadByCards(Walk& walk, EphemName& ephemName) {
    Line line;
    while (walk.unit.ReadLine(line) == ReadStatus::kOk) {
        if (line.IsCommentOrBlank()) continue;
        const CardType card = VecTabCardType(line.Text());
        if (card == CardType::kNameLine) walk.record.ephemName = EphemName(GetInputFileName(line.Text()));
        std::int32_t status = kNoReader;
        RunReader(card, line, walk, status);
        if (status == kNoReader) continue;
        if (status == 2 || !HasPoints(walk.record)) return false;
        HandOut(walk);
        ephemName = EphemName();
    }
    return true;
}

// What a binary file gives before a failure is taken all the same.
std::int32_t ReadBinary(Walk& walk) {
    std::int32_t status = 0;
    ReadDCEBinary(walk.filePath, walk.record, status);
    if (!HasPoints(walk.record)) return 2;
    HandOut(walk);
    return status;
}

void LogSummary(const Summary& summary) noexcept {
    if (summary.numOfPts == 0) {
        TraceLogInfo("Total ephemeris points = 0");
        return;
    }
    TextBuilder<128> text;
    text.Add("Total ephemeris points = ").AddInteger(summary.numOfPts);
    text.Add(", Start = ").Add(VecTableSupport::Ds50ToDate15(summary.start).View());
    text.Add(", End = ").Add(VecTableSupport::Ds50ToDate15(summary.end).View()).Add(", Coord = ");
    if (summary.coordSys >= VecTableTypes::kTeme && summary.coordSys <= VecTableTypes::kEcr) {
        text.Add(VecTableTypes::FrameOf(summary.coordSys).name);
    } else {
        text.AddInteger(summary.coordSys);
    }
    TraceLogInfo(text.Text().View());
}

// The second pass. 0 or 2.
std::int32_t ReadFile(Walk& walk, EphemName& ephemName) {
    walk.record.filePath = PathText(walk.filePath);
    walk.record.ephemName = ephemName;
    const ReadingPlace place(walk.filePath, &walk.unit.LineNumber());
    if (FileIsDotDCE(walk.filePath)) return ReadBinary(walk);
    if (!ReadByCards(walk, ephemName)) return 2;
    const ReadingPlace wholeFile(walk.filePath);
    LogSummary(walk.summary);
    return 0;
}

// Hands the list lines of a file to `use`: what they are, and the name or the path in them. Nearly every line of a file
// is none of a list, and is left where it was read.
template <typename Use>
void ForEachListLine(InputUnit& unit, Use use) {
    std::string_view read;
    LineBuffer<VEC_HOST_LIST_LINE_LENGTH> line;
    while (unit.NextLine(read) == ReadStatus::kOk) {
        if (!BeginsListLine(read)) continue;
        line.Assign(read);
        use(VecTabCardType(line.Text()), GetInputFileName(line.Text()));
    }
}

// Takes the points, so that the next reader makes its own. `satKeyOut`, when it is not null, receives what AddRecToMem
// gives.
void Store(VecTabRecord& record, void* satKeyOut) {
    TrimVecTablePts(record);
    VecTableTypes::PointArray points = std::move(record.points);
    VecTabRecord finished = record;
    finished.points = std::move(points);
    MakeRoomForLoadedKeys(1);
    VecTableTree::VecTabBinTree* node = nullptr;
    const std::int64_t key = VecTableTree::AddRecToMem(std::move(finished), &node);
    if (node != nullptr) RememberLoadedKey(key);
    if (satKeyOut != nullptr) *static_cast<std::int64_t*>(satKeyOut) = key;
}

// The files of a list that gave no record, with what they logged. A file that is named again is not read again, so that
// a long list that names itself, or another long text, takes no time for each pair of its lines.
class BarrenFiles {
  public:
    bool Repeat(const InputUnit& unit, std::string_view path) const noexcept {
        const auto file = entries_.find(unit.Version());
        if (file == entries_.end()) return false;
        EntryKeeper::Repeat(file->second, path);
        return true;
    }
    void Remember(const InputUnit& unit, EntryKeeper& entries) {
        constexpr std::size_t kMostFiles = 1000;
        if (entries.HasAll() && entries_.size() < kMostFiles) entries_.emplace(unit.Version(), entries.Take());
    }

  private:
    std::map<VecTableSupport::FileVersion, std::vector<EntryKeeper::Entry>> entries_;
};

// A binary file is told by its name and without a record is short: none is remembered.
void LoadListedFile(std::string_view path, EphemName& name, BarrenFiles& barren) {
    InputUnit unit;
    if (VecTableSupport::FileOpenMt(path, unit) != 0) return;
    const bool isBinary = FileIsDotDCE(path);
    if (!isBinary && barren.Repeat(unit, path)) return;
    EntryKeeper entries;
    VecTabRecord record;
    Walk walk{unit, path, record, Store, nullptr};
    ReadFile(walk, name);
    if (!isBinary && !walk.HasTaken()) barren.Remember(unit, entries);
}

// The path of a listed file. The interface cuts it, to what may be that of another file.
std::string_view CutPath(std::string_view path) noexcept {
    if (path.size() <= VEC_TAB_PATH_LENGTH) return path;
    TextBuilder<VEC_HOST_LIST_LINE_LENGTH + 128> text;
    text.Add("ReadVecTabsFrFile: A path of more than ").AddInteger(VEC_TAB_PATH_LENGTH);
    text.Add(" characters is cut to them: \"").Add(path).Add("\".");
    TraceLogError(text.Written());
    return path.substr(0, VEC_TAB_PATH_LENGTH);
}

// The first pass. The name that it leaves is that of the file's own first record.
void FollowListLines(InputUnit& unit, EphemName& name) {
    BarrenFiles barren;
    ForEachListLine(unit, [&](CardType card, std::string_view value) {
        if (card == CardType::kNameLine) name = EphemName(value);
        if (card == CardType::kFileLine) LoadListedFile(CutPath(value), name, barren);
    });
}

}  // namespace

std::int32_t ReadVecTabsFrFile(std::string_view filePath) {
    InputUnit unit;
    const std::int32_t code = VecTableSupport::FileOpenMt(filePath, unit);
    if (code != 0) return code;
    if (!FileIsDotDCE(filePath)) return ReadVecTabsFrFileUnit(unit, filePath);
    EphemName name;
    return ReadOnlyVecTabs(unit, filePath, name, nullptr);
}

std::int32_t ReadVecTabsFrFileUnit(InputUnit& unit, std::string_view filePath) {
    const ReadingPlace place(filePath, &unit.LineNumber());
    EphemName name;
    unit.Rewind();
    FollowListLines(unit, name);
    unit.Rewind();
    return ReadOnlyVecTabs(unit, filePath, name, nullptr);
}

std::int32_t ReadOnlyVecTabs(InputUnit& unit, std::string_view filePath, EphemName& ephemName,
                             std::int64_t* satKeyOut) {
    VecTabRecord record;
    Walk walk{unit, filePath, record, Store, satKeyOut};
    return ReadFile(walk, ephemName);
}

std::int32_t WalkFile(InputUnit& unit, std::string_view filePath, EphemName& ephemName, VecTabRecord& working,
                      TakeRecord take, void* context) {
    VecTableTypes::PointArray points = std::move(working.points);
    working = VecTabRecord{};
    working.points = std::move(points);
    Walk walk{unit, filePath, working, take, context};
    return ReadFile(walk, ephemName);
}

std::vector<ListMember> ListMembers(InputUnit& unit) {
    std::vector<ListMember> members;
    std::optional<std::string> name;
    unit.Rewind();
    ForEachListLine(unit, [&](CardType card, std::string_view value) {
        if (card == CardType::kNameLine) name = std::string(value);
        if (card != CardType::kFileLine) return;
        members.push_back({std::string(value), unit.LineNumber(), std::exchange(name, std::nullopt)});
    });
    return members;
}

std::int64_t AddVecTabFile(InputUnit& unit, std::string_view filePath) {
    EphemName name;
    std::int64_t key = VecTableSupport::kNoKey;
    return ReadOnlyVecTabs(unit, filePath, name, &key) == 0 ? key : VecTableSupport::kNoKey;
}

}  // namespace VecTableCardReading
