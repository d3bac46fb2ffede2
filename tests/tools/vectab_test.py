"""The program vectab, from outside: what it prints, its errors and its exit status.

    VECTAB=PROGRAM python3 -m unittest discover --start-directory tests/tools --pattern '*_test.py'
"""

import csv
import datetime
import fnmatch
import io
import math
import os
import pathlib
import random
import re
import resource
import shlex
import shutil
import signal
import struct
import subprocess
import tempfile
import unittest
import xml.etree.ElementTree

ROOT = pathlib.Path(__file__).resolve().parents[2]
DATA = pathlib.Path(__file__).parent / "data"
SAMPLES = pathlib.Path("examples/samples")
LEO = str(SAMPLES / "10001_leo.e")
VECTAB = str(pathlib.Path(os.environ.get("VECTAB", "vectab")).resolve())
EPOCH = datetime.datetime(2026, 3, 1)
EPOCH_DAY = (EPOCH - datetime.datetime(1949, 12, 31)).days
MU = 398600.8  # km^3/s^2
STATE = ("x_km", "y_km", "z_km", "vx_km_s", "vy_km_s", "vz_km_s")


def vectab(*arguments, **options):
    options = {"stdout": subprocess.PIPE, "stderr": subprocess.PIPE, "text": True, "timeout": 600, **options}
    return subprocess.run([VECTAB, *map(str, arguments)], cwd=ROOT, **options)


def rows_of(text):
    return list(csv.DictReader(io.StringIO(text)))


def state_of(row):
    return [float(row[name]) for name in STATE]


def kepler(perigee, apogee, seconds, boost=0.0, boost_time=math.inf):
    """Position and velocity of two bodies, at the perigee at 0; `boost` km/s more from a time at the perigee on."""
    if seconds > boost_time:
        axis = (perigee + apogee) / 2
        speed = math.sqrt(MU * (2 / perigee - 1 / axis)) + boost
        return kepler(perigee, 1 / (1 / perigee - speed**2 / 2 / MU) - perigee, seconds - boost_time)
    axis, eccentricity = (perigee + apogee) / 2, (apogee - perigee) / (apogee + perigee)
    mean = math.sqrt(MU / axis**3) * seconds
    anomaly = mean
    for _ in range(60):
        anomaly = mean + eccentricity * math.sin(anomaly)
    cosine, sine, width = math.cos(anomaly), math.sin(anomaly), math.sqrt(1 - eccentricity**2)
    speed = math.sqrt(MU / axis) / (1 - eccentricity * cosine)
    return (axis * (cosine - eccentricity), 0.6 * axis * width * sine, 0.8 * axis * width * sine,
            -speed * sine, 0.6 * speed * width * cosine, 0.8 * speed * width * cosine)


class VectabTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)

    def dot_e(self, name, points, kind="PosVel"):
        lines = "\n".join(" ".join(map(repr, point)) for point in points)
        path = self.folder / name
        path.write_text(f"stk.v.12.0\nScenarioEpoch 1 Mar 2026 00:00:00.000\nCoordinateSystem TEMEOfDate\n"
                        f"DistanceUnit Kilometers\nEphemerisTime{kind}\n{lines}\nend Ephemeris\n")
        return path

    def succeed(self, *arguments, **options):
        result = vectab(*arguments, **options)
        self.assertEqual((result.stderr, result.returncode), ("", 0), arguments)
        return result.stdout


class Transcripts(VectabTest):
    """transcripts.txt: "$ COMMAND", "? STATUS" where it is not 0, what it prints, and, after "!", to standard error. $D
    is the folder of the data, * in a line stands for anything."""

    def test_transcripts(self):
        text = (DATA / "transcripts.txt").read_text()
        self.assertGreater(text.count("\n$ "), 60)
        for block in re.split(r"^\$ ", text, flags=re.MULTILINE)[1:]:
            command, *lines = block.rstrip("\n").replace("$D", str(DATA)).split("\n")
            status = int(lines.pop(0)[2:]) if lines and lines[0].startswith("? ") else 0
            wanted = [line for line in lines if not line.startswith("! ")]
            errors = ["vectab: " + line[2:] for line in lines if line.startswith("! ")]
            with self.subTest(command):
                result = vectab(*shlex.split(command.removeprefix("vectab ")))
                self.assertEqual(result.returncode, status)
                for printed, pattern in ((result.stdout, wanted), (result.stderr, errors)):
                    got = [line.rstrip() for line in printed.splitlines()]
                    self.assertEqual(len(got), len(pattern), printed)
                    for line, glob in zip(got, pattern):
                        self.assertTrue(fnmatch.fnmatchcase(line, glob.replace("[", "[[]")), f"{line}\n{glob}")


