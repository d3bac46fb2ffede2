"""The example clients print what arithmetic says. EXAMPLES_BIN is the folder of the built programs."""

import contextlib
import datetime
import math
import os
import pathlib
import re
import subprocess
import tempfile
import unittest

import numpy as np

ROOT = pathlib.Path(__file__).resolve().parents[2]
PROGRAMS = pathlib.Path(os.environ["EXAMPLES_BIN"]).resolve()
TWO_SEGMENTS = ROOT / "tests/examples/two_segments.oem"
MU = 398600.8


def run(program, *arguments):
    command = [PROGRAMS / program, *map(str, arguments)]
    return subprocess.run(command, cwd=ROOT, capture_output=True, text=True)


def days(date):
    return (date - datetime.datetime(1949, 12, 31)) / datetime.timedelta(days=1)


def circle(radius, seconds, inclination=0.0, phase=0.0):
    rate = math.sqrt(MU / radius**3)
    angle = rate * seconds + phase
    north, east = math.sin(inclination), math.cos(inclination)
    c, s = radius * math.cos(angle), radius * math.sin(angle)
    return [c, s * east, s * north], [-rate * s, rate * c * east, rate * c * north]


def separation(radius_a, radius_b, seconds):
    angle = (math.sqrt(MU / radius_a**3) - math.sqrt(MU / radius_b**3)) * seconds
    return math.sqrt(radius_a**2 + radius_b**2 - 2 * radius_a * radius_b * math.cos(angle))


def numbers(line, first, last):
    """The numbers of a line from the word `first` to the word `last`."""
    part = line[line.index(first) + len(first) :]
    if last:
        part = part[: part.index(last)]
    return [float(word) for word in part.split()]


@contextlib.contextmanager
def temporary_file(text):
    with tempfile.TemporaryDirectory() as folder:
        path = pathlib.Path(folder) / "table.oem"
        path.write_text(text)
        yield path


class Client(unittest.TestCase):
    def lines(self, program, *arguments):
        done = run(program, *arguments)
        self.assertEqual((done.returncode, done.stderr), (0, ""))
        return done.stdout.splitlines()

    def assert_near(self, got, wanted, delta):
        self.assertEqual(len(got), len(wanted))
        for a, b in zip(got, wanted):
            self.assertAlmostEqual(a, b, delta=delta)


