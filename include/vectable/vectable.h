/*
 * libvectable: tables of time-tagged satellite state vectors (ephemerides) in memory, read from files of many
 * formats or handed in point by point, and interpolated at any time inside a table, from any number of threads.
 *
 *     #include <stdio.h>
 *     #include <vectable/vectable.h>
 *
 *     int main(int argc, char **argv) {
 *         if (argc < 2) return 1;
 *         int64_t key = VecTabAddSatFrFile(argv[1]);
 *         if (key <= 0) return 1;
 *         double time, pos[3], vel[3];
 *         int32_t revNum;
 *         if (VecTabMse(key, 10.0, &time, pos, vel, &revNum) != 0) return 1;
 *         printf("%.6f km %.6f km %.6f km at %.8f\n", pos[0], pos[1], pos[2], time);
 *         return VecTabRemoveSat(key);
 *     }
 *
 * CONVENTIONS
 *
 *  1 Texts are arrays of a fixed number of characters, blank-padded, without a NUL. A text that comes in is read up to
 *    its length or its first NUL, whichever comes first, so that an ordinary C string is a valid argument. A text that
 *    goes out is exactly as long as its array.
 *  2 Times are days since 1950 on the UTC scale (ds50UTC): day 1.0 is 1950-01-01 00:00, and the fraction of a day is
 *    the seconds of the day over 86400. mse is minutes since the first point of a record.
 *  3 Positions are in km, velocities in km/s, in the frame of the record. Nothing is converted: a state leaves as it
 *    came in. The codes of frames are VEC_TAB_FRAME_..., below.
 *  4 A covariance comes in as the 21 terms of the lower triangle of a symmetric 6 x 6 matrix, row by row: (1,1), (2,1),
 *    (2,2), (3,1), ... (6,6). It goes out as all 36 elements, in the units of its source. A record whose points have
 *    VEC_TAB_SCALAR_MARK as term 2 holds a scalar in term 1 and no covariance: between points only (1,1) is not zero,
 *    and holds the scalar.
 *  5 A satKey names a stored record. It is good until the record is removed. 0 and -1 name none.
 *  6 A status is 0 for success and 2 for a failure that the library finds; calls on files also give the error number of
 *    the system (errno.h). A key is -1 on failure. The message of a failure goes to the trace log (host.h); where a
 *    call can fail without an entry, it says so.
 *  7 A failed call leaves the store as it was and all its outputs zero or blank; a failed load keeps the records that
 *    it had finished. A null pointer for an array or a text is a failure. No exception leaves the library.
 *  8 The caller owns every array; the library keeps none of them after a call. An array that a call writes must overlap
 *    neither another one that it writes nor one that it reads.
 *  9 The store lives until the process ends, also when the library is unloaded and loaded again.
 * 10 The floating-point environment is the host's, and the calls leave it as it is. No argument and no file raises the
 *    exceptions invalid, division by zero and overflow, which a host may trap. Only an interpolation over absurd
 *    numbers in a table may: infinite ones, or some such as 1e200. States, and numbers read from text, are those of
 *    rounding to nearest; under another rounding mode their last bits may differ, and a state may be that of the time
 *    next to the one asked for. A stored time gives its point as it is stored under every mode.
 *
 * THREADS
 *
 *  Every call may be made from any thread. In tree mode (host.h):
 *
 *    call                                                  may run beside
 *    ----------------------------------------------------  -----------------------------------------------------------
 *    Init, GetInfo, FieldsToSatKey, GetCount, GetSatKey,   any call
 *      AddSat, AddSatFrFile, LoadFile
 *    GetEphemeris, GetCovMtx, Mse, MseCovMtx, Ds50UTC,     any call but one that changes the same record
 *      Ds50UTCCovMtx, Xten, GetAllFields, GetField,
 *      StartEndTime, GetLine
 *    AddSatEphem, AddSatEphemCovMtx, AddSatEphemExt,       any call that does not use the same record; GetLoaded and
 *      SetField (these change a record)                      SaveFile use all records
 *    RemoveSat, RemoveAllSats                              any call; a removal waits until no call uses the store
 *    GetLoaded                                             any call but those that change a record; and no record may
 *                                                            be added since the count that sized its array
 *                                                            (VecHostGetLoaded is told its size)
 *    SaveFile                                              any call but those that change a record; a second save is
 *                                                            refused
 *
 *  In direct-memory mode the same holds, and a record must not be removed while another call uses it.
 *
 *  Storing and removing wait until no call is inside the store, and new calls in tree mode wait for them: a save or a
 *  listing that takes long, on a slow disk say, holds up the next call that stores or removes, and through it all calls
 *  in tree mode that begin later. Loads hold nothing but for the moment at which they store a record.
 *
 *  A process may fork at any time: a fork waits until no other thread is inside a call, and the child has a whole store
 *  of its own. What a load or a save of another thread had begun, it does not have.
 *
 *  A thread that is cancelled (pthread_cancel) inside a call does the whole of it first. Asynchronous cancellation must
 *  not be enabled.
 */