class States(VectabTest):
    def test_stored_times_give_the_states_of_the_file(self):
        for name, step in (("10001_leo.e", 60), ("10002_geo.e", 900), ("10003_heo.e", 120)):
            lines = (line.split() for line in (ROOT / SAMPLES / name).read_text().splitlines())
            points = [[float(word) for word in words] for words in lines if len(words) == 7 and words[0][0].isdigit()]
            rows = rows_of(self.succeed("states", SAMPLES / name, "--step", step))
            self.assertEqual(len(rows), len(points))
            for row, (seconds, *state) in zip(rows, points):
                time = EPOCH + datetime.timedelta(seconds=seconds)
                self.assertEqual(row["utc"], time.isoformat(timespec="microseconds") + "Z")
                self.assertEqual(float(row["ds50utc"]), EPOCH_DAY + seconds / 86400)
                self.assertEqual(state_of(row), state)

    def test_last_time_is_there_when_a_step_falls_on_it(self):
        cases = {"60": (121, 7200), "0.1": (72001, 7200), "7": (1029, 7196), "7200": (2, 7200), "7201": (1, 0)}
        for step, (count, last) in cases.items():
            rows = rows_of(self.succeed("states", LEO, "--step", step))
            self.assertEqual(len(rows), count)
            self.assertAlmostEqual((float(rows[-1]["ds50utc"]) - EPOCH_DAY) * 86400, last, delta=1e-6)


class Check(VectabTest):
    def test_estimates_are_the_true_errors(self):
        low, high, transfer = (6778, 6798), (7378, 45738), (6628, 42163)
        cases = [("low", low, 300, 60, "PosVel"), ("high", high, 300, 145, "PosVel"),
                 ("transfer", transfer, 400, 100, "PosVel"), ("five points", low, 300, 5, "PosVel"),
                 ("low, positions", low, 60, 60, "Pos"),
                 ("high, positions", high, 120, 400, "Pos"), ("four points", low, 60, 5, "Pos")]
        for name, orbit, step, count, kind in cases:
            points = [(i * step, *kepler(*orbit, i * step)) for i in range(count)]
            path = self.dot_e("20004.e", [point if kind == "PosVel" else point[:4] for point in points], kind)
            rows = rows_of(vectab("states", path, "--step", step / 4).stdout)
            wanted = [kepler(*orbit, i * step / 4)[:3] for i in range(len(rows))]
            errors = [math.dist(state_of(row)[:3], at) * 1e3 for row, at in zip(rows, wanted)]
            largest = [max(errors[i : i + 5]) for i in range(0, len(errors) - 1, 4)]
            report = vectab("check", path).stdout
            for label, true in (("between", largest[1:-1]), ("at the ends", [largest[0], largest[-1]])):
                with self.subTest(name, where=label):
                    estimate = float(re.search(rf"position {label}, m .* (\S+)\n", report)[1])
                    self.assertLess(abs(estimate / max(true) - 1), 0.2, (estimate, max(true)))

    def test_notes(self):
        noise = random.Random(1)
        steps = [60 * i for i in range(120)]
        smooth = [(s, *kepler(6878, 6898, s)) for s in steps]
        noisy = [(s, *(x + noise.gauss(0, sigma) for x, sigma in zip(state, 3 * [1e-3] + 3 * [1e-6])))
                 for s, *state in smooth]
        period = 2 * math.pi * math.sqrt(6888**3 / MU)
        burnt = [(s, *kepler(6878, 6898, s, 1e-4, period)) for s in steps]
        outlier = [(s, x + (s == 3000) * 0.1, *state) for s, x, *state in smooth]
        coarse = [(600 * i, *kepler(6628, 42163, 600 * i)) for i in range(190)]
        cases = {"smooth": (smooth, "-"), "noisy": (noisy, "-"), "coarse": (coarse, "-"), "burnt": (burnt, "1 spike"),
                 "outlier": (outlier, "1 spike"), "few": (smooth[:3], "few points"),
                 "long step": (smooth[:30] + smooth[50:], "1 long step"), "one out": (smooth[:30] + smooth[31:], "-"),
                 "filled": (smooth[:20] + smooth[100:], "1 hole"),
                 "zeros": ([(s, *x[:3], 0, 0, 0) if s == 1200 else (s, *x) for s, *x in smooth], "1 zero velocity")}
        for name, (points, notes) in cases.items():
            with self.subTest(name):
                line = vectab("info", self.dot_e("20005.e", points)).stdout.splitlines()[1]
                self.assertRegex(line, rf"\d  {re.escape(notes)}  ")

    def test_numbers_too_large_to_compute_with(self):
        large = (1e308, "19 intervals and 16 points left out cannot be measured"), (1e90, "19 intervals estimated")
        for size, words in large:
            path = self.dot_e("20008.e", [(60 * i, *[size * (-1) ** i] * 6) for i in range(20)])
            report = vectab("check", path).stdout
            self.assertIn(words, report)
            self.assertNotRegex(report, "inf|nan|  0$")


