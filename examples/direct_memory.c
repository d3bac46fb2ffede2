/*
 * Compares two plans of one satellite in direct-memory mode: to stay in its circular orbit, or to be in a higher one
 * from the start of the table on. Both are records of the same satellite and epoch. Tree mode, whose keys are made from
 * these two, would refuse the second one as a duplicate; in direct-memory mode every store makes a new record.
 *
 *     direct_memory
 *
 * Prints the two plans, then how far they lie apart every ten minutes.
 *
 * The price of the mode is one rule: a key leads straight to the memory of its record, so never remove a record while
 * another thread uses it.
 */
#include <vectable/host.h>
#include <vectable/vectable.h>

#include <math.h>
#include <stdio.h>
#include <stdlib.h>

static const double kMu = 398600.8;          /* km^3/s^2 */
static const double kEarthRadius = 6378.135; /* km */
static const double kGravity = 0.0743669161; /* (Earth radii)^1.5 a minute */
static const double kStart = 27819.0;        /* days since 1950: 2026-03-01 00:00 */
static const double kMinutesBetweenPoints = 2.0;
enum { SATELLITE = 10001, ECI = 1, POINTS = 46, MINUTES_BETWEEN_LINES = 10 };

/* A circle over the poles. */
static int add_point(int64_t key, double radius, double minutes) {
    const double rate = sqrt(kMu / (radius * radius * radius));
    const double angle = rate * minutes * 60.0;
    const double speed = rate * radius;
    const double pos[3] = {radius * cos(angle), 0.0, radius * sin(angle)};
    const double vel[3] = {-speed * sin(angle), 0.0, speed * cos(angle)};

    return VecTabAddSatEphem(key, kStart + minutes / 1440.0, pos, vel, 1);
}

/* The key of the plan, 0 on failure. */
static int64_t store_plan(const char* name, double radius) {
    const int64_t key = VecTabAddSat(SATELLITE, kStart, kEarthRadius, kGravity, ECI);

    if (key <= 0) return 0;
    for (int i = 0; i < POINTS; ++i) {
        if (add_point(key, radius, i * kMinutesBetweenPoints) != 0) return 0;
    }
    printf("satellite %d  plan %-5s  radius %.1f km  points %d\n", SATELLITE, name, radius, POINTS);
    return key;
}

static int print_separation(int64_t stay, int64_t raise, double minutes) {
    double time, a[3], b[3], vel[3];
    int32_t revNum;

    if (VecTabMse(stay, minutes, &time, a, vel, &revNum) != 0 ||
        VecTabMse(raise, minutes, &time, b, vel, &revNum) != 0) {
        return 1;
    }
    printf("minute %3.0f  separation %12.6f km\n", minutes, hypot(hypot(a[0] - b[0], a[1] - b[1]), a[2] - b[2]));
    return 0;
}

static int compare(int64_t stay, int64_t raise) {
    /* Odd minutes lie between two points. */
    for (int minutes = 5; minutes < (POINTS - 1) * kMinutesBetweenPoints; minutes += MINUTES_BETWEEN_LINES) {
        if (print_separation(stay, raise, minutes) != 0) return 1;
    }
    return 0;
}

int main(void) {
    int64_t stay, raise;

    VecHostSetUseAllKeyMode(1);
    VecHostSetAllKeyMode(1);
    stay = store_plan("stay", 7000.0);
    raise = store_plan("raise", 7050.0);
    if (stay == 0 || raise == 0 || compare(stay, raise) != 0) return EXIT_FAILURE;

    /* There is one thread, so nobody uses them now. With several threads this is the place after the last join. */
    if (VecTabRemoveSat(stay) != 0 || VecTabRemoveSat(raise) != 0) return EXIT_FAILURE;
    printf("%d records left\n", (int)VecTabGetCount());
    return EXIT_SUCCESS;
}
