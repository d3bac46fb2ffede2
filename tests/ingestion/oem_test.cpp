// Orbit ephemeris messages that are refused.
#include <gtest/gtest.h>

#include "helpers/store_test.h"
#include "helpers/tables.h"

class Oem : public StoreTest {
  protected:
    static std::string Replaced(std::string text, const std::string& old, const std::string& by) {
        const auto place = text.find(old);
        EXPECT_NE(place, std::string::npos) << old;
        return text.replace(place, old.size(), by);
    }

    static std::string WithLineEnds(std::string cell) {
        while (cell.find("\\n") != std::string::npos) cell = Replaced(cell, "\\n", "\n");
        return cell;
    }

    const std::string text = ReadAll(TEST_DATA "/files/message.oem");
};

TEST_F(Oem, ErrorsTellTheLineAndLeaveNoRecord) {
    for (const Row& row : ReadTable("oem_errors.txt")) {
        SCOPED_TRACE(row[0] + " | " + row[1]);
        const std::string path = Write("a.oem", Replaced(text, WithLineEnds(row[0]), WithLineEnds(row[1])));
        EXPECT_EQ(LoadByName(path), 2);
        std::erase_if(log.entries, [](const LogEntry& entry) { return entry.level == VEC_HOST_TRACE_INFO; });
        const LogEntry expected{VEC_HOST_TRACE_ERROR, "VecOemLoadFile: " + row[3], path, std::stoi(row[2])};
        EXPECT_EQ(log.entries, std::vector{expected});
        log.entries.clear();
        ASSERT_EQ(VecTabGetCount(), 0);
    }
    for (const std::size_t length : {4000, 4001}) {
        LoadByName(Write("a.oem", std::string(length, 'x')));
        EXPECT_EQ(log.Take() == Strings{"VecOemLoadFile: The line is too long."}, length == 4001);
    }
}
