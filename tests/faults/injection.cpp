#include "faults/injection.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <new>
#include <sys/types.h>

extern "C" {
void* __real_realloc(void* piece, std::size_t size);
int __real_open(const char* path, int flags, int mode);
ssize_t __real_read(int file, void* bytes, std::size_t count);
ssize_t __real_write(int file, const void* bytes, std::size_t count);
int __real_fsync(int file);
int __real_rename(const char* from, const char* to);
void __real_free(void* piece);
}

namespace Injection {

Fault allocation, openFile, readFile, writeFile, syncFile, renameFile;
std::size_t most = SIZE_MAX;

namespace {

std::atomic<long> livePieces{0};

void* Allocate(std::size_t size) {
    void* piece = allocation.Due() ? nullptr : std::malloc(size == 0 ? 1 : size);
    if (piece != nullptr) ++livePieces;
    return piece;
}

void* AllocateOrThrow(std::size_t size) {
    void* piece = Allocate(size);
    if (piece == nullptr) throw std::bad_alloc();
    return piece;
}

void Free(void* piece) {
    if (piece != nullptr) --livePieces;
    __real_free(piece);
}

// Slots of direct-memory records are aligned beyond the common measure.
void* AllocateAligned(std::size_t size, std::align_val_t alignment) {
    void* piece = allocation.Due() ? nullptr : std::aligned_alloc(static_cast<std::size_t>(alignment), size);
    if (piece != nullptr) ++livePieces;
    return piece;
}

// What a failing call gives, the error number set.
int Fail(const Fault& fault) {
    errno = fault.error;
    return -1;
}

}  // namespace

long LivePieces() {
    return livePieces;
}

}  // namespace Injection

void* operator new(std::size_t size) {
    return Injection::AllocateOrThrow(size);
}
void* operator new[](std::size_t size) {
    return Injection::AllocateOrThrow(size);
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return Injection::Allocate(size);
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
    return Injection::Allocate(size);
}
void* operator new[](std::size_t size, std::align_val_t alignment, const std::nothrow_t&) noexcept {
    return Injection::AllocateAligned(size, alignment);
}
void operator delete(void* piece) noexcept {
    Injection::Free(piece);
}
void operator delete[](void* piece) noexcept {
    Injection::Free(piece);
}
void operator delete(void* piece, std::size_t) noexcept {
    Injection::Free(piece);
}
void operator delete[](void* piece, std::size_t) noexcept {
    Injection::Free(piece);
}
void operator delete(void* piece, const std::nothrow_t&) noexcept {
    Injection::Free(piece);
}
void operator delete[](void* piece, const std::nothrow_t&) noexcept {
    Injection::Free(piece);
}

extern "C" {

void* __wrap_realloc(void* piece, std::size_t size) {
    if (Injection::allocation.Due()) return nullptr;
    if (piece == nullptr) ++Injection::livePieces;
    return __real_realloc(piece, size);
}

void __wrap_free(void* piece) {
    Injection::Free(piece);
}

int __wrap_open(const char* path, int flags, int mode) {
    return Injection::openFile.Due() ? Injection::Fail(Injection::openFile) : __real_open(path, flags, mode);
}

// Without an error number the file ends where the fault is.
ssize_t __wrap_read(int file, void* bytes, std::size_t count) {
    if (!Injection::readFile.Due()) return __real_read(file, bytes, std::min(count, Injection::most));
    return Injection::readFile.error == 0 ? 0 : Injection::Fail(Injection::readFile);
}

ssize_t __wrap_write(int file, const void* bytes, std::size_t count) {
    return Injection::writeFile.Due() ? Injection::Fail(Injection::writeFile)
                                      : __real_write(file, bytes, std::min(count, Injection::most));
}

int __wrap_fsync(int file) {
    return Injection::syncFile.Due() ? Injection::Fail(Injection::syncFile) : __real_fsync(file);
}

int __wrap_rename(const char* from, const char* to) {
    return Injection::renameFile.Due() ? Injection::Fail(Injection::renameFile) : __real_rename(from, to);
}
}
