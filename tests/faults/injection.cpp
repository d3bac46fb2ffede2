#include "faults/injection.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <new>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <sys/types.h>
#include <unistd.h>

extern "C" {
void* __real__ZN13VecTableTypes15TakeTableMemoryEm(std::size_t size);
void* __real__ZN13VecTableTypes17ResizeTableMemoryEPvmm(void* bytes, std::size_t used, std::size_t size);
void __real__ZN13VecTableTypes18ReleaseTableMemoryEPv(void* bytes);
int __real_open(const char* path, int flags, int mode);
ssize_t __real_read(int file, void* bytes, std::size_t count);
ssize_t __real_write(int file, const void* bytes, std::size_t count);
int __real_fsync(int file);
int __real_nanosleep(const timespec* length, timespec* rest);
}

namespace Injection {

Fault allocation, openFile, besideFile, readFile, writeFile, renameFile, ownFile, fileCall, blockOfObjects;
std::function<void(char, double)> meanwhile;
std::string changes(100, ' ');  // takes no memory later
int modeOfNewFile = 0;
std::size_t most = SIZE_MAX;

namespace {

std::atomic<long> livePieces{0};

void* Allocate(std::size_t size) {
    void* piece = allocation.Due() ? nullptr : std::malloc(size == 0 ? 1 : size);
    livePieces += piece != nullptr;
    return piece;
}

void* AllocateOrThrow(std::size_t size) {
    void* piece = Allocate(size);
    if (piece == nullptr) throw std::bad_alloc();
    return piece;
}

void Free(void* piece) {
    if (piece != nullptr) --livePieces;
    std::free(piece);
}

// Slots of direct-memory records are aligned beyond the common measure.
void* AllocateAligned(std::size_t size, std::align_val_t alignment) {
    constexpr std::size_t kSmallestBlock = 4096, kBlock = 65536;
    const bool noBlock = blockOfObjects.failing != 0 && blockOfObjects.error != 0 && size >= kSmallestBlock;
    const bool fails = allocation.Due() || noBlock || (size >= kBlock && blockOfObjects.Due());
    void* piece = fails ? nullptr : std::aligned_alloc(static_cast<std::size_t>(alignment), size);
    if (piece == nullptr) return nullptr;
    ++livePieces;
    return std::memset(piece, kFreshByte, size);
}

void* AlignedOrThrow(std::size_t size, std::align_val_t alignment) {
    void* piece = AllocateAligned(size, alignment);
    if (piece == nullptr) throw std::bad_alloc();
    return piece;
}

// Memory of a table, with a mark after it that shows at its end whether anything was written beside it.
class Guarded {
  public:
    static void* Bytes(Guarded* piece, std::size_t size) {
        piece->size_ = size;
        std::memcpy(piece->End(), kMark.data(), kMark.size());
        return piece + 1;
    }
    static Guarded* Of(void* bytes) {
        if (bytes == nullptr) return nullptr;
        Guarded* piece = static_cast<Guarded*>(bytes) - 1;
        if (std::memcmp(piece->End(), kMark.data(), kMark.size()) != 0) {
            std::fputs("written after a piece of memory\n", stderr);
            std::abort();
        }
        return piece;
    }
    static constexpr std::size_t Room(std::size_t size) { return sizeof(Guarded) + size + kMark.size(); }

  private:
    static constexpr std::string_view kMark = "the end of it";
    char* End() { return reinterpret_cast<char*>(this + 1) + size_; }
    alignas(64) std::size_t size_;  // as table memory is
};

Fault otherCall;

// Whether a call on files is to fail, the error number set.
bool Fails(Fault& kind) {
    for (Fault* fault : {&kind, &fileCall}) {
        if (!fault->Due()) continue;
        if (fault->error == kKilled) std::_Exit(1);
        errno = fault->error;
        return true;
    }
    return false;
}

void Meanwhile(char when, double seconds = 0.0) {
    if (meanwhile) meanwhile(when, seconds);
}

void Note(char change) {
    if (changes.back() == change) return;
    changes.erase(0, 1);
    changes += change;
}

}  // namespace

long LivePieces() {
    return livePieces;
}

}  // namespace Injection

// All forms that the compiler asks for: a sanitizer has its own for those that are not here.
#define NEW(form, call, ...)    \
    void* form(__VA_ARGS__) {   \
        return Injection::call; \
    }
#define DELETE(form, ...)             \
    void form(__VA_ARGS__) noexcept { \
        Injection::Free(piece);       \
    }
