/*
 * One story through all 27 calls, told in both key modes. Compiled as C11 and as C++20 against the installed headers.
 *
 *     all_calls FOLDER      a folder to write into
 */
#include <vectable/host.h>
#include <vectable/vectable.h>

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
static double start, end, ae, ke, pos[3] = {7000.0, 0.0, 0.0}, vel[3] = {1.0, 0.0, 0.0}, cov[36], all[128];
static int32_t revNum, satNum, coordSys, numOfPts;
static char text[512], satName[8], ephemName[128], filePath[512];

static void make(int64_t key) {
    EXPECT(VecTabAddSatEphem(key, 27395.0, pos, vel, 5) == 0);
    EXPECT(VecTabAddSatEphemCovMtx(key, 27396.0, pos, vel, 5, cov) == 0);
    EXPECT(VecTabAddSatEphemExt(key, 27397.0, pos, vel, 5, cov) == 0);
    EXPECT(VecTabSetField(key, 15, "first light") == 0 && VecTabGetField(key, 15, text) == 0);
    EXPECT(strncmp(text, "first light ", 12) == 0);
}

static void ask(int64_t key) {
    EXPECT(VecTabGetEphemeris(key, 1, &start, pos, vel, &revNum) == 0 && pos[0] == 7000.0);
    EXPECT(VecTabGetCovMtx(key, 1, &start, pos, vel, &revNum, cov) == 0 && start == 27395.0);
    EXPECT(VecTabMse(key, 0.0, &start, pos, vel, &revNum) == 0 && start == 27395.0);
    EXPECT(VecTabMseCovMtx(key, 0.0, &start, pos, vel, &revNum, cov) == 0 && vel[0] == 1.0);
    EXPECT(VecTabDs50UTC(key, 27395.0, &start, pos, vel, &revNum) == 0 && start == 0.0);
    EXPECT(VecTabDs50UTCCovMtx(key, 27395.0, &start, pos, vel, &revNum, cov) == 0 && revNum == 5);
    EXPECT(VecTabXten(key, 3, 1.0, all) == 0 && all[2] == 7000.0);
    EXPECT(VecTabStartEndTime(key, &start, &end) == 0 && start == 27395.0 && end == 27397.0);
    EXPECT(VecTabGetAllFields(key, &satNum, satName, ephemName, &start, &ae, &ke, pos, vel, &coordSys, &numOfPts,
                              filePath) == 0);
    EXPECT(satNum == 25544 && coordSys == 2 && numOfPts == 3 && ae == 6378.135);
    EXPECT(VecTabGetLine(key, text) == 0 && strncmp(text, "EPHFIL = ", 9) == 0);
}

static void story(const char* folder) {
    char path[400];
    int64_t key, keys[1];

    snprintf(path, sizeof path, "%s/list.txt", folder);
    EXPECT(VecTabInit() == 0 && VecTabGetCount() == 0);
    VecTabGetInfo(text);
    EXPECT(strncmp(text, "VecTable ", 9) == 0);
    key = VecTabAddSat(25544, 27395.0, 6378.135, 0.0743669161, 2);
    EXPECT(key > 0 && VecTabGetSatKey(25544) == key);
    EXPECT((VecTabFieldsToSatKey(25544, "25001000000.000") == key) == (mode == 0));
    make(key);
    ask(key);
    VecTabGetLoaded(0, keys);
    EXPECT(keys[0] == key && VecTabSaveFile(path, 0) == 0);
    EXPECT(VecTabRemoveSat(key) == 0 && VecTabRemoveSat(key) == 2);
    EXPECT(VecTabLoadFile(path) == 0 && VecTabAddSatFrFile(path) == -1);
    EXPECT(VecTabRemoveAllSats() == 0 && VecTabGetCount() == 0);
}

int main(int argc, char** argv) {
    if (argc != 2) return EXIT_FAILURE;
    VecHostSetTraceSink(NULL, NULL);
    for (mode = 0; mode <= 1; ++mode) {
        VecHostSetElsetKeyMode(mode);
        story(argv[1]);
    }
    puts("all calls as told");
    return EXIT_SUCCESS;
}
