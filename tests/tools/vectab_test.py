"""The program vectab, from outside: what it prints, its errors and its exit status.

    VECTAB=PROGRAM python3 -m unittest discover --start-directory tests/tools --pattern '*_test.py'
"""

import csv
import datetime
import io
import os
import pathlib
import pty
import re
import shutil
import struct
import subprocess
import tempfile
import unittest
import xml.etree.ElementTree

ROOT = pathlib.Path(__file__).resolve().parents[2]
SAMPLES = pathlib.Path("examples/samples")
LEO = str(SAMPLES / "10001_leo.e")
VECTAB = str(pathlib.Path(os.environ.get("VECTAB", "vectab")).resolve())
EPOCH = datetime.datetime(2026, 3, 1)
EPOCH_DAY = (EPOCH - datetime.datetime(1949, 12, 31)).days

DOT_E = """stk.v.12.0
ScenarioEpoch 1 Mar 2026 00:00:00.000
CoordinateSystem TEMEOfDate
DistanceUnit Kilometers
EphemerisTimePosVel
{}
end Ephemeris
"""


def vectab(*arguments, **options):
    options = {"stdout": subprocess.PIPE, "stderr": subprocess.PIPE, **options}
    return subprocess.run([VECTAB, *map(str, arguments)], cwd=ROOT, text=True, **options)


def rows_of(result):
    return list(csv.DictReader(io.StringIO(result.stdout)))


def state_of(row):
    return [float(row[name]) for name in ("x_km", "y_km", "z_km", "vx_km_s", "vy_km_s", "vz_km_s")]


def dot_e_points(path):
    lines = (line.split() for line in (ROOT / path).read_text().splitlines())
    return [[float(word) for word in words] for words in lines if len(words) == 7 and words[0][0].isdigit()]


class VectabTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)

    def write(self, name, text):
        path = self.folder / name
        path.write_text(text)
        return str(path)

    def dot_e(self, name, points):
        lines = (" ".join(f"{value:.12f}" for value in point) for point in points)
        return self.write(name, DOT_E.format("\n".join(lines)))

    def two_records(self):
        names = ("10001_leo.e", "10002_geo.e")
        return self.write("list.txt", "".join(f"EPHFIL = {ROOT / SAMPLES / name}\n" for name in names))

    def with_gap(self):
        seconds = [0, 60, 120, 180, 14580, 14640, 14700, 14760]
        return self.dot_e("20001_gap.e", [(second, 7000 + second, 0, 0, 1, 0, 0) for second in seconds])

    def succeed(self, *arguments):
        result = vectab(*arguments)
        self.assertEqual((result.stderr, result.returncode), ("", 0))
        return result


class Info(VectabTest):
    def test_samples(self):
        half_hour = "2026-03-01 00:00:00.000  2026-03-01 00:30:00.000        60.000"
        cases = {
            "10001_leo.e": ("10001  ECI", 121, "2026-03-01 00:00:00.000  2026-03-01 02:00:00.000        60.000"),
            "10002_geo.e": ("10002  ECI", 97, "2026-03-01 00:00:00.000  2026-03-02 00:00:00.000       900.000"),
            "10008_owner_operator.txt": ("10008  J2K", 31, half_hour),
            "ecr.txt": ("10010  ECR", 31, half_hour),
            "universal.txt": ("10014  hcsgc", 31, half_hour),
            "binary.dce": ("10013  ECI", 31, half_hour),
        }
        lines = self.succeed("info", *(SAMPLES / name for name in cases)).stdout.splitlines()
        self.assertEqual(len(lines), 1 + len(cases))
        for line, (name, (satellite, points, times)) in zip(lines[1:], cases.items()):
            with self.subTest(name):
                self.assertRegex(line, rf"^ +1 +{satellite} +{points}  {re.escape(times)}  - +{SAMPLES / name}$")

    def test_one_bad_file_does_not_hide_the_others(self):
        result = vectab("info", "nowhere.e", LEO)
        self.assertIn("10001", result.stdout)
        self.assertEqual((result.stderr, result.returncode), ("vectab: nowhere.e: No such file or directory\n", 1))

    def test_log(self):
        broken = self.write("20002.e", DOT_E.format("0 7000 0 0 0 7.5 0\nword 7000 0 0 0 7.5 0"))
        self.assertIn("Bad ephemeris data", vectab("info", broken).stderr)
        self.assertIn("Total ephemeris points = 121", vectab("info", "-v", LEO).stderr)

    def test_text_of_a_file_cannot_steer_the_terminal(self):
        broken = self.write("20003.e", DOT_E.format("0 7000 0 0 0 7.5 0\n\033[31m 7000 0 0 0 7.5 0"))
        self.assertNotIn("\033", vectab("info", "-v", broken).stderr)