class Convert(VectabTest):
    def numbers(self, path, covariance=True):
        rows = rows_of(vectab("convert", path, "-o", "-", "--to", "csv").stdout)
        return [[value for name, value in row.items()
                 if name not in ("satellite", "rev") and (covariance or not name.startswith("cov"))] for row in rows]

    def test_what_is_written_reads_back_bit_for_bit(self):
        odd = [(1e-3 * i**3 + i / 7, *(math.exp(math.sin(i + axis)) * 1e4 for axis in range(6))) for i in range(90)]
        sources = [*(ROOT / SAMPLES).iterdir(), self.dot_e("20006_odd.e", odd)]
        written = 0
        for source in sources:
            scalar, covariance = source.name == "lch.txt", source.name in ("itc.txt", "message.oem")
            for target in ("out.oem", "out.e"):
                with self.subTest(source.name, target=target):
                    result = vectab("convert", source, "-o", self.folder / target)
                    if result.returncode == 0:
                        keep = covariance and target == "out.oem"
                        self.assertEqual(self.numbers(self.folder / target, keep), self.numbers(source, keep))
                        written += 1
                        (self.folder / target).unlink()
                    else:
                        self.assertRegex(result.stderr, "no frame|name for the frame|without velocities")
                    self.assertEqual("number of each point" in result.stderr, scalar)
                    self.assertEqual("covariances" in result.stderr, covariance and source.suffix != target[3:])
        self.assertEqual(written, 2 * len(sources) - 2 - 4)

    def test_time_that_would_not_be_read_back(self):
        points = [(s, *kepler(6878, 6898, s)) for s in (0, 60, 120, 180)]
        late = self.dot_e("20009.e", [*points, (1e12, 1, 1, 1, 1, 1, 1)])
        # From the year 1950 on: days from the first one are as large as day counts, and a second too coarse for some.
        old = self.dot_e("20010.e", [(-2398377600 + 700000.123456 * i, *kepler(6878, 6898, i)) for i in range(100)])
        for source, target in ((late, "out.oem"), (old, "out.e")):
            out = self.folder / target
            result = vectab("convert", source, LEO, "-o", out)
            self.assertIn(f"{source}: left out: the format cannot hold the time ", result.stderr)
            self.assertEqual((result.returncode, self.numbers(out)), (1, self.numbers(LEO)))
        self.assertEqual(rows_of(vectab("states", late, "--at", "end").stdout)[0]["utc"], "")

    def test_memory_does_not_grow_with_the_states(self):
        def peak(step, target):
            command = [VECTAB, "convert", LEO, "-o", target, "--to", target.name, "--step", step]
            sanitizer = {"ASAN_OPTIONS": "quarantine_size_mb=1:" + os.environ.get("ASAN_OPTIONS", "")}
            process = subprocess.Popen(command, cwd=ROOT, env={**os.environ, **sanitizer}, stderr=subprocess.DEVNULL)
            _, process.returncode, usage = os.wait4(process.pid, 0)
            return usage.ru_maxrss

        for target in ("dot-e", "oem", "csv"):
            (self.folder / target).symlink_to("/dev/null")
            few, many = (peak(step, self.folder / target) for step in ("60", "0.03"))
            self.assertLess(many - few, 20_000)  # kB; 240,000 states are 60 MB

    def test_failure_leaves_an_earlier_file_and_nothing_else(self):
        out = self.folder / "out.csv"
        out.write_text("earlier")
        limit = lambda: resource.setrlimit(resource.RLIMIT_FSIZE, (5000, 5000))
        ignored = signal.signal(signal.SIGXFSZ, signal.SIG_IGN)
        self.addCleanup(signal.signal, signal.SIGXFSZ, ignored)
        for arguments, options, words in [
            (["convert", LEO, "-o", out], {"preexec_fn": limit, "restore_signals": False}, "File too large"),
            (["plot", LEO, "-o", self.folder / "out.svg"], {"env": {"PATH": "/"}}, "gnuplot is not installed"),
            (["convert", "--sat", "5", LEO, "-o", out], {}, "none is the one asked for"),
        ]:
            result = vectab(*arguments, **options)
            self.assertRegex(result.stderr, rf"^vectab: [^\n]*{words}[^\n]*\n$")
            self.assertNotEqual(result.returncode, 0)
            self.assertEqual((list(self.folder.iterdir()), out.read_text()), ([out], "earlier"))

    def test_input_is_not_written_over(self):
        path = shutil.copy(ROOT / LEO, self.folder / "10001.e")
        link = self.folder / "link.e"
        link.symlink_to(path)
        listing = self.folder / "list"
        listing.write_text(f"EPHFIL = {path}\n")
        for source in (path, listing):
            result = vectab("convert", source, "-o", link)
            self.assertIn("must not be written over", result.stderr)
            self.assertEqual((result.returncode, path.read_bytes()), (2, (ROOT / LEO).read_bytes()))

    def test_standard_input_leaves_no_file(self):
        environment = {**os.environ, "TMPDIR": str(self.folder)}
        text = self.succeed("convert", "-", "-o", "-", "--to", "csv", input=(ROOT / LEO).read_text(), env=environment)
        self.assertEqual(len(rows_of(text)), 121)
        self.assertEqual(list(self.folder.iterdir()), [])
        for number in (signal.SIGHUP, signal.SIGINT, signal.SIGTERM):
            command = [VECTAB, "convert", "-", "-o", self.folder / "out.csv"]
            with subprocess.Popen(command, env=environment, stdin=subprocess.PIPE, bufsize=0) as process:
                process.stdin.write(bytes(1 << 20))  # more than a pipe holds: what is read is in the copy
                self.assertEqual(len(list(self.folder.iterdir())), 2)
                process.send_signal(number)
                self.assertEqual((process.wait(), list(self.folder.iterdir())), (-number, []))