#ifndef VECTABLE_VECTABLE_H
#define VECTABLE_VECTABLE_H

#include <stdint.h>

#include "api.h"

#ifdef __cplusplus
extern "C" {
#endif

/* ----------------------------------------------- Constants ------------------------------------------------------ */

/* What calls give. */
#define VEC_TAB_SUCCESS 0
#define VEC_TAB_FAILURE 2
#define VEC_TAB_NO_KEY (-1)

/* Codes of frames, with the name that VecHostFrameName gives. */
#define VEC_TAB_FRAME_ECI 1    /* "ECI": true equator and mean equinox of date */
#define VEC_TAB_FRAME_J2K 2    /* "J2K": mean equator and equinox of J2000 */
#define VEC_TAB_FRAME_EFG 3    /* "EFG": Earth-fixed, without polar motion */
#define VEC_TAB_FRAME_ECR 4    /* "ECR": Earth-fixed */
#define VEC_TAB_FRAME_LLH 15   /* "LLH": latitude, longitude, height */
#define VEC_TAB_FRAME_SEN 16   /* "SEN": south, east, north */
#define VEC_TAB_FRAME_HCSRL 17 /* "hcsrl"; the library gives this one and the next three no meaning */
#define VEC_TAB_FRAME_WPTRL 18 /* "wptrl" */
#define VEC_TAB_FRAME_HCSGC 19 /* "hcsgc" */
#define VEC_TAB_FRAME_WPTGC 20 /* "wptgc" */

/* Lengths of texts, in characters. */
#define VEC_TAB_INFO_LENGTH 128
#define VEC_TAB_EPOCH_LENGTH 20
#define VEC_TAB_SAT_NAME_LENGTH 8
#define VEC_TAB_EPHEM_NAME_LENGTH 128
#define VEC_TAB_PATH_LENGTH 512
#define VEC_TAB_FIELD_LENGTH 512
#define VEC_TAB_LINE_LENGTH 512

/* Lengths of arrays. */
#define VEC_TAB_COV_TERMS 21    /* lower triangle of a covariance */
#define VEC_TAB_COV_ELEMENTS 36 /* all of it */
#define VEC_TAB_EXT_LENGTH 128  /* VecTabXten */

/* Interpolation takes this many points, which lie at most this long apart on the average. */
#define VEC_TAB_STENCIL_POINTS 4
#define VEC_TAB_GAP_MINUTES 61.0

/* The satellite number of a file that gives none. */
#define VEC_TAB_UNKNOWN_SAT_NUM 99999

/* Term 2 of the covariances of a record whose term 1 is a scalar. */
#define VEC_TAB_SCALAR_MARK 12345.0

/* ------------------------------------------------ Library ------------------------------------------------------- */

/*
 * Does nothing: the library is ready when it is loaded.
 *
 * Result:    0
 */
VECTABLE_API int32_t VecTabInit(void);

/*
 * Name, version and build of the library.
 *
 * Returned:  infoText      char[128]
 */
VECTABLE_API void VecTabGetInfo(char infoText[VEC_TAB_INFO_LENGTH]);

/*
 * The key that a record of this satellite and epoch has in tree mode. The store is not asked.
 *
 * Given:     satNum        int32      satellite number
 *            epochText     char[20]   "YYDDDHHMMSS.SSS", "YYYYDDDHHMMSS.SSS" or "YYDDD.DDDDDDDD", UTC, leading blanks
 *                                     ignored, blanks after the second character read as zeros; without a point
 *                                     "YYDDDHHMMSS" and the digits of the fraction. Years 57 to 99 are 1957 to 1999,
 *                                     00 to 56 are 2000 to 2056.
 * Result:    the key; -1, without an entry in the log, when the text is no date
 * Notes:     Epochs count to the millisecond. A record that found its key taken by another one has a later key, and a
 *            record in direct-memory mode has no such key.
 */
VECTABLE_API int64_t VecTabFieldsToSatKey(int32_t satNum, const char* epochText);

/* ----------------------------------------------- Catalogue ------------------------------------------------------ */

/*
 * Result:    the number of stored records
 */
VECTABLE_API int32_t VecTabGetCount(void);

/*
 * The keys of all stored records.
 *
 * Given:     order         int32      0 by satellite number, frame and epoch; 1 the reverse of 0; 2 by entry into the
 *                                     store; any other value by key
 * Returned:  satKeys       int64[]    room for VecTabGetCount keys; untouched when the store is empty or the call fails
 */
VECTABLE_API void VecTabGetLoaded(int32_t order, int64_t* satKeys);

/*
 * Removes a record. Its key is no longer good.
 *
 * Given:     satKey        int64      key of a stored record
 * Result:    0, or 2 when the key is unknown
 */
VECTABLE_API int32_t VecTabRemoveSat(int64_t satKey);

/*
 * Removes all records.
 *
 * Result:    0
 */
VECTABLE_API int32_t VecTabRemoveAllSats(void);

/*
 * A key of a satellite.
 *
 * Given:     satNum        int32      satellite number
 * Result:    the key of one of its records, the same one until the store changes; -1 when there is none
 * Notes:     Takes time in proportion to the number of records as long as one of them is of direct-memory mode.
 */
VECTABLE_API int64_t VecTabGetSatKey(int32_t satNum);

/* ----------------------------------------------- Creation ------------------------------------------------------- */

/*
 * Stores a record without points.
 *
 * Given:     satNum        int32      satellite number
 *            epochDs50UTC  double     days since 1950, UTC; the key is made from it, and the first point replaces it
 *            ae            double     Earth radius, km; carried and reported only
 *            ke            double     gravity constant, (Earth radii)^1.5 a minute; carried and reported only
 *            typeCode      int32      its last decimal digit is the code of the frame
 * Result:    the key; -1 on failure, without an entry in the log when the epoch is not finite or more than 10^9 days
 *            from 1950; for a duplicate 0 or the key, as VecHostSetDupKeyMode tells
 */
VECTABLE_API int64_t VecTabAddSat(int32_t satNum, double epochDs50UTC, double ae, double ke, int32_t typeCode);

/*
 * Appends a state to a record.
 *
 * Given:     satKey        int64      key of a stored record
 *            ds50UTC       double     days since 1950, UTC
 *            pos           double[3]  km, in the record's frame
 *            vel           double[3]  km/s, same frame
 *            revNum        int32      revolution number
 * Result:    0, or 2 when the key is unknown or there is no memory
 * Notes:     States come in order of time. One that is not later than the last is dropped, with status 0. From the
 *            fourth on the record can be interpolated.
 */
VECTABLE_API int32_t VecTabAddSatEphem(int64_t satKey, double ds50UTC, const double pos[3], const double vel[3],
                                       int32_t revNum);

/*
 * Appends a state with its covariance to a record. Two names for the same call.
 *
 * Given:     as VecTabAddSatEphem, and
 *            covTerms      double[21] lower triangle of the covariance, row by row; kept in its own units
 * Result:    0, or 2 when the key is unknown or there is no memory
 */
VECTABLE_API int32_t VecTabAddSatEphemCovMtx(int64_t satKey, double ds50UTC, const double pos[3], const double vel[3],
                                             int32_t revNum, const double covTerms[VEC_TAB_COV_TERMS]);
VECTABLE_API int32_t VecTabAddSatEphemExt(int64_t satKey, double ds50UTC, const double pos[3], const double vel[3],
                                          int32_t revNum, const double covTerms[VEC_TAB_COV_TERMS]);

/* ------------------------------------------------ Fields -------------------------------------------------------- */

/*
 * All fields of a record.
 *
 * Given:     satKey        int64      key of a stored record
 * Returned:  satNum        int32*     satellite number, 99999 when its file gives none
 *            satName       char[8]    satellite name
 *            ephemName     char[128]  name of the ephemeris
 *            epochDs50UTC  double*    time of the first point, days since 1950, UTC
 *            ae            double*    Earth radius, km
 *            ke            double*    gravity constant, (Earth radii)^1.5 a minute
 *            pos           double[3]  first point, km; zeros without points
 *            vel           double[3]  first point, km/s; zeros without points
 *            coordSys      int32*     code of the frame
 *            numOfPts      int32*     number of points
 *            filePath      char[512]  path of the file that the record came from
 * Result:    0, or 2 when the key is unknown
 */
VECTABLE_API int32_t VecTabGetAllFields(int64_t satKey, int32_t* satNum, char satName[VEC_TAB_SAT_NAME_LENGTH],
                                        char ephemName[VEC_TAB_EPHEM_NAME_LENGTH], double* epochDs50UTC, double* ae,
                                        double* ke, double pos[3], double vel[3], int32_t* coordSys, int32_t* numOfPts,
                                        char filePath[VEC_TAB_PATH_LENGTH]);

/*
 * One field of a record as text, from the first character on.
 *
 * Given:     satKey        int64      key of a stored record that has points
 *            fieldCode     int32       1 satellite number         2 epoch, "YYDDDHHMMSS.SSS"
 *                                      3 ae, 15 decimals          4 ke, 20 decimals
 *                                      5 to 7 position x, y, z    8 to 10 velocity x, y, z of the first point,
 *                                                                 15 decimals
 *                                     11 code of the frame       12 number of points
 *                                     13 path of the file        14 satellite name
 *                                     15 name of the ephemeris   any other code: blanks
 * Returned:  fieldText     char[512]
 * Result:    0, or 2 when the key is unknown or the record has no points
 * Notes:     A number has as many columns as its code says: 9 for code 1, 35 for 3 and 5 to 10, 30 for 4, 1 for 11 and
 *            10 for 12. One that is too wide comes out as that many asterisks.
 */
VECTABLE_API int32_t VecTabGetField(int64_t satKey, int32_t fieldCode, char fieldText[VEC_TAB_FIELD_LENGTH]);

/*
 * Changes a field of a record, its key stays.
 *
 * Given:     satKey        int64      key of a stored record
 *            fieldCode     int32      11 code of the frame, only the first character of the text; no state is
 *                                        converted
 *                                     14 satellite name, 8 characters
 *                                     15 name of the ephemeris, 128 characters
 *                                     any other code changes nothing
 *            fieldText     char[512]  the value, leading blanks ignored
 * Result:    0, or 2 when the key is unknown
 */
VECTABLE_API int32_t VecTabSetField(int64_t satKey, int32_t fieldCode, const char* fieldText);

/*
 * The first and the last time of a record.
 *
 * Given:     satKey        int64      key of a stored record that has points
 * Returned:  startDs50UTC  double*    days since 1950, UTC
 *            endDs50UTC    double*    days since 1950, UTC
 * Result:    0, or 2 when the key is unknown or the record has no points
 */
VECTABLE_API int32_t VecTabStartEndTime(int64_t satKey, double* startDs50UTC, double* endDs50UTC);

/* ----------------------------------------------- Retrieval ------------------------------------------------------ */

/*
 * INTERPOLATION. A request on a stored time (to 10^-12 days) gives the stored point. Between points, position and
 * velocity come from the polynomial of degree 7 that takes on position and velocity of the four points round the time
 * (Hermite), each covariance term from the cubic through the four, the revolution number from a near point and the
 * equator crossing between. A request fails, with status 2 and all outputs zero, when the key is unknown, the record
 * has no points, the time lies outside the table, the record has fewer than four points and none at the time, or the
 * four points lie more than VEC_TAB_GAP_MINUTES apart on the average.
 *
 * The seconds between two times are those of the UTC day count, in which a leap second has no place: between the points
 * next to one a state is off by up to the way of a second. In a low orbit with a point a minute that is 4 km where a
 * point stands at the midnight after it, and 8 km at worst. Stored points are as they were given.
 */

/*
 * A stored point.
 *
 * Given:     satKey        int64      key of a stored record
 *            index         int32      number of the point, 1 to the number of points
 * Returned:  ds50UTC       double*    its time, days since 1950, UTC
 *            pos           double[3]  km, in the record's frame
 *            vel           double[3]  km/s, same frame
 *            revNum        int32*     revolution number
 * Result:    0, or 2 when the key is unknown, the record has no points, or there is no such point
 */
VECTABLE_API int32_t VecTabGetEphemeris(int64_t satKey, int32_t index, double* ds50UTC, double pos[3], double vel[3],
                                        int32_t* revNum);

/*
 * A stored point with its covariance. As VecTabGetEphemeris, and
 *
 * Returned:  covMtx        double[36] 6 x 6, symmetric, in the units of its source; zeros without covariance
 */
VECTABLE_API int32_t VecTabGetCovMtx(int64_t satKey, int32_t index, double* ds50UTC, double pos[3], double vel[3],
                                     int32_t* revNum, double covMtx[VEC_TAB_COV_ELEMENTS]);

/*
 * The state at a time since the first point.
 *
 * Given:     satKey        int64      key of a stored record
 *            mse           double     minutes since the first point
 * Returned:  ds50UTC       double*    the time asked for, days since 1950, UTC
 *            pos           double[3]  km, in the record's frame
 *            vel           double[3]  km/s, same frame
 *            revNum        int32*     revolution number, 0 to 99999 between points
 * Result:    0, or 2 as told under INTERPOLATION
 * Notes:     The minutes of the last point can fail: mse / 1440 + start may round to just after it.
 */
VECTABLE_API int32_t VecTabMse(int64_t satKey, double mse, double* ds50UTC, double pos[3], double vel[3],
                               int32_t* revNum);

/*
 * The state and covariance at a time since the first point. As VecTabMse, and
 *
 * Returned:  covMtx        double[36] 6 x 6, symmetric, in the units of its source; zeros without covariance
 */
VECTABLE_API int32_t VecTabMseCovMtx(int64_t satKey, double mse, double* ds50UTC, double pos[3], double vel[3],
                                     int32_t* revNum, double covMtx[VEC_TAB_COV_ELEMENTS]);

/*
 * The state at a time.
 *
 * Given:     satKey        int64      key of a stored record
 *            ds50UTC       double     days since 1950, UTC
 * Returned:  mse           double*    minutes since the first point
 *            pos           double[3]  km, in the record's frame
 *            vel           double[3]  km/s, same frame
 *            revNum        int32*     revolution number, 0 to 99999 between points
 * Result:    0, or 2 as told under INTERPOLATION
 */
VECTABLE_API int32_t VecTabDs50UTC(int64_t satKey, double ds50UTC, double* mse, double pos[3], double vel[3],
                                   int32_t* revNum);

/*
 * The state and covariance at a time. As VecTabDs50UTC, and
 *
 * Returned:  covMtx        double[36] 6 x 6, symmetric, in the units of its source; zeros without covariance
 */
VECTABLE_API int32_t VecTabDs50UTCCovMtx(int64_t satKey, double ds50UTC, double* mse, double pos[3], double vel[3],
                                         int32_t* revNum, double covMtx[VEC_TAB_COV_ELEMENTS]);

/*
 * A state with everything in one array.
 *
 * Given:     satKey        int64      key of a stored record
 *            ephType       int32      what `value` is: 1 minutes since the first point, 2 days since 1950 UTC, 3 the
 *                                     number of a point, a fraction cut off
 *            value         double     the request
 * Returned:  extArr        double[128]  elements, counted from 0:
 *                                     0 minutes since the first point    1 days since 1950, UTC
 *                                     2-4 position, km                   5-7 velocity, km/s
 *                                     8 revolution number                9-29 the 21 covariance terms
 *                                     30-127 zeros
 * Result:    0, or 2 as told under INTERPOLATION, or when ephType is not 1, 2 or 3
 */
VECTABLE_API int32_t VecTabXten(int64_t satKey, int32_t ephType, double value, double extArr[VEC_TAB_EXT_LENGTH]);

/* ---------------------------------------------- Persistence ----------------------------------------------------- */

/*
 * Loads an ephemeris file, or the files that a list file names, into the store. The format is found out from the
 * content.
 *
 * Given:     vecTabFile    char[512]  path, leading and trailing blanks ignored
 * Result:    0; 2 when an ephemeris could not be read; the error number of the system when the file cannot be opened
 * Notes:     A list file has lines "EPHFIL = path", one level deep, and lines "#VECTABLE = name" that name the next
 *            record stored. Its result is 0, whatever became of the files that it names: see the trace log. One that
 *            cannot be opened is passed over in silence. A path of more than 512 characters is cut to them, and an
 *            error entry tells it. A file in which no format is found is no failure, and stores nothing.
 */
VECTABLE_API int32_t VecTabLoadFile(const char* vecTabFile);

/*
 * Loads an ephemeris file and gives its key. List lines are not followed.
 *
 * Given:     filePath      char[512]  path, leading and trailing blanks ignored
 * Result:    the key of the last record that the file gave; -1 when the file cannot be opened, fails, or holds none,
 *            without an entry in the log when it cannot be opened or no format is found in it; for a duplicate 0 or the
 *            key, as VecHostSetDupKeyMode tells
 */
VECTABLE_API int64_t VecTabAddSatFrFile(const char* filePath);

/*
 * Writes a list file that names, for every stored record, the file that it came from and its name. It holds no states.
 *
 * Given:     vecTabFile    char[512]  path, leading and trailing blanks ignored
 *            saveMode      int32      0 replaces the file, any other value appends to it
 * Result:    0; 2 when a write failed; the error number of the system when the file cannot be opened, EBUSY when
 *            another save of this process is under way, or another process has the file locked for half a minute. After
 *            a failure an earlier file is as it was, but for the two cases below.
 * Notes:     VecTabLoadFile reads it back. A record that came from no file does not come back.
 *            The new list, after a copy of the old one when it is appended, is written beside the old file, to stable
 *            storage, and renamed over it: whatever happens meanwhile, a power cut too, the file is the old one or the
 *            whole new one. At the end the directory is synchronised, if it may be read; when that fails the result is
 *            2 and the list is the new one. A save that is killed leaves a file NAME.vectable-1.tmp beside, which the
 *            next save of the same list removes.
 *            Owner, group, mode and access list are those of the old file. Where the system refuses the owner, the
 *            others are kept. Where it refuses the group, members of the new one have what both group and others had,
 *            and nothing when there is an access list. Nobody but the new owner gets more rights than before.
 *            Where the system refuses to make or rename a file in the directory (EACCES, EPERM, EROFS, EBUSY, EXDEV; a
 *            directory that may not be written, say, or a file that is mounted), the old file is written in place, and
 *            the log tells it, as information. The new list is written after the old one, to stable storage, then
 *            copied to the start, and the rest is cut off. So at every moment the file holds the old list whole or the
 *            new one. A failure before the old list is touched takes the new one away again; after one that comes
 *            later, which gives 2, and after a kill, parts of the other list stay beside it. This takes the room of
 *            both lists, and of the new one twice when it is the longer one; and a file that is replaced has to be
 *            readable. Saves of several processes to one file follow one another, so that no append is lost (a lock of
 *            fcntl on the open file; on a file system without such locks they must be kept apart).
 *            A pipe and a device are written as they are, in both modes, and so is what a path such as /dev/stdout or
 *            /dev/fd/3 names, if this process has it open for writing: at the position of that descriptor.
 */
VECTABLE_API int32_t VecTabSaveFile(const char* vecTabFile, int32_t saveMode);

/*
 * The line of a list file that names the file of a record.
 *
 * Given:     satKey        int64      key of a stored record
 * Returned:  line          char[512]  "EPHFIL = " and the first 503 characters of the path
 * Result:    0, or 2 when the key is unknown
 */
VECTABLE_API int32_t VecTabGetLine(int64_t satKey, char line[VEC_TAB_LINE_LENGTH]);

#ifdef __cplusplus
}
#endif

#endif