class States(VectabTest):
    def test_stored_times_give_the_states_of_the_file(self):
        for name, step in (("10001_leo.e", 60), ("10002_geo.e", 900), ("10003_heo.e", 120)):
            points = dot_e_points(SAMPLES / name)
            rows = rows_of(self.succeed("states", SAMPLES / name, "--step", step))
            self.assertEqual(len(rows), len(points))
            for row, (seconds, *state) in zip(rows, points):
                with self.subTest(name, seconds=seconds):
                    time = EPOCH + datetime.timedelta(seconds=seconds)
                    self.assertEqual(row["utc"], time.isoformat(timespec="microseconds") + "Z")
                    self.assertEqual(float(row["ds50utc"]), EPOCH_DAY + seconds / 86400)
                    self.assertEqual(state_of(row), state)

    def test_time_between_points_gives_the_state_of_the_readme(self):
        readme = (ROOT / "README.md").read_text()
        position, velocity = re.search(r"^position (.*) km\nvelocity (.*) km/s$", readme, re.MULTILINE).groups()
        (row,) = rows_of(self.succeed("states", LEO, "--from", "2026-03-01T00:12:30", "--to", "2026-03-01T00:12:30"))
        state = state_of(row)
        self.assertEqual(" ".join(f"{value:.6f}" for value in state[:3]), position)
        self.assertEqual(" ".join(f"{value:.9f}" for value in state[3:]), velocity)

    def test_ways_to_write_a_time(self):
        cases = {
            "2026-03-01": "00:00:00.000000",
            "2026-03-01T00:30": "00:30:00.000000",
            "2026-03-01 00:30:15": "00:30:15.000000",
            "2026-03-01T00:30:15.25Z": "00:30:15.250000",
            "2026-03-01 01:00Z": "01:00:00.000000",
            "2026-060T01:00": "01:00:00.000000",
            "1 Mar 2026 01:00": "01:00:00.000000",
            "start": "00:00:00.000000",
            "end": "02:00:00.000000",
            str(EPOCH_DAY + 1 / 24): "01:00:00.000000",
        }
        for text, time in cases.items():
            with self.subTest(text):
                rows = rows_of(self.succeed("states", LEO, "--from", text, "--to", "end", "--step", 86400))
                self.assertEqual(rows[0]["utc"], f"2026-03-01T{time}Z")

    def test_last_time_is_there_when_a_step_falls_on_it(self):
        cases = {"60": (121, 7200), "0.1": (72001, 7200), "7": (1029, 7196), "7200": (2, 7200), "7201": (1, 0)}
        for step, (count, last) in cases.items():
            with self.subTest(step):
                rows = rows_of(self.succeed("states", LEO, "--step", step))
                self.assertEqual(len(rows), count)
                self.assertAlmostEqual((float(rows[-1]["ds50utc"]) - EPOCH_DAY) * 86400, last, delta=1e-6)

    def test_covariance(self):
        lines = (ROOT / SAMPLES / "itc.txt").read_text().splitlines()[1:]
        points = [lines[i : i + 4] for i in range(0, len(lines), 4)]
        terms = [[float(term) for line in point[1:] for term in line.split()] for point in points]
        rows = rows_of(self.succeed("states", SAMPLES / "itc.txt", "--cov"))
        names = [f"cov_{row}_{column}" for row in range(1, 7) for column in range(1, row + 1)]
        self.assertEqual(list(rows[0])[9:], names)
        self.assertEqual([[float(row[name]) for name in names] for row in rows], terms[: len(rows)])
        self.assertEqual(len(rows), 31)

    def test_choice_of_a_record(self):
        for option, value in (("--sat", 10002), ("--record", 2)):
            with self.subTest(option):
                rows = rows_of(self.succeed("states", self.two_records(), option, value, "--to", "start"))
                self.assertEqual(state_of(rows[0])[0], 42164.135)

    def test_gap(self):
        result = vectab("states", self.with_gap(), "--step", 3600)
        self.assertEqual([row["utc"][11:19] for row in rows_of(result)], ["00:00:00"])
        self.assertRegex(result.stderr, r"^vectab: no state from 2026-03-01 01:00:00.000 to 2026-03-01 04:00:00.000 "
                                        r"\(4 times\): .*too far apart.*\n$")
        self.assertEqual(result.returncode, 1)

    def test_times_outside(self):
        result = vectab("states", LEO, "--from", "2026-03-01T01:59", "--to", "2026-03-01T02:01")
        self.assertEqual([row["utc"][11:19] for row in rows_of(result)], ["01:59:00", "02:00:00"])
        self.assertRegex(result.stderr, r"^vectab: no state at 2026-03-01 02:01:00.000: .*outside.*\n$")
        self.assertEqual(result.returncode, 1)


