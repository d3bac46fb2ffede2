// Catalogues beside a model of them: rows that come, are replaced and removed, saved, opened and damaged.
#include <vectable/catalogue.h>
#include <vectable/host.h>
#include <vectable/vectable.h>

#include <atomic>
#include <cerrno>
#include <cstring>
#include <map>
#include <memory>
#include <random>
#include <thread>
#include <vector>

#include "helpers/store_test.h"

namespace {

struct Freeing {
    void operator()(VecCatalogue* catalogue) const { VecCatFree(catalogue); }
};
using Handle = std::unique_ptr<VecCatalogue, Freeing>;

// A table, with the arrays that the calls take.
struct Table {
    VecCatTable facts{};
    std::string name, identifier;
    std::vector<double> times, states, covs;
    std::vector<int32_t> revNums;

    VecCatTable Given() const {
        VecCatTable given = facts;
        given.name = name.c_str();
        given.identifier = identifier.c_str();
        given.path = "made here";
        given.count = std::ssize(times);
        given.ds50UTCs = times.data();
        given.states = states.data();
        given.revNums = revNums.data();
        given.covs = covs.data();
        return given;
    }
};

class Catalogue : public StoreTest {
  protected:
    Table RandomTable(unsigned numPts = 0) {
        const auto number = [&](unsigned below) { return random() % below; };
        Table table;
        table.facts.satNum = static_cast<int32_t>(random());
        table.facts.frame = static_cast<int32_t>(number(5));
        table.facts.covAxes = static_cast<int32_t>(number(3));
        table.name = std::string(number(300), 'n') + std::to_string(number(10));
        table.identifier = std::string("2026-00") + std::to_string(number(10)) + "A";
        const std::size_t count = numPts != 0 ? numPts : 1 + number(30);
        for (std::size_t i = 0; i < count; ++i) {
            table.times.push_back(27000.0 + static_cast<double>(i) / 1440.0);
            table.revNums.push_back(static_cast<int32_t>(random()));
            const bool hasCov = number(2) == 0;
            for (int j = 0; j < 6; ++j) table.states.push_back(static_cast<double>(random()));
            for (int j = 0; j < 21; ++j) table.covs.push_back(hasCov ? static_cast<double>(random()) : 0.0);
        }
        return table;
    }

    static void ExpectRow(const VecCatalogue* catalogue, int64_t row, const Table& table) {
        VecCatRow described{};
        described.size = sizeof described;
        ASSERT_EQ(VecCatGetRow(catalogue, row, &described), 0);
        const std::size_t count = table.times.size();
        int64_t covPts = 0;
        for (std::size_t i = 0; i < count; ++i) covPts += table.covs[21 * i] > 0.0 ? 1 : 0;
        EXPECT_TRUE(described.satNum == table.facts.satNum && described.frame == table.facts.frame &&
                    described.covAxes == table.facts.covAxes && described.numPts == std::ssize(table.times) &&
                    described.numCovPts == covPts && described.startDs50UTC == table.times.front() &&
                    described.endDs50UTC == table.times.back());
        EXPECT_EQ(described.name, table.name.substr(0, VEC_CAT_NAME_LENGTH - 1));
        EXPECT_EQ(described.identifier + std::string(described.path), table.identifier + "made here");
        Table stored;
        stored.times.resize(count);
        stored.states.resize(6 * count);
        stored.revNums.resize(count);
        stored.covs.resize(21 * count);
        ASSERT_EQ(VecCatGetPoints(catalogue, row, 0, described.numPts, stored.times.data(), stored.states.data(),
                                  stored.revNums.data(), stored.covs.data()),
                  0);
        EXPECT_TRUE(stored.times == table.times && stored.states == table.states && stored.revNums == table.revNums &&
                    stored.covs == table.covs);
    }

    void ExpectModel(const VecCatalogue* catalogue) {
        ASSERT_EQ(VecCatNumRows(catalogue), given);
        std::vector<int64_t> rows(model.size());
        ASSERT_EQ(VecCatFind(catalogue, nullptr, std::ssize(rows), rows.data()), std::ssize(model));
        auto next = rows.begin();
        for (const auto& [row, table] : model) {
            EXPECT_EQ(*next++, row);
            ExpectRow(catalogue, row, table);
            const VecCatQuery query{&table.facts.satNum, table.name.c_str(), table.identifier.c_str(), nullptr};
            int64_t found = -1;
            EXPECT_TRUE(VecCatFind(catalogue, &query, 1, &found) == 1 && found == row);
        }
    }

