/*
 * Orbit ephemeris messages (CCSDS 502.0, OEM), the form in which most public ephemerides come: the keyword text form
 * (KVN) of the versions 1 to 3. The units of such files are km and km/s, and of covariances their products: those of
 * the library. docs/formats.md tells what of a message is read.
 */
#ifndef VECTABLE_OEM_H
#define VECTABLE_OEM_H

#include <stdint.h>

#include "api.h"

#ifdef __cplusplus
extern "C" {
#endif

/*
 * Reads every segment of a message into a record of its own: all of them or none.
 *
 * A record has the name OBJECT_NAME, the satellite name OBJECT_ID (its first 8 characters) and the path of the file.
 * Its frame is 2 (J2K) for REF_FRAME EME2000, ICRF or GCRF, 1 (ECI) for TEME of date, 4 (ECR) for ITRF and its years.
 * TIME_SYSTEM is UTC, TAI, GPS or TT; times become UTC by the library's table of leap seconds. CENTER_NAME is EARTH.
 * Anything else is refused by name, for the library converts no frames.
 *
 * States outside USEABLE_START_TIME and USEABLE_STOP_TIME are kept as well: the sender advises against interpolation
 * there. Accelerations are read and dropped. Where the states end more than a second before STOP_TIME, the log says
 * that the file may be cut, as an error; the states are kept.
 *
 * Covariances in the frame of the states are taken as they are. Those in RSW, RTN or TNW are rotated into it; the state
 * at their time tells how. A point at the time of a covariance gets that one, a point between two covariances what lies
 * on the straight line between them, a point before the first or after the last the nearest one. The log says from when
 * to when they were given. A segment without covariances has zeros.
 *
 * May be called from any thread, beside any other call, as VecTabLoadFile.
 *
 * Given:     filePath  char[512]      path of the file
 *            satNum    int32          satellite number of the records; 0 stands for VEC_TAB_UNKNOWN_SAT_NUM
 *            capacity  int32          the keys that `satKeys` has room for, from 0
 * Returned:  satKeys   int64[capacity] the keys of the records in the order of the file, as many as there is room for;
 *                                     null where capacity is 0
 *            count     int32*         the number of segments; 0 when the load failed
 * Result:    0; 2 when the file is no such message, has a line that is not of its form, or a segment that is stored
 *            already (see VecHostSetDupKeyMode): an entry in the log says the line and what is wrong, and no record of
 *            the file is left; or the error number of the system (errno.h) when the file cannot be opened.
 */
VECTABLE_API int32_t VecOemLoadFile(const char* filePath, int32_t satNum, int64_t* satKeys, int32_t capacity,
                                    int32_t* count);

#ifdef __cplusplus
}
#endif

#endif
