// Files and calls, and what they have to give: the cases of tests/data/cases/*.txt, and tests/data/files/NAME.expected
// for the file beside it. A case is lines of these:
//
//   file NAME                               a file of that name: the lines that follow, up to "end"; \r stands for CR
//   holds BYTES NAME                        that file now: its size, and its lines without trailing blanks, up to "end"
//   load NAME                               VecTabLoadFile of that file, VecOemLoadFile of a name in .oem; what follows
//                                           is what it stored. In a file NAME.expected "file NAME" is the load of the
//                                           file beside it
//   status 2                                of the load; 0 when absent
//   record satNum coordSys numOfPts         a record, in the order of entry
//   format NAME                             the format that it was read as; not compared when absent
//   constants ke ae                         of that record; not compared when absent
//   point day seconds x y z vx vy vz [rev]  its points in order: day and seconds of the day, km, km/s
//   cov 21 terms                            of that point; not compared when absent. Of a message: to seven digits,
//                                           since the time of the state that it is turned by is rounded
//   CALL arguments -> result outputs        a call by its name without its "VecTab", "VecHost" or "Vec". "*" is not
//                                           compared, "~1,2" nearly equal, "~x" how a text begins; a list goes on with
//                                           zeros. Outputs left out are cleared by a failure. A first {name} takes the
//                                           result and stands for it later; {folder} is that of the files, {lf} a line
//                                           feed, {version} that of the library
//   nulls CALL arguments -> result          the call with each of its pointers null in turn
//   error TEXT                              entries of the log since the last call at error level, without trailing
//                                           blanks; none when absent
//   length N                                characters of that entry, its trailing blanks included
//   at LINE NAME                            the line that was being read when that entry was made, and the file
//   info TEXT                               the last entries at information level; not compared when absent
#include <algorithm>
#include <cmath>
#include <gmock/gmock.h>

#include "helpers/store_test.h"
#include "script/calls.h"
#include "support/dates.h"

namespace {

struct Case {
    std::string name;
    Strings lines;
};

// A case for each line "case NAME", or one of the name given for the whole file.
void ReadCases(const std::filesystem::path& path, const std::string& name, std::vector<Case>& cases) {
    if (!name.empty()) cases.push_back({name, {}});
    std::ifstream file(path, std::ios::binary);
    bool input = false;
    for (std::string line; std::getline(file, line);) {
        if (!input && line.starts_with("case ")) {
            cases.push_back({line.substr(5), {}});
        } else if (input || !(line.empty() || line[0] == '#')) {
            if (!name.empty() && line.starts_with("file ")) line.replace(0, 4, "load");
            cases.back().lines.push_back(line);
            input = input ? line != "end" : line.starts_with("file ") || line.starts_with("holds ");
        }
    }
}

std::vector<Case> AllCases() {
    std::vector<Case> cases;
    for (const auto& entry : std::filesystem::directory_iterator(TEST_DATA "/cases")) {
        ReadCases(entry.path(), "", cases);
    }
    for (const auto& entry : std::filesystem::directory_iterator(TEST_DATA "/files")) {
        if (entry.path().extension() == ".expected")
            ReadCases(entry.path(), "File_" + entry.path().stem().string(), cases);
    }
    return cases;
}

}  // namespace

class Script : public StoreTest, public testing::WithParamInterface<Case> {
  protected:
    Script() {
        VecTableSupport::SetClock([]() noexcept { return VecTableSupport::CalendarDate{2025, 3, 1}; });
        variables = {{"folder", folder.string()}, {"lf", "\n"}, {"version", VERSION}};
    }

    // The entries of the last call are those that the script has told.
    void CheckLog() {
        Strings logged[2];
        for (const LogEntry& entry : log.entries) {
            EXPECT_FALSE(entry.gateHeld) << entry.text;
            logged[entry.level - 1].push_back(entry.text.substr(0, entry.text.find_last_not_of(' ') + 1));
        }
        EXPECT_EQ(logged[0], errors);
        if (logged[1].size() > infos.size()) logged[1].erase(logged[1].begin(), logged[1].end() - std::ssize(infos));
        EXPECT_EQ(logged[1], infos);
        log.entries.clear();
        errors.clear();
        infos.clear();
    }

