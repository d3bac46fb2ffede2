#include "store/table_memory.h"

#include <algorithm>
#include <array>
#include <csignal>
#include <fstream>
#include <gmock/gmock.h>
#include <numeric>
#include <random>
#include <string>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

using namespace VecTableTypes;

namespace {

constexpr std::size_t kMebibyte = 1 << 20;
constexpr std::size_t kPage = 4096;

// A piece of memory, its ends and a byte of each page the same.
struct Piece {
    unsigned char* bytes;
    std::size_t size;
    unsigned char fill;

    Piece(void* memory, std::size_t length, unsigned char value)
        : bytes(static_cast<unsigned char*>(memory)), size(length), fill(value) {
        for (std::size_t i = 0; i < size; i += kPage) bytes[i] = fill;
        bytes[size - 1] = fill;
    }
    bool IsWhole(std::size_t length) const {
        for (std::size_t i = 0; i < length; i += kPage) {
            if (bytes[i] != fill) return false;
        }
        return length < size || bytes[size - 1] == fill;
    }
    // Bytes of its pages that take memory.
    std::size_t Resident() const {
        unsigned char* first = bytes - reinterpret_cast<std::uintptr_t>(bytes) % kPage;
        std::vector<unsigned char> pages((static_cast<std::size_t>(bytes - first) + size + kPage - 1) / kPage);
        if (::mincore(first, pages.size() * kPage, pages.data()) != 0) return 0;  // there is no such memory any more
        return kPage *
               static_cast<std::size_t>(std::count_if(pages.begin(), pages.end(), [](int page) { return page & 1; }));
    }
};

// The address space that the process has, bytes.
std::size_t AddressSpace() {
    std::ifstream file("/proc/self/statm");
    std::size_t pages = 0;
    file >> pages;
    return pages * kPage;
}

void LimitAddressSpace(std::size_t room) {
    rlimit limit{};
    ::getrlimit(RLIMIT_AS, &limit);
    limit.rlim_cur = std::min(limit.rlim_max, room == SIZE_MAX ? limit.rlim_max : AddressSpace() + room);
    ::setrlimit(RLIMIT_AS, &limit);
}

// Takes, resizes and gives back at random. The pieces that are left.
std::vector<Piece> Walk(unsigned seed) {
    std::mt19937 random(seed);
    std::vector<Piece> pieces;
    const auto anySize = [&] { return std::size_t{1} << (random() % (random() % 50 == 0 ? 27 : 18)); };
    for (int step = 0; step < 1500 && !testing::Test::HasFailure(); ++step) {
        const std::size_t most = random() % 200 == 0 ? 3 : pieces.size();
        for (; pieces.size() > most; pieces.pop_back()) ReleaseTableMemory(pieces.back().bytes);
        const auto fill = static_cast<unsigned char>(random());
        if (pieces.empty() || random() % 5 < 2) {
            const std::size_t size = anySize() + random() % 300;
            void* memory = TakeTableMemory(size);
            EXPECT_TRUE(memory != nullptr && reinterpret_cast<std::uintptr_t>(memory) % 64 == 0);
            pieces.emplace_back(memory, size, fill);
            continue;
        }
        std::swap(pieces[random() % pieces.size()], pieces.back());
        Piece& piece = pieces.back();
        EXPECT_TRUE(piece.IsWhole(piece.size));
        if (random() % 2 == 0) {
            ReleaseTableMemory(piece.bytes);
            pieces.pop_back();
        } else {
            const std::size_t size = random() % 2 == 0 ? 1 + random() % piece.size : piece.size + anySize();
            const std::size_t used = std::min(size, piece.size);
            void* moved = ResizeTableMemory(piece.bytes, used, size);
            EXPECT_TRUE(moved != nullptr && (size > piece.size || moved == piece.bytes));
            piece.bytes = static_cast<unsigned char*>(moved);
            EXPECT_TRUE(piece.IsWhole(used - 1));
            piece = Piece(moved, size, fill);
        }
    }
    return pieces;
}

void ReleaseAll(const std::vector<Piece>& pieces) {
    for (const Piece& piece : pieces) {
        EXPECT_TRUE(piece.IsWhole(piece.size));
        ReleaseTableMemory(piece.bytes);
    }
}

std::size_t Resident(const std::vector<Piece>& pieces) {
    std::size_t sum = 0;
    for (const Piece& piece : pieces) sum += piece.Resident();
    return sum;
}

}  // namespace