    // At times within the table, before it and after it.
    void ExpectStates(const VecCatalogue* catalogue, int64_t row, int64_t key) {
        VecCatRow described{};
        described.size = sizeof described;
        ASSERT_EQ(VecCatGetRow(catalogue, row, &described), 0);
        std::uniform_real_distribution<double> within(-0.1, 1.1);
        std::vector<double> times(200, described.startDs50UTC);
        for (std::size_t i = 1; i < times.size(); ++i) {
            times[i] += within(random) * (described.endDs50UTC - described.startDs50UTC);
        }
        std::vector<double> wanted(6 * times.size()), wantedCovs(21 * times.size()), states(wanted), covs(wantedCovs);
        std::vector<int32_t> wantedRevs(times.size()), revs(times.size());
        std::vector<uint8_t> wantedOutcomes(times.size()), outcomes(times.size());
        VecBatchGrid(1, &key, std::ssize(times), times.data(), wanted.data(), wantedCovs.data(), wantedRevs.data(),
                     wantedOutcomes.data());
        const VecCatAnswer answer{states.data(), covs.data(), revs.data(), outcomes.data(), 2, 0};
        VecCatGrid(catalogue, 1, &row, std::ssize(times), times.data(), &answer);
        const auto areSame = [](const std::vector<double>& a, const std::vector<double>& b) {
            return std::memcmp(a.data(), b.data(), a.size() * sizeof(double)) == 0;
        };
        EXPECT_TRUE(areSame(states, wanted) && areSame(covs, wantedCovs) && revs == wantedRevs &&
                    outcomes == wantedOutcomes)
            << described.path;
    }

    void ChangeAtRandom(VecCatalogue* catalogue) {
        const auto some = model.empty() ? model.end() : std::next(model.begin(), random() % model.size());
        const unsigned kind = random() % 4;
        const Table table = RandomTable();
        const VecCatTable arrays = table.Given();
        if (kind < 2 || some == model.end()) {
            ASSERT_EQ(VecCatAddTable(catalogue, &arrays), given);
            model[given++] = table;
        } else if (kind == 2) {
            ASSERT_EQ(VecCatReplace(catalogue, some->first, &arrays), 0);
            some->second = table;
        } else {
            const int64_t rows[] = {some->first, some->first};
            ASSERT_EQ(VecCatRemove(catalogue, 2, rows), 0);
            EXPECT_EQ(VecCatRemove(catalogue, 1, rows) + VecCatReplace(catalogue, rows[0], &arrays), 4);
            model.erase(some);
        }
    }

