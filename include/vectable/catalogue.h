/*
 * libveccat: catalogues, any number of them in a process. A catalogue holds the tables of whole constellations
 * compactly, is loaded on all cores, saved as a snapshot that opens in a moment and whose pages processes share, and
 * changed while others read it.
 *
 *     #include <stdio.h>
 *     #include <vectable/catalogue.h>
 *
 *     int main(int argc, char **argv) {
 *         VecCatalogue *catalogue = VecCatNew();
 *         const char *const *paths = (const char *const *)argv + 1;
 *         if (catalogue == NULL || VecCatLoadFiles(catalogue, argc - 1, paths, NULL, NULL) != 0) return 1;
 *         double time = 27819.25, states[6] = {0};
 *         VecCatAnswer wanted = {.states = states};
 *         VecCatGrid(catalogue, 1, NULL, 1, &time, &wanted);
 *         printf("%.6f km %.6f km %.6f km\n", states[0], states[1], states[2]);
 *         VecCatFree(catalogue);
 *         return 0;
 *     }
 *
 * It stands on libvectable: the same readers, the same interpolation to the bit, the same trace log (host.h). The store
 * of vectable.h is another place: nothing of a catalogue is in it.
 *
 * CONVENTIONS
 *
 *  1 A row is a table of one satellite. Rows are numbered from 0 as they come, and a number is never used again: where
 *    a row was removed there is none.
 *  2 Times are days since 1950 on the UTC scale, positions km, velocities km/s, in the frame of the row
 *    (VEC_TAB_FRAME_... of vectable.h), as in conventions 2 to 4 of vectable.h.
 *  3 Texts that come in are NUL-terminated, of any length unless one is given, in the bytes of the file system or
 *    UTF-8. Texts that go out are NUL-terminated in arrays of fixed lengths, and cut where they are longer.
 *  4 A status is 0 for success, 2 (VEC_TAB_FAILURE) for a failure that the library finds, or the error number of the
 *    system (errno.h). A count is -1 for a refused call. A null catalogue, a null pointer for what is required and a
 *    negative count are refused. The words go to the trace log.
 *  5 A failed or stopped call leaves the catalogue as it was. No exception leaves the library.
 *  6 The caller owns all arrays, and the library keeps none of them after a call.
 *  7 Structures that the caller fills start as {0}: zeros are the defaults.
 *
 * THREADS
 *
 *  All calls may be made on one catalogue from any thread at once, but for VecCatFree, which must be the last one. A
 *  call sees one version of the catalogue from its first request to its last. Calls that change it make the next
 *  version beside it, one after the other; they never wait for calls that read, and those never wait for them. A
 *  version is given back when its last reader has left. A call that may start threads says so; it joins them before it
 *  returns, and where one cannot be started it does the work with fewer. A child of fork may go on reading and changing
 *  what it has.
 */
#ifndef VECTABLE_CATALOGUE_H
#define VECTABLE_CATALOGUE_H

#include <stdint.h>

#include "api.h"
#include "batch.h"
#include "vectable.h"

