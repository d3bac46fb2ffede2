#include <cerrno>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <thread>
#include <tuple>
#include <unistd.h>

#include "helpers/store_test.h"
#include "support/beside_file.h"
#include "support/output.h"

using namespace VecTableSupport;

class Persistence : public StoreTest {
  protected:
    // The files of the folder, so that one left over shows.
    Strings Files() const {
        Strings names;
        for (const auto& entry : std::filesystem::directory_iterator(folder)) names.push_back(entry.path().filename());
        std::sort(names.begin(), names.end());
        return names;
    }

    const std::string header = "\n\n\n*** Vector Table Input Files ***\n";
};

// The interface cuts the path of a listed file, to what may be that of another one.
TEST_F(Persistence, APathThatIsCutIsTold) {
    const std::string text = "stk.v.4\nScenarioEpoch 1 Jan 2025 00:00:00.000\nEphemerisTimePos\n0 1 2 3\n";
    const std::string path = Write("1.e", text), slashes(512 - path.size(), '/');
    const std::string other = folder.string() + slashes + "/1.e",
                      list = Write("list.txt", "\nEPHFIL = " + other + "2\n");
    EXPECT_EQ(VecTabLoadFile(list.c_str()), 0);
    EXPECT_EQ(VecTabGetCount(), 1);
    std::erase_if(log.entries, [](const LogEntry& entry) { return entry.level == VEC_HOST_TRACE_INFO; });
    const std::string told =
        "ReadVecTabsFrFile: A path of more than 512 characters is cut to them: \"" + other + "2\".";
    EXPECT_EQ(log.entries, (std::vector{LogEntry{VEC_HOST_TRACE_ERROR, told, list, 2}}));
    log.entries.clear();
    EXPECT_EQ(VecTabLoadFile(Write("list.txt", "EPHFIL = " + other).c_str()), 0);  // a path that just fits
    EXPECT_EQ(log.Take(), Strings{"AddRecToMem: Duplicated record/key     999999281490586 found."});
}

TEST_F(Persistence, APipeWithoutAReaderAndASecondFileAreRefused) {
    const std::string list = Write("list.txt", "earlier\n"), pipe = folder / "pipe";
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    for (const int32_t saveMode : {0, 1}) {
        EXPECT_EQ(VecTabSaveFile(pipe.c_str(), saveMode), ENXIO);
        OutputUnit other;
        {
            OutputUnit closed;  // its end does not make way for a third one
            ASSERT_EQ(FileOpen(8, pipe + "2", OutputAction::kReplace, closed) + closed.Close(), 0);
            ASSERT_EQ(FileOpen(8, pipe + "2", OutputAction::kReplace, other), 0);
        }
        EXPECT_EQ(VecTabSaveFile(list.c_str(), saveMode), EBUSY);
    }
    EXPECT_EQ(Files(), (Strings{"list.txt", "pipe", "pipe2"}));
    EXPECT_EQ(ReadAll(list), "earlier\n");
    EXPECT_NE(VecTabSaveFile("/proc/list.txt", 0), 0);  // a folder in which nobody makes files
}

TEST_F(Persistence, ASavedFileKeepsItsModeAndItsLinks) {
    const std::string list = Write("list.txt", "earlier\n");
    ::chmod(list.c_str(), 0640);
    std::filesystem::create_symlink("list.txt", folder / "second");
    std::filesystem::create_symlink(folder / "second", folder / "first");
    std::filesystem::create_symlink("no file yet", folder / "early");
    const std::string longName(255, 'n');
    const std::tuple<std::string, int32_t, std::string> cases[] = {
        {"first", 0, "list.txt"},    {"second", 1, "list.txt"}, {"early", 0, "no file yet"},
        {"early", 0, "no file yet"}, {longName, 0, longName},   {longName, 1, longName}};
    for (const auto& [name, saveMode, written] : cases) {
        errno = EIO;  // of an earlier call
        ASSERT_EQ(VecTabSaveFile((folder / name).c_str(), saveMode), 0) << name;
        EXPECT_EQ(std::filesystem::is_symlink(folder / name), name != longName) << name;
        EXPECT_EQ(ReadAll(folder / written), saveMode == 0 ? header : header + header) << name;
    }
    EXPECT_EQ(static_cast<int>(std::filesystem::status(list).permissions()), 0640);
    EXPECT_EQ(Files(), (Strings{"early", "first", "list.txt", longName, "no file yet", "second"}));
    EXPECT_TRUE(log.entries.empty());
    const int open = ::open(list.c_str(), O_RDONLY);
    std::filesystem::rename(list, folder / "kept");
    ::unlink((folder / "kept").c_str());
    const std::string other = Write("kept (deleted)", "other");  // where the link in /proc seems to lead
    const std::string unlinked = "/proc/self/fd/" + std::to_string(open);
    EXPECT_EQ(VecTabSaveFile(unlinked.c_str(), 0), 0);
    EXPECT_EQ(ReadAll(unlinked), header);
    EXPECT_EQ(ReadAll(other), "other");
    EXPECT_EQ(Files(), (Strings{"early", "first", "kept (deleted)", longName, "no file yet", "second"}));
    ::close(open);
}

