/*
 * Loads ephemeris files and reports what they hold: a line for each record, then its state at the start, at a time
 * between two points, and at the end.
 *
 *     ephemeris_report FILE...
 *
 * The message of a failure comes from the library's own log, on standard error.
 */
#include <vectable/host.h>
#include <vectable/vectable.h>

#include <stdio.h>
#include <stdlib.h>

static int length_of(const char* text, int length) {
    while (length > 0 && text[length - 1] == ' ') --length;
    return length;
}

static int print_record(int64_t key, int32_t* numOfPts) {
    int32_t satNum, coordSys;
    double epoch, ae, ke, pos[3], vel[3], start, end;
    char satName[VEC_TAB_SAT_NAME_LENGTH], ephemName[VEC_TAB_EPHEM_NAME_LENGTH], filePath[VEC_TAB_PATH_LENGTH];
    char frame[VEC_HOST_FRAME_NAME_LENGTH];

    if (VecTabGetAllFields(key, &satNum, satName, ephemName, &epoch, &ae, &ke, pos, vel, &coordSys, numOfPts,
                           filePath) != 0 ||
        VecTabStartEndTime(key, &start, &end) != 0) {
        return 1;
    }
    VecHostFrameName(coordSys, frame);
    printf("key %lld  satellite %d  frame %.*s  points %d  from %.8f to %.8f\n", (long long)key, (int)satNum,
           length_of(frame, VEC_HOST_FRAME_NAME_LENGTH), frame, (int)*numOfPts, start, end);
    return 0;
}

static int has_covariance(const double covMtx[VEC_TAB_COV_ELEMENTS]) {
    for (int i = 0; i < VEC_TAB_COV_ELEMENTS; ++i) {
        if (covMtx[i] != 0.0) return 1;
    }
    return 0;
}

static int print_state(int64_t key, const char* label, double ds50UTC) {
    double mse, pos[3], vel[3], covMtx[VEC_TAB_COV_ELEMENTS];
    int32_t revNum;

    if (VecTabDs50UTCCovMtx(key, ds50UTC, &mse, pos, vel, &revNum, covMtx) != 0) return 1;
    printf("  %-8s %14.8f  pos %15.6f %15.6f %15.6f km  vel %12.9f %12.9f %12.9f km/s  rev %d\n", label, ds50UTC,
           pos[0], pos[1], pos[2], vel[0], vel[1], vel[2], (int)revNum);
    if (has_covariance(covMtx)) {
        for (int row = 0; row < 6; ++row) {
            printf("           cov");
            for (int column = 0; column <= row; ++column) printf(" %14.6e", covMtx[row * 6 + column]);
            printf("\n");
        }
    }
    return 0;
}

/* States at the first point, a third of the way from a middle point to the next one, and at the last point. */
static int report(int64_t key) {
    int32_t numOfPts, middle, revNum;
    double start, end, before, after, pos[3], vel[3];

    if (print_record(key, &numOfPts) != 0) return 1;
    middle = numOfPts < 2 ? 1 : numOfPts / 2;
    if (VecTabStartEndTime(key, &start, &end) != 0 ||
        VecTabGetEphemeris(key, middle, &before, pos, vel, &revNum) != 0 ||
        VecTabGetEphemeris(key, numOfPts < 2 ? 1 : middle + 1, &after, pos, vel, &revNum) != 0) {
        return 1;
    }
    return print_state(key, "start", start) | print_state(key, "between", before + (after - before) / 3.0) |
           print_state(key, "end", end);
}

int main(int argc, char** argv) {
    int failures = 0;
    int64_t* keys;
    int32_t count;
    char info[128];

    VecTabGetInfo(info);
    printf("%.128s\n", info);
    for (int i = 1; i < argc; ++i) {
        int32_t status = VecTabLoadFile(argv[i]);
        printf("%s: status %d\n", argv[i], (int)status);
        if (status != 0) ++failures;
    }

    count = VecTabGetCount();
    printf("%d records\n", (int)count);
    if (count > 0) {
        keys = malloc((size_t)count * sizeof *keys);
        if (keys == NULL) return EXIT_FAILURE;
        VecTabGetLoaded(0, keys);
        for (int32_t i = 0; i < count; ++i) failures += report(keys[i]);
        free(keys);
    }
    if (VecTabRemoveAllSats() != 0) ++failures;
    return failures == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}
