/*
 * What the host program settles for libvectable: where the trace log goes, and how records are stored; what a load has
 * stored; and the library's frame names and date texts for a program that shows and asks for them.
 *
 * Every setting starts at 0. Until a sink or a file is set, error entries go to standard error, in the lines that
 * VecHostTraceToFile describes, and information entries nowhere. The library has no descriptor of its own for that: it
 * writes to descriptor 2 as long as that is the file, terminal or pipe that it was when the library was loaded. A host
 * that closes or redirects its standard error later, as a daemon does, sets a sink or a file: until then nothing is
 * logged.
 * All calls may be made from any thread at any time. Settings count from the next call of the library on; records that
 * are already stored stay as they are.
 */
#ifndef VECTABLE_HOST_H
#define VECTABLE_HOST_H

#include <stdint.h>

#include "api.h"
#include "vectable.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Levels of an entry of the trace log. */
#define VEC_HOST_TRACE_ERROR 1
#define VEC_HOST_TRACE_INFO 2

/* Kinds of an entry. */
#define VEC_HOST_ENTRY_OTHER 0
#define VEC_HOST_ENTRY_SKIPS_LINE 1   /* a load passes a line over: the next entry is that line */
#define VEC_HOST_ENTRY_SKIPPED_LINE 2 /* the line, as it stands in the file */

#define VEC_HOST_FRAME_NAME_LENGTH 8
#define VEC_HOST_FORMAT_LENGTH 32
#define VEC_HOST_LIST_LINE_LENGTH 1500 /* what follows in a line of a list is dropped */

/* What a file of a format can hold. */
#define VEC_HOST_HOLDS_VELOCITIES 1
#define VEC_HOST_HOLDS_COVARIANCES 2
#define VEC_HOST_HOLDS_SEVERAL 4 /* ephemerides */

#define VEC_HOST_MOST_KEPT 10000 /* entries of a level that wait for their thread */

/*
 * Receives one entry of the trace log: `length` characters at `text`, blank-padded where the library builds its texts
 * in fixed buffers, not NUL-terminated, good only during the call. It is the text alone: what it quotes of a file may
 * hold control characters, and VecHostReadingLine tells file and line, VecHostEntryKind what the entry is. Entries of
 * VecOemLoadFile begin with that name, a colon and a blank. Entries of several threads come one after the other: a slow
 * sink holds up every call that has something to log. Of the library's calls a sink may make only those two, and it
 * must not fork: it may run while the library holds its store. An entry that a sink causes, and an exception that it
 * throws, are dropped.
 */
typedef void (*VecHostTraceSink)(int32_t level, const char* text, int32_t length, void* context);

/*
 * Sends all entries to a sink from now on, or nowhere when it is null.
 *
 * Given:     sink      function       the sink, or null
 *            context   void*          handed to the sink with every entry
 * Result:    none; on return the old sink is not called again.
 */
VECTABLE_API void VecHostSetTraceSink(VecHostTraceSink sink, void* context);

/*
 * A sink for hosts that must not be called back from within a call, such as the interpreter of a language. It keeps the
 * entries of each thread until that thread takes them; `context` is not used. Until a thread has taken all, what it
 * logs after the first VEC_HOST_MOST_KEPT entries of a level is dropped.
 */
VECTABLE_API void VecHostKeepEntry(int32_t level, const char* text, int32_t length, void* context);

/*
 * Takes the oldest entry that VecHostKeepEntry has kept for the calling thread.
 *
 * Given:     capacity    int32           characters that `text` has room for, from 0
 * Returned:  level       int32*          VEC_HOST_TRACE_...; 0 when there is no entry
 *            text        char[capacity]  the entry, cut or blank-padded; null where capacity is 0
 *            path        char[512]       the file that the entry tells of, as VecHostReadingLine gives it, or blanks
 *            lineNumber  int64*          its line; both blank and 0 for an entry that no load made
 * Result:    the number of characters of the entry, also where there is less room; -1 when none is kept, or an argument
 *            is null or negative, without an entry in the log
 */
