#include "support/files.h"

#include <cerrno>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "helpers/store_test.h"

using namespace VecTableSupport;

class Files : public StoreTest {
  protected:
    template <std::size_t kRoom = 16>
    Strings Lines(const std::string& text) {
        InputUnit unit;
        EXPECT_EQ(FileOpenMt(Write("lines.txt", text), unit), 0);
        Strings lines, again;
        for (Strings* read : {&lines, &again}) {
            LineBuffer<kRoom> line;
            unit.Rewind();
            while (unit.ReadLine(line) == ReadStatus::kOk) {
                EXPECT_EQ(line.Text().substr(line.Used().size()), std::string(kRoom - line.Used().size(), ' '));
                read->emplace_back(line.Used());
            }
            std::string_view none = "x";
            EXPECT_EQ(unit.NextLine(none), ReadStatus::kEndOfData);
            EXPECT_EQ(none, "");
        }
        EXPECT_EQ(again, lines);
        return lines;
    }
};

TEST_F(Files, LineEndsOfEverySystemAreKnown) {
    const std::pair<std::string, Strings> cases[] = {{"one\ntwo\r\n\nfour", {"one", "two", "", "four"}},
                                                     {"one\n", {"one"}},
                                                     {"a\rb\r\r\nlast\r", {"a\rb\r", "last"}},
                                                     {"", {}},
                                                     {"\r\n\r", {"", ""}},
                                                     {std::string("a\0b\n", 4), {std::string("a\0b", 3)}},
                                                     {"\xEF\xBB\xBFone\n\xEF\xBB\xBFtwo", {"one", "\xEF\xBB\xBFtwo"}},
                                                     {"\xEF\xBB\xBF\xEF\xBB\xBF\n", {"\xEF\xBB\xBF"}}};
    for (const auto& [text, lines] : cases) EXPECT_EQ(Lines(text), lines) << text;
}

// A line may end, or be cut, at any place of a buffer of 65536.
TEST_F(Files, NoLineIsLostWhereABufferEnds) {
    for (const std::size_t length : {15, 16, 17, 4095, 4096, 4097, 5000, 65535, 65536, 65537, 140000}) {
        for (const std::size_t before : {0, 65536 - 4097, 65536 - 4096, 65536 - 4095, 65535}) {
            std::string text, whole(length, 'x'), last(length, 'y');
            for (std::size_t i = 0; i < before; ++i) text += i % 8 == 7 || i + 1 == before ? '\n' : 'f';
            Strings lines = Lines<8192>(text + whole + "\nnext\n" + last);
            ASSERT_GE(lines.size(), 3U);
            lines.erase(lines.begin(), lines.end() - 3);
            const std::string kept =
                whole.substr(0, std::max<std::size_t>(4096, std::min<std::size_t>(lines[0].size(), length)));
            EXPECT_TRUE(lines[0] == kept && lines[1] == "next" && lines[2].starts_with(last.substr(0, 4096))) << length;
        }
    }
}

TEST_F(Files, WhatCannotBeReadTwiceIsRefused) {
    Write("a.txt", "");
    const std::string in = folder.string() + "/";
    ASSERT_EQ(::mkfifo((in + "pipe").c_str(), 0600), 0);
    const std::pair<std::string, int> cases[] = {{in + "pipe", ESPIPE}, {"/dev/zero", ESPIPE},
                                                 {in, EISDIR},          {in + "missing", ENOENT},
                                                 {"", ENOENT},          {std::string("a\0b", 3), EINVAL},
                                                 {in + "a.txt   ", 0},  {in + " a.txt", ENOENT}};
    for (const auto& [path, status] : cases) {
        InputUnit unit;
        EXPECT_EQ(FileOpenMt(path, unit), status) << path;
        std::string_view line;
        EXPECT_EQ(unit.NextLine(line), status == 0 ? ReadStatus::kEndOfData : ReadStatus::kError) << path;
    }
}