#ifdef __cplusplus
extern "C" {
#endif

typedef struct VecCatalogue VecCatalogue;

/* The axes of a row's covariances. */
#define VEC_CAT_AXES_UNKNOWN 0 /* the source does not say */
#define VEC_CAT_AXES_FRAME 1   /* those of the row's frame */
#define VEC_CAT_AXES_ORBIT 2   /* radial, along-track, cross-track: R along the position, C along position x velocity */

/* Lengths of texts that go out, with their NUL. */
#define VEC_CAT_NAME_LENGTH 256
#define VEC_CAT_IDENTIFIER_LENGTH 256
#define VEC_CAT_PATH_LENGTH 4096
#define VEC_CAT_FORMAT_LENGTH 32

/* ---------------------------------------------- A catalogue ----------------------------------------------------- */

/*
 * A catalogue without rows.
 *
 * Result:    the catalogue, for VecCatFree; null when there is no memory
 */
VECTABLE_API VecCatalogue* VecCatNew(void);

/* Opens also checks the sums over all bytes of the snapshot, which reads the whole of it. */
#define VEC_CAT_VERIFY 1

/*
 * Opens a snapshot as a catalogue: its file is mapped, nothing of its points is read or copied, and processes that open
 * the same file share its pages. What is loaded into the catalogue later lies in memory and not in the file.
 *
 * Given:     path       char*          path of the snapshot
 *            flags      int32          0, or VEC_CAT_VERIFY
 * Returned:  catalogue  VecCatalogue** the catalogue, for VecCatFree; null on failure
 * Result:    0; 2 when the file is no snapshot, of another version or byte order, cut or damaged: the log says which;
 *            or the error number of the system when it cannot be opened
 * Notes:     Every offset, count and text is checked, in time of the rows and not of the points. The numbers of the
 *            points may be anything without harm. A file that shrinks while it is mapped ends the process with SIGBUS:
 *            replace a snapshot by VecCatSave or a rename, and never write into it.
 */
VECTABLE_API int32_t VecCatOpen(const char* path, int32_t flags, VecCatalogue** catalogue);

/*
 * Writes the catalogue as a snapshot, rows with their numbers.
 *
 * Given:     catalogue  VecCatalogue*
 *            path       char*          path of the file, which takes the place of an earlier one when it is whole
 * Result:    0; 2 when a write failed; or the error number of the system when the file cannot be made. The earlier file
 *            is then as it was.
 * Notes:     Of two processes that save to one path at a time one wins whole.
 */
VECTABLE_API int32_t VecCatSave(const VecCatalogue* catalogue, const char* path);

/* Frees the catalogue, whatever else in the process; null is none. No other call may be under way on it. */
VECTABLE_API void VecCatFree(VecCatalogue* catalogue);

/* ------------------------------------------------ Filling ------------------------------------------------------- */

/* What becomes of a table whose object is in the catalogue already: it gets a row of its own, or it takes the row of
 * the same frame and object, by the same identifier, else the same number and name. */
#define VEC_CAT_KEEP_BOTH 0
#define VEC_CAT_REPLACE_SAME 1

typedef struct {
    int32_t threads; /* 0: as many as the process may run on */
    int32_t onSame;  /* VEC_CAT_KEEP_BOTH or VEC_CAT_REPLACE_SAME */
    int32_t satNum;  /* for files that name none; 0: VEC_TAB_UNKNOWN_SAT_NUM */
    /* Called some ten times a second on the calling thread; any other result than 0 stops the load. Or null. */
    int32_t (*progress)(void* context, int64_t files, int64_t numFiles, int64_t bytes, int64_t numBytes);
    /* Receives what a load has to say instead of the trace log, on the calling thread, in the order of the paths: level
     * of host.h, path of the file, its line or 0, text. Or null. */
    void (*message)(void* context, int32_t level, const char* path, int64_t line, const char* text);
    void* context; /* of both */
} VecCatLoad;

/* What became of a path. */
typedef struct {
    int32_t status; /* 0; 2 when something of it could not be read; or the error number of the system */
    int64_t firstRow;
    int64_t numRows; /* from firstRow on, without those that took the place of others */
    int64_t numPts;
    int64_t badLines; /* lines that were passed over */
} VecCatFile;

/*
 * Loads files: any that the library reads, lists of files included. Rows come in the order of the paths, whatever the
 * threads do. Starts threads.
 *
 * Given:     catalogue  VecCatalogue*
 *            count      int64               number of paths, 0 or more
 *            paths      char*[count]        paths of the files
 *            options    VecCatLoad*         or null: the defaults
 * Returned:  files      VecCatFile[count]   what became of each path; or null
 * Result:    the number of paths whose status is not 0; what could be read is there. -1, with nothing loaded, when the
 *            call was refused, stopped or without memory.
 */
VECTABLE_API int64_t VecCatLoadFiles(VecCatalogue* catalogue, int64_t count, const char* const* paths,
                                     const VecCatLoad* options, VecCatFile* files);

/* A table in arrays of the caller. */
typedef struct {
    int32_t satNum;
    int32_t frame;          /* VEC_TAB_FRAME_... */
    int32_t covAxes;        /* VEC_CAT_AXES_... */
    const char* name;       /* or null */
    const char* identifier; /* or null */
    const char* path;       /* of the source; or null */
    int64_t count;          /* points */
    const double* ds50UTCs; /* [count], days since 1950, UTC, rising */
    const double* states;   /* [count][6]: position, km, and velocity, km/s */
    const int32_t* revNums; /* [count], or null: zeros */
    const double* covs;     /* [count][21], lower triangles row by row; zeros where there is none; or null */
} VecCatTable;

/*
 * Adds a table as a new row.
 *
 * Result:    the number of the row; -1, with the reason in the log, for a count below 1 or above 2^31 - 1, a null
 *            array, a time that is not finite or does not rise, or without memory
 */
VECTABLE_API int64_t VecCatAddTable(VecCatalogue* catalogue, const VecCatTable* table);

/*
 * Adds records of the store of vectable.h, one row each, in the order of the keys.
 *
 * Given:     count      int64         number of keys, 0 or more
 *            satKeys    int64[count]  keys of stored records, none of which may be changed meanwhile
 * Result:    the number of the first row; -1, with nothing added, when a key is unknown or its record has no points, or
 *            without memory
 */
VECTABLE_API int64_t VecCatAddStored(VecCatalogue* catalogue, int64_t count, const int64_t* satKeys);

/*
 * Puts a table in the place of a row. Calls that began before see the old one to their end.
 *
 * Result:    0, or 2 when there is no such row, or as VecCatAddTable
 */
VECTABLE_API int32_t VecCatReplace(VecCatalogue* catalogue, int64_t row, const VecCatTable* table);

/*
 * Removes rows, all of them in one change.
 *
 * Result:    0, or 2, with nothing removed, when one of them is not there
 */
VECTABLE_API int32_t VecCatRemove(VecCatalogue* catalogue, int64_t count, const int64_t* rows);

/* -------------------------------------------- What there is ----------------------------------------------------- */

/* How many row numbers were given so far: rows are 0 to this less 1. 0 for a null catalogue. */
VECTABLE_API int64_t VecCatNumRows(const VecCatalogue* catalogue);

typedef struct {
    int64_t size;    /* sizeof(VecCatRow), from the caller: a later version of the library may know more fields */
    int32_t satNum;  /* VEC_TAB_UNKNOWN_SAT_NUM where the source names none */
    int32_t frame;   /* VEC_TAB_FRAME_... */
    int32_t covAxes; /* VEC_CAT_AXES_... */
    int32_t reserved;
    int64_t numPts;
    int64_t numCovPts;   /* points with covariance */
    int64_t badLines;    /* of the file, when it was loaded */
    double startDs50UTC; /* first time, days since 1950, UTC */
    double endDs50UTC;   /* last time */
    char name[VEC_CAT_NAME_LENGTH];
    char identifier[VEC_CAT_IDENTIFIER_LENGTH]; /* of the object, such as 2026-001A */
    char format[VEC_CAT_FORMAT_LENGTH];         /* that it was read as, such as "Dot-E"; empty for arrays */
    char path[VEC_CAT_PATH_LENGTH];             /* of the source */
} VecCatRow;

/*
 * What a row is.
 *
 * Given:     row        int64       its number
 *            described  VecCatRow*  with its size
 * Returned:  described              all fields that fit its size
 * Result:    0, or 2 when there is no such row or the size is none that the library has known; all fields are then zero
 */
VECTABLE_API int32_t VecCatGetRow(const VecCatalogue* catalogue, int64_t row, VecCatRow* described);

/* Which rows are meant: all that fit every field that is not null. */
typedef struct {
    const int32_t* satNum;
    const char* name;       /* in any letter case */
    const char* identifier; /* in any letter case */
    const char* path;
} VecCatQuery;

/*
 * Finds rows.
 *
 * Given:     query      VecCatQuery*     or null: all
 *            capacity   int64            the rows that `rows` has room for, 0 or more
 * Returned:  rows       int64[capacity]  numbers, ascending, as many as there is room for; null where capacity is 0
 * Result:    how many there are, -1 when refused
 * Notes:     Takes time in proportion to the number of rows.
 */
VECTABLE_API int64_t VecCatFind(const VecCatalogue* catalogue, const VecCatQuery* query, int64_t capacity,
                                int64_t* rows);

/*
 * The points of a row as they are stored.
 *
 * Given:     row        int64         its number
 *            first      int64         number of the first point wanted, from 0
 *            count      int64         how many, 0 or more
 * Returned:  ds50UTCs   double[count]     or null where it is not wanted
 *            states     double[count][6]  or null
 *            revNums    int32[count]      or null
 *            covs       double[count][21] or null; zeros for a point without covariance
 * Result:    0, or 2 when there is no such row or not so many points; nothing is written then
 */
VECTABLE_API int32_t VecCatGetPoints(const VecCatalogue* catalogue, int64_t row, int64_t first, int64_t count,
                                     double* ds50UTCs, double* states, int32_t* revNums, double* covs);

/* ------------------------------------------------ States -------------------------------------------------------- */

/* What is wanted of each request; a null array is not wanted, and all may be null but one. */
typedef struct {
    double* states;    /* [requests][6]: position, km, and velocity, km/s, in the frame of the row */
    double* covs;      /* [requests][21]: lower triangles row by row; zeros without covariance */
    int32_t* revNums;  /* [requests] */
    uint8_t* outcomes; /* [requests]: VEC_BATCH_... of batch.h; VEC_BATCH_NO_RECORD where there is no such row */
    int32_t threads;   /* 0: as many as the process may run on; 1: the caller's alone */
    int32_t flags;     /* 0 */
} VecCatAnswer;

/*
 * The states of rows at times: request (i, j) is row rows[i] at ds50UTCs[j], and stands in the arrays at i * numTimes +
 * j. May start threads.
 *
 * Given:     numRows    int64             number of rows, 0 or more
 *            rows       int64[numRows]    numbers of rows, or null: the first numRows of them, such as all
 *                                         VecCatNumRows
 *            numTimes   int64             number of times, 0 or more
 *            ds50UTCs   double[numTimes]  days since 1950, UTC; rising times are fastest
 *            wanted     VecCatAnswer*     where the answers go
 * Result:    the number of requests without a state, whose state and covariance are NaN and whose revolution number is
 *            0; -1, with nothing written, when refused
 * Notes:     A state has the bits that VecBatchGrid gives for a record of the same points. Outputs must not overlap
 *            inputs or each other. As a batch of batch.h, the call makes at most one entry in the log.
 */
VECTABLE_API int64_t VecCatGrid(const VecCatalogue* catalogue, int64_t numRows, const int64_t* rows, int64_t numTimes,
                                const double* ds50UTCs, const VecCatAnswer* wanted);

/*
 * The states of pairs: request i is row rows[i] at ds50UTCs[i]. Otherwise as VecCatGrid.
 */
VECTABLE_API int64_t VecCatPairs(const VecCatalogue* catalogue, int64_t count, const int64_t* rows,
                                 const double* ds50UTCs, const VecCatAnswer* wanted);

#ifdef __cplusplus
}
#endif

#endif
