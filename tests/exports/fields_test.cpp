#include <cfenv>
#include <clocale>
#include <cstdlib>
#include <immintrin.h>

#include "helpers/store_test.h"

class Fields : public StoreTest {};

// Denormals flushed, results rounded in any direction: the host's numbers may be worse for it, nothing else.
TEST_F(Fields, TheHostsFloatingPointStateDoesNoHarm) {
    for (const int rounding : {FE_UPWARD, FE_DOWNWARD, FE_TOWARDZERO, FE_TONEAREST}) {
        std::fesetround(rounding);
        _mm_setcsr(_mm_getcsr() | 0x8040U);
        for (const auto& entry : std::filesystem::directory_iterator(SAMPLES)) LoadByName(entry.path());
        std::vector<int64_t> keys(static_cast<std::size_t>(VecTabGetCount()));
        VecTabGetLoaded(0, keys.data());
        State state;
        for (const int64_t key : keys) {
            EXPECT_EQ(AskByIndex(key, 1, state), 0);
            for (double m = 0.0; m < 40.0; m += 0.7) AskByMinutes(key, m, state);
        }
        EXPECT_GT(keys.size(), 15U);
        VecTabRemoveAllSats();
        std::fesetround(FE_TONEAREST);
        _mm_setcsr(_mm_getcsr() & ~0x8040U);
    }
}

TEST_F(Fields, ACommaInTheHostsLocaleChangesNothing) {
    const std::string source = "LC_NUMERIC\ndecimal_point \",\"\nthousands_sep \".\"\ngrouping 3\nEND LC_NUMERIC\n";
    const std::string input = Write("comma.src", source);
    const std::string build = "localedef --force --quiet --charmap=ANSI_X3.4-1968 --inputfile=" + input;
    static_cast<void>(std::system((build + " " + (folder / "comma-locale").string() + " 2>&1").c_str()));
    ::setenv("LOCPATH", folder.c_str(), 1);
    ASSERT_NE(std::setlocale(LC_NUMERIC, "comma-locale"), nullptr);
    EXPECT_EQ(std::to_string(0.5), "0,500000");

    const std::string path = Write("10001.e",
                                   "stk.v.4\nScenarioEpoch 1 Jan 2025 12:00:00.500\nDistanceUnit Kilometers\n"
                                   "EphemerisTimePos\n0.25 7000.5 -1.5E0 .25\n");
    State state;
    const int64_t key = VecTabAddSatFrFile(path.c_str());
    AskByIndex(key, 1, state);
    std::array<char, 512> text{};
    VecTabGetField(key, 5, text.data());
    std::setlocale(LC_ALL, "C");
    ::unsetenv("LOCPATH");
    EXPECT_EQ(state.pos, (Vector{7000.5, -1.5, 0.25}));
    EXPECT_EQ(std::string(text.data(), 20), "7000.500000000000000");
}
