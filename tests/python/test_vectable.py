"""The Python module: every call, every form of failure, with NumPy and without it."""

import errno
import importlib.util
import itertools
import math
import os
import pathlib
import pickle
import re
import shutil
import subprocess
import sys
import tempfile
import threading
import unittest
from concurrent.futures import ThreadPoolExecutor
from unittest import mock

import vectable as vt

ROOT = pathlib.Path(__file__).resolve().parents[2]
SAMPLE = ROOT / "examples/samples/10001_leo.e"
NO_KEY = "FindRecPtr: search key doens't exist."
TERMS = [float(term) for term in range(1, 22)]
START = 27395.0  # 2025-01-01


def position(minutes):
    """A motion of degree 3 in time, km; the table's polynomial of degree 7 takes it on exactly."""
    return [7000.0 + 2.0 * minutes, -minutes**2, 0.1 * minutes**3]


def velocity(minutes):
    return [2.0 / 60.0, -2.0 * minutes / 60.0, 0.3 * minutes**2 / 60.0]


def build(satNum=25544, points=6):
    """A table of the motion above, a point a minute; the covariance terms grow by 1 a minute."""
    key = vt.VecTabAddSat(satNum, START, 6378.135, 0.0743669161, 2)
    add = (vt.VecTabAddSatEphemCovMtx, vt.VecTabAddSatEphemExt)
    for i in range(points):
        add[i % 2](key, START + i / 1440.0, position(i), velocity(i), 5, [term + i for term in TERMS])
    return key


def run_python(code, **environment):
    folder = os.path.dirname(os.path.dirname(vt.__file__))
    return subprocess.run(
        [sys.executable, "-W", "error", "-c", code],
        env={**os.environ, "PYTHONPATH": os.pathsep.join([folder, os.environ.get("PYTHONPATH", "")]), **environment},
        capture_output=True,
        text=True,
        cwd=ROOT,
    )


class StoreTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)
        vt.VecTabRemoveAllSats()
        self.addCleanup(vt.VecTabRemoveAllSats)

    def assert_near(self, numbers, expected, places=6):
        self.assertEqual(len(numbers), len(expected))
        for number, value in zip(numbers, expected):
            self.assertAlmostEqual(number, value, places)

    def fails(self, status, words, call, *arguments):
        with self.assertRaises(vt.VecTabError) as caught:
            call(*arguments)
        error = pickle.loads(pickle.dumps(caught.exception))
        self.assertEqual((error.call, error.status), (call.__name__, status))
        self.assertTrue(str(error).startswith(call.__name__ + ":"))
        self.assertIn(words, str(error))
        return error


class Sample(StoreTest):
    def test_lines_of_the_readme_print_what_it_says(self):
        readme = (ROOT / "README.md").read_text()
        lines, printed = re.search(r"```python\n(.*?)```\n\nprints\n\n```\n(.*?)```", readme, re.DOTALL).groups()
        # As after the first command: the library of the checkout, and no variable that names anything.
        library = os.environ.get("VECTABLE_LIBRARY", "")
        of_checkout = (ROOT / "build/release/lib/libvectable.so.1").exists()
        ran = run_python(lines, PYTHONPATH="", VECTABLE_LIBRARY="" if of_checkout else library)
        self.assertEqual((ran.stderr, ran.stdout), ("", printed))

    def test_example_in_the_module(self):
        ran = run_python("import doctest, vectable; print(doctest.testmod(vectable))")
        self.assertEqual(ran.stdout, "TestResults(failed=0, attempted=9)\n")