NEW(operator new, AllocateOrThrow(size), std::size_t size)
NEW(operator new[], AllocateOrThrow(size), std::size_t size)
NEW(operator new, AlignedOrThrow(size, alignment), std::size_t size, std::align_val_t alignment)
DELETE(operator delete, void* piece)
DELETE(operator delete[], void* piece)
DELETE(operator delete, void* piece, std::size_t)
DELETE(operator delete[], void* piece, std::size_t)
DELETE(operator delete, void* piece, std::align_val_t)
DELETE(operator delete, void* piece, std::size_t, std::align_val_t)
DELETE(operator delete, void* piece, const std::nothrow_t&)
DELETE(operator delete, void* piece, std::align_val_t, const std::nothrow_t&)
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return Injection::Allocate(size);
}
void* operator new(std::size_t size, std::align_val_t alignment, const std::nothrow_t&) noexcept {
    return Injection::AllocateAligned(size, alignment);
}

extern "C" {

// Memory of tables, by the names that the compiler gives its functions.
void* __wrap__ZN13VecTableTypes15TakeTableMemoryEm(std::size_t size) {
    using Injection::Guarded;
    if (Injection::allocation.Due()) return nullptr;
    void* piece = __real__ZN13VecTableTypes15TakeTableMemoryEm(Guarded::Room(size));
    if (piece != nullptr) ++Injection::livePieces;
    return piece == nullptr ? nullptr : Guarded::Bytes(static_cast<Guarded*>(piece), size);
}

void* __wrap__ZN13VecTableTypes17ResizeTableMemoryEPvmm(void* bytes, std::size_t used, std::size_t size) {
    using Injection::Guarded;
    if (Injection::allocation.Due()) return nullptr;
    void* piece = __real__ZN13VecTableTypes17ResizeTableMemoryEPvmm(Guarded::Of(bytes), sizeof(Guarded) + used,
                                                                    Guarded::Room(size));
    return piece == nullptr ? nullptr : Guarded::Bytes(static_cast<Guarded*>(piece), size);
}

void __wrap__ZN13VecTableTypes18ReleaseTableMemoryEPv(void* bytes) {
    if (bytes != nullptr) --Injection::livePieces;
    __real__ZN13VecTableTypes18ReleaseTableMemoryEPv(Injection::Guarded::Of(bytes));
}

int __wrap_open(const char* path, int flags, int mode) {
    using Injection::Fails;
    if ((flags & O_CREAT) != 0) Injection::modeOfNewFile = mode;
    if ((std::string_view(path).ends_with(".tmp") && Fails(Injection::besideFile)) || Fails(Injection::openFile))
        return -1;
    return __real_open(path, flags, mode);
}

// Without an error number the file ends where the fault is.
ssize_t __wrap_read(int file, void* bytes, std::size_t count) {
    if (!Injection::Fails(Injection::readFile)) return __real_read(file, bytes, std::min(count, Injection::most));
    return errno == 0 ? 0 : -1;
}

ssize_t __wrap_write(int file, const void* bytes, std::size_t count) {
    struct stat properties;
    const bool isInside = ::fstat(file, &properties) == 0 && ::lseek(file, 0, SEEK_CUR) < properties.st_size;
    Injection::Note(isInside ? 'o' : 'w');
    return Injection::Fails(Injection::writeFile) ? -1 : __real_write(file, bytes, std::min(count, Injection::most));
}

int __wrap_fsync(int file) {
    struct stat properties;
    if (Injection::Fails(Injection::otherCall)) return -1;
    Injection::Note(::fstat(file, &properties) == 0 && S_ISDIR(properties.st_mode) ? 'F' : 'f');
    return __real_fsync(file);
}

int __wrap_nanosleep(const timespec* length, timespec* rest) {
    if (!Injection::meanwhile) return __real_nanosleep(length, rest);
    Injection::Meanwhile('p', static_cast<double>(length->tv_sec) + 1e-9 * static_cast<double>(length->tv_nsec));
    return 0;
}

#define WRAP(type, call, kind, first, parameters, arguments)                     \
    type __real_##call parameters;                                               \
    type __wrap_##call parameters {                                              \
        first;                                                                   \
        return Injection::Fails(Injection::kind) ? -1 : __real_##call arguments; \
    }
using Injection::Meanwhile;
using Injection::Note;
WRAP(int, fchmod, otherCall, , (int file, unsigned mode), (file, mode))
WRAP(int, fchown, ownFile, , (int file, unsigned owner, unsigned group), (file, owner, group))
WRAP(int, fcntl, otherCall, if (command == F_OFD_SETLK) Meanwhile('k'), (int file, int command, void* argument),
     (file, command, argument))
WRAP(ssize_t, pread, readFile, , (int file, void* bytes, std::size_t count, off_t first), (file, bytes, count, first))
WRAP(int, ftruncate, otherCall, Note('t'), (int file, off_t length), (file, length))
WRAP(int, link, otherCall, (Note('l'), Meanwhile('l')), (const char* from, const char* to), (from, to))
WRAP(int, rename, renameFile, Note('r'), (const char* from, const char* to), (from, to))
WRAP(int, unlink, otherCall, , (const char* path), (path))
}