    // The entry that the script has told last.
    const LogEntry& LastTold() const {
        std::size_t number = 0;
        const auto isLast = [&](const LogEntry& entry) {
            return entry.level == VEC_HOST_TRACE_ERROR && ++number == errors.size();
        };
        return *std::ranges::find_if(log.entries, isLast);
    }

    // The lines up to "end".
    std::string TakeText() {
        std::string text;
        while (++line != GetParam().lines.end() && *line != "end") {
            text += Replaced(*line, variables) + "\n";
            if (line->ends_with("\\r")) text.replace(text.size() - 3, 3, "\r\n");
        }
        return text;
    }

    void CheckFile(std::size_t size, const std::string& name) {
        std::ifstream file(folder / name);
        std::string text;
        for (std::string read; std::getline(file, read);) text += read.substr(0, read.find_last_not_of(' ') + 1) + "\n";
        EXPECT_EQ(text, TakeText());
        EXPECT_EQ(std::filesystem::file_size(folder / name), size);
    }

    void Load(const std::string& name) {
        CheckLoad();
        const bool isOwn = std::filesystem::exists(folder / name);
        const int32_t before = VecTabGetCount();
        loadStatus = LoadByName(isOwn ? (folder / name).string() : TEST_DATA "/files/" + name);
        covTolerance = name.ends_with(".oem") ? 1e-7 : 0.0;
        loaded = true;
        keys.resize(static_cast<std::size_t>(VecTabGetCount()) + 1);
        VecTabGetLoaded(2, keys.data());
        keys.pop_back();
        std::vector<int64_t> ofLoad(keys.size());
        EXPECT_EQ(VecHostTakeKeys(ofLoad.data(), VecTabGetCount()), VecTabGetCount() - before);
        EXPECT_TRUE(std::equal(keys.begin() + before, keys.end(), ofLoad.begin()));
        std::erase_if(log.entries,
                      [](const LogEntry& entry) { return entry.text.starts_with("Warning-VecTabGetLoaded"); });
    }

    // What a load has stored is what the script has told.
    void CheckLoad() {
        CheckLog();
        if (!std::exchange(loaded, false)) return;
        EXPECT_EQ(loadStatus, std::exchange(expectedStatus, 0));
        EXPECT_EQ(std::exchange(records, 0), keys.size());
    }

    // Takes the next record in the order of entry.
    void CheckRecord() {
        ASSERT_LT(records, keys.size());
        key = keys[records++];
        point = 0;
        std::array<int32_t, 3> expected{}, fields{};
        for (int32_t& field : expected) words >> field;
        char satName[8], ephemName[128], filePath[512];
        double epoch = 0.0, start = 0.0, end = 0.0;
        Vector pos, vel;
        VecTabGetAllFields(key, &fields[0], satName, ephemName, &epoch, &ae, &ke, pos.data(), vel.data(), &fields[1],
                           &fields[2], filePath);
        EXPECT_EQ(fields, expected);
        VecTabStartEndTime(key, &start, &end);
        EXPECT_EQ(epoch, start);
    }

    void CheckFormat(std::string name) {
        std::string format(VEC_HOST_FORMAT_LENGTH, '#');
        EXPECT_EQ(VecHostGetFormat(key, format.data()), 0);
        name.resize(format.size(), ' ');
        EXPECT_EQ(format, name);
    }

    void CheckPoint() {
        double day = 0.0, seconds = 0.0, expected = 0.0;
        ASSERT_EQ(VecTabXten(key, 3, ++point, all.data()), 0) << "point " << point;
        words >> day >> seconds;
        EXPECT_NEAR(all[1], day + seconds / 86400.0, 1e-11) << "point " << point;
        for (std::size_t i = 2; i <= 7 && words >> expected; ++i) {
            EXPECT_DOUBLE_EQ(all[i], expected) << "point " << point;
        }
        EXPECT_EQ(all[8], words >> expected ? expected : 0.0) << "point " << point;
    }

