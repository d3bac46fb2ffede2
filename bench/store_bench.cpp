// What do 100,000 records cost to keep, beside the standard containers doing the same, and a table to build point by
// point?
#include <vectable/host.h>
#include <vectable/vectable.h>

#include <algorithm>
#include <array>
#include <benchmark/benchmark.h>
#include <chrono>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <map>
#include <memory>
#include <numeric>
#include <random>
#include <tuple>
#include <unistd.h>
#include <vector>

#include "floor.h"
#include "ratio_report.h"
#include "store/read_gate.h"
#include "store/record_lookup.h"

namespace {

constexpr std::size_t kRecords = 100'000;

struct Identity {
    int32_t satNum;
    double epoch;
};

const std::vector<Identity>& Identities() {
    static const std::vector<Identity> identities = [] {
        std::mt19937_64 random(1);
        std::vector<Identity> made(kRecords);
        for (Identity& identity : made) {
            identity = {static_cast<int32_t>(random() % 100'000'000),
                        27000.0 + static_cast<double>(random() % 8'640'000) / 8640.0};
        }
        return made;
    }();
    return identities;
}

std::vector<int64_t> Shuffled(std::vector<int64_t> keys) {
    std::shuffle(keys.begin(), keys.end(), std::mt19937_64(2));
    return keys;
}

// The standard containers in the place of the store, with records of the same size.
struct FloorRecord {
    int32_t satNum;
    double epoch;
    int32_t seqNum;
    std::array<char, sizeof(VecTableTypes::VecTabRecord)> others;
};
using FloorStore = std::map<int64_t, std::unique_ptr<FloorRecord>>;

class Library {
  public:
    int64_t Add(const Identity& identity) {
        return VecTabAddSat(identity.satNum, identity.epoch, 6378.135, 0.0743669161, 1);
    }

    bool Has(int64_t key) {
        VecTableTypes::VecTabRecord* record = nullptr;
        VecTableTree::FindRecPtr(key, record);
        const bool found = record != nullptr && record->satNum >= 0;
        VecTableTree::EndRead();
        return found;
    }

    void List(int32_t order, std::vector<int64_t>& keys) { VecTabGetLoaded(order, keys.data()); }
    void Remove(int64_t key) { VecTabRemoveSat(key); }
};

class Containers {
  public:
    int64_t Add(const Identity& identity) {
        const auto milliseconds = static_cast<int64_t>(identity.epoch * 86400e3);
        const int64_t key = identity.satNum * 10'000'000'000 + milliseconds % 999'999'937 * 10 + 6;
        auto record = std::make_unique<FloorRecord>();
        record->satNum = identity.satNum;
        record->epoch = identity.epoch;
        record->seqNum = ++seqNum_;
        store_.emplace(key, std::move(record));
        return key;
    }

    bool Has(int64_t key) {
        const auto found = store_.find(key);
        return found != store_.end() && found->second->satNum >= 0;
    }

    void List(int32_t order, std::vector<int64_t>& keys) {
        std::vector<std::tuple<int32_t, double, int64_t>> entries;
        entries.reserve(store_.size());
        for (const auto& [key, record] : store_) {
            if (order == 2) entries.emplace_back(record->seqNum, 0.0, key);
            if (order < 2) entries.emplace_back(record->satNum, record->epoch, key);
            if (order > 2) keys[entries.size()] = key;
        }
        std::sort(entries.begin(), entries.end());
        std::transform(entries.begin(), entries.end(), keys.begin(),
                       [](const auto& entry) { return std::get<2>(entry); });
        if (order == 1) std::reverse(keys.begin(), keys.end());
    }

    void Remove(int64_t key) { store_.erase(key); }