class Table(StoreTest):
    def test_states_between_points(self):
        key, minutes = build(), 2.25
        time = START + minutes / 1440.0
        for states, ask, other_time in (
            ((vt.VecTabMse, vt.VecTabMseCovMtx), minutes, time),
            ((vt.VecTabDs50UTC, vt.VecTabDs50UTCCovMtx), time, minutes),
        ):
            for state in [call(key, ask) for call in states]:
                self.assertAlmostEqual(state[0], other_time, 6)
                self.assert_near(state.pos, position(minutes), 4)
                self.assert_near(state.vel, velocity(minutes), 6)
                self.assertEqual(state.revNum, 5)
            for row, column in itertools.product(range(6), repeat=2):
                low, high = sorted((row, column))
                term = TERMS[high * (high + 1) // 2 + low] + minutes
                self.assertAlmostEqual(state.covMtx[row][column], term, 4)

    def test_stored_points(self):
        key = build(points=3)
        vt.VecTabAddSatEphem(key, START + 1.0, (1.0, 2.0, 3.0), (4.0, 5.0, 6.0), 7)
        time, pos, vel, revNum = vt.VecTabGetEphemeris(key, 4)
        self.assertEqual((time, *pos, *vel, revNum), (START + 1.0, 1.0, 2.0, 3.0, 4.0, 5.0, 6.0, 7))
        self.assertEqual([list(row) for row in vt.VecTabGetCovMtx(key, 4).covMtx], [[0.0] * 6] * 6)
        self.assertEqual(list(vt.VecTabGetCovMtx(key, 2).covMtx[5]), [term + 1.0 for term in TERMS[15:]])
        state = vt.VecTabXten(key, 3, 2.5)
        self.assertEqual(list(state[2:]), position(1) + velocity(1) + [5.0] + [t + 1.0 for t in TERMS] + [0.0] * 98)
        self.assertEqual(vt.VecTabStartEndTime(key), (START, START + 1.0))
        self.assertEqual(vt.VecTabXten(key, 2, START + 1.0)[0], 1440.0)


class Records(StoreTest):
    def test_fields(self):
        key = build()
        for code, text in ((14, "STATION"), (15, "  first light"), (11, "4")):
            vt.VecTabSetField(key, code, text)
        fields = vt.VecTabGetAllFields(key)
        self.assertEqual(fields[:6], (25544, "STATION", "first light", START, 6378.135, 0.0743669161))
        self.assertEqual(fields[8:], (4, 6, ""))
        self.assert_near(fields.pos, position(0))
        self.assert_near(fields.vel, velocity(0))
        for code, text in ((1, "25544"), (2, "25001000000.000"), (5, "7000.000000000000000"), (99, "")):
            self.assertEqual(vt.VecTabGetField(key, code), text)
        self.assertEqual(vt.VecTabFieldsToSatKey(25544, "25001000000.000"), key)
        self.assertIsNone(vt.VecTabInit())
        self.assertRegex(vt.VecTabGetInfo(), r"^VecTable \d.*\S$")

    def test_listing(self):
        self.assertEqual(list(vt.VecTabGetLoaded()), [])
        keys = [build(satNum) for satNum in (300, 100, 200)]
        orders = {0: [1, 2, 0], 1: [0, 2, 1], 2: [0, 1, 2], 9: [1, 2, 0]}
        for order, expected in orders.items():
            self.assertEqual(list(vt.VecTabGetLoaded(order)), [keys[i] for i in expected])
        self.assertEqual(vt.VecTabGetSatKey(200), keys[2])
        vt.VecTabRemoveSat(keys[0])
        self.assertEqual((vt.VecTabGetCount(), list(vt.VecTabGetLoaded(2))), (2, keys[1:]))

    def test_no_record_comes_between_count_and_listing(self):
        key = build(200)
        adder = threading.Thread(target=build, args=(100,))

        def count():
            adder.start()
            adder.join(0.2)  # an addition that is let through is done by then
            return 2  # as many as there would be if another thread had not removed one

        with mock.patch.object(vt._calls, "_count", count):
            self.assertEqual(list(vt.VecTabGetLoaded()), [key])
        adder.join()
        self.assertEqual(vt.VecTabGetCount(), 2)

    def test_save_and_load(self):
        source, saved = self.folder / "10001_ö.e", self.folder / "list.txt"
        shutil.copy(SAMPLE, source)
        key = vt.VecTabAddSatFrFile(source)
        vt.VecTabSetField(key, 15, "named")
        self.assertEqual(vt.VecTabGetLine(key), f"EPHFIL = {source}")
        vt.VecTabSaveFile(saved)
        vt.VecTabSaveFile(os.fspath(saved), 1)
        self.assertEqual(saved.read_text().count("EPHFIL = "), 2)
        vt.VecTabSaveFile(saved)
        vt.VecTabRemoveAllSats()
        vt.VecTabLoadFile(saved)
        fields = vt.VecTabGetAllFields(vt.VecTabGetSatKey(10001))
        self.assertEqual((fields.ephemName, fields.numOfPts, fields.filePath), ("named", 121, str(source)))

    def test_key_modes(self):
        for call in (vt.VecHostSetUseAllKeyMode, vt.VecHostSetAllKeyMode, vt.VecHostSetElsetKeyMode):
            self.addCleanup(call, 0)
        self.addCleanup(vt.VecHostSetDupKeyMode, 0)
        key = vt.VecTabAddSatFrFile(SAMPLE)
        self.fails(0, "Duplicated record/key", vt.VecTabAddSatFrFile, SAMPLE)
        vt.VecHostSetDupKeyMode(1)
        self.assertEqual(vt.VecTabAddSatFrFile(SAMPLE), key)
        for call in (vt.VecHostSetElsetKeyMode, vt.VecHostSetAllKeyMode):
            call(1)
            self.assertNotEqual(vt.VecTabAddSatFrFile(SAMPLE), key)
            vt.VecHostSetUseAllKeyMode(1)
            self.assertEqual(vt.VecTabAddSatFrFile(SAMPLE) == key, call is vt.VecHostSetElsetKeyMode)


class Failures(StoreTest):
    def test_calls_raise_with_the_words_of_the_log(self):
        key, empty, state = build(), vt.VecTabAddSat(1, START, 0.0, 0.0, 1), ((1.0, 2.0, 3.0), (4.0, 5.0, 6.0), 0)
        no_points = "does not contain any ephemeris data"
        outside = "GetEphem: Requested time is outside of ephemeris time span."
        few, bad = build(2, points=3), self.folder / "bad.txt"
        bad.write_text("TIME(SEC): TIME\n" + 16 * "\n" + "no number\n")
        by_key = (
            ((vt.VecTabStartEndTime, vt.VecTabGetAllFields, vt.VecTabGetLine),),
            ((vt.VecTabGetEphemeris, vt.VecTabGetCovMtx, vt.VecTabGetField), 1),
            ((vt.VecTabMse, vt.VecTabMseCovMtx, vt.VecTabDs50UTC, vt.VecTabDs50UTCCovMtx), START),
            ((vt.VecTabXten,), 1, 0.0),
            ((vt.VecTabSetField,), 15, "x"),
            ((vt.VecTabAddSatEphem,), START, *state),
            ((vt.VecTabAddSatEphemCovMtx, vt.VecTabAddSatEphemExt), START, *state, TERMS),
        )
        unknown = [(2, NO_KEY, call, 5, *rest) for calls, *rest in by_key for call in calls]
        for status, words, call, *arguments in (
            *unknown,
            (2, "FindRecPtr: Invalid DMA key (<=0).", vt.VecTabMse, 0, 0.0),
            (2, "RemoveNode: Unable to locate this key", vt.VecTabRemoveSat, 5),
            (-1, "Unable to locate satellite number         9", vt.VecTabGetSatKey, 9),
            (2, no_points, vt.VecTabStartEndTime, empty),
            (2, no_points, vt.VecTabMse, empty, 0.0),
            (2, outside, vt.VecTabMse, key, -1.0),
            (2, outside, vt.VecTabDs50UTC, key, math.nan),
            (2, "less than 4 ephemeris data points", vt.VecTabMse, few, 0.5),
            (2, "GetEphem: Input index is out of valid range.", vt.VecTabGetEphemeris, key, 7),
            (2, "GetEphem: Input index is out of valid range.", vt.VecTabGetCovMtx, key, 0),
            (2, "VecTabXten: Invalid ephemeris type", vt.VecTabXten, key, 4, 1.0),
            (0, "Duplicated record/key", vt.VecTabAddSat, 1, START, 0.0, 0.0, 1),
            (-1, "the epoch is out of range", vt.VecTabAddSat, 1, math.inf, 0.0, 0.0, 1),
            (-1, "the text is no date", vt.VecTabFieldsToSatKey, 1, "noon"),
            (errno.ENOENT, "No such file or directory", vt.VecTabLoadFile, self.folder / "none"),
            (errno.EISDIR, "Is a directory", vt.VecTabLoadFile, self.folder),
            (errno.ENAMETOOLONG, "File name too long", vt.VecTabLoadFile, "x" * 512),
            (2, "ReadLaunch", vt.VecTabLoadFile, bad),
            (-1, "cannot be opened", vt.VecTabAddSatFrFile, ""),
            (errno.ENOENT, "No such file or directory", vt.VecTabSaveFile, self.folder / "none/list"),
            (errno.ENOENT, "No such file or directory", vt.VecHostTraceToFile, self.folder / "none/log"),
        ):
            with self.subTest(call=call.__name__, words=words):
                self.fails(status, words, call, *arguments)

    def test_arguments_are_refused_before_the_call(self):
        key, three = build(), (1.0, 2.0, 3.0)
        point = (key, START + 1, three, three, 0)
        for error, call, *arguments in (
            (ValueError, vt.VecTabAddSatEphem, key, START + 1, (1.0, 2.0), three, 0),
            (ValueError, vt.VecTabAddSatEphem, key, START + 1, three, (*three, 4.0), 0),
            (ValueError, vt.VecTabAddSatEphemCovMtx, *point, [0.0] * 36),
            (ValueError, vt.VecTabAddSatEphemExt, *point, []),
            (ValueError, vt.VecTabLoadFile, "x" * 513),
            (ValueError, vt.VecTabAddSatFrFile, "a\0b"),
            (ValueError, vt.VecTabSaveFile, pathlib.Path("x" * 513)),
            (ValueError, vt.VecTabFieldsToSatKey, 1, "0" * 21),
            (TypeError, vt.VecTabAddSatEphem, key, START + 1, None, three, 0),
            (TypeError, vt.VecTabAddSatEphem, key, START + 1, ("1", "2", "3"), three, 0),
            (TypeError, vt.VecTabSetField, key, 15, None),
            (TypeError, vt.VecTabLoadFile, None),
            (TypeError, vt.VecTabMse, float(key), 0.0),
            (TypeError, vt.VecHostSetTraceSink, "sink"),
            (OverflowError, vt.VecTabMse, 2**64 + key, 0.0),
            (OverflowError, vt.VecTabGetEphemeris, key, 2**32 + 1),
            (OverflowError, vt.VecTabGetSatKey, -(2**31) - 1),
        ):
            with self.subTest(call=call.__name__, arguments=arguments), self.assertRaises(error):
                call(*arguments)
        self.assertEqual(vt.VecTabGetAllFields(key).numOfPts, 6)


class Log(StoreTest):
    def setUp(self):
        super().setUp()
        self.addCleanup(vt.set_trace_sink, None)

    def load_with_a_bad_line(self):
        lines = ["stk.v.4", "ScenarioEpoch 1 Jan 2025 00:00:00.000", "EphemerisTimePosVel", "0 7 0 0 1 0 0", "60 7 bad"]
        path = self.folder / "1.e"
        path.write_text("\n".join(lines))
        with self.assertLogs("vectable", "INFO") as logged:
            vt.VecTabLoadFile(path)
        return [(record.levelname, record.getMessage(), os.fspath(record.file)) for record in logged.records]

    def test_what_a_load_passes_over_goes_to_the_logger(self):
        logged = self.load_with_a_bad_line()
        path = str(self.folder / "1.e")
        self.assertIn(("WARNING", f"{path}: 60 7 bad", path), logged)
        self.assertEqual(logged[0][0], "INFO")
        self.assertIn("Reading VECTABs from file", logged[0][1])

    def test_sink_receives_entries_and_may_make_calls(self):
        received = []
        vt.set_trace_sink(lambda level, text: received.append((level, text, vt.VecTabGetCount())))
        self.fails(2, "Search tree", vt.VecTabMse, 5, 0.0)
        self.load_with_a_bad_line()
        self.assertEqual(received[0], (vt.VEC_HOST_TRACE_ERROR, "FindRecPtr: Search tree is empty.", 0))
        self.assertIn((vt.VEC_HOST_TRACE_ERROR, "60 7 bad", 1), received)
        self.assertEqual(received[-1][0], vt.VEC_HOST_TRACE_INFO)

    def test_sink_that_raises_hides_nothing(self):
        vt.set_trace_sink(lambda level, text: 1 // 0)
        with self.assertLogs("vectable", "WARNING") as logged:
            self.fails(2, "Search tree", vt.VecTabMse, 5, 0.0)
        self.assertEqual(len(logged.output), 1)
        self.assertIn("ZeroDivisionError", logged.output[0])

    def test_interrupt_during_an_entry_is_raised(self):
        with mock.patch("ctypes.string_at", side_effect=KeyboardInterrupt), self.assertRaises(KeyboardInterrupt):
            vt.VecTabMse(5, 0.0)
        self.fails(2, "Search tree", vt.VecTabMse, 5, 0.0)

    def test_file(self):
        path = self.folder / "log"
        vt.VecHostTraceToFile(path)
        self.assertEqual(self.fails(2, "see the log file", vt.VecTabMse, 5, 0.0).messages, ())
        vt.set_trace_sink(None)
        self.fails(2, "Search tree", vt.VecTabMse, 5, 0.0)
        self.assertRegex(path.read_text(), r"^\S+Z ERROR FindRecPtr: Search tree is empty\.\n$")


class Threads(StoreTest):
    def test_states_and_words_go_to_their_own_thread(self):
        key = build()

        def work(thread):
            for step in range(200):
                minutes = (thread + step / 200.0) % 5.0
                self.assert_near(vt.VecTabMse(key, minutes).pos, position(minutes), 4)
                error = self.fails(-1, "", vt.VecTabGetSatKey, thread * 1000 + step)
                self.assertEqual([int(m.split()[6]) for m in error.messages], [thread * 1000 + step])

        with ThreadPoolExecutor(8) as pool:
            list(pool.map(work, range(8)))


class Import(unittest.TestCase):
    kinds = (
        "import vectable as vt; key = vt.VecTabAddSatFrFile('examples/samples/itc.txt');"
        "s = vt.VecTabGetCovMtx(key, 1);"
        "print(type(s.pos).__name__, type(s.covMtx).__name__, len(s.covMtx), len(s.covMtx[5]), s.covMtx[1][0],"
        " s.covMtx[0][1], type(vt.VecTabGetLoaded()).__name__, type(vt.VecTabXten(key, 3, 1.0)).__name__, s.vel[2])"
    )
    # Point 1 of the file, as docs/formats.md prints it.
    values = "6 6 0.101 0.101"

    def test_without_numpy(self):
        ran = run_python("import sys; sys.modules['numpy'] = None;" + self.kinds)
        self.assertEqual((ran.stderr, ran.stdout), ("", f"tuple tuple {self.values} tuple tuple 5.170417437\n"))

    @unittest.skipUnless(importlib.util.find_spec("numpy"), "NumPy is not installed")
    def test_with_numpy(self):
        given = "import numpy as np; vt.VecTabAddSatEphem(key, 1e5, np.ones(3), np.ones(3, 'f'), np.int8(1))"
        shapes = "print(s.covMtx.shape, s.covMtx.dtype, vt.VecTabGetLoaded().dtype, s.pos.flags.writeable)"
        ran = run_python("\n".join((self.kinds, given, shapes)))
        self.assertEqual(ran.stderr, "")
        arrays = f"ndarray ndarray {self.values} ndarray ndarray 5.170417437\n"
        self.assertEqual(ran.stdout, arrays + "(6, 6) float64 int64 True\n")

    def test_library_that_is_not_there(self):
        ran = run_python("import vectable", VECTABLE_LIBRARY="/nowhere/libvectable.so")
        self.assertRegex(ran.stderr, r"ImportError: .* wants .*Tried\n  /nowhere/libvectable\.so: .*No such file")

    def test_library_of_another_version(self):
        with tempfile.TemporaryDirectory() as folder:
            library = f"{folder}/libvectable.so.1"
            content = pathlib.Path(vt._library.library._name).read_bytes()
            for other in ("2.0.0", "0.9.9", "a.b.c"):
                with self.subTest(other=other):
                    pathlib.Path(library).write_bytes(content.replace(vt.__version__.encode() + b", C++", other.encode() + b", C++"))
                    ran = run_python("import vectable", VECTABLE_LIBRARY=library)
                    found = other.replace("a.b.c", "unknown")
                    self.assertRegex(ran.stderr, f"version {vt.__version__} or a later .*\n  {library}: version {found}")

    def test_library_of_the_prefix(self):
        for module, library in (
            ("lib/python3/dist-packages", "lib"),
            ("lib/python3.11/site-packages", "lib/x86_64-linux-gnu"),
            ("share/vectable", "lib64"),
            ("here", "here"),
            ("here", "here/vectable"),
            ("checkout/python", "checkout/build/release/lib"),
        ):
            with self.subTest(module=module, library=library), tempfile.TemporaryDirectory() as prefix:
                shutil.copytree(os.path.dirname(vt.__file__), f"{prefix}/{module}/vectable")
                os.makedirs(f"{prefix}/{library}", exist_ok=True)
                wanted = os.path.realpath(shutil.copy(vt._library.library._name, f"{prefix}/{library}/libvectable.so.1"))
                path = f"import sys; sys.path.insert(0, '{prefix}/{module}');"
                ran = run_python(path + "import vectable; print(vectable._library.library._name)", VECTABLE_LIBRARY="")
                self.assertEqual((ran.stderr, ran.stdout), ("", wanted + "\n"))


if __name__ == "__main__":
    unittest.main()
