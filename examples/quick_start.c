#include <vectable/vectable.h>

#include <stdio.h>

int main(void) {
    int64_t key = VecTabAddSatFrFile("examples/samples/10001_leo.e");
    double time, pos[3], vel[3];
    int32_t revNum;

    if (key <= 0 || VecTabMse(key, 12.5, &time, pos, vel, &revNum) != 0) return 1;
    printf("day %.6f\n", time);
    printf("position %.6f %.6f %.6f km\n", pos[0], pos[1], pos[2]);
    printf("velocity %.9f %.9f %.9f km/s\n", vel[0], vel[1], vel[2]);
    return VecTabRemoveAllSats();
}
