// Every call with every allocation failed, every load and save with every access to the file failed.
#include <cerrno>
#include <cstring>
#include <functional>
#include <set>
#include <sys/wait.h>
#include <sys/xattr.h>
#include <utility>

#include "faults/injection.h"
#include "helpers/store_test.h"
#include "store/read_gate.h"
#include "store/search_tree.h"
#include "support/file_calls.h"
#include "support/file_update.h"

namespace {

struct Call {
    std::string name;
    int64_t failure;
    bool isLoad;
    std::function<int64_t()> make;
};

Injection::Fault noFault;

}  // namespace

class Faults : public StoreTest {
  protected:
    Faults() {
        first = VecTabAddSat(7, 100.0, 6378.0, 0.07, 1);
        for (int i = 0; i < 8; ++i) Append(first, 100.0 + i / 1440.0);  // fill what is reserved
        list = Write("list.txt", "earlier\n");
        file = Write("10001.e",
                     "stk.v.4\nScenarioEpoch 1 Jan 2025 00:00:00.000\nEphemerisTimePos\n0 1 2 3\nend Ephemeris\n"
                     "stk.v.4\nScenarioEpoch 2 Jan 2025 00:00:00.000\nEphemerisTimePos\n0 1 2 3\n");
        names = Write("names.txt", "EPHFIL = " + file + "\n");
        std::string text = "CCSDS_OEM_VERS = 2.0\n";
        for (const std::string day : {"2025-01-01", "2025-01-02"}) {
            text +=
                "META_START\nOBJECT_NAME = A\nOBJECT_ID = B\nCENTER_NAME = EARTH\nREF_FRAME = ICRF\n"
                "TIME_SYSTEM = UTC\nSTART_TIME = 2025-01-01T00:00\nSTOP_TIME = 2025-01-01T00:00\nMETA_STOP\n" +
                day + "T00:00:00 1 2 3 4 5 6\nCOVARIANCE_START\nCOVARIANCE_STOP\n";
        }
        message = Write("message.oem", text);
    }

    // A sink that takes no memory: the number of errors, and the words of the first one.
    static void Note(int32_t level, const char* text, int32_t length, void* context) {
        auto& test = *static_cast<Faults*>(context);
        if (level == VEC_HOST_TRACE_ERROR && test.errors++ == 0) std::copy_n(text, length, test.words.begin());
    }

    std::string TakeWords() {
        VecHostSetTraceSink(Note, this);
        const std::string taken(words.data());
        errors = 0;
        words.fill('\0');
        return taken.substr(0, taken.find_last_not_of(' ') + 1);
    }

    // The store in words: number of points, epoch and name of every record, in the order of entry.
    static Strings Stored() {
        Strings stored;
        std::vector<int64_t> keys(static_cast<std::size_t>(VecTabGetCount()) + 1);
        VecTabGetLoaded(2, keys.data());
        keys.pop_back();
        for (const int64_t key : keys) {
            stored.emplace_back();
            for (const int32_t code : {1, 2, 12, 15}) {
                std::string text(512, '#');
                VecTabGetField(key, code, text.data());
                stored.back() += text.substr(0, text.find("  ")) + " ";
            }
        }
        return stored;
    }

    static bool GateIsFree() {
        using VecTableTree::gate;
        return gate.Readers() == 0 && !gate.IsUpdating();
    }

    int64_t CallsWithoutMemory() {
        double x = 0.0;
        Vector v{};
        int32_t i = 0;
        char text[512];
        std::array<double, 128> all;
        State s;
        VecTabGetInfo(text);
        VecTabGetLoaded(3, listed.data());
        int64_t sum = VecTabInit() + VecTabGetCount() + VecTabGetSatKey(7) + VecTabGetSatKey(77);
        sum += VecTabFieldsToSatKey(7, "25001") + VecTabRemoveSat(16) + VecTabSetField(first, 14, "x");
        sum += VecTabGetAllFields(first, &i, text, text, &x, &x, &x, v.data(), v.data(), &i, &i, text);
        sum += VecTabGetField(first, 3, text) + VecTabStartEndTime(first, &x, &x) + VecTabGetLine(first, text);
        sum += AskByIndex(first, 2, s) + AskByMinutes(first, 0.5, s) + AskByMinutes(first, 1e300, s);
        sum += VecTabGetEphemeris(first, 1, &x, v.data(), v.data(), &i) + VecTabXten(first, 2, 100.1, all.data());
        sum += VecTabMse(first, 1.5, &x, v.data(), v.data(), &i) + VecTabDs50UTC(16, 1, &x, v.data(), v.data(), &i);
        return sum;
    }