@unittest.skipUnless(shutil.which("gnuplot"), "gnuplot is not installed")
class Plot(VectabTest):
    def test_svg(self):
        out = self.folder / "it's | a $(plot) `x`.svg"
        self.succeed("plot", LEO, "-o", out)
        text = "".join(xml.etree.ElementTree.parse(out).getroot().itertext())
        for words in ("Satellite 10001, frame ECI", "2026-03-01 00:00:00 to 2026-03-01 02:00:00 UTC", "radius (km)",
                      "error (m)", "between points, estimated", "x (km)", "z (km)", "Earth"):
            self.assertIn(words, text)
        self.assertEqual(list(self.folder.iterdir()), [out])

    def test_gaps(self):
        wide = [(7200 * i, 7000 + i, 0, 0, 0, 7.5, 0) for i in range(100)]
        steps = [*range(0, 6000, 60), *range(9000, 12000, 60)]
        broken = [(s, *kepler(6878, 6898, s)) for s in steps]
        for points, curve, notes in ((wide, (1, 100), "99 holes"), (broken, (2, 150), "1 long step")):
            out = self.folder / "out.svg"
            vectab("plot", self.dot_e("20007.e", points), "-o", out)
            paths = re.findall(r" d='([^']*)'", out.read_text())
            self.assertIn(curve, [(path.count("M"), path.count(",")) for path in paths])
            self.assertIn(notes, out.read_text())

    def test_kinds_of_picture(self):
        for source in (LEO, SAMPLES / "10018_position.e", self.dot_e("20006_one.e", [(0, 7000, 0, 0, 0, 7.5, 0)])):
            with self.subTest(source):
                vectab("plot", source, "-o", self.folder / "out.PNG")
                head = (self.folder / "out.PNG").read_bytes()[:24]
                self.assertEqual((head[:8], struct.unpack(">II", head[16:])), (b"\x89PNG\r\n\x1a\n", (1200, 900)))
                vectab("plot", source, "-o", self.folder / "out.pdf")
                self.assertEqual((self.folder / "out.pdf").read_bytes()[:5], b"%PDF-")


