#include "store/table_memory.h"

#include <algorithm>
#include <array>
#include <fstream>
#include <gmock/gmock.h>
#include <random>
#include <string>
#include <sys/resource.h>
#include <unistd.h>
#include <vector>

using namespace VecTableTypes;

namespace {

// A piece of memory, all of its bytes the same.
struct Piece {
    unsigned char* bytes;
    std::size_t size;
    unsigned char fill;

    Piece(void* memory, std::size_t length, unsigned char value)
        : bytes(static_cast<unsigned char*>(memory)), size(length), fill(value) {
        std::fill_n(bytes, size, fill);
    }
    bool IsWhole(std::size_t length) const {
        return std::all_of(bytes, bytes + length, [&](unsigned char byte) { return byte == fill; });
    }
};

// The address space that the process has, bytes.
std::size_t AddressSpace() {
    std::ifstream file("/proc/self/statm");
    std::size_t pages = 0;
    file >> pages;
    return pages * static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
}

constexpr std::size_t kMebibyte = 1 << 20;

// The region that is kept is free as a whole, and there is no other one.
void ExpectAllFree(std::size_t addressSpaceBefore) {
    void* const halves[] = {TakeTableMemory(31 * kMebibyte), TakeTableMemory(31 * kMebibyte)};
    EXPECT_NEAR(double(AddressSpace()), double(addressSpaceBefore), double(kMebibyte));
    for (void* half : halves) ReleaseTableMemory(half);
}

}  // namespace

// Whatever is taken, resized and given back, no piece touches another one.
TEST(TableMemory, ARandomWalkKeepsEveryPieceItsOwn) {
    const unsigned seed = std::random_device()();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    ReleaseTableMemory(TakeTableMemory(1));  // one region is kept
    const std::size_t before = AddressSpace();
    std::vector<Piece> pieces;
    const auto anySize = [&] { return std::size_t{1} << (random() % (random() % 50 == 0 ? 27 : 18)); };
    for (int step = 0; step < 3000 && !testing::Test::HasFailure(); ++step) {
        const auto fill = static_cast<unsigned char>(random());
        if (pieces.empty() || random() % 5 < 2) {
            const std::size_t size = anySize() + random() % 300;
            void* memory = TakeTableMemory(size);
            ASSERT_NE(memory, nullptr);
            ASSERT_EQ(reinterpret_cast<std::uintptr_t>(memory) % 16, 0U);
            pieces.emplace_back(memory, size, fill);
            continue;
        }
        std::swap(pieces[random() % pieces.size()], pieces.back());
        Piece& piece = pieces.back();
        ASSERT_TRUE(piece.IsWhole(piece.size));
        if (random() % 2 == 0) {
            ReleaseTableMemory(piece.bytes);
            pieces.pop_back();
        } else {
            const std::size_t size = random() % 2 == 0 ? 1 + random() % piece.size : piece.size + anySize();
            const std::size_t used = std::min(size, piece.size);
            void* moved = ResizeTableMemory(piece.bytes, used, size);
            ASSERT_TRUE(moved != nullptr && (size > piece.size || moved == piece.bytes));
            piece.bytes = static_cast<unsigned char*>(moved);
            ASSERT_TRUE(piece.IsWhole(used));
            piece = Piece(moved, size, fill);
        }
    }
    for (const Piece& piece : pieces) {
        EXPECT_TRUE(piece.IsWhole(piece.size));
        ReleaseTableMemory(piece.bytes);
    }
    ExpectAllFree(before);
    ReleaseTableMemory(nullptr);
    EXPECT_EQ(TakeTableMemory(SIZE_MAX), nullptr);
}

// A table grows out of a region into a mapping of its own, which grows and is cut in place or moves as a whole.
TEST(TableMemory, ALongTableKeepsItsBytesWhereverItMoves) {
    void* small = TakeTableMemory(1);  // keeps its region in use
    const std::size_t before = AddressSpace();
    std::size_t size = 20 * kMebibyte + 1000;
    auto* bytes = static_cast<unsigned char*>(TakeTableMemory(size));
    for (std::size_t i = 0; i < size; ++i) bytes[i] = static_cast<unsigned char>(i % 251);
    for (const std::size_t next : {40 * kMebibyte, 90 * kMebibyte, 33 * kMebibyte, 10 * kMebibyte, 100 * kMebibyte}) {
        bytes = static_cast<unsigned char*>(ResizeTableMemory(bytes, std::min(size, next), next));
        size = std::min(size, next);
        for (std::size_t i = 0; i < size; ++i) ASSERT_EQ(bytes[i], i % 251) << next;
    }
    std::array<void*, 8> pieces;  // of three regions
    for (void*& piece : pieces) piece = TakeTableMemory(20 * kMebibyte);
    rlimit limit{}, none{};
    ::getrlimit(RLIMIT_AS, &limit);
    none.rlim_max = limit.rlim_max;
    ::setrlimit(RLIMIT_AS, &none);
    void* const refused[] = {TakeTableMemory(31 * kMebibyte), TakeTableMemory(100 * kMebibyte),
                             ResizeTableMemory(bytes, size, 200 * kMebibyte), ResizeTableMemory(small, 1, SIZE_MAX)};
    ::setrlimit(RLIMIT_AS, &limit);
    EXPECT_THAT(refused, testing::Each(nullptr));
    EXPECT_EQ(bytes[size - 1], (size - 1) % 251);
    ReleaseTableMemory(bytes);
    for (void* piece : pieces) ReleaseTableMemory(piece);
    ReleaseTableMemory(small);
    ExpectAllFree(before);
}