VECTABLE_API int32_t VecHostTakeEntry(int32_t* level, char* text, int32_t capacity, char path[VEC_TAB_PATH_LENGTH],
                                      int64_t* lineNumber);

/*
 * Appends all entries to a file from now on, a line each:
 *
 *     2026-03-01T12:00:00.000Z ERROR orbits/10001.e:17: *** ReadDotE : Bad ephemeris data. ***
 *
 * UTC time and level; for an entry of a load the file and the line, as VecHostReadingLine gives them, without a line
 * that is 0; the text without its trailing blanks, cut at 2016 characters. Each byte of a control character, a tab or a
 * line feed too, and each byte that is no UTF-8 is written as "?".
 *
 * A host that closes the descriptor of the file, as one that closes all descriptors does, ends the log: the library
 * neither writes to the file that has the number next nor closes it. Such a host calls VecHostTraceToFile afterwards.
 *
 * Given:     path      char*          path of the file, NUL-terminated
 * Result:    0, or the error number of the system (errno.h) when the file cannot be opened; the log is then as before.
 */
VECTABLE_API int32_t VecHostTraceToFile(const char* path);

/*
 * Which line of which file the calling thread is reading: for a sink, the line of which the entry tells.
 *
 * Returned:  path        char[512]    path of the file, of a list file or the one that it names, blank-padded
 *            lineNumber  int64*       number of the line read last, or of an earlier one that is to blame, from 1; 0
 *                                     for an entry about the whole file, and in a binary file
 * Result:    0, or 2, with blanks and 0, when the thread is not inside VecTabLoadFile, VecTabAddSatFrFile or
 *            VecOemLoadFile or an argument is null; without an entry in the log
 */
VECTABLE_API int32_t VecHostReadingLine(char path[VEC_TAB_PATH_LENGTH], int64_t* lineNumber);

/*
 * Which kind of entry the calling thread's sink has got.
 *
 * Result:    VEC_HOST_ENTRY_...; VEC_HOST_ENTRY_OTHER outside a sink
 */
VECTABLE_API int32_t VecHostEntryKind(void);

/*
 * Takes the keys of what the calling thread's last load has stored: VecTabLoadFile, VecTabAddSatFrFile or
 * VecOemLoadFile, also one that failed. A duplicate is not stored. The next load forgets keys that nobody took.
 *
 * Given:     capacity  int32           the keys that `satKeys` has room for, from 0
 * Returned:  satKeys   int64[capacity] keys in the order of storing, those of listed files too; null for capacity 0
 * Result:    how many were taken: `capacity`, or fewer when they were the last; -1 for a negative capacity or a null
 *            array
 */
VECTABLE_API int32_t VecHostTakeKeys(int64_t* satKeys, int32_t capacity);

/*
 * The keys of all stored records, as VecTabGetLoaded gives them, for a store that other threads add to meanwhile.
 *
 * Given:     order     int32           as in VecTabGetLoaded
 *            capacity  int32           the keys that `satKeys` has room for, from 0
 * Returned:  satKeys   int64[capacity] the keys of one moment, as many as there is room for; null where capacity is 0
 * Result:    how many there are, also where there is less room; -1 for a negative capacity, a null array or no memory
 */
VECTABLE_API int32_t VecHostGetLoaded(int32_t order, int64_t* satKeys, int32_t capacity);

/*
 * The format that a record was read as.
 *
 * Given:     satKey    int64          key of a stored record
 * Returned:  format    char[32]       the name that docs/formats.md has for it, such as "Dot-E" or "vector ephemeris",
 *                                     blank-padded; blanks for a record that was made by calls
 * Result:    0, or 2 when the key is unknown or an argument is null
 */
VECTABLE_API int32_t VecHostGetFormat(int64_t satKey, char format[VEC_HOST_FORMAT_LENGTH]);