    std::mt19937 random{7};
    std::map<int64_t, Table> model;
    int64_t given = 0;  // row numbers
};

TEST_F(Catalogue, RowsAreThoseOfTheModelWhateverComesAndGoes) {
    Handle catalogue(VecCatNew());
    const std::string path = Write("all.vtc", "an earlier file");
    for (int round = 0; round < 8; ++round) {
        for (int i = 0; i < 60; ++i) ChangeAtRandom(catalogue.get());
        ExpectModel(catalogue.get());
        ASSERT_EQ(VecCatSave(catalogue.get(), path.c_str()), 0);
        VecCatalogue* opened = nullptr;
        ASSERT_EQ(VecCatOpen(path.c_str(), VEC_CAT_VERIFY, &opened), 0) << log.Take().back();
        catalogue.reset(opened);  // and goes on from there
        ExpectModel(catalogue.get());
    }
}

// Whatever the bytes of a snapshot are, it is refused with a word or read without harm.
TEST_F(Catalogue, DamagedSnapshotsAreRefusedOrHarmless) {
    const Handle catalogue(VecCatNew());
    for (int i = 0; i < 20; ++i) ChangeAtRandom(catalogue.get());
    const std::string path = folder / "all.vtc";
    Write("other", "");
    ASSERT_EQ(VecCatSave(catalogue.get(), path.c_str()), 0);
    const std::string sound = ReadAll(path);
    int refused = 0;
    for (int i = 0; i < 3000; ++i) {
        std::string damaged = sound;
        if (i < 300) damaged.resize(random() % sound.size());
        const std::size_t area = i % 2 == 0 ? damaged.size() : std::min<std::size_t>(damaged.size(), 12000);
        for (unsigned j = 0; j <= random() % 4 && area > 0; ++j) damaged[random() % area] = static_cast<char>(random());
        Write("damaged.vtc", damaged);
        VecCatalogue* opened = nullptr;
        log.entries.clear();
        const int32_t status = VecCatOpen((folder / "damaged.vtc").c_str(), 0, &opened);
        const Handle handle(opened);
        ASSERT_TRUE(status == 0 ? opened != nullptr : opened == nullptr && log.entries.size() == 1U) << status;
        refused += status == 2 ? 1 : 0;
        for (int64_t row = 0; row < VecCatNumRows(opened); ++row) {
            VecCatRow described{};
            described.size = sizeof described;
            if (VecCatGetRow(opened, row, &described) != 0) continue;
            std::vector<double> covs(21 * static_cast<std::size_t>(described.numPts));
            EXPECT_EQ(VecCatGetPoints(opened, row, 0, described.numPts, nullptr, nullptr, nullptr, covs.data()), 0);
        }
    }
    EXPECT_GT(refused, 500);
    log.entries.clear();
}

// Each table has one revolution number in all its points: a mixture would be of two versions.
TEST_F(Catalogue, ReadersSeeOneVersionWhileRowsAreReplaced) {
    const Handle catalogue(VecCatNew());
    const auto tableOf = [&](int32_t mark) {
        Table table = RandomTable(30);
        table.revNums.assign(table.times.size(), mark);
        return table;
    };
    for (int i = 0; i < 100; ++i) {
        const Table table = tableOf(i);
        const VecCatTable arrays = table.Given();
        VecCatAddTable(catalogue.get(), &arrays);
    }
    std::atomic<bool> isOver{false};
    std::atomic<int> mixed{0};
    std::vector<std::jthread> readers;
    for (int reader = 0; reader < 4; ++reader) {
        readers.emplace_back([&, reader] {
            std::mt19937 own(static_cast<unsigned>(reader));
            while (!isOver) {
                const int64_t row = own() % 100;
                std::array<int32_t, 30> revNums{};
                VecCatGetPoints(catalogue.get(), row, 0, 30, nullptr, nullptr, revNums.data(), nullptr);
                if (std::ranges::count(revNums, revNums[0]) != 30) ++mixed;
            }
        });
    }
    for (int i = 0; i < 5000; ++i) {
        const Table table = tableOf(i);
        const VecCatTable arrays = table.Given();
        ASSERT_EQ(VecCatReplace(catalogue.get(), i % 100, &arrays), 0);
    }
    isOver = true;
    readers.clear();
    EXPECT_EQ(mixed, 0);
}

// Every sample, by path and by a list, gives the rows that the store gives records, with states of the same bits.
TEST_F(Catalogue, FilesGiveWhatTheStoreGives) {
    std::vector<std::string> samples;
    std::string list;
    for (const auto& entry : std::filesystem::directory_iterator(SAMPLES)) samples.push_back(entry.path());
    std::ranges::sort(samples);
    std::vector<const char*> paths;
    for (const std::string& sample : samples) list += "EPHFIL = " + sample + "\n";
    const std::string listed = Write("list.txt", list);
    for (const std::string& sample : samples) paths.push_back(sample.c_str());
    paths.push_back(listed.c_str());
    const std::string missing = folder / "missing.e";
    paths.push_back(missing.c_str());

    const Handle catalogue(VecCatNew());
    std::vector<VecCatFile> files(paths.size());
    VecCatLoad options{};
    options.threads = 3;
    ASSERT_EQ(VecCatLoadFiles(catalogue.get(), std::ssize(paths), paths.data(), &options, files.data()), 1);
    EXPECT_EQ(files.back().status, ENOENT);
    const int64_t ofSamples = files[samples.size()].firstRow;
    EXPECT_EQ(files[samples.size()].numRows, ofSamples);
    EXPECT_EQ(VecCatNumRows(catalogue.get()), 2 * ofSamples);
    int64_t row = 0;
    for (std::size_t i = 0; i < samples.size(); ++i) {
        Reset();
        ASSERT_EQ(LoadByName(samples[i]), 0);
        std::vector<int64_t> keys(100);
        keys.resize(static_cast<std::size_t>(VecHostTakeKeys(keys.data(), 100)));
        ASSERT_EQ(std::ssize(keys), files[i].numRows) << samples[i];
        for (const int64_t key : keys) {
            for (const int64_t number : {row, ofSamples + row}) ExpectStates(catalogue.get(), number, key);
            ++row;
        }
    }
    const auto stop = [](void*, int64_t, int64_t, int64_t, int64_t) { return 1; };
    options.progress = stop;
    EXPECT_EQ(VecCatLoadFiles(catalogue.get(), 1, paths.data(), &options, nullptr), -1);
    EXPECT_EQ(VecCatNumRows(catalogue.get()), 2 * ofSamples);
    options = {};
    options.onSame = VEC_CAT_REPLACE_SAME;
    EXPECT_EQ(VecCatLoadFiles(catalogue.get(), 1, paths.data(), &options, files.data()), 0);
    EXPECT_EQ(files[0].numRows + VecCatNumRows(catalogue.get()), 2 * ofSamples);
    log.entries.clear();
}

}  // namespace