// Whatever threads take, resize and give back, no piece touches another one; and the process may fork meanwhile.
TEST(TableMemory, ARandomWalkKeepsEveryPieceItsOwn) {
    const unsigned seed = std::random_device()();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::array<std::vector<Piece>, 3> left;
    std::array<std::thread, 3> threads;
    for (unsigned i = 0; i < 3; ++i) threads[i] = std::thread([&, i] { left[i] = Walk(seed + i); });
    for (int i = 0; i < 20; ++i) {
        const pid_t child = ::fork();
        if (child == 0) {
            ReleaseTableMemory(TakeTableMemory(100));
            ::raise(SIGKILL);  // at an exit the thread sanitizer would miss the threads
        }
        int status = 0;
        ::waitpid(child, &status, 0);
        EXPECT_EQ(status, SIGKILL);
    }
    for (std::thread& thread : threads) thread.join();
    for (const std::vector<Piece>& pieces : left) ReleaseAll(pieces);

    ReleaseTableMemory(TakeTableMemory(8 * kMebibyte));  // the region of that is kept
    const std::size_t before = AddressSpace();
    ReleaseAll(Walk(seed + 3));
    EXPECT_LE(AddressSpace(), before + kMebibyte);
    ReleaseTableMemory(nullptr);
    EXPECT_EQ(TakeTableMemory(SIZE_MAX), nullptr);
}

TEST(TableMemory, WhatIsGivenBackTakesNoMemory) {
    constexpr std::size_t kPieces = 1800;
    std::mt19937 random(1);
    std::vector<std::size_t> order(kPieces);
    std::iota(order.begin(), order.end(), std::size_t{0});
    for (const std::size_t apart : {100, 1, 37}) {  // the pieces that are kept
        std::vector<Piece> pieces;
        for (std::size_t i = 0; i < kPieces; ++i) {
            const std::size_t size = 60'000 + random() % 120'000;
            pieces.emplace_back(TakeTableMemory(size), size, static_cast<unsigned char>(i));
        }
        std::vector<Piece> kept;
        std::shuffle(order.begin(), order.end(), random);
        for (const std::size_t i : order) {
            if (i % apart == 0 && i / apart < kPieces / 100) {
                kept.push_back(pieces[i]);
            } else {
                ReleaseTableMemory(pieces[i].bytes);
            }
        }
        EXPECT_LE(Resident(pieces), Resident(kept) * 3 / 2 + 16 * kMebibyte);
        ReleaseAll(kept);
        EXPECT_LE(Resident(pieces), 8 * kMebibyte);
    }
}

// A region is as small as the room that is there asks for, and none is left where that is too small.
TEST(TableMemory, ATableThatThereIsRoomForIsStored) {
    struct Case {
        std::size_t size, room;
        bool isStored;
    };
    constexpr std::size_t kKibibyte = 1024;
    std::vector<void*> others;
    others.reserve(10'000);
    LimitAddressSpace(0);
    while (void* other = TakeTableMemory(kMebibyte / 2)) others.push_back(other);
    for (const Case& c :
         {Case{10, 1'200, true}, {20'000, 30'000, true}, {31'500, 32'900, true}, {32'760, 32'500, false}}) {
        const std::size_t before = AddressSpace();
        LimitAddressSpace(c.room * kKibibyte);
        void* memory = TakeTableMemory(c.size * kKibibyte);
        LimitAddressSpace(SIZE_MAX);
        EXPECT_EQ(memory != nullptr, c.isStored) << c.size;
        EXPECT_LE(AddressSpace(), before + (c.isStored ? c.room * kKibibyte : 0));
        ReleaseTableMemory(memory);
    }
    for (void* other : others) ReleaseTableMemory(other);
}

// A table grows out of a region into a mapping of its own, which grows and is cut in place or moves as a whole.
TEST(TableMemory, ALongTableKeepsItsBytesWhereverItMoves) {
    void* small = TakeTableMemory(1);
    std::size_t size = 20 * kMebibyte + 1000;
    auto* bytes = static_cast<unsigned char*>(TakeTableMemory(size));
    for (std::size_t i = 0; i < size; ++i) bytes[i] = static_cast<unsigned char>(i % 251);
    for (const std::size_t next : {40 * kMebibyte, 90 * kMebibyte, 33 * kMebibyte, 10 * kMebibyte, 100 * kMebibyte}) {
        bytes = static_cast<unsigned char*>(ResizeTableMemory(bytes, std::min(size, next), next));
        size = std::min(size, next);
        for (std::size_t i = 0; i < size; ++i) ASSERT_EQ(bytes[i], i % 251) << next;
    }
    LimitAddressSpace(0);
    void* const refused[] = {TakeTableMemory(100 * kMebibyte), ResizeTableMemory(bytes, size, 200 * kMebibyte),
                             ResizeTableMemory(small, 1, SIZE_MAX)};
    LimitAddressSpace(SIZE_MAX);
    EXPECT_THAT(refused, testing::Each(nullptr));
    EXPECT_EQ(bytes[size - 1], (size - 1) % 251);
    ReleaseTableMemory(bytes);
    ReleaseTableMemory(small);
}