TEST_F(Persistence, APipeIsWrittenInPlaceAndMayBreak) {
    Write("x", "");
    const std::string pipe = folder / "pipe";
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    for (int i = 0; i < 1000; ++i) Add(i, 1.0);
    for (const bool toTheEnd : {true, false}) {
        std::size_t read = 0;
        std::thread other([&] {
            std::ifstream reader(pipe);
            for (char c; (toTheEnd || read < 100) && reader.get(c); ++read) continue;
        });
        int32_t status = ENXIO;  // until the reader is there
        while (status == ENXIO) status = VecTabSaveFile(pipe.c_str(), 0);
        other.join();
        EXPECT_EQ(status, toTheEnd ? 0 : 2);
        EXPECT_EQ(read, toTheEnd ? header.size() + 1000 * 522 : 100);
    }
}

TEST_F(Persistence, OnlyWhatDeadSavesOfAListLeftIsRemoved) {
    const std::string list = Write("list.txt", "");
    BesideFile alive;
    ASSERT_EQ(alive.Make(list, 0600), 0);
    const std::string inUse = "list.txt.vectable-1.tmp", aFolder = "list.txt.vectable-3.tmp";
    std::filesystem::create_directory(folder / aFolder);
    const Strings kept{"list.tx.vectable-1.tmp",  "list.txt", "list.txt.vectable-01.tmp", inUse, aFolder,
                       "list.txt2.vectable-1.tmp"};
    for (const std::string& file : kept) Write(file, "");
    for (const std::string number : {"2", "4"}) Write("list.txt.vectable-" + number + ".tmp", "");
    EXPECT_EQ(VecTabSaveFile(list.c_str(), 0), 0);
    EXPECT_EQ(Files(), kept);
    ::unlink((folder / inUse).c_str());
    Write(inUse, "half of another one");  // by a host that the locks do not reach
    EXPECT_EQ(alive.TakeName(list, true), ENOENT);
    alive.Remove();
    EXPECT_EQ(Files(), kept);
}

// Where no file may be made, or renamed over one of another user, or where the old one may not be read.
TEST_F(Persistence, AListInAFolderThatRefusesIsWrittenInPlace) {
    const std::string list = Write("list.txt", "earlier\n");
    constexpr uid_t kNobody = 65534;
    const uid_t user = ::geteuid();
    std::string expected;
    for (const auto& [folderMode, listMode, saveMode] :
         {std::tuple{0555U, 0666U, 0}, {0555U, 0666U, 1}, {01777U, 0666U, 0}, {01777U, 0666U, 1}, {0777U, 0222U, 1}}) {
        std::filesystem::permissions(list, std::filesystem::perms{listMode});
        std::filesystem::permissions(folder, std::filesystem::perms{folderMode});
        if (user == 0) ASSERT_EQ(::seteuid(kNobody), 0);
        EXPECT_EQ(VecTabSaveFile(list.c_str(), saveMode), 0);
        ASSERT_EQ(::seteuid(user), 0);
        EXPECT_EQ(std::filesystem::status(list).permissions(), std::filesystem::perms{listMode});
        std::filesystem::permissions(list, std::filesystem::perms{0666});
        expected = (saveMode == 0 ? "" : expected) + header;
        EXPECT_EQ(ReadAll(list), expected);
    }
    std::filesystem::permissions(folder, std::filesystem::perms{0777});
    EXPECT_EQ(Files(), Strings{"list.txt"});
}
