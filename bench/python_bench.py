"""What does Python add to the calls of C? Prints rows of the table of bench.sh: medians of runs that take turns."""

import statistics
import threading
import time

import numpy as np

import vectable as vt

START = 27819.0  # days since 1950
RUNS = 9
KEYS, TIMES = 1000, 1000  # of the grid
LOOP = 100_000  # calls


def fill(records, points):
    """Records on circles with a point a minute; their keys."""
    keys = []
    for satellite in range(1, records + 1):
        keys.append(vt.VecTabAddSat(satellite, START, 6378.135, 0.0743669161, 1))
        for i in range(points):
            cos, sin = np.cos(0.066 * i), np.sin(0.066 * i)
            pos, vel = (7e3 * cos, 7e3 * sin, 0.0), (-7.7 * sin, 7.7 * cos, 0.0)
            vt.VecTabAddSatEphem(keys[-1], START + i / 1440.0, pos, vel, 0)
    return np.array(keys)


def batch_of_c(keys, times):
    """The batch with nothing around it but arrays for its answers."""
    count = len(keys) * len(times)
    states, revs, outcomes = np.empty(6 * count), np.empty(count, np.int32), np.empty(count, np.uint8)
    given = (len(keys), keys.ctypes.data, len(times), times.ctypes.data)
    vt._states._grid(*given, states.ctypes.data, None, revs.ctypes.data, outcomes.ctypes.data)
    return states


def single_calls(key, times):
    for t in times:
        vt.VecTabDs50UTC(key, t)


def on_threads(number, keys, times):
    """The grid on threads that share its keys."""
    parts = [threading.Thread(target=vt.states, args=(part, times)) for part in np.array_split(keys, number)]
    for part in parts:
        part.start()
    for part in parts:
        part.join()


def medians(**subjects):
    """Seconds of each."""
    runs = {name: [] for name in subjects}
    for _ in range(RUNS):
        for name, subject in subjects.items():
            begin = time.perf_counter()
            subject()
            runs[name].append(time.perf_counter() - begin)
    return {name: statistics.median(seconds) for name, seconds in runs.items()}


def report(question, figure, floor, goal):
    """As ratio_report.cpp prints it; without a floor the goal is of the figure."""
    reached = figure / floor if floor else figure
    beside = f"{floor:12.1f} {reached:7.2f}" if floor else f"{'-':>12} {'-':>7}"
    print(f"{question:<58} {figure:12.1f} {beside} {goal:6g} {'met' if reached <= goal else 'NOT MET'}")


def main():
    keys = fill(KEYS, 200)
    times = START + np.linspace(0.001, 0.13, TIMES)
    many = np.linspace(times[0], times[-1], LOOP)
    assert (vt.states(keys, times).pos.reshape(-1, 3) == batch_of_c(keys, times).reshape(-1, 6)[:, :3]).all()
    took = medians(
        grid=lambda: vt.states(keys, times),
        grid_of_c=lambda: batch_of_c(keys, times),
        one=lambda: vt.states(keys[0], many),
        one_of_c=lambda: batch_of_c(keys[:1], many),
        loop=lambda: single_calls(int(keys[0]), many.tolist()),
        thread=lambda: on_threads(1, keys, times),
        threads=lambda: on_threads(2, keys, times),
    )
    report("Python: a grid of 10^6 states beside the batch of C, ms", 1e3 * took["grid"], 1e3 * took["grid_of_c"], 1.1)
    # A call took 5.1 us when arrays were asked for, and takes 2.0: 0.05 is a fiftieth of the loop of then.
    report("Python: 10^5 times beside a loop of calls, ms", 1e3 * took["one"], 1e3 * took["loop"], 0.05)
    report("Python: two threads beside one (speed-up 1.7), ms", 1e3 * took["threads"], 1e3 * took["thread"], 0.59)
    above = (took["loop"] - took["one_of_c"]) / LOOP
    report("Python: a single call, above a state of a batch, us", 1e6 * above, None, 2.5)


if __name__ == "__main__":
    main()
