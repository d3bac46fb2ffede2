/*
 * One story through all 27 calls, told in both key modes. Compiled as C11 and as C++20 against the installed headers.
 *
 *     all_calls FOLDER      a folder to write into
 */
#include <vectable/host.h>
#include <vectable/vectable.h>

#include <math.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#define EXPECT(condition)                                                          \
    do {                                                                           \
        if (!(condition)) {                                                        \
            fprintf(stderr, "mode %d, line %d: %s\n", mode, __LINE__, #condition); \
            exit(EXIT_FAILURE);                                                    \
        }                                                                          \
    } while (0)

static int mode;
static int errors;

static void count_errors(int32_t level, const char* text, int32_t length, void* context) {
    (void)text;
    (void)length;
    (void)context;
    if (level == VEC_HOST_TRACE_ERROR) ++errors;
}

static void write_sample(const char* path) {
    FILE* file = fopen(path, "w");
    EXPECT(file != NULL);
    fputs("stk.v.4\nScenarioEpoch 1 Jan 2025 00:00:00.000\nDistanceUnit Kilometers\nEphemerisTimePosVel\n", file);
    for (int i = 0; i < 6; ++i) fprintf(file, "%d %d 0 0 1 0 0\n", 60 * i, 7000 + 60 * i);
    EXPECT(fclose(file) == 0);
}

/* A table built point by point: 7000 km + 1 km/s, every point with its covariance. */
static int64_t build(void) {
    const double vel[3] = {1.0, 0.0, 0.0};
    double terms[21];
    int64_t key = VecTabAddSat(25544, 27395.0, 6378.135, 0.0743669161, 2);

    EXPECT(key > 0);
    for (int k = 0; k < 21; ++k) terms[k] = k + 1.0;
    for (int i = 0; i < 6; ++i) {
        const double pos[3] = {7000.0 + 60.0 * i, 0.0, 0.0};
        const double time = 27395.0 + i / 1440.0;
        if (i < 2) EXPECT(VecTabAddSatEphemCovMtx(key, time, pos, vel, 5, terms) == 0);
        if (i == 2) EXPECT(VecTabAddSatEphemExt(key, time, pos, vel, 5, terms) == 0);
        if (i > 2) EXPECT(VecTabAddSatEphem(key, time, pos, vel, 5) == 0);
    }
    return key;
}

static void ask(int64_t key) {
    double time, pos[3], vel[3], cov[36], all[128], start, end;
    int32_t revNum;

    EXPECT(VecTabGetEphemeris(key, 6, &time, pos, vel, &revNum) == 0 && pos[0] == 7300.0);
    EXPECT(VecTabGetCovMtx(key, 1, &time, pos, vel, &revNum, cov) == 0 && time == 27395.0 && pos[0] == 7000.0);
    EXPECT(VecTabMse(key, 2.5, &time, pos, vel, &revNum) == 0 && fabs(pos[0] - 7150.0) < 1e-5);
    EXPECT(VecTabMseCovMtx(key, 2.5, &time, pos, vel, &revNum, cov) == 0 && fabs(vel[0] - 1.0) < 1e-6);
    EXPECT(VecTabDs50UTC(key, time, &time, pos, vel, &revNum) == 0 && fabs(time - 2.5) < 1e-6);
    EXPECT(VecTabDs50UTCCovMtx(key, 27395.0, &time, pos, vel, &revNum, cov) == 0 && time == 0.0);
    EXPECT(VecTabXten(key, 3, 2.0, all) == 0 && all[2] == 7060.0);
    EXPECT(VecTabStartEndTime(key, &start, &end) == 0 && start == 27395.0 && end > start);
}

static void describe(int64_t key, const char* path) {
    char text[512], satName[8], ephemName[128], filePath[512], line[512];
    double epoch, ae, ke, pos[3], vel[3];
    int32_t satNum, coordSys, numOfPts;

    EXPECT(VecTabSetField(key, 15, "first light") == 0 && VecTabSetField(key, 14, "STATION") == 0);
    EXPECT(VecTabGetField(key, 12, text) == 0 && strncmp(text, "6 ", 2) == 0);
    EXPECT(VecTabGetAllFields(key, &satNum, satName, ephemName, &epoch, &ae, &ke, pos, vel, &coordSys, &numOfPts,
                              filePath) == 0);
    EXPECT(numOfPts == 6 && coordSys == 2 && epoch == 27395.0 && strncmp(satName, "STATION ", 8) == 0);
    EXPECT(strncmp(ephemName, "first light ", 12) == 0 && strncmp(filePath, path, strlen(path)) == 0);
    EXPECT(VecTabGetLine(key, line) == 0 && strncmp(line, "EPHFIL = ", 9) == 0 &&
           strncmp(line + 9, path, strlen(path)) == 0);
}

static void duplicates(int64_t key, const char* path) {
    int64_t again;

    again = VecTabAddSatFrFile(path);
    EXPECT(mode == 1 ? again > 0 && again != key : again == 0 && errors == 1);
    if (mode == 1) EXPECT(VecTabRemoveSat(again) == 0);
    errors = 0;
    VecHostSetDupKeyMode(1);
    again = VecTabAddSatFrFile(path);
    EXPECT(mode == 1 ? again > 0 && again != key : again == key);
    EXPECT(errors == 0);
    if (mode == 1) EXPECT(VecTabRemoveSat(again) == 0);
    VecHostSetDupKeyMode(0);
}

static void stale(int64_t key) {
    double time, pos[3], vel[3];
    int32_t revNum;
    char text[512];

    errors = 0;
    EXPECT(VecTabRemoveSat(key) == 2 && VecTabMse(key, 0.0, &time, pos, vel, &revNum) == 2 && time == 0.0);
    EXPECT(VecTabGetField(key, 1, text) == 2 && text[0] == ' ' && VecTabGetLine(key, text) == 2 && text[511] == ' ');
    EXPECT(VecTabAddSatEphem(key, 1.0, pos, vel, 0) == 2 && VecTabSetField(key, 15, "x") == 2);
    EXPECT(errors == 6);
}

static void story(const char* folder) {
    char path[400], list[400], info[128];
    int64_t loaded, built, keys[2];

    snprintf(path, sizeof path, "%s/10001.e", folder);
    snprintf(list, sizeof list, "%s/list.txt", folder);
    write_sample(path);
    EXPECT(VecTabInit() == 0 && VecTabGetCount() == 0);
    VecTabGetInfo(info);
    EXPECT(strncmp(info, "VecTable ", 9) == 0);

    built = build();
    loaded = VecTabAddSatFrFile(path);
    EXPECT(loaded > 0 && VecTabGetCount() == 2 && VecTabGetSatKey(10001) == loaded);
    VecTabGetLoaded(0, keys);
    EXPECT(keys[0] == loaded && keys[1] == built);
    VecTabGetLoaded(2, keys);
    EXPECT(keys[0] == built && keys[1] == loaded);
    EXPECT((VecTabFieldsToSatKey(25544, "25001000000.000") == built) == (mode == 0));
    ask(built);
    ask(loaded);
    describe(loaded, path);
    duplicates(loaded, path);
    EXPECT(VecTabSaveFile(list, 0) == 0);

    EXPECT(VecTabRemoveSat(built) == 0 && VecTabRemoveSat(loaded) == 0 && VecTabGetCount() == 0);
    stale(built);
    stale(loaded);
    EXPECT(VecTabLoadFile(list) == 0 && VecTabGetCount() == 1);
    describe(VecTabGetSatKey(10001), path);
    EXPECT(VecTabRemoveAllSats() == 0 && VecTabGetSatKey(10001) == -1);
}

int main(int argc, char** argv) {
    if (argc != 2) return EXIT_FAILURE;
    VecHostSetTraceSink(count_errors, NULL);
    for (mode = 0; mode <= 1; ++mode) {
        VecHostSetUseAllKeyMode(mode);
        VecHostSetAllKeyMode(mode);
        errors = 0;
        story(argv[1]);
    }
    puts("all calls as told");
    return EXIT_SUCCESS;
}
