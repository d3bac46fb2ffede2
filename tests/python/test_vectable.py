"""The calls, their failures, the log, the library that is found. Tables of a motion that interpolation has exactly."""

import ctypes
import functools
import operator
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import unittest
from concurrent.futures import ThreadPoolExecutor
from unittest import mock

import vectable as vt

ROOT = pathlib.Path(__file__).resolve().parents[2]
SAMPLE = ROOT / "examples/samples/10001_leo.e"
START = 27395.0  # 2025-01-01
TERMS = [float(term) for term in range(1, 22)]


def state(minutes):
    """Position, km, and velocity, km/s, of a motion of degree 3; the table's polynomial of degree 7 has it exactly."""
    pos = [7000.0 + 2.0 * minutes, -(minutes**2), 0.1 * minutes**3]
    return pos, [2.0 / 60.0, -2.0 * minutes / 60.0, 0.3 * minutes**2 / 60.0]


def matrix(minutes):
    """The covariance of the motion: the 21 terms grow by 1 a minute."""
    places = [[max(i, j) * (max(i, j) + 1) // 2 + min(i, j) for j in range(6)] for i in range(6)]
    return [[TERMS[place] + minutes for place in row] for row in places]


def build(satNum=25544, points=6):
    """A table of the motion, a point a minute."""
    key = vt.VecTabAddSat(satNum, START, 6378.135, 0.0743669161, 2)
    for i in range(points):
        add = (vt.VecTabAddSatEphemCovMtx, vt.VecTabAddSatEphemExt)[i % 2]
        add(key, START + i / 1440.0, *state(i), 5, [term + i for term in TERMS])
    return key


def run_python(code, **environment):
    variables = {**os.environ, "PYTHONPATH": str(pathlib.Path(vt.__file__).parents[1]), **environment}
    command = [sys.executable, "-W", "error", "-c", code]
    return subprocess.run(command, env=variables, capture_output=True, text=True, cwd=ROOT)


def rows_of(name):
    lines = pathlib.Path(__file__).with_name(name).read_text().splitlines()
    return [line for line in lines if line and not line.startswith("#")]


def flat(value):
    if isinstance(value, str) or not hasattr(value, "__iter__"):
        return [value]
    return [x for item in value for x in flat(item)]


class StoreTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)
        vt.VecTabRemoveAllSats()
        self.addCleanup(vt.VecTabRemoveAllSats)

    def raises(self, error, words, call, *arguments):
        """The message says what was given, or what is wanted."""
        with self.subTest(call=call, words=words), self.assertRaises(error) as caught:
            call(*arguments)
        self.assertIn(words, str(caught.exception))
        return caught.exception


class Calls(StoreTest):
    def test_each_gives_what_was_stored(self):
        key, time = build(), START + 2.0 / 1440.0
        for code, text in ((14, "STATION"), (15, "  first light"), (11, "4")):
            vt.VecTabSetField(key, code, text)
        row = (state(2), 5.0, [term + 2.0 for term in TERMS], [0.0] * 98)
        names = {**globals(), "key": key, "time": time, "minutes": (time - START) * 1440.0, "row": row}
        for line in rows_of("given.txt"):
            call, wanted = line.split(" | ")
            with self.subTest(call):
                self.assertEqual(flat(eval(call, names)), flat(eval(wanted, names)))
        self.assertRegex(vt.VecTabGetInfo(), r"^VecTable \d.*\S$")
        keys = [build(satNum) for satNum in (300, 100, 200)]
        for order, wanted in {0: [1, 2, 0], 1: [0, 2, 1], 2: [0, 1, 2], 9: [1, 2, 0]}.items():
            for counted in (3, 0, 5):  # other threads add and remove between count and listing
                with mock.patch.object(vt._calls, "_count", return_value=counted):
                    self.assertEqual(list(vt.VecTabGetLoaded(order=order)), [keys[i] for i in wanted])

    def test_states_between_points_are_of_their_own_thread(self):
        key = build()

        def work(thread):
            for step in range(100):
                minutes = (thread + step / 100.0) % 5.0
                found = vt.VecTabMseCovMtx(key, minutes)[1:]
                for number, wanted in zip(flat(found), flat((state(minutes), 5, matrix(minutes))), strict=True):
                    self.assertAlmostEqual(number, wanted, 4)
                with self.assertRaises(vt.VecTabError) as caught:
                    vt.VecTabGetSatKey(thread * 1000 + step)
                self.assertEqual([int(m.split()[6]) for m in caught.exception.messages], [thread * 1000 + step])

        with ThreadPoolExecutor(8) as pool:
            list(pool.map(work, range(8)))

    def test_files_and_key_modes(self):
        for name in ("UseAllKeyMode", "AllKeyMode", "ElsetKeyMode", "DupKeyMode"):
            self.addCleanup(getattr(vt, f"VecHostSet{name}"), 0)
        source, saved = self.folder / "10001_ö.e", self.folder / "list.txt"
        shutil.copy(SAMPLE, source)
        key = vt.VecTabAddSatFrFile(source)
        self.assertEqual(vt.VecTabGetLine(key), f"EPHFIL = {source}")
        vt.VecTabSaveFile(saved)
        vt.VecTabSaveFile(os.fspath(saved), 1)
        vt.VecTabRemoveAllSats()
        vt.VecTabLoadFile(saved)
        self.assertEqual(vt.VecTabGetAllFields(key)[9:], (121, str(source)))
        vt.VecHostSetDupKeyMode(1)
        self.assertEqual(vt.VecTabAddSatFrFile(source), key)
        for elset, all_keys, use_all, is_new in ((1, 0, 0, True), (1, 0, 1, False), (0, 1, 1, True), (0, 1, 0, False)):
            vt.VecHostSetElsetKeyMode(elset), vt.VecHostSetAllKeyMode(all_keys), vt.VecHostSetUseAllKeyMode(use_all)
            self.assertEqual(vt.VecTabAddSatFrFile(source) != key, is_new)


class Log(StoreTest):
    def setUp(self):
        super().setUp()
        self.addCleanup(vt.set_trace_sink, None)
        self.bad = self.folder / "1.e"
        head = "stk.v.4\nScenarioEpoch 1 Jan 2025 00:00:00.000\nEphemerisTimePosVel\n"
        self.bad.write_text(f"{head}0 7 0 0 1 0 0\n60 7 bad\n")

    def test_what_a_load_passes_over_goes_to_logger_and_sink(self):
        received = []
        vt.set_trace_sink(lambda level, text: received.append((level, text, vt.VecTabGetCount())))
        with self.assertLogs("vectable", "INFO") as logged:
            vt.VecTabLoadFile(self.bad)
        records = [(record.levelname, record.getMessage(), record.file) for record in logged.records]
        self.assertIn(("WARNING", f"{self.bad}:5: 60 7 bad", self.bad), records)
        self.assertEqual(records[0][0], "INFO")
        self.assertIn((vt.VEC_HOST_TRACE_ERROR, "60 7 bad", 1), received)
        self.assertEqual(received[-1][0], vt.VEC_HOST_TRACE_INFO)

    def test_sink_or_interrupt_that_raises_hides_nothing(self):
        vt.set_trace_sink(lambda level, text: 1 // 0)
        with self.assertLogs("vectable", "WARNING") as logged:
            self.raises(vt.VecTabError, "Search tree", vt.VecTabMse, 5, 0.0)
        self.assertEqual(len(logged.output), 1)
        self.assertIn("ZeroDivisionError", logged.output[0])
        # Nothing of Python runs between the interrupt and the end of a call that logs: it is not lost there.
        calls = ctypes.pythonapi.PyErr_SetInterrupt, functools.partial(vt._library.library.VecTabRemoveSat, 5)
        with self.assertRaises(KeyboardInterrupt):
            list(map(operator.methodcaller("__call__"), calls))
        interrupt = mock.patch("ctypes.string_at", side_effect=[KeyboardInterrupt, *9 * [b""]])
        with interrupt, self.assertRaises(KeyboardInterrupt):
            vt.VecTabLoadFile(self.bad)
        self.assertEqual(len(self.raises(vt.VecTabError, "doens't exist", vt.VecTabMse, 5, 0.0).messages), 1)

    def test_file(self):
        path = self.folder / "log"
        vt.VecHostTraceToFile(path)
        self.assertEqual(self.raises(vt.VecTabError, "see the log file", vt.VecTabMse, 5, 0.0).messages, ())
        vt.set_trace_sink(None)
        self.raises(vt.VecTabError, "Search tree", vt.VecTabMse, 5, 0.0)
        self.assertRegex(path.read_text(), r"^\S+Z ERROR FindRecPtr: Search tree is empty\.\n$")


class Import(unittest.TestCase):
    def test_examples_of_the_manual_and_lines_of_the_readme(self):
        ran = run_python("import doctest, vectable; print(doctest.testmod(vectable))")
        self.assertEqual(ran.stdout, "TestResults(failed=0, attempted=9)\n")
        readme = (ROOT / "README.md").read_text()
        lines, printed = re.search(r"```python\n(.*?)```\n\nprints\n\n```\n(.*?)```", readme, re.DOTALL).groups()
        # As after the first command: the library of the checkout, and no variable that names anything.
        built = (ROOT / "build/release/lib/libvectable.so.1").exists()
        ran = run_python(lines, PYTHONPATH="", VECTABLE_LIBRARY="" if built else os.environ.get("VECTABLE_LIBRARY", ""))
        self.assertEqual((ran.stderr, ran.stdout), ("", printed))

    def test_constants_are_those_of_the_headers(self):
        headers = "".join((ROOT / f"include/vectable/{name}.h").read_text() for name in ("vectable", "batch"))
        found = re.findall(r"#define (VEC_(?:TAB|BATCH)_\w+) \(?([-\d.]+)", headers)
        defined = {name: float(value) for name, value in found}
        outcomes = {f"VEC_BATCH_{outcome.name}": outcome for outcome in vt.Outcome}
        self.assertEqual({name: getattr(vt, name) for name in vt._constants.__all__} | outcomes, defined)

    def test_library_that_is_missing_or_of_another_version(self):
        library = pathlib.Path(tempfile.mkdtemp()) / "libvectable.so.1"
        self.addCleanup(shutil.rmtree, library.parent)
        content, version = pathlib.Path(vt._library.library._name).read_bytes(), vt.__version__
        for other, found in (
            (None, "cannot open shared object file"),
            ("2.0.0", "version 2.0.0"),
            ("0.9.9", "version 0.9.9"),
            ("a.b.c", "version unknown"),
        ):
            with self.subTest(other=other):
                if other:
                    library.write_bytes(content.replace(f"{version}, C++".encode(), f"{other}, C++".encode()))
                ran = run_python("import vectable", VECTABLE_LIBRARY=str(library))
                self.assertRegex(ran.stderr, f"wants .* {version} or a later .*Tried\n  {library}: {found}")

    def test_library_of_the_prefix_or_the_checkout(self):
        for module, library in (
            ("lib/python3/dist-packages", "lib"),
            ("lib/python3.11/site-packages", "lib/x86_64-linux-gnu"),
            ("share/vectable", "lib64"),
            ("here", "here/vectable"),
            ("checkout/python", "checkout/build/release/lib"),
        ):
            with self.subTest(module=module, library=library), tempfile.TemporaryDirectory() as prefix:
                shutil.copytree(pathlib.Path(vt.__file__).parent, f"{prefix}/{module}/vectable")
                os.makedirs(f"{prefix}/{library}", exist_ok=True)
                wanted = shutil.copy(vt._library.library._name, f"{prefix}/{library}/libvectable.so.1")
                path = f"import sys; sys.path.insert(0, '{prefix}/{module}');"
                ran = run_python(path + "import vectable; print(vectable._library.library._name)", VECTABLE_LIBRARY="")
                self.assertEqual((ran.stderr, ran.stdout), ("", os.path.realpath(wanted) + "\n"))


if __name__ == "__main__":
    unittest.main()