  private:
    FloorStore store_;
    int32_t seqNum_ = 0;
};

// The time of one kind of work, 0 to 3 for adding, looking up, listing, removing, or of all of it for -1.
template <typename Store>
void Work(benchmark::State& state, int kind) {
    for (auto _ : state) {
        Store store;
        double seconds = 0.0;
        int at = 0;
        const auto timed = [&](auto work) {
            const auto start = std::chrono::steady_clock::now();
            work();
            const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - start;
            if (kind < 0 || kind == at) seconds += taken.count();
            ++at;
        };
        std::vector<int64_t> keys;
        timed([&] {
            for (const Identity& identity : Identities()) keys.push_back(store.Add(identity));
        });
        const std::vector<int64_t> shuffled = Shuffled(keys);
        std::size_t found = 0;
        timed([&] {
            for (const int64_t key : shuffled) found += store.Has(key) ? 1 : 0;
        });
        std::vector<int64_t> listed(kRecords);
        timed([&] {
            for (const int32_t order : {0, 1, 2, 3}) store.List(order, listed);
        });
        timed([&] {
            for (const int64_t key : shuffled) store.Remove(key);
        });
        if (found != kRecords) state.SkipWithError("not found");
        state.SetIterationTime(seconds);
    }
}

// A table of the store, or an array that doubles, which get a point at a time.
struct StoredTable {
    int64_t key;

    explicit StoredTable(int32_t satNum = 1) : key(VecTabAddSat(satNum, 27000.0, 6378.135, 0.0743669161, 1)) {}
    void Add(int i) const {
        const double pos[3] = {7000.0, 0.0, 0.0};
        const double vel[3] = {0.0, 7.5, 0.0};
        VecTabAddSatEphem(key, 27000.0 + i / 86400.0, pos, vel, 0);
    }
    void Remove() const { VecTabRemoveSat(key); }
};

struct BareTable {
    Floor::Point* array = nullptr;
    int room = 0;

