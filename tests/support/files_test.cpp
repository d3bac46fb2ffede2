#include "support/files.h"

#include <cerrno>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "helpers/store_test.h"

using namespace VecTableSupport;

class Files : public StoreTest {
  protected:
    Strings Lines(const std::string& text) {
        InputUnit unit;
        EXPECT_EQ(FileOpenMt(Write("lines.txt", text), unit), 0);
        Strings lines;
        LineBuffer<16> line;
        while (unit.ReadLine(line) == ReadStatus::kOk) {
            EXPECT_EQ(line.Text().substr(line.Used().size()), std::string(16 - line.Used().size(), ' '));
            lines.emplace_back(line.Used());
        }
        return lines;
    }
};

TEST_F(Files, LineEndsOfEverySystemAreKnown) {
    EXPECT_EQ(Lines("one\ntwo\r\n\nfour"), (Strings{"one", "two", "", "four"}));
    EXPECT_EQ(Lines("one\n"), (Strings{"one"}));
    EXPECT_EQ(Lines("a\rb\r\r\nlast\r"), (Strings{"a\rb\r", "last"}));
    EXPECT_EQ(Lines(""), Strings{});
    EXPECT_EQ(Lines(std::string("a\0b\n", 4)), (Strings{std::string("a\0b", 3)}));
}

TEST_F(Files, LinesOfAnyLengthAreCutAtTheBuffer) {
    for (const std::size_t length : {15, 16, 17, 4095, 4096, 4097, 131071, 131072, 131073, 1000000}) {
        const std::string text = std::string(length, 'x') + "\nnext\n" + std::string(length, 'y');
        EXPECT_EQ(Lines(text), (Strings{std::string(std::min<std::size_t>(length, 16), 'x'), "next",
                                        std::string(std::min<std::size_t>(length, 16), 'y')}))
            << length;
    }
}

TEST_F(Files, NoLineIsLostWhereABufferEnds) {
    std::string text;
    Strings expected;
    for (int i = 0; i < 40000; ++i) {
        expected.push_back("line " + std::to_string(i));
        text += expected.back() + (i % 3 == 0 ? "\r\n" : "\n");
    }
    EXPECT_EQ(Lines(text), expected);
}

TEST_F(Files, RewindStartsAgain) {
    InputUnit unit;
    ASSERT_EQ(FileOpenMt(Write("a.txt", "one\ntwo\n"), unit), 0);
    std::string_view line;
    ASSERT_EQ(unit.NextLine(line), ReadStatus::kOk);
    unit.Rewind();
    ASSERT_EQ(unit.NextLine(line), ReadStatus::kOk);
    EXPECT_EQ(line, "one");
}

TEST_F(Files, WhatCannotBeReadTwiceIsRefused) {
    Write("a.txt", "");
    const std::string pipe = folder / "pipe";
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    InputUnit unit;
    EXPECT_EQ(FileOpenMt(pipe, unit), ESPIPE);
    EXPECT_EQ(FileOpenMt("/dev/zero", unit), ESPIPE);
    EXPECT_EQ(FileOpenMt(folder.string(), unit), EISDIR);
    EXPECT_EQ(FileOpenMt(folder.string() + "/missing", unit), ENOENT);
    EXPECT_EQ(FileOpenMt("", unit), ENOENT);
    EXPECT_EQ(FileOpenMt(std::string_view("a\0b", 3), unit), EINVAL);
    EXPECT_EQ(FileOpenMt(folder.string() + "/a.txt   ", unit), 0);
}