class Files(VectabTest):
    def test_only_regular_files_are_read_and_by_their_whole_path(self):
        fifo, listing = self.folder / "fifo", self.folder / "list"
        os.mkfifo(fifo)
        shutil.copy(ROOT / LEO, self.folder / "20011.e")
        long = str(self.folder) + "20011.ex".rjust(513 - len(str(self.folder)), "/")  # the head is a file
        listing.write_text(f"\ufeffEPHFIL = {fifo}\nEPHFIL = /dev/zero\nEPHFIL = {LEO}\nEPHFIL = {long}\n{'x' * 10**6}")
        for source in (fifo, "/dev/zero"):
            self.assertEqual(vectab("info", source).stderr, f"vectab: {source}: not a regular file\n")
        result = vectab("info", listing)
        reasons = [f"1: {fifo}: not a regular file", "2: /dev/zero: not a regular file",
                   f"4: {long}: a path must not be longer than 512 characters"]
        for reason in reasons:
            self.assertIn(f"vectab: {listing}:{reason}\n", result.stderr)
        shown = [line.split()[-1] for line in result.stdout.splitlines()]
        self.assertEqual((shown, result.returncode), (["file", LEO], 1))

    def test_long_list_hides_no_error(self):
        point = self.dot_e("20013.e", [(0, 7000, 0, 0, 0, 7.5, 0)])
        bad, listing = self.folder / "bad", self.folder / "list"
        bad.write_text("TIME(SEC): TIME\n" + 16 * "\n" + "no number\n")
        listing.write_text(10_000 * f"EPHFIL = {point}\n" + f"EPHFIL = {bad}\n")
        result = vectab("info", listing)
        self.assertIn("ReadLaunch", result.stderr)
        self.assertEqual((result.stdout.count(str(point)), result.returncode), (10_000, 1))

    def test_no_name_steers_the_terminal(self):
        path = os.fsencode(self.folder) + b"/20012\xc2\x9b31m\x9b\x1b\xc3\xa9\xed\xa0\x80\xf0\x9f\x9b\xb0.e"
        shutil.copy(ROOT / LEO, path)
        shown = "/20012?31m??é???\U0001f6f0.e".encode()
        for command in ("info", "check"):
            self.assertIn(shown, subprocess.run([VECTAB, command, path], stdout=subprocess.PIPE).stdout)
        self.assertIn(shown, subprocess.run([VECTAB, "info", path + b".e"], stderr=subprocess.PIPE).stderr)

    def test_names_that_are_long_or_lead_to_standard_output(self):
        wanted = self.succeed("convert", LEO, "-o", "-", "--to", "csv")
        out = self.folder / ("n" * 251 + ".csv")
        self.succeed("convert", LEO, "-o", out)
        self.assertEqual(out.read_text(), wanted)
        self.assertEqual(self.succeed("convert", LEO, "-o", "/dev/stdout", "--to", "csv"), wanted)

    def test_closed_standard_descriptors(self):
        out = self.folder / "out.csv"
        wanted = self.succeed("convert", LEO, "-o", "-", "--to", "csv")
        run = lambda closed, *arguments: vectab(*arguments, preexec_fn=lambda: [os.close(number) for number in closed])
        for closed in ((0,), (1,), (2,), (0, 1, 2)):
            self.assertEqual(run(closed, "convert", LEO, "-o", out).returncode, 0)
            self.assertEqual(out.read_text(), wanted)
        for closed, arguments in ((1, ["info", LEO]), (0, ["info", "-"])):
            result = run((closed,), *arguments)
            self.assertRegex(result.stderr, "^vectab: [^\n]*: Bad file descriptor\n$")
            self.assertEqual(result.returncode, 1)


class Streams(VectabTest):
    def test_full_disk(self):
        link = self.folder / "full.csv"
        link.symlink_to("/dev/full")
        with open("/dev/full", "w") as full:
            for arguments in (["info", LEO], ["states", LEO], ["states", LEO, "--step", "1"], ["check", LEO],
                              ["--help"], ["convert", LEO, "-o", link]):
                result = vectab(*arguments, stdout=full)
                self.assertRegex(result.stderr, r"^vectab: cannot write [^\n]*: No space left on device\n$")
                self.assertEqual(result.returncode, 1)

    def test_reader_that_goes_away(self):
        command = [VECTAB, "states", LEO, "--step", "0.01"]
        with subprocess.Popen(command, cwd=ROOT, stdout=subprocess.PIPE, stderr=subprocess.PIPE) as process:
            self.assertTrue(process.stdout.readline().startswith(b"satellite,"))
            process.stdout.close()
            self.assertEqual((process.stderr.read(), process.wait()), (b"", 1))


if __name__ == "__main__":
    unittest.main()