class OemTable(Client):
    def assert_state(self, line, pos, vel, pos_delta=1e-6, vel_delta=1e-9):
        self.assert_near(numbers(line, "pos", "km"), pos, pos_delta)
        self.assert_near(numbers(line, "vel", "km/s"), vel, vel_delta)

    def source_line(self, beginning):
        return next(line for line in TWO_SEGMENTS.read_text().splitlines() if line.startswith(beginning))

    def source_diagonal(self, block):
        """The diagonal of a covariance of the file: the last number of each of the six rows that have 1 to 6."""
        rows = re.findall(r"^[-\d.e+ ]+$", TWO_SEGMENTS.read_text().split("COVARIANCE_START")[1], re.MULTILINE)
        return [float(row.split()[-1]) for row in rows[6 * block : 6 * block + 6]]

    def test_segments(self):
        lines = self.lines("oem_table", TWO_SEGMENTS)
        low = datetime.datetime(2026, 3, 1)
        high = low + datetime.timedelta(hours=12)
        wanted = [
            ("segment 1  object LOW  frame EME2000 code 2  points 12", low, 11),
            ("segment 2  object HIGH  frame TEME code 1  points 6", high, 10),
        ]
        for line, (words, start, minutes) in zip([lines[0], lines[3]], wanted):
            end = start + datetime.timedelta(minutes=minutes)
            self.assertEqual(line, f"{words}  from {days(start):.8f} to {days(end):.8f}")
        self.assertEqual(len(lines), 5)

    def test_between_two_points(self):
        """Times in days are rounded to 0.2 microseconds: 1.5 mm of the way, and over a minute some 5e-8 km/s."""
        lines = self.lines("oem_table", TWO_SEGMENTS)
        self.assert_state(lines[1], *circle(7000.0, 330.0, math.radians(50.0)), 5e-6, 1e-7)
        self.assert_state(lines[4], *circle(8000.0, 300.0), 5e-6, 1e-7)

    def test_covariance_half_way_up_the_step(self):
        """Two points on either side: by symmetry the cubic takes the mean of both blocks."""
        line = self.lines("oem_table", TWO_SEGMENTS)[2]
        wanted = [(a + b) / 2 for a, b in zip(self.source_diagonal(0), self.source_diagonal(1))]
        for got, term in zip(numbers(line, "diagonal", None), wanted, strict=True):
            self.assertAlmostEqual(got / term, 1.0, delta=1e-6)

    def test_stored_points(self):
        cases = [
            ("2026-03-01T00:04:00", "2026-03-01T00:04:00", 0),
            ("2026-060T00:08:00Z", "2026-03-01T00:08:00", 1),
            ("2026-03-01T12:06:00.000", "2026-060T12:06:00Z", None),
        ]
        for time, beginning, block in cases:
            with self.subTest(time=time):
                lines = self.lines("oem_table", TWO_SEGMENTS, time)
                state = [float(word) for word in self.source_line(beginning).split()[1:7]]
                at = next(i for i, line in enumerate(lines) if "pos" in line)
                self.assert_state(lines[at], state[:3], state[3:])
                if block is not None:
                    self.assertEqual(numbers(lines[at + 1], "diagonal", None), self.source_diagonal(block))

    def test_time_in_one_segment_alone(self):
        lines = self.lines("oem_table", TWO_SEGMENTS, "2026-03-01T00:08:00")
        self.assertEqual(lines[-1], f"  does not reach {days(datetime.datetime(2026, 3, 1, 0, 8)):.8f}")

    def test_covariance_in_another_frame_is_left_out(self):
        with self.changed("COV_REF_FRAME = EME2000", "COV_REF_FRAME = RTN") as path:
            done = run("oem_table", path, "2026-03-01T00:08:00")
        self.assertEqual((done.returncode, done.stderr), (0, "line 46: covariance in frame RTN left out\n"))
        self.assertEqual(numbers(done.stdout.splitlines()[2], "diagonal", None), self.source_diagonal(0))

    def test_points_before_the_first_covariance_take_it(self):
        with self.changed("EPOCH = 2026-03-01T00:00:00", "EPOCH = 2026-03-01T00:02:00") as path:
            lines = self.lines("oem_table", path, "2026-03-01T00:00:00")
        self.assertEqual(numbers(lines[2], "diagonal", None), self.source_diagonal(0))

    def test_errors(self):
        row_of_four = "-6.000000e-07 -6.000000e-07 -4.000000e-07 1.000000e-06\n"
        cases = [
            ("other file", "CCSDS_OEM_VERS", "OTHER_VERS", "line 1: no orbit ephemeris message"),
            ("time system", "TIME_SYSTEM = UTC", "TIME_SYSTEM = TT", "line 15: TIME_SYSTEM must be UTC, not 'TT'"),
            ("no time system", "TIME_SYSTEM = UTC\n", "", "TIME_SYSTEM must be UTC, not ''"),
            ("centre", "CENTER_NAME = EARTH", "CENTER_NAME = MOON", "CENTER_NAME must be EARTH, not 'MOON'"),
            ("frame", "REF_FRAME   = EME2000", "REF_FRAME   = MCI", "REF_FRAME 'MCI' has no code"),
            ("number", "6985.362625734", "6985.36x", "line 18: bad number 6985.36x"),
            ("not finite", "6985.362625734", "nan", "bad number nan"),
            ("month", "2026-03-01T00:01", "2026-13-01T00:01", "bad date 2026-13-01T00:01:00.000"),
            ("day", "2026-03-01T00:01", "2026-02-29T00:01", "bad date 2026-02-29T00:01:00.000"),
            ("day of year", "2026-060T12:02", "2026-366T12:02", "bad date 2026-366T12:02:00Z"),
            ("leap second", "00:01:00.000", "00:01:60.000", "bad date 2026-03-01T00:01:60.000"),
            ("order", "2026-03-01T00:01", "2026-03-01T00:00", "a time that is not later than the last one"),
            ("few numbers", " 5.768527213133", "", "a state has 6 numbers"),
            ("short row", " 1.000000e-06\n", "\n", "row 4 of a covariance has 4 numbers"),
            ("missing row", row_of_four, "", "row 4 of a covariance has 4 numbers"),
            ("no epoch", "EPOCH = 2026-03-01T00:00:00\n", "", "no EPOCH before the rows"),
        ]
        for name, old, new, words in cases:
            with self.subTest(name), self.changed(old, new) as path:
                self.assert_refused(words, path)

    def test_three_points_are_too_few_to_interpolate(self):
        lines = TWO_SEGMENTS.read_text().splitlines(keepends=True)
        with temporary_file("".join(lines[:-3])) as path:
            self.assert_refused("no state at the time asked for", path, "2026-03-01T12:03:00")

    def test_truncated_files(self):
        text = TWO_SEGMENTS.read_text()
        cases = [
            ("OBJECT_ID", "the file ends before META_STOP"),
            ("-6.000000e-07 -6.0", "the file ends before the rows of a covariance"),
            ("COVARIANCE_STOP", "the file ends before COVARIANCE_STOP"),
            ("2026-03-01T00:00:00.000", "a segment without points"),
            ("META_START", "no segment"),
            ("CCSDS", "no orbit ephemeris message"),
        ]
        for cut, words in cases:
            with self.subTest(cut), temporary_file(text[: text.index(cut)]) as path:
                self.assert_refused(words, path)

    def test_arguments(self):
        self.assert_refused("usage: oem_table FILE.oem [TIME]")
        self.assert_refused("missing.oem: the file cannot be opened", "missing.oem")
        self.assert_refused("bad date yesterday", TWO_SEGMENTS, "yesterday")
        self.assert_refused("no segment reaches the time asked for", TWO_SEGMENTS, "2026-03-02T00:00:00")

    def changed(self, old, new):
        """A file in which the first `old` is `new`."""
        text = TWO_SEGMENTS.read_text()
        self.assertIn(old, text)
        return temporary_file(text.replace(old, new, 1))

    def assert_refused(self, words, *arguments):
        done = run("oem_table", *arguments)
        self.assertEqual(done.returncode, 1)
        self.assertIn(words, done.stderr)