    std::vector<Call> Calls() {
        return {{"VecTabAddSat", -1, false, [] { return VecTabAddSat(8, 100.0, 6378.0, 0.07, 1); }},
                {"VecTabAddSatEphem", 2, false, [this] { return Append(first, 200.0); }},
                {"VecTabAddSatFrFile", -1, true, [this] { return VecTabAddSatFrFile(file.c_str()); }},
                {"VecTabLoadFile", 2, true, [this] { return VecTabLoadFile(file.c_str()); }},
                {"VecTabLoadFile", 2, true, [this] { return VecTabLoadFile(names.c_str()); }},
                {"VecOemLoadFile", 2, false, [this] { return LoadByName(message, 8); }},
                {"VecTabSaveFile", 2, false, [this] { return VecTabSaveFile(list.c_str(), 0); }},
                {"the calls that take no memory", 2, false, [this] { return CallsWithoutMemory(); }},
                {"VecTabGetLoaded", 1, false, [this] {
                     VecTabGetLoaded(0, listed.data());
                     return errors;
                 }}};
    }

    // The call with one of its allocations failed.
    void FailAllocation(const Call& call, int number, bool& happened) {
        const Strings before = Stored();
        const std::string listBefore = ReadAll(list);
        TakeWords();
        Injection::allocation.Arm(number);
        const int64_t result = call.make();
        happened = Injection::allocation.Happened();
        Injection::allocation.Disarm();
        VecTabAddSatFrFile("");  // the thread forgets the keys of its last load
        ASSERT_TRUE(GateIsFree());
        std::string said = TakeWords();
        const std::size_t digits = said.find_last_not_of(" 0123456789.") + 1;
        if (digits + 1 < said.size()) said.replace(digits, std::string::npos, " #.");
        Strings after = Stored();
        for (const int32_t made : {8, 10001}) {
            while (VecTabGetSatKey(made) != -1) VecTabRemoveSat(VecTabGetSatKey(made));
        }
        if (!happened) return;
        if (!said.empty()) allWords.insert(said);
        // A load goes on after a record for which the store has no memory. An array that cannot be cut to size, a sort
        // without room of its own and a block of objects that is too large do without.
        const bool refused = said.starts_with("AddRecToMem: ");
        const bool goesOn = result != call.failure && (said.empty() || (call.isLoad && refused));
        ASSERT_TRUE(goesOn || result == call.failure) << number << said;
        ASSERT_TRUE(goesOn || refused || said == call.name + ": Out of memory.") << number << said;
        ASSERT_GE(after.size(), before.size());
        ASSERT_TRUE(goesOn || call.isLoad || after.size() == before.size());
        after.resize(before.size());
        ASSERT_EQ(after, before);
        ASSERT_EQ(ReadAll(list), listBefore);
    }

    std::set<std::string> allWords;
    int64_t first = 0;
    std::string file, names, message, list;
    std::array<int64_t, 10> listed{};
    int errors = 0;
    std::array<char, 1024> words{};
};

TEST_F(Faults, AFailedAllocationLeavesTheStoreAndTheGateAsTheyWere) {
    for (const int mode : {0, 1}) {
        VecHostSetElsetKeyMode(mode);
        VecTabRemoveSat(Add(8, 100.0));  // a block of objects is never handed back
        for (const Call& call : Calls()) {
            SCOPED_TRACE(call.name + ", mode " + std::to_string(mode));
            bool happened = true;
            for (int number = 1; happened && !HasFatalFailure(); ++number) {
                const long pieces = Injection::LivePieces();
                const std::size_t known = allWords.size();
                FailAllocation(call, number, happened);
                const long expectedPieces = number > 1 && allWords.size() == known ? pieces : Injection::LivePieces();
                EXPECT_EQ(Injection::LivePieces(), expectedPieces) << number;
            }
        }
    }
    std::set<std::string> expected{"AddRecToMem: Cannot allocate memory for a new rec.",
                                   "AddRecToMem: Unable to allocate memory for key #."};
    for (const Call& call : Calls()) {
        if (!call.name.starts_with("the calls")) expected.insert(call.name + ": Out of memory.");
    }
    EXPECT_EQ(allWords, expected);
}

