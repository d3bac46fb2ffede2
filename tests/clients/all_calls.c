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

static void expect(int condition, int line) {
    if (condition) return;
    fprintf(stderr, "line %d\n", line);
    exit(EXIT_FAILURE);
}
#define EXPECT(condition) expect(condition, __LINE__)

static void story(const char* folder, int mode) {
    double start, end, ae, ke, pos[3] = {7000.0, 0.0, 0.0}, vel[3] = {1.0, 0.0, 0.0}, cov[36] = {0.0}, all[128];
    int32_t revNum, satNum, coordSys, numOfPts;
    int64_t key, keys[1];
    char path[400], text[512], satName[8], ephemName[128], filePath[512];

    snprintf(path, sizeof path, "%s/list.txt", folder);
    VecHostSetElsetKeyMode(mode);
    VecTabGetInfo(text);
    EXPECT(VecTabInit() == 0 && VecTabGetCount() == 0 && strncmp(text, "VecTable ", 9) == 0);
    key = VecTabAddSat(25544, 27395.0, 6378.135, 0.0743669161, 2);
    EXPECT(key > 0 && VecTabGetSatKey(25544) == key);
    EXPECT((VecTabFieldsToSatKey(25544, "25001000000.000") == key) == (mode == 0));
    EXPECT(VecTabAddSatEphem(key, 27395.0, pos, vel, 5) == 0);
    EXPECT(VecTabAddSatEphemCovMtx(key, 27396.0, pos, vel, 5, cov) == 0);
    EXPECT(VecTabAddSatEphemExt(key, 27397.0, pos, vel, 5, cov) == 0);
    EXPECT(VecTabSetField(key, 15, "first light") == 0 && VecTabGetField(key, 15, text) == 0 && text[6] == 'l');
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
    VecTabGetLoaded(0, keys);
    EXPECT(keys[0] == key && VecTabGetLine(key, text) == 0 && VecTabSaveFile(path, 0) == 0);
    EXPECT(VecTabRemoveSat(key) == 0 && VecTabRemoveSat(key) == 2);
    EXPECT(VecTabLoadFile(path) == 0 && VecTabAddSatFrFile(path) == -1 && VecTabRemoveAllSats() == 0);
}

int main(int argc, char** argv) {
    if (argc != 2) return EXIT_FAILURE;
    VecHostSetTraceSink(NULL, NULL);
    story(argv[1], 0);
    story(argv[1], 1);
    puts("all calls as told");
    return EXIT_SUCCESS;
}
