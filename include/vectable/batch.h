/*
 * Many states a call. The library asks early for the memory that later requests will need, so that a catalogue is
 * answered at the speed of memory, and finds a record once for all its times.
 *
 * Conventions 2 to 10 of vectable.h hold here too, the eighth above all: answers are written before the last request is
 * read, so that the arrays of the answers must overlap neither those of the requests nor one another.
 *
 * A state has the bits that VecTabDs50UTC and VecTabDs50UTCCovMtx give. Where there is none, that is no failure of
 * the call: state and covariance are NaN, the revolution number is 0, and the outcome says why. The log gets one
 * information entry a call when requests had no state, such as "VecBatchGrid: 12 of 40000 requests have no state."
 *
 * THREADS
 *
 *  As the calls of vectable.h that ask a record: beside any call but one that changes one of the records, and in
 *  direct-memory mode no record may be removed meanwhile. No thread is started: a caller splits a batch over threads of
 *  its own, each with its own part of the arrays. In tree mode the store is held for a few dozen requests at a time,
 *  never for the whole batch: a record that is removed meanwhile has outcome 1 from then on.
 */
#ifndef VECTABLE_BATCH_H
#define VECTABLE_BATCH_H

#include <stdint.h>

#include "api.h"

#ifdef __cplusplus
extern "C" {
#endif

/* What became of a request. */
#define VEC_BATCH_STATE 0     /* there is a state */
#define VEC_BATCH_NO_RECORD 1 /* the key is unknown, or its record has no points */
#define VEC_BATCH_OUTSIDE 2   /* before the first point, after the last, or not a finite time */
#define VEC_BATCH_GAP 3       /* the points around the time are too far apart */
#define VEC_BATCH_TOO_FEW 4   /* two or three points, and none at this time */

/*
 * One state of each of many pairs: request i is record satKeys[i] at ds50UTCs[i].
 *
 * Given:     count         int64               number of requests, 0 or more
 *            satKeys       int64[count]        keys of stored records
 *            ds50UTCs      double[count]       days since 1950, UTC
 * Returned:  states        double[count][6]    position, km, and velocity, km/s, in the frame of the record
 *            covs          double[count][21]   lower triangle of the covariance, row by row, in the units of its
 *                                              source; zeros without covariance; or NULL where it is not wanted, which
 *                                              saves time
 *            revNums       int32[count]        revolution numbers; or NULL
 *            outcomes      uint8[count]        VEC_BATCH_...; or NULL
 * Result:    the number of requests without a state; -1, with an entry in the log and nothing written, for a negative
 *            count or a null array that is required (none is when count is 0)
 */
VECTABLE_API int64_t VecBatchPairs(int64_t count, const int64_t* satKeys, const double* ds50UTCs, double* states,
                                   double* covs, int32_t* revNums, uint8_t* outcomes);

/*
 * The states of many records at many times: request (i, j) is record satKeys[i] at ds50UTCs[j], and stands in the
 * arrays at i * numTimes + j. Times that rise are fastest.
 *
 * Given:     numKeys       int64               number of keys, 0 or more
 *            satKeys       int64[numKeys]      keys of stored records
 *            numTimes      int64               number of times, 0 or more
 *            ds50UTCs      double[numTimes]    days since 1950, UTC
 * Returned:  as VecBatchPairs, for numKeys * numTimes requests
 * Result:    as VecBatchPairs; -1 also for a number of requests whose arrays no memory could hold
 */
VECTABLE_API int64_t VecBatchGrid(int64_t numKeys, const int64_t* satKeys, int64_t numTimes, const double* ds50UTCs,
                                  double* states, double* covs, int32_t* revNums, uint8_t* outcomes);

#ifdef __cplusplus
}
#endif

#endif