TEST_F(Faults, AMessageThatFailsLeavesADuplicateThatIsAllowed) {
    LoadByName(message, 8);
    VecHostSetDupKeyMode(1);
    const Strings before = Stored();
    bool happened = true;
    for (int number = 1; happened; ++number) {
        Injection::allocation.Arm(number);
        LoadByName(message, 8);
        happened = Injection::allocation.Happened();
        Injection::allocation.Disarm();
        ASSERT_EQ(Stored(), before) << number;
    }
}

TEST_F(Faults, AnEmptiedStoreHoldsNoMemory) {
    const auto fillAgain = [] {
        VecTabRemoveAllSats();
        for (int i = 0; i < 5; ++i) Append(Add(i, 1.0), 2.0);
        return Injection::LivePieces();
    };
    for (const int mode : {0, 1}) {
        VecHostSetElsetKeyMode(mode);
        fillAgain();  // makes a block of objects
        EXPECT_EQ(fillAgain(), fillAgain());
    }
}

TEST_F(Faults, AFileThatCannotBeReadFailsInOrder) {
    int injected = 0;
    std::set<std::string> readers;
    Injection::most = 50;
    for (const auto& entry : std::filesystem::directory_iterator(SAMPLES)) {
        const std::string path = entry.path();
        SCOPED_TRACE(path);
        for (const int error : {EIO, 0, EINTR}) {  // an error, a file that ends early, a signal
            for (int number = 1;; number += 1 + number / 4) {
                log.entries.clear();
                Injection::readFile.Arm(number, error);
                const int32_t status = LoadByName(path);
                const bool happened = Injection::readFile.Happened();
                Injection::readFile.Disarm();
                ASSERT_TRUE(GateIsFree());
                const Strings said = log.Take();
                const bool ended = !said.empty() && (said.back().find("File read error. ***") != std::string::npos ||
                                                     said.back().rfind("ReadOnlyVecTabs: ", 0) == 0 ||
                                                     said.back().rfind("*** ReadDotE: ", 0) == 0 ||
                                                     (said.back().rfind("VecOemLoadFile: ", 0) == 0 &&
                                                      said.back().find("may be cut.") == std::string::npos));
                ASSERT_TRUE(error != EINTR || status == 0) << number;
                if (ended && error == EIO && said.back().find(": File read error.") != std::string::npos) {
                    const std::size_t start = said.back().starts_with("*** ") ? 4 : 0;
                    readers.insert(said.back().substr(start, said.back().find(':') - start));
                }
                ASSERT_EQ(status, ended ? 2 : 0) << number << (said.empty() ? "" : said.back());
                VecTabRemoveAllSats();
                if (!happened) break;
                ++injected;
            }
        }
    }
    Injection::most = SIZE_MAX;
    Injection::openFile.Arm(1, EMFILE);
    EXPECT_EQ(VecTabLoadFile(file.c_str()), EMFILE);
    Injection::openFile.Arm(1, EMFILE);
    EXPECT_EQ(VecTabSaveFile(list.c_str(), 0), EMFILE);
    Injection::openFile.Disarm();
    EXPECT_GT(injected, 100);
    EXPECT_EQ(readers,
              (std::set<std::string>{"ReadDCEBinary", "ReadDCEText", "ReadDotE", "ReadECR", "ReadEELV", "ReadITC",
                                     "ReadJ2K", "ReadLCH", "ReadLaunchFormat", "ReadOASYS", "ReadOwner", "ReadSimObs",
                                     "ReadV31", "ReadVTUniversalVecTab", "ReadVecEph", "VecOemLoadFile"}));
}