class Check(VectabTest):
    def test_known_error(self):
        """With y = c u^9, u in steps, four neighbours with u-1, u-2, u+1 and u+2 leave 16 c 9 u, and 16 c in dy/du."""
        step, c = 60, 1e-6
        points = [((u + 4) * step, 7000, c * u**9, 0, 0, 9 * c * u**8 / step, 0) for u in range(-4, 5)]
        report = self.succeed("check", self.dot_e("20004_known.e", points)).stdout
        self.assertRegex(report, r"position, m +0\.1440 +0\.2880 +0\.2880\n")
        self.assertRegex(report, r"velocity, mm/s +0\.2667 +0\.2667 +0\.2667\n")
        self.assertIn("5 points measured\n", report)

    def test_gap(self):
        report = self.succeed("check", self.with_gap()).stdout
        self.assertIn("smallest 60.000 s, mean 2108.571 s, largest 14400.000 s\n", report)
        self.assertRegex(report, r"gaps +1 over 61 minutes\n +2026-03-01 00:03:00.000  240.0 min\n")
        self.assertIn("0 points measured, 4 next to a gap\n", report)

    def test_what_points_carry(self):
        cases = {
            "itc.txt": r"covariance +at 31 of 31 points\n",
            "lch.txt": r"covariance +none; a single number at 31 points\n",
            "10001_leo.e": r"covariance +none\n",
            "10018_position.e": r"All velocities are zero",
        }
        for name, words in cases.items():
            with self.subTest(name):
                self.assertRegex(self.succeed("check", SAMPLES / name).stdout, words)

    def test_few_points(self):
        report = self.succeed("check", self.dot_e("20005_one.e", [(0, 7000, 0, 0, 0, 7.5, 0)])).stdout
        self.assertIn("1 point\n", report)
        self.assertIn("fewer than 5 points", report)

    def test_bad_file_beside_a_good_one(self):
        result = vectab("check", LEO, ROOT)
        self.assertIn("satellite 10001", result.stdout)
        self.assertEqual((result.stderr, result.returncode), (f"vectab: {ROOT}: Is a directory\n", 1))


