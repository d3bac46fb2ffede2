// Faults of the system on demand: the linker puts these functions between the library and the C library.
#pragma once

#include <cstddef>
#include <functional>
#include <string>

namespace Injection {

inline constexpr long kEach = -1;

// Which call of a kind fails, counted from 1; 0 for none. `made` counts the calls since the last Arm.
struct Fault {
    long failing = 0;
    long made = 0;
    int error = 0;

    void Arm(long number, int errorNumber = 0) { *this = {number, 0, errorNumber}; }
    void Disarm() { failing = 0; }
    bool Due() { return ++made == failing || failing == kEach; }
    bool Happened() const { return failing != 0 && made >= failing; }
};

extern Fault allocation;
extern Fault openFile;
extern Fault besideFile;  // openings of it
extern Fault readFile;
extern Fault writeFile;
extern Fault renameFile;
extern Fault ownFile;
extern Fault fileCall;        // any of those above and below that come to files
extern Fault blockOfObjects;  // with an error number, each of them

// A call on files that is due with this error ends the process instead.
inline constexpr int kKilled = -1;

// The mode of the last file made.
extern int modeOfNewFile;

// The last calls that changed files: w for what is written at the end, o for what is overwritten, f and F for a file
// and a folder that are synchronised, r, l and t for names that are given and files that are cut.
extern std::string changes;

// What other processes do meanwhile, if anything is set: before a lock is taken (k), before a name is given (l) and in
// the place of a pause (p), of so many seconds.
extern std::function<void(char when, double seconds)> meanwhile;

// What fresh memory of great alignment is filled with.
inline constexpr unsigned char kFreshByte = 0xAA;

// The most bytes that a read or a write takes at once.
extern std::size_t most;

// Pieces of memory that are not yet freed.
long LivePieces();

}  // namespace Injection