    explicit BareTable(int32_t /*satNum*/ = 1) {}
    void Add(int i) {
        if (i == room) {
            room = std::max(1000, 2 * room);
            array = static_cast<Floor::Point*>(std::realloc(array, static_cast<std::size_t>(room) * sizeof(*array)));
        }
        array[i] = {27000.0 + i / 86400.0, {7000.0, 0.0, 0.0}, {0.0, 7.5, 0.0}, 0, {}};
    }
    void Remove() const { std::free(array); }
};

template <typename Table>
void Fill(Table& table, int points) {
    for (int i = 0; i < points; ++i) table.Add(i);
    benchmark::DoNotOptimize(table);
    benchmark::ClobberMemory();
}

double SecondsOf(const auto& work) {
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

template <typename Table>
void Build(benchmark::State& state, int points) {
    for (auto _ : state) {
        Table table;
        const double seconds = SecondsOf([&] { Fill(table, points); });
        table.Remove();
        state.SetIterationTime(seconds / points);
    }
}

// Of a thousand tables this part is removed, here and there, and built again.
template <typename Table>
void Churn(benchmark::State& state, std::size_t removed) {
    constexpr int kPoints = 1440;
    std::vector<int32_t> numbers(1000);
    std::iota(numbers.begin(), numbers.end(), 1);
    std::vector<Table> tables(numbers.begin(), numbers.end());
    for (Table& table : tables) Fill(table, kPoints);
    std::mt19937_64 random(1);
    for (auto _ : state) {
        std::shuffle(numbers.begin(), numbers.end(), random);
        const double seconds = SecondsOf([&] {
            for (std::size_t i = 0; i < removed; ++i) tables[static_cast<std::size_t>(numbers[i] - 1)].Remove();
            for (std::size_t i = 0; i < removed; ++i) {
                Table& table = tables[static_cast<std::size_t>(numbers[i] - 1)];
                table = Table(numbers[i]);
                Fill(table, kPoints);
            }
        });
        state.SetIterationTime(seconds / static_cast<double>(removed * kPoints));
    }
    for (const Table& table : tables) table.Remove();
}

// Many tables that get a point each in turn, so that each of them has to move as it grows.
void GrowInTurn(benchmark::State& state) {
    constexpr int kPoints = 300;
    for (auto _ : state) {
        std::vector<StoredTable> tables;
        for (int32_t number = 1; number <= 5000; ++number) tables.emplace_back(number);
        const double seconds = SecondsOf([&] {
            for (int i = 0; i < kPoints; ++i) {
                for (const StoredTable& table : tables) table.Add(i);
            }
        });
        VecTabRemoveAllSats();
        state.SetIterationTime(seconds / (static_cast<double>(tables.size()) * kPoints));
    }
}

// A save ends with the file on the disk; so does its floor.
void Save(benchmark::State& state, const std::string& path) {
    Library library;
    for (const Identity& identity : Identities()) library.Add(identity);
    for (auto _ : state) {
        if (VecTabSaveFile(path.c_str(), 0) != 0) state.SkipWithError("not saved");
    }
    VecTabRemoveAllSats();
    std::filesystem::remove(path);
}

void WriteSameBytes(benchmark::State& state, const std::string& path) {
    const std::string line(521, ' ');
    std::vector<char> buffer(131072);
    for (auto _ : state) {
        const int file = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
        std::size_t used = 0;
        for (std::size_t i = 0; i < kRecords; ++i) {
            if (used + line.size() + 1 > buffer.size()) {
                if (::write(file, buffer.data(), used) < 0) state.SkipWithError("not written");
                used = 0;
            }
            std::copy(line.begin(), line.end(), buffer.data() + used);
            used += line.size();
            buffer[used++] = '\n';
        }
        if (::write(file, buffer.data(), used) < 0) state.SkipWithError("not written");
        ::fsync(file);
        ::close(file);
    }
    std::filesystem::remove(path);
}

template <typename Run>
benchmark::internal::Benchmark* Register(const std::string& name, Run run) {
    return benchmark::RegisterBenchmark(name.c_str(), run)->Unit(benchmark::kMillisecond);
}

}  // namespace

int main(int argc, char** argv) {
    VecHostSetTraceSink(nullptr, nullptr);
    std::vector<Question> questions;
    const std::array<const char*, 4> kinds = {"add", "look up", "list in each order", "remove"};
    for (int kind = -1; kind < 4; ++kind) {
        const std::string subject = "Library_" + std::to_string(kind);
        const std::string floor = "Containers_" + std::to_string(kind);
        Register(subject, [kind](benchmark::State& state) { Work<Library>(state, kind); })->UseManualTime();
        Register(floor, [kind](benchmark::State& state) { Work<Containers>(state, kind); })->UseManualTime();
        const std::string text = kind < 0 ? "all of that" : kinds[static_cast<std::size_t>(kind)];
        questions.push_back({"100,000 records: " + text + ", ms", subject, floor, kind < 0 ? 1.5 : 0.0});
    }
    std::rotate(questions.begin(), questions.begin() + 1, questions.end());
    const std::string path = std::filesystem::temp_directory_path() / "vectable_store_bench.txt";
    Register("Save", [path](benchmark::State& state) { Save(state, path); })->UseRealTime();
    Register("WriteSameBytes", [path](benchmark::State& state) { WriteSameBytes(state, path); })->UseRealTime();
    questions.push_back({"100,000 records: save, beside the same bytes, ms", "Save", "WriteSameBytes", 1.5});
    const auto registerInPoints = [](const std::string& name, auto run) {
        return Register(name, run)->UseManualTime()->Unit(benchmark::kNanosecond);
    };
    for (const auto& [points, goal] : {std::pair{1'440, 2.5}, {100'000, 1.6}, {2'000'000, 1.3}, {10'000'000, 1.3}}) {
        const std::string name = "Build_" + std::to_string(points);
        const auto runs = std::max(1, 1'000'000 / points);
        registerInPoints(name, [n = points](benchmark::State& state) {
            Build<StoredTable>(state, n);
        })->Iterations(runs);
        registerInPoints(name + "Bare", [n = points](benchmark::State& state) {
            Build<BareTable>(state, n);
        })->Iterations(runs);
        questions.push_back({std::to_string(points) + " points by calls, ns a point", name, name + "Bare", goal});
    }
    for (const std::size_t removed : {100U, 990U}) {
        const std::string name = "Churn_" + std::to_string(removed);
        registerInPoints(name, [removed](benchmark::State& state) {
            Churn<StoredTable>(state, removed);
        })->Iterations(5);
        registerInPoints(name + "Bare", [removed](benchmark::State& state) {
            Churn<BareTable>(state, removed);
        })->Iterations(5);
        questions.push_back({std::to_string(removed) + " of 1,000 tables removed and built again, ns a point", name,
                             name + "Bare", removed == 100 ? 2.5 : 0.0});
    }
    registerInPoints("GrowInTurn", GrowInTurn)->Iterations(1);
    questions.push_back({"5,000 tables, a point each in turn, ns a point", "GrowInTurn", "", 0.0});
    return RunWithRatios(argc, argv, questions);
}
