#include <functional>
#include <gtest/gtest.h>

#include "helpers/store_test.h"

class Surface : public StoreTest {};

TEST_F(Surface, NullArgumentsAreRefusedByName) {
    const int64_t key = Add(1, 1.0);
    double x = 0.0;
    Vector v{};
    int32_t i = 0;
    char text[512];
    std::array<double, 128> array{};
    const std::pair<const char*, std::function<int64_t()>> cases[] = {
        {"VecTabFieldsToSatKey", [&] { return VecTabFieldsToSatKey(1, nullptr); }},
        {"VecTabAddSatEphem", [&] { return VecTabAddSatEphem(key, 2.0, nullptr, v.data(), 0); }},
        {"VecTabAddSatEphemCovMtx", [&] { return VecTabAddSatEphemCovMtx(key, 2.0, v.data(), v.data(), 0, nullptr); }},
        {"VecTabAddSatEphemExt", [&] { return VecTabAddSatEphemExt(key, 2.0, v.data(), nullptr, 0, array.data()); }},
        {"VecTabGetAllFields",
         [&] { return VecTabGetAllFields(key, &i, text, text, &x, &x, &x, v.data(), v.data(), &i, nullptr, text); }},
        {"VecTabGetField", [&] { return VecTabGetField(key, 1, nullptr); }},
        {"VecTabSetField", [&] { return VecTabSetField(key, 15, nullptr); }},
        {"VecTabStartEndTime", [&] { return VecTabStartEndTime(key, &x, nullptr); }},
        {"VecTabGetEphemeris", [&] { return VecTabGetEphemeris(key, 1, nullptr, v.data(), v.data(), &i); }},
        {"VecTabGetCovMtx", [&] { return VecTabGetCovMtx(key, 1, &x, v.data(), v.data(), &i, nullptr); }},
        {"VecTabMse", [&] { return VecTabMse(key, 0.0, &x, nullptr, v.data(), &i); }},
        {"VecTabMseCovMtx", [&] { return VecTabMseCovMtx(key, 0.0, &x, v.data(), v.data(), &i, nullptr); }},
        {"VecTabDs50UTC", [&] { return VecTabDs50UTC(key, 1.0, &x, v.data(), v.data(), nullptr); }},
        {"VecTabDs50UTCCovMtx", [&] { return VecTabDs50UTCCovMtx(key, 1.0, &x, v.data(), v.data(), &i, nullptr); }},
        {"VecTabXten", [&] { return VecTabXten(key, 1, 0.0, nullptr); }},
        {"VecTabLoadFile", [&] { return VecTabLoadFile(nullptr); }},
        {"VecTabAddSatFrFile", [&] { return VecTabAddSatFrFile(nullptr); }},
        {"VecTabSaveFile", [&] { return VecTabSaveFile(nullptr, 0); }},
        {"VecTabGetLine", [&] { return VecTabGetLine(key, nullptr); }},
        {"VecTabGetInfo",
         [&] {
             VecTabGetInfo(nullptr);
             return 2;
         }},
        {"VecTabGetLoaded",
         [&] {
             VecTabGetLoaded(0, nullptr);
             return 2;
         }},
    };
    for (const auto& [name, call] : cases) {
        const int64_t result = call();
        EXPECT_TRUE(result == 2 || result == -1) << name;
        EXPECT_EQ(log.Take(), Strings{std::string(name) + ": Null argument."});
    }
    x = 5.0;
    EXPECT_EQ(VecTabMse(key, 0.0, &x, nullptr, v.data(), &i), 2);
    EXPECT_EQ(x, 0.0);
    EXPECT_EQ(VecTabGetCount(), 1);
}

TEST_F(Surface, TheLibraryNamesItself) {
    EXPECT_EQ(VecTabInit(), 0);
    std::string info(130, '#');
    VecTabGetInfo(info.data());
    EXPECT_EQ(info.substr(0, 9), "VecTable ");
    EXPECT_EQ(info.substr(128), "##");
    EXPECT_EQ(info.find('\0'), std::string::npos);
}
