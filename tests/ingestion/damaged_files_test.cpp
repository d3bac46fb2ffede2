// Every hand-worked file, cut at every byte and with every byte replaced by two others: it loads or fails in order,
// what is stored stays, and what is taken from it is a table.
#include <cmath>
#include <gtest/gtest.h>

#include "helpers/store_test.h"

class DamagedFiles : public StoreTest {
  protected:
    void Load(const std::string& name, const std::string& damaged) {
        log.entries.clear();
        const int32_t status = LoadByName(Write(name, damaged));
        ASSERT_TRUE(status == 0 || (status == 2 && !log.Take().empty()));
        ASSERT_TRUE(status == 0 || VecTabGetCount() == 1 || !name.ends_with(".oem"));
        CheckStore();
    }

    void CheckStore() {
        std::vector<int64_t> keys(static_cast<std::size_t>(VecTabGetCount()));
        VecTabGetLoaded(2, keys.data());
        ASSERT_EQ(keys.front(), kept);
        for (const int64_t key : keys) {
            double last = -INFINITY;
            int32_t point = 0;
            State state;
            while (AskByIndex(key, ++point, state) == 0) {
                ASSERT_FALSE(state.time <= last);
                last = state.time;
                // A binary file may hold any number; no text is an infinite one.
                for (const double x : state.pos) ASSERT_TRUE(binary || std::isfinite(x));
                for (const double v : state.vel) ASSERT_TRUE(binary || std::isfinite(v));
            }
            ASSERT_GT(point, 1);
            if (key != kept) VecTabRemoveSat(key);
        }
    }

    int64_t kept = 0;
    bool binary = false;
};

TEST_F(DamagedFiles, DoNoHarm) {
    kept = Add(1, 100.0);
    Append(kept, 100.0);
    for (const auto& entry : std::filesystem::directory_iterator(TEST_DATA "/files")) {
        if (entry.path().extension() == ".expected") continue;
        SCOPED_TRACE(entry.path());
        const std::string name = entry.path().filename();
        binary = entry.path().extension() == ".dce";
        const std::string text = ReadAll(entry.path());
        for (std::size_t length = 0; length < text.size() && !HasFatalFailure(); ++length) {
            Load(name, text.substr(0, length));
        }
        for (std::size_t place = 0; place < text.size() && !HasFatalFailure(); ++place) {
            for (const char c : {"\0\xFF,"[place % 3], " 7"[place % 2]}) {
                std::string damaged = text;
                damaged[place] = c;
                Load(name, damaged);
            }
        }
    }
}