class ManyThreads(Client):
    def test_samples(self):
        lines = self.lines("many_threads")
        self.assertRegex(lines[-1], r"^60000 requests  [1-9]\d* threads  same bits as one thread$")
        self.assertEqual([line.split()[1] for line in lines[:3]], ["10001", "10002", "10003"])

    def test_numbers_of_threads(self):
        for threads in [1, 2, 7, 64]:
            with self.subTest(threads=threads):
                lines = self.lines("many_threads", threads)
                self.assertEqual(lines[-1], f"60000 requests  {threads} threads  same bits as one thread")

    def test_errors(self):
        for arguments, words in [(["missing.e"], "missing.e cannot be loaded"), ([TWO_SEGMENTS], "no ephemeris")]:
            with self.subTest(words):
                done = run("many_threads", 2, *arguments)
                self.assertEqual(done.returncode, 1)
                self.assertIn(words, done.stderr)


class Screening(Client):
    SATELLITES = 300
    STEPS = np.arange(1440) * 10.0

    def positions(self, satellites, seconds):
        """Of satellites (n) at times (m), an array (n, m, 3)."""
        radius = 6800 + 800 * (satellites * 0.7548776662466927 % 1)
        inclination = math.pi / 2 * (satellites * 0.5698402909980532 % 1)
        node = 2 * math.pi * (satellites * 0.6180339887498949 % 1)
        phase = 2 * math.pi * (satellites * 0.4142135623730950 % 1)
        angle = phase[:, None] + np.sqrt(MU / radius**3)[:, None] * seconds
        along, across = np.cos(angle), np.sin(angle) * np.cos(inclination)[:, None]
        c, s = np.cos(node)[:, None], np.sin(node)[:, None]
        north = np.sin(angle) * np.sin(inclination)[:, None]
        return radius[:, None, None] * np.stack([along * c - across * s, along * s + across * c, north], axis=-1)

    def closest_pairs(self):
        """Of all pairs within 20 km: time, numbers and distance, the closest first."""
        everyone = self.positions(np.arange(self.SATELLITES), self.STEPS)
        found = []
        for a in range(self.SATELLITES):
            apart = np.linalg.norm(everyone[a + 1 :] - everyone[a], axis=-1)
            for b in a + 1 + np.flatnonzero((apart < 100.0).any(axis=1)):
                near = self.STEPS[apart[b - a - 1] < 100.0]
                seconds = np.unique((near[:, None] + np.linspace(-5.0, 5.0, 1001)).round(2))
                two = self.positions(np.array([a, b]), seconds)
                distances = np.linalg.norm(two[0] - two[1], axis=-1)
                if distances.min() < 20.0:
                    found.append((seconds[distances.argmin()], a, b, distances.min()))
        return sorted(found, key=lambda approach: approach[3])

    def test_all_pairs(self):
        wanted = self.closest_pairs()
        self.assertGreater(len(wanted), 5)
        for threads in [1, 2, 5]:
            lines = self.lines("screening", self.SATELLITES, threads)
            self.assertIn(f"pairs within 20 km: {len(wanted)}, the closest of them", lines)
            for line, (time, a, b, distance) in zip(lines[10:-1], wanted, strict=True):
                words = line.split()
                self.assertEqual([words[3], words[5]], [str(a), str(b)])
                self.assert_near([float(words[0]), float(words[6])], [time, distance], 0.02)
            self.assertEqual(lines[-1].split(";")[0].split(" in ")[0], f"432000 states on {threads} threads")

    def test_errors(self):
        for arguments in [["1"], ["10", "0"], ["10", "2", "3"], ["many"]]:
            self.assertEqual(run("screening", *arguments).returncode, 1)


class DirectMemory(Client):
    def test_separation(self):
        lines = self.lines("direct_memory")
        self.assertEqual(lines[0], "satellite 10001  plan stay   radius 7000.0 km  points 46")
        self.assertEqual(lines[1], "satellite 10001  plan raise  radius 7050.0 km  points 46")
        minutes = range(5, 90, 10)
        for line, minute in zip(lines[2:-1], minutes, strict=True):
            self.assertTrue(line.startswith(f"minute {minute:3d}  separation"))
            self.assert_near(numbers(line, "separation", "km"), [separation(7000.0, 7050.0, 60 * minute)], 2e-6)
        self.assertEqual(lines[-1], "0 records left")


if __name__ == "__main__":
    unittest.main()