/*
 * The format that a file is read as, found without loading it.
 *
 * Given:     filePath  char[512]      path of the file
 * Returned:  format    char[32]       blank-padded: "OEM" for an orbit ephemeris message, of whichever form, which
 *                                     VecOemLoadFile reads; the name of the format (docs/formats.md) whose card comes
 *                                     first; "list" where a line that names a file comes first; blanks for none of them
 *            holds     int32*         what such a file can hold: VEC_HOST_HOLDS_..., added up
 * Result:    0; 2 when an argument is null or there is no memory; or the error number of the system (errno.h) when the
 *            file cannot be opened
 */
VECTABLE_API int32_t VecHostGetFileFormat(const char* filePath, char format[VEC_HOST_FORMAT_LENGTH], int32_t* holds);

/*
 * Finds the files that the lines of a list, or of any other file, name. None of them is opened.
 *
 * Given:     filePath  char[512]      path of the list
 * Returned:  count     int32*         how many there are for VecHostTakeListed to take on this thread
 * Result:    as of VecHostGetFileFormat
 */
VECTABLE_API int32_t VecHostFindListed(const char* filePath, int32_t* count);

/*
 * Takes the next of the files that the calling thread's last VecHostFindListed has found.
 *
 * Given:     capacity    int32           characters that `path` has room for, from 0
 * Returned:  path        char[capacity]  path of the file, cut or blank-padded; null where capacity is 0
 *            lineNumber  int64*          the line that names it, from 1; 0 when no file is left
 * Result:    the number of characters of the path, below VEC_HOST_LIST_LINE_LENGTH, also where there is less room: of
 *            more than VEC_TAB_PATH_LENGTH a load opens the head. -1 when none is left, or for a null or negative
 *            argument
 */
VECTABLE_API int32_t VecHostTakeListed(char* path, int32_t capacity, int64_t* lineNumber);

/*
 * Which of two settings is the key mode: 0 that of VecHostSetElsetKeyMode, any other value that of
 * VecHostSetAllKeyMode.
 */
VECTABLE_API void VecHostSetUseAllKeyMode(int32_t onOff);

/*
 * The key mode of records stored from now on.
 *
 * 0, or any value but 1: tree mode. The key is made from satellite number and epoch; storing the same ephemeris twice
 * is a duplicate. The library keeps a record alive while a call uses it. 1: direct-memory mode. The key leads to the
 * record without a search, and every store makes a new one. A record must not be removed while another thread uses it.
 */
VECTABLE_API void VecHostSetAllKeyMode(int32_t mode);
VECTABLE_API void VecHostSetElsetKeyMode(int32_t mode);

/*
 * What storing a duplicate in tree mode gives: 0 an entry in the log and key 0; any other value, without an entry, the
 * key.
 */
VECTABLE_API void VecHostSetDupKeyMode(int32_t mode);

/*
 * The name of a frame.
 *
 * Given:     coordSys  int32          code of the frame, VEC_TAB_FRAME_...
 * Returned:  name      char[8]        its name, blank-padded; blanks for a code that has none
 */
VECTABLE_API void VecHostFrameName(int32_t coordSys, char name[VEC_HOST_FRAME_NAME_LENGTH]);

/*
 * The time of a date text, as the library reads dates.
 *
 * "2026-03-01" or "2026/03/01", "2026-060" or "2026/060" or "2026 060" (day of the year, three digits), "1 Mar 2026";
 * then blanks or a "T" and "12:00" or "12:00:06.25", or nothing for the start of the day; then an optional "Z". Or
 * one of the columns "26060120006.250" and "2026060120006.250". Blanks around the text do not count. Years are 1950
 * to 9999. "23:59:60.5" is a time only where the table of leap seconds has one, and is then half a second into the
 * next day.
 *
 * Given:     text      char*          the text, NUL-terminated
 * Returned:  ds50UTC   double*        days since 1950, UTC, to the nearest double (see vectable.h); 0 for no date
 * Result:    0, or 2 when the text is no date, without an entry in the log, or an argument is null.
 */
VECTABLE_API int32_t VecHostTimeOfText(const char* text, double* ds50UTC);

#ifdef __cplusplus
}
#endif

#endif
