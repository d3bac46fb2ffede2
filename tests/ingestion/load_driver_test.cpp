#include "ingestion/load_driver.h"

#include <cerrno>
#include <filesystem>
#include <gtest/gtest.h>

#include "helpers/store_test.h"

class LoadDriver : public StoreTest {
  protected:
    static std::string Ephemeris(const std::string& day) {
        return "stk.v.4\nScenarioEpoch " + day + " Jan 2025 00:00:00.000\nEphemerisTimePos\n0 1 2 3\n60 1 2 3\n";
    }

    // Number and name of every record, in the order of entry.
    static Strings Stored() {
        std::vector<int64_t> keys(static_cast<std::size_t>(VecTabGetCount()) + 1);
        VecTabGetLoaded(2, keys.data());
        keys.pop_back();
        Strings stored;
        char number[512], name[512];
        for (const int64_t key : keys) {
            VecTabGetField(key, 1, number);
            VecTabGetField(key, 15, name);
            const std::string text = std::string(number, 5) + ' ' + std::string(name, 128);
            stored.push_back(text.substr(0, text.find_last_not_of(' ') + 1));
        }
        return stored;
    }
};

TEST_F(LoadDriver, ListFilesAreFollowedWithTheirNames) {
    const std::string one = Write("10001.e", Ephemeris("1"));
    const std::string two = Write("10002.e", Ephemeris("1") + "#VECTABLE = inside\n");
    const std::string three = Write("10003.e", Ephemeris("1"));
    const std::string failing = Write("10004.e", "stk.v.4\nno epoch\n");
    const std::string nested = Write("nested.txt", "EPHFIL = " + three + "\n");
    const std::string list =
        Write("list.txt", "\n* comment\n#VECTABLE = " + std::string(140, 'n') + "\nEPHFIL = " + failing +
                              "\nEPHFIL = /no/such/file\nEPHFIL =\t" + one + "  \r\nsatfil=" + two +
                              "\nEPHFIL = " + nested + "\nEPHFIL = " + (folder / "list.txt").string() +
                              "\n#VECTABLE = third\nVECTOR_TABLE = " + three);
    EXPECT_EQ(VecTabLoadFile(list.c_str()), 0);
    EXPECT_EQ(Stored(), (Strings{"10001 " + std::string(128, 'n'), "10002", "10003 third"}));
    EXPECT_EQ(log.entries.back().text, "Total ephemeris points = 0");

    VecTabRemoveAllSats();
    EXPECT_EQ(VecTabAddSatFrFile(list.c_str()), -1);  // list lines are not followed here
    EXPECT_EQ(VecTabGetCount(), 0);
}

TEST_F(LoadDriver, ANameLineNamesTheRecordWhereverItStands) {
    const std::string behind = Write("10001.e", Ephemeris("1") + "#VECTABLE = behind the data\n");
    EXPECT_EQ(VecTabLoadFile(behind.c_str()), 0);
    EXPECT_EQ(Stored(), Strings{"10001 behind the data"});
    VecTabRemoveAllSats();
    EXPECT_GT(VecTabAddSatFrFile(behind.c_str()), 0);
    EXPECT_EQ(Stored(), Strings{"10001"});
    VecTabRemoveAllSats();
    const std::string two = Write("10002.e", "#VECTABLE = both\n" + Ephemeris("1") + "end Ephemeris\n" +
                                                 Ephemeris("2") + "end Ephemeris\n#VECTABLE = new\n" + Ephemeris("3"));
    EXPECT_GT(VecTabAddSatFrFile(two.c_str()), 0);
    EXPECT_EQ(Stored(), (Strings{"10002 both", "10002 both", "10002 new"}));
}

TEST_F(LoadDriver, WhatWasFinishedAheadOfAFailureStays) {
    const std::string text = Ephemeris("1") + "end Ephemeris\n" + Ephemeris("2") + "end Ephemeris\nstk.v.4\nfaulty\n";
    const std::string path = Write("10001.e", text);
    EXPECT_EQ(VecTabAddSatFrFile(path.c_str()), -1);
    EXPECT_EQ(Stored(), (Strings{"10001", "10001"}));
    EXPECT_EQ(log.Take(), Strings{"*** ReadDotE: Unable to read reference epoch time. ***"});
    EXPECT_TRUE(log.Take(VEC_HOST_TRACE_INFO).empty());  // no summary

    EXPECT_EQ(VecTabLoadFile(path.c_str()), 2);  // both are duplicates now, which fails nothing
    EXPECT_EQ(VecTabGetCount(), 2);
}

TEST_F(LoadDriver, AnAddedFileGivesTheKeyOfItsLastRecord) {
    const std::string path = Write("10001.e", Ephemeris("1") + "end Ephemeris\n" + Ephemeris("2"));
    const int64_t key = VecTabAddSatFrFile(("   " + path + "   ").c_str());
    EXPECT_EQ(key, VecTabFieldsToSatKey(10001, "25002000000.000"));
    EXPECT_EQ(VecTabAddSatFrFile(path.c_str()), 0);
    VecHostSetDupKeyMode(1);
    EXPECT_EQ(VecTabAddSatFrFile(path.c_str()), key);
    EXPECT_EQ(VecTabAddSatFrFile(Write("none.txt", "nothing known\n").c_str()), -1);
}

TEST_F(LoadDriver, FilesWithoutAnEphemerisStoreNothing) {
    struct {
        std::string path;
        int32_t status;
    } const cases[] = {
        {Write("empty.e", ""), 0},
        {Write("blank.e", "\n  \n\t\n* stk.v.4\n"), 0},
        {Write("oem.txt", " CCSDS_OEM_VERS = 2.0\n2025-01-01T00:00:00 1 2 3 4 5 6\n"), 0},
        {Write("rubbish.e", std::string("\x7f"
                                        "ELF\0\1\2\xff\n\0\0",
                                        12)),
         0},
        {Write("long.e", std::string(1000000, 'x')), 0},
        {(folder / "missing").string(), ENOENT},
        {folder.string(), EISDIR},
        {"", ENOENT},
        {std::string(512, 'x'), ENAMETOOLONG},
    };
    const int64_t kept = Add(1, 1.0);
    for (const auto& c : cases) {
        log.entries.clear();
        EXPECT_EQ(VecTabLoadFile(c.path.c_str()), c.status) << c.path;
        EXPECT_EQ(log.entries.at(0).text, "VecTabLoadFile: Reading VECTABs from file \"" + c.path + "\".");
        EXPECT_TRUE(c.status != 0 || log.entries.at(1).text == "Total ephemeris points = 0") << c.path;
        EXPECT_EQ(VecTabAddSatFrFile(c.path.c_str()), -1);
    }
    EXPECT_EQ(VecTabGetSatKey(1), kept);
}