@unittest.skipUnless(shutil.which("gnuplot"), "gnuplot is not installed")
class Plot(VectabTest):
    def test_svg(self):
        out = self.folder / "it's | a $(plot) `x`.svg"
        self.succeed("plot", LEO, "-o", out)
        text = "".join(xml.etree.ElementTree.parse(out).getroot().itertext())
        for words in ("Satellite 10001, frame ECI", "2026-03-01 00:00:00 to 2026-03-01 02:00:00 UTC", "radius (km)",
                      "position error (m)", "x (km)", "z (km)", "Earth"):
            self.assertIn(words, text)
        self.assertEqual(list(self.folder.iterdir()), [out])

    def test_long_steps_are_no_gaps(self):
        out = self.folder / "out.svg"
        points = [(7200 * i, 7000 + i, 0, 0, 0, 7.5, 0) for i in range(100)]
        self.succeed("plot", self.dot_e("20007_wide.e", points), "-o", out)
        self.assertIn(100, [path.count(",") for path in re.findall(r" d='([^']*)'", out.read_text())])

    def test_png(self):
        for source in (LEO, self.with_gap(), self.dot_e("20006_one.e", [(0, 7000, 0, 0, 0, 7.5, 0)])):
            with self.subTest(source):
                out = self.folder / "out.PNG"
                self.succeed("plot", source, "-o", out)
                head = out.read_bytes()[:24]
                self.assertEqual(head[:8], b"\x89PNG\r\n\x1a\n")
                self.assertEqual(struct.unpack(">II", head[16:]), (1200, 900))

    def test_full_disk(self):
        out = self.folder / "full.svg"
        out.symlink_to("/dev/full")
        result = vectab("plot", LEO, "-o", out)
        self.assertEqual((result.stderr, result.returncode),
                         (f"vectab: cannot write {out}: No space left on device\n", 1))