// A list that names itself in every line, and other files without a record: what fits the buffer is read from the disk
// once, and logged as often as it is named. What logs much is read again, and so is what is another format by another
// name.
TEST_F(Faults, NoTextIsReadForEachPairOfLines) {
    const std::string faulty = Write("faulty.e", "stk.v.4\nEphemerisTimePos\nbad\n"), own = folder / "own.txt";
    const std::string start = "stk.v.4\nScenarioEpoch 1 Jan 2025 00:00:00.000\nEphemerisTimePos\n";
    const std::string bad = Write("bad.e", start + "bad\nbad\nbad\nbad\n"), binary = folder / "own.dce";
    std::string text = "EPHFIL = " + bad + "\nEPHFIL = " + bad + "\n";
    for (int i = 0; i < 300; ++i) text += "EPHFIL = " + own + "\nEPHFIL = " + faulty + "\n";
    text += "EPHFIL = " + binary + "\n";
    std::filesystem::create_hard_link(Write("own.txt", text), binary);
    Injection::readFile.Arm(0);
    log.entries.clear();
    EXPECT_EQ(VecTabLoadFile(own.c_str()), 0);
    EXPECT_EQ(Injection::readFile.made, 6);
    const LogEntry nothing{VEC_HOST_TRACE_INFO, "Total ephemeris points = 0", own};
    const LogEntry failure{VEC_HOST_TRACE_ERROR, "*** ReadDotE: Unable to read reference epoch time. ***", faulty, 2};
    EXPECT_EQ(std::ranges::count(log.entries, nothing), 301);
    EXPECT_EQ(std::ranges::count(log.entries, failure), 300);
    EXPECT_EQ(log.entries.size(), 602U + 2 * 9);
}

// Whatever call of the system fails, and wherever the process ends, a save leaves the old list whole or the new one,
// and the next save finds nothing in its way.
class Saves : public Faults, public testing::WithParamInterface<std::tuple<Injection::Fault*, std::string, int32_t>> {
  protected:
    Saves() {
        for (int i = 0; i < 4; ++i) Add(i, 1.0);
        std::filesystem::remove(list);
        VecTabSaveFile(list.c_str(), 0);
        section = ReadAll(list);
        expected = (saveMode == 0 ? "" : old) + section;
        Injection::most = 1000;
    }
    ~Saves() override { Injection::most = SIZE_MAX; }

    // The status; -1 when the process ended.
    int SaveOver(bool inChild) {
        std::filesystem::remove(list);
        if (!old.empty()) Write("list.txt", old);
        const pid_t child = inChild ? ::fork() : 0;
        int status = child == 0 ? VecTabSaveFile(list.c_str(), saveMode) : 0;
        if (inChild && child == 0) std::_Exit(status == 0 ? 0 : 2);
        if (inChild) ::waitpid(child, &status, 0);
        return inChild && status != 0 ? -1 : status;
    }

    void CheckWhatIsLeft(int status, int error) {
        const std::string left = ReadAll(list);
        const bool holdsNew = left.find(expected) != std::string::npos;
        const bool holdsOld = left.find(old) != std::string::npos;
        const bool isKept = refusal == &noFault ? left == old || left == expected : holdsOld || holdsNew;
        const bool isUndone = left == old || holdsNew;
        ASSERT_TRUE(status == 0 ? left == expected : status == -1 ? isKept : isUndone) << status << left;
        ASSERT_TRUE(status == -1 || std::filesystem::exists(list) == !left.empty());
        ASSERT_TRUE(GateIsFree());
        const auto warnings = std::ranges::count_if(log.entries, [](const LogEntry& entry) {
            return entry.text ==
                   "Warning-VecTabSaveFile: No file can be made beside the old one. It is written in place.";
        });
        ASSERT_EQ(log.Take(), status == 2 ? Strings{"VecTabSaveFile: File write error."} : Strings{});
        if (status != 0 || error == EACCES || error == Injection::kKilled) return;
        ASSERT_EQ(warnings, refusal == &noFault || old.empty() ? 0 : 1);
        // What is written or cut is on the disk before anything else is done. The folder is last.
        const std::string& changes = Injection::changes;
        const auto isEarly = [](char change, char next) {
            return std::strchr("wot", change) != nullptr && next != 'f';
        };
        ASSERT_EQ(std::ranges::adjacent_find(changes, isEarly), changes.end()) << changes;
        ASSERT_EQ(changes.back(), 'F') << changes;
    }

    Injection::Fault* refusal = std::get<0>(GetParam());  // what the system never lets a save do
    const std::string old = std::get<1>(GetParam());      // empty for no file
    const int32_t saveMode = std::get<2>(GetParam());
    std::string section, expected;
};