    void CheckCovariance() {
        double term = 0.0;
        for (std::size_t k = 9; k < 30; ++k) {
            ASSERT_TRUE(words >> term) << k;
            EXPECT_NEAR(all[k], term, covTolerance * std::fabs(term)) << k;
        }
    }

    void MakeCall(const std::string& name, const std::string& arguments) {
        CheckLoad();
        const auto arrow = arguments.rfind(" -> ");
        Words given(arguments.substr(0, arrow));
        Words wanted(arrow == std::string::npos ? "" : arguments.substr(arrow + 4));
        std::string result;
        wanted >> result;
        Strings outputs;
        while (wanted >> std::ws && !wanted.eof()) outputs.push_back(TakeWord(wanted, variables));
        const int64_t got = CallsByName().at(name).make(given, variables, outputs, -1);
        result = Replaced(result, variables);
        if (result.starts_with("{")) {
            variables[result.substr(1, result.size() - 2)] = std::to_string(got);
        } else if (!result.empty() && result != "*") {
            EXPECT_EQ(std::to_string(got), result);
        }
    }

    void TryNulls(const std::string& name, const std::string& arguments) {
        CheckLoad();
        const auto arrow = arguments.rfind(" -> ");
        const Call& call = CallsByName().at(name);
        for (int place = 0; place < call.pointers; ++place) {
            Words given(arguments.substr(0, arrow));
            EXPECT_EQ(std::to_string(call.make(given, variables, {}, place)), arguments.substr(arrow + 4)) << place;
            const std::string told = name + ": Null argument.";
            EXPECT_THAT(log.Take(),
                        testing::ElementsAre(testing::AnyOf("VecTab" + told, "VecHost" + told, "Vec" + told)))
                << place;
        }
    }

    void RunLine() {
        words = Words(*line);
        std::string verb, name;
        words >> verb;
        const std::string rest = line->substr(std::min(verb.size() + 1, line->size()));
        double number = 0.0;
        if (verb == "file") return static_cast<void>(Write(rest, TakeText()));
        if (verb == "load") return Load(rest);
        if (verb == "record") return CheckRecord();
        if (verb == "point") return CheckPoint();
        if (verb == "cov") return CheckCovariance();
        if (verb == "format") return CheckFormat(rest);
        if (verb == "error") return errors.push_back(Replaced(rest, variables));
        if (verb == "info") return infos.push_back(Replaced(rest, variables));
        if (CallsByName().contains(verb)) return MakeCall(verb, line->substr(verb.size()));
        if (verb == "nulls" && words >> name) return TryNulls(name, rest.substr(name.size()));
        ASSERT_TRUE(words >> number) << "no such line";
        if (verb == "holds" && words >> name) CheckFile(static_cast<std::size_t>(number), name);
        if (verb == "status") expectedStatus = static_cast<int32_t>(number);
        if (verb == "length") EXPECT_EQ(LastTold().text.size(), number);
        if (verb == "at" && words >> name) EXPECT_EQ(LastTold().path, folder / name);
        if (verb == "at") EXPECT_EQ(LastTold().line, number);
        if (verb == "constants") EXPECT_EQ(ke, number);
        if (verb == "constants" && words >> number) EXPECT_EQ(ae, number);
    }

    Strings::const_iterator line;
    Words words;
    Variables variables;
    Strings errors, infos;
    bool loaded = false;
    int32_t loadStatus = 0, expectedStatus = 0;
    std::vector<int64_t> keys;
    std::size_t records = 0;
    int64_t key = 0;
    int32_t point = 0;
    double ae = 0.0, ke = 0.0;
    double covTolerance = 0.0;  // of a term
    std::array<double, 128> all{};
};

TEST_P(Script, GoesAsTold) {
    const Strings& lines = GetParam().lines;
    for (line = lines.begin(); line != lines.end(); ++line) {
        SCOPED_TRACE(*line);
        RunLine();
    }
    CheckLoad();
}

INSTANTIATE_TEST_SUITE_P(Cases, Script, testing::ValuesIn(AllCases()),
                         [](const auto& instance) { return instance.param.name; });