class Errors(VectabTest):
    def test_one_clear_line(self):
        noise = self.write("noise.txt", "nothing to see\n")
        pipe = self.folder / "pipe"
        os.mkfifo(pipe)
        two = self.two_records()
        svg = self.folder / "out.svg"
        cases = [
            (["info", "nowhere.e"], "nowhere.e: No such file or directory", 1),
            (["info", "a" * 513], "File name too long", 1),
            (["info", "examples"], "examples: Is a directory", 1),
            (["info", pipe], "pipe: not a regular file", 1),
            (["check", noise], "noise.txt: no ephemeris found", 1),
            (["states", noise], "noise.txt: no ephemeris found", 1),
            (["plot", noise, "-o", svg], "noise.txt: no ephemeris found", 1),
            (["states", LEO, "--from", "2026-02-30"], "--from: no time: 2026-02-30", 2),
            (["states", LEO, "--to", "2026-03-01T24:00"], "--to: no time: 2026-03-01T24:00", 2),
            (["states", LEO, "--to", "2026-03-01T00:00:60"], "--to: no time", 2),
            (["states", LEO, "--to", "2026-03-01T01:00:00.5.5"], "--to: no time", 2),
            (["states", LEO, "--to", "2026-03-01T01:00:"], "--to: no time", 2),
            (["states", LEO, "--to", "2026-03-01T01:00x"], "--to: no time", 2),
            (["states", LEO, "--to", "nan"], "--to: no time: nan", 2),
            (["states", LEO, "--from", ""], "--from: no time", 2),
            (["states", LEO, "--from", "tomorrow"], "--from: no time: tomorrow", 2),
            (["states", LEO, "--from", "end", "--to", "start"], "runs backwards", 2),
            (["states", LEO, "--step", "0"], "--step: must be a number of seconds above 0", 2),
            (["states", LEO, "--step", "-60"], "--step: must be a number of seconds above 0", 2),
            (["states", LEO, "--step", "nan"], "--step: must be a number of seconds above 0", 2),
            (["states", LEO, "--step", "inf"], "--step: must be a number of seconds above 0", 2),
            (["states", LEO, "--step", "ten"], "--step", 2),
            (["states", LEO, "--step", "0.00001"], "more than 100 million states", 2),
            (["states", LEO, "--step", "1e-320"], "more than 100 million states", 2),
            (["states", LEO, "--to", "1e300"], "more than 100 million states", 2),
            (["states", two], "satellites 10001, 10002: choose one", 2),
            (["plot", two, "-o", svg], "satellites 10001, 10002: choose one", 2),
            (["states", two, "--sat", "5"], "satellites 10001, 10002: none is the one asked for", 2),
            (["states", LEO, "--record", "2"], "none is the one asked for", 2),
            (["plot", LEO, "-o", "out.jpg"], "must end in .svg or .png: out.jpg", 2),
            (["plot", LEO], "--output is required", 2),
            (["states"], "FILE is required", 2),
            (["launder"], "see vectab --help", 2),
            ([], "see vectab --help", 2),
        ]
        for arguments, words, status in cases:
            with self.subTest(" ".join(map(str, arguments))):
                result = vectab(*arguments)
                self.assertEqual(result.stdout, "")
                self.assertRegex(result.stderr, r"^vectab: [^\n]*\n$")
                self.assertIn(words, result.stderr)
                self.assertEqual(result.returncode, status)
        self.assertFalse(svg.exists())

    def test_missing_gnuplot(self):
        result = vectab("plot", LEO, "-o", self.folder / "out.svg", env={"PATH": str(self.folder)})
        self.assertEqual((result.stderr, result.returncode),
                         ("vectab: gnuplot is not installed, and plot needs it\n", 1))

    def test_full_disk(self):
        for arguments in (["info", LEO], ["states", LEO], ["states", LEO, "--step", "1"], ["check", LEO], ["--help"]):
            with self.subTest(arguments), open("/dev/full", "w") as full:
                result = vectab(*arguments, stdout=full)
                self.assertEqual((result.stderr, result.returncode),
                                 ("vectab: cannot write standard output: No space left on device\n", 1))

    def test_reader_that_goes_away(self):
        command = [VECTAB, "states", LEO, "--step", "0.01"]
        with subprocess.Popen(command, cwd=ROOT, stdout=subprocess.PIPE, stderr=subprocess.PIPE) as process:
            self.assertTrue(process.stdout.readline().startswith(b"utc,"))
            process.stdout.close()
            self.assertEqual((process.stderr.read(), process.wait()), (b"", 1))

    def test_short_work_shows_no_progress_at_a_terminal(self):
        try:
            ours, theirs = pty.openpty()
        except OSError as error:
            self.skipTest(f"no terminals here: {error}")
        self.addCleanup(os.close, ours)
        with os.fdopen(theirs, "w") as terminal:
            self.assertEqual(vectab("info", "nowhere.e", stderr=terminal).returncode, 1)
            self.assertEqual(vectab("info", LEO, stderr=terminal).returncode, 0)
        self.assertEqual(os.read(ours, 1000), b"vectab: nowhere.e: No such file or directory\r\n")


class Help(VectabTest):
    def test_each_command_tells_of_its_options(self):
        cases = {
            (): ["info", "states", "check", "plot", "--version"],
            ("info",): ["FILE", "--verbose"],
            ("states",): ["--from TIME", "--to TIME", "--step SECONDS", "--cov", "--sat NUMBER", "YYYY-MM-DD"],
            ("check",): ["FILE", "left out"],
            ("plot",): ["--output", ".svg", ".png", "--sat NUMBER"],
        }
        for command, words in cases.items():
            text = self.succeed(*command, "--help").stdout
            for word in words:
                with self.subTest(command, word=word):
                    self.assertIn(word, text)

    def test_version(self):
        self.assertRegex(self.succeed("--version").stdout, r"^VecTable \d+\.\d+\.\d+, .*\n$")


if __name__ == "__main__":
    unittest.main()
