// Faults of the system on demand: the linker puts these functions between the library and the C library.
#pragma once

#include <cstddef>

namespace Injection {

// Which call of a kind fails, counted from 1; 0 for none. `made` counts the calls since the last Arm.
struct Fault {
    long failing = 0;
    long made = 0;
    int error = 0;

    void Arm(long number, int errorNumber = 0) { *this = {number, 0, errorNumber}; }
    void Disarm() { failing = 0; }
    bool Due() { return ++made == failing; }
    bool Happened() const { return failing != 0 && made >= failing; }
};

extern Fault allocation;
extern Fault openFile;
extern Fault readFile;
extern Fault writeFile;
extern Fault syncFile;
extern Fault renameFile;
extern Fault ownFile;
extern Fault blockOfObjects;  // with an error number, each of them

// A write that is due with this error ends the process instead.
inline constexpr int kKilled = -1;

// The mode of the last file made.
extern int modeOfNewFile;

// What fresh memory of great alignment is filled with.
inline constexpr unsigned char kFreshByte = 0xAA;

// The most bytes that a read or a write takes at once.
extern std::size_t most;

// Pieces of memory that are not yet freed.
long LivePieces();

}  // namespace Injection