TEST_P(Saves, ThatFailOrDieLeaveTheOldListOrTheNewOne) {
    const std::pair<Injection::Fault*, int> faults[] = {{&Injection::fileCall, EIO},
                                                        {&Injection::fileCall, EACCES},
                                                        {&Injection::fileCall, Injection::kKilled},
                                                        {&Injection::writeFile, EINTR},
                                                        {&Injection::readFile, EINTR}};
    for (const auto& [fault, error] : faults) {
        bool happened = true;
        for (int number = 1; happened; ++number) {
            SCOPED_TRACE(std::to_string(error) + " at " + std::to_string(number));
            refusal->Arm(Injection::kEach, EBUSY);
            fault->Arm(number, error);
            Injection::changes.assign(100, ' ');
            const int status = SaveOver(error == Injection::kKilled);
            happened = error == Injection::kKilled ? status == -1 : fault->Happened();
            fault->Disarm();
            refusal->Disarm();
            CheckWhatIsLeft(status, error);
            ASSERT_TRUE(status == 0 || (happened && error != EINTR));
            ASSERT_EQ(VecTabSaveFile(list.c_str(), 0), 0);
            ASSERT_EQ(ReadAll(list), section);
            const auto isLeftOver = [](const auto& entry) { return entry.path().extension() == ".tmp"; };
            ASSERT_EQ(std::ranges::count_if(std::filesystem::directory_iterator(folder), isLeftOver), 0);
            if (HasFatalFailure()) return;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Faults, Saves,
                         testing::Combine(testing::Values(&noFault, &Injection::besideFile, &Injection::renameFile),
                                          testing::Values("", "short\n", std::string(4000, 'x')),
                                          testing::Values(0, 1)));

TEST_F(Faults, ANewListHasTheRightsOfTheOldOneOrFewer) {
    const std::tuple<long, unsigned, unsigned> cases[] = {
        {0, 0764, 0764}, {1, 0764, 0664}, {2, 0664, 0644}, {2, 0646, 0644}, {Injection::kEach, 0764, 0644}};
    for (const auto& [failing, before, after] : cases) {
        std::filesystem::permissions(list, std::filesystem::perms{before});
        Injection::ownFile.Arm(failing, EPERM);  // the owner, then the group
        EXPECT_EQ(VecTabSaveFile(list.c_str(), 0), 0);
        EXPECT_EQ(Injection::modeOfNewFile, 0600);
        EXPECT_EQ(std::filesystem::status(list).permissions(), std::filesystem::perms{after});
    }
    // An access list: one user more may write, the group not. Without the list the bits would say otherwise.
    using namespace std::string_literals;
    const std::string access = "\2\0\0\0\1\0\6\0\xff\xff\xff\xff\2\0\6\0\1\0\0\0\4\0\4\0\xff\xff\xff\xff"s +
                               "\x10\0\6\0\xff\xff\xff\xff\x20\0\4\0\xff\xff\xff\xff"s;
    constexpr const char* kList = "system.posix_acl_access";
    if (::setxattr(folder.c_str(), "system.posix_acl_default", access.data(), access.size(), 0) != 0) return;
    for (const bool hasList : {false, true}) {  // new files of the folder have one
        if (hasList) ::setxattr(list.c_str(), kList, access.data(), access.size(), 0);
        Injection::ownFile.Disarm();
        EXPECT_EQ(VecTabSaveFile(list.c_str(), 0), 0);
        std::string kept(access.size(), '-');
        EXPECT_EQ(::getxattr(list.c_str(), kList, kept.data(), kept.size()) > 0, hasList);
        EXPECT_EQ(kept == access, hasList);
    }
    Injection::ownFile.Arm(2, EPERM);
    EXPECT_EQ(VecTabSaveFile(list.c_str(), 0), 0);
    Injection::ownFile.Disarm();
    EXPECT_EQ(std::filesystem::status(list).permissions(), std::filesystem::perms{0600});
}

// A save takes in what another process does to the list: while it opens it, while it waits for the lock, and while
// there is no list yet. The wait has an end. A process that is forked meanwhile keeps no lock.
TEST_F(Faults, SavesOfSeveralProcessesFollowOneAnother) {
    using VecTableSupport::OutputAction;
    std::array<int, 2> pipe;
    ASSERT_EQ(::pipe(pipe.data()), 0);
    for (const auto& [meeting, saveMode] : {std::pair{'k', 0}, {'k', 1}, {'p', 0}, {'p', 1}, {'l', 1}}) {
        VecTableSupport::FileUpdate other;
        std::array<char, 100> room;
        std::filesystem::remove(list);
        if (meeting != 'l') other.Open(Write("list.txt", "earlier\n"), OutputAction::kReplace);
        Injection::meanwhile = [&, met = false](char when, double) mutable {
            if (when != meeting || std::exchange(met, true)) return;
            if (::fork() == 0) std::_Exit(::close(pipe[1]) + static_cast<int>(::read(pipe[0], room.data(), 1)));
            if (when == 'l') other.Open(list, OutputAction::kReplace);
            VecTableSupport::WriteBytes(other.Descriptor(), "other\n");
            other.Commit(room);
            other.Abandon();
        };
        EXPECT_EQ(VecTabSaveFile(list.c_str(), saveMode), 0);
        EXPECT_EQ(ReadAll(list).size(), (saveMode == 0 ? 0U : 6U) + 36 + 522) << meeting;
        double waited = 0.0;
        Injection::meanwhile = [&](char, double seconds) { waited += seconds; };
        EXPECT_EQ(other.Open(list, OutputAction::kReplace), 0);
        EXPECT_EQ(VecTabSaveFile(list.c_str(), saveMode), EBUSY);
        EXPECT_NEAR(waited, 30.0, 1.0);
        Injection::meanwhile = nullptr;
    }
    for (const int end : pipe) ::close(end);  // which ends the forked ones
    for (int i = 0; i < 5; ++i) EXPECT_GT(::wait(nullptr), 0);
}

// Whatever number of points a table is cut to and goes on from, nothing is written outside its memory.
TEST_F(Faults, ATableGrowsOnFromWhereItWasCut) {
    for (const int points : {1, 999, 1000, 1001, 3001}) {
        std::string text = "stk.v.4\nScenarioEpoch 1 Jan 2025 00:00:00.000\nEphemerisTimePos\n";
        for (int i = 0; i < points; ++i) text += std::to_string(60 * i) + " 1 2 3\n";
        const int64_t key = VecTabAddSatFrFile(Write("10001.e", text).c_str());
        for (int i = points; i < points + 1002; ++i) ASSERT_EQ(Append(key, 27395.0 + i / 1440.0), 0);
        State state;
        ASSERT_EQ(AskByIndex(key, points + 1002, state), 0);
        EXPECT_EQ(state.pos[0], 7000.0);
        ASSERT_EQ(VecTabRemoveSat(key), 0);  // the memory is looked at as it is freed
    }
}

// No store makes a whole block ready. An object whose record cannot be made serves the next one: more of them than a
// block holds take no other block.
TEST_F(Faults, AnObjectThatIsNotUsedIsGivenBack) {
    VecHostSetElsetKeyMode(1);
    VecHostSetTraceSink(nullptr, nullptr);  // takes no memory
    EXPECT_EQ(reinterpret_cast<unsigned char*>(Add(1, 1.0) / 10)[100 * 64], Injection::kFreshByte);
    const long pieces = Injection::LivePieces();
    for (int i = 0; i < 20000; ++i) {
        Injection::allocation.Arm(1);
        Add(1, 1.0);
    }
    Injection::allocation.Disarm();
    EXPECT_EQ(Injection::LivePieces(), pieces);
}

// Where a large block cannot be had, a smaller one does.
TEST_F(Faults, DirectMemoryObjectsTakeWhatThereIs) {
    VecHostSetElsetKeyMode(1);
    std::set<int64_t> keys{Add(-1, 1.0)};
    Injection::blockOfObjects.Arm(1, ENOMEM);  // no block of any size
    for (int i = 0; keys.insert(Add(i, 1.0)).second && i < 100'000; ++i) continue;
    EXPECT_EQ(keys.erase(-1), 1U);
    EXPECT_EQ(log.Take().front(), "AddRecToMem: Cannot allocate memory for a new dma.");
    Injection::blockOfObjects.Arm(1);
    for (int i = 0; i < 200'000 && !HasFailure(); ++i) {
        const int64_t key = Add(i, 1.0);
        ASSERT_TRUE(key > 0 && keys.insert(key).second);
        if (Injection::blockOfObjects.Happened()) Injection::blockOfObjects.Arm(1);
    }
    Injection::blockOfObjects.Disarm();
    EXPECT_EQ(static_cast<std::size_t>(VecTabGetCount()), keys.size() + 1);
}
