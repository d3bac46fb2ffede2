"""States in arrays, times, catalogues: with NumPy, and in a process of its own without it."""

import datetime
import errno
import pathlib
import subprocess
import sys
import tempfile
import threading
import unittest
import warnings
from array import array

import numpy as np
import pandas as pd

import vectable as vt
from test_vectable import ROOT, SAMPLE, START, StoreTest, build, run_python

SAMPLES = SAMPLE.parent
UTC = datetime.timezone.utc
EAST = datetime.timezone(datetime.timedelta(hours=2))
NAIVE = datetime.datetime(2025, 1, 1)


def day(seconds):
    return START + seconds / 86400.0


class Times(unittest.TestCase):
    def test_every_form_of_a_time_is_the_same_day(self):
        # START is 2025-01-01; the seconds of the day are those of the text.
        for given, seconds in (
            ("2025-01-01", 0.0),
            ("2025-01-01T06:00:00.5Z", 21600.5),
            (" 2025-01-01 06:00 ", 21600.0),
            (datetime.datetime(2025, 1, 1, 0, 0, 1, tzinfo=UTC).isoformat(), 1.0),
            (datetime.datetime(2025, 1, 1, 7, 0, 0, 250000, UTC), 25200.25),
            (datetime.datetime(2025, 1, 1, 1, tzinfo=EAST), -3600.0),
            (np.datetime64("2025-01-01T23:59:59.123456789"), 86399.123456789),
            (np.datetime64("2025-01-01"), 0.0),
            (pd.Timestamp("2025-01-01T02:00", tz="Europe/Berlin"), 3600.0),
            (np.datetime64("1949-12-31T12", "h"), (0.5 - START) * 86400.0),
        ):
            with self.subTest(given=given):
                for one in (vt.days_utc(given), vt.days_utc([given, START])[0]):
                    self.assertEqual(one, day(seconds))
        zoned = pd.date_range("2025-01-01", periods=2, freq="H", tz="UTC")
        for given in (zoned, zoned.tz_localize(None), pd.Series(zoned), (START, day(3600)), zoned.to_pydatetime()):
            self.assertEqual(list(vt.days_utc(given)), [START, day(3600.0)])
        self.assertTrue(np.isnan(vt.days_utc(np.datetime64("NaT"))))

    def test_what_is_no_time_is_refused(self):
        for error, words, given in (
            (ValueError, "a datetime with a zone is wanted, not the naive 2025-01-01T00:00:00", NAIVE),
            (ValueError, "naive", [NAIVE]),
            (ValueError, "naive", pd.Timestamp(NAIVE)),
            (ValueError, "'noon'", "noon"),
            (ValueError, "junk", "2025-01-01\0junk"),
            (ValueError, "+02:00", "2025-01-01T02:00+02:00"),
            (ValueError, "'noon'", ["2025-01-01", "noon"]),
            (ValueError, "shape (2, 1)", [[1.0], [2.0]]),
            (TypeError, "not None", None),
            (TypeError, "complex128", 1j),
            (TypeError, "timedelta64", np.timedelta64(1, "s")),
            (TypeError, "True", True),
            (TypeError, "datetime.date", [NAIVE.date()]),
        ):
            with self.subTest(given=given), self.assertRaises(error) as caught:
                vt.days_utc(given)
            self.assertIn(words, str(caught.exception))


class States(StoreTest):
    def setUp(self):
        super().setUp()
        self.keys = [build(), build(7, points=3), vt.VecTabAddSat(8, START, 0.0, 0.0, 1), 5]
        self.times = np.array([-1.0, 0.0, 0.5, 2.25, 5.0, 6.0]) / 1440.0 + START

    def assert_single_calls(self, states, keys, times):
        """Row i is what the single call of key i at time i gives, to the bit; where that fails, NaN and a reason."""
        for i, (key, time) in enumerate(zip(keys, times)):
            try:
                _, pos, vel, rev, cov = vt.VecTabDs50UTCCovMtx(int(key), float(time))
                self.assertEqual(states.outcome[i], vt.Outcome.STATE)
            except vt.VecTabError:
                pos, vel, rev, cov = np.full(3, np.nan), np.full(3, np.nan), 0, np.full((6, 6), np.nan)
                self.assertNotEqual(states.outcome[i], vt.Outcome.STATE)
            for found, wanted in zip(states[:4], (pos, vel, rev, cov)):
                np.testing.assert_array_equal(found[i], wanted)

    def test_grid_and_pairs_have_the_bits_of_single_calls(self):
        grid = vt.states(self.keys, self.times, covariance=True)
        self.assertEqual([field.shape[2:] for field in grid], [(3,), (3,), (), (6, 6), ()])
        flat = vt.States(*(field.reshape(24, *field.shape[2:]) for field in grid))
        keys, times = np.repeat(self.keys, 6), np.tile(self.times, 4)
        self.assert_single_calls(flat, keys, times)
        self.assert_single_calls(vt.states(keys, times, True, pairs=True), keys, times)
        outcomes = [[2, 0, 0, 0, 0, 2], [2, 0, 4, 2, 2, 2], [1] * 6, [1] * 6]
        self.assertEqual(grid.outcome.tolist(), outcomes)

    def test_one_and_many(self):
        key, time = self.keys[0], self.times[2]
        for keys, times, pairs, shape in (
            (key, time, False, ()),
            (np.int64(key), "2025-01-01T00:00:30", False, ()),
            (key, [time], False, (1,)),
            ([key], time, False, (1,)),
            (np.array([key, 5]), self.times, False, (2, 6)),
            (pd.Series([key] * 6), pd.Series(self.times), True, (6,)),
            (key, time, True, ()),
            ([], self.times, False, (0, 6)),
            (key, [], False, (0,)),
        ):
            with self.subTest(keys=keys, times=times):
                states = vt.states(keys, times, covariance=True, pairs=pairs)
                tails = ((3,), (3,), (), (6, 6), ())
                self.assertEqual([np.shape(field) for field in states], [(*shape, *tail) for tail in tails])
        self.assertIsNone(vt.states(key, time).cov)

    def test_buffers_of_any_kind(self):
        key = self.keys[0]
        wanted = vt.states(key, self.times).pos
        frozen, spread = self.times.copy(), np.zeros(18)
        frozen.flags.writeable, spread[::3] = False, self.times
        for times in (frozen, spread[::3], memoryview(spread)[::3], array("d", self.times), self.times[::-1][::-1]):
            np.testing.assert_array_equal(vt.states(key, times).pos, wanted)
        room = np.zeros((6, 9))
        for out in (np.zeros((6, 6)), array("d", bytes(288)), room[:, 2:8], np.zeros(72)[::2], bytearray(288)):
            if isinstance(out, bytearray):
                out = memoryview(out).cast("d", (6, 6))
            states = vt.states(key, self.times, out=out)
            rows = np.asarray(out).reshape(6, 6)
            np.testing.assert_array_equal(rows[:, :3], wanted)
            np.testing.assert_array_equal(rows[:, 3:], states.vel)
            self.assertEqual(np.shares_memory(states.pos, out), memoryview(out).c_contiguous)
        self.assertEqual(room[:, [0, 1, 8]].any(), False)

    def test_arguments_are_refused(self):
        key, frozen = self.keys[0], np.zeros((6, 6))
        frozen.flags.writeable = False
        for error, words, arguments in (
            (TypeError, "keys: one key or a sequence", (1.0, 1.0)),
            (TypeError, "keys: one key or a sequence", ("10001", 1.0)),
            (TypeError, "float64", (np.array([1.0]), 1.0)),
            (TypeError, "shape (1, 1)", (np.array([[key]]), 1.0)),
            (OverflowError, "64 bits", ([2**63], 1.0)),
            (OverflowError, "64 bits", (np.array([2**63], np.uint64), 1.0)),
            (ValueError, "(6, 6), or of 36 in one dimension, is wanted, not one of shape (5, 6)", (np.zeros((5, 6)),)),
            (ValueError, "shape (35,)", (array("d", bytes(280)),)),
            (ValueError, "read-only", (frozen,)),
            (TypeError, "format 'f'", (np.zeros((6, 6), "f"),)),
            (TypeError, "not list", ([0.0] * 36,)),
        ):
            with self.subTest(words=words), self.assertRaises(error) as caught:
                if len(arguments) == 1:
                    vt.states(key, self.times, out=arguments[0])
                else:
                    vt.states(*arguments)
            self.assertIn(words, str(caught.exception))
        with self.assertRaisesRegex(ValueError, "not 6 times for 4 keys"):
            vt.states(self.keys, self.times, pairs=True)

    def test_record_that_is_removed_meanwhile_is_an_outcome(self):
        keys = np.array([build(number) for number in range(100, 400)])
        times = np.linspace(START, START + 5 / 1440.0, 200)
        wanted = vt.states(keys, times).pos
        remover = threading.Thread(target=lambda: [vt.VecTabRemoveSat(int(key)) for key in keys[::2]])
        remover.start()
        for _ in range(20):
            states = vt.states(keys, times)
            there = states.outcome == vt.Outcome.STATE
            np.testing.assert_array_equal(states.pos[there], wanted[there])
            self.assertTrue(there[1::2].all() and (states.outcome[~there] == vt.Outcome.NO_RECORD).all())
        remover.join()
        self.assertFalse((vt.states(keys, times).outcome[::2] == vt.Outcome.STATE).any())

    def test_what_has_no_state_is_logged_once(self):
        with self.assertLogs("vectable", "INFO") as logged:
            vt.states(self.keys, self.times)
        self.assertEqual(logged.output, ["INFO:vectable:VecBatchGrid: 19 of 24 requests have no state."])

    def test_without_numpy_the_numbers_are_the_same(self):
        code = """
            key, times = vt.VecTabAddSatFrFile("examples/samples/itc.txt"), array("d", [27819.0, 27819.0015, 28000.0])
            out = array("d", bytes(288))
            spread = array("d", [0.0] * 72)
            for given in (times, memoryview(times), list(times), memoryview(array("d", [27819.0, 0.0, 27819.0015, 0.0, 28000.0]))[::2],
                          memoryview(bytes(times)).cast("d"), ["2026-03-01", 27819.0015, datetime.datetime(2026, 8, 29, tzinfo=datetime.timezone.utc)]):
                states = vt.states([key, 5], given, True, out)
                print([field.tolist() for field in states])
            print(len(out), out[0], vt.states(key, times[1]).pos.tolist())
            view = memoryview(spread)[::2]
            print(vt.states([key, 5], times, out=view).pos.tolist() == states.pos.tolist(), view[0], vt.states([], times).pos.tolist())
            for bad in (lambda: vt.states(key, memoryview(b"12")), lambda: vt.states(key, times, out=b"12"), lambda: vt.Catalogue("none")):
                try: bad()
                except Exception as error: print(type(error).__name__)
            with vt.Catalogue("examples/samples/ecr.txt") as catalogue: print(len(catalogue.states(times).outcome), type(catalogue.keys))
            """
        code = "\n".join(line[12:] for line in code.splitlines())
        head = "import sys, datetime; from array import array; import vectable as vt\n"
        bare = run_python("import sys; sys.modules['numpy'] = None\n" + head + code)
        self.assertEqual(bare.stderr, "")
        lines = bare.stdout.splitlines()
        key = vt.VecTabAddSatFrFile(SAMPLES / "itc.txt")
        states = vt.states([key, 5], [27819.0, 27819.0015, 28000.0], True)
        wanted = str([field.tolist() for field in states])
        self.assertEqual(lines[:6], [wanted] * 6)
        self.assertEqual(lines[6], f"36 {states.pos[0, 0, 0]} {states.pos[0, 1].tolist()}")
        self.assertEqual(lines[7:], [f"False {states.pos[0, 0, 0]} []", *"ValueError TypeError FileNotFoundError".split(), "1 <class 'tuple'>"])


class Catalogues(StoreTest):
    def write(self, name, rows):
        lines = ["stk.v.4", "ScenarioEpoch 1 Jan 2025 00:00:00.000", "EphemerisTimePosVel", *rows]
        (self.folder / name).write_text("\n".join(lines) + "\n")
        return self.folder / name

    def test_table(self):
        holed = self.write("20010_holed.e", [f"{t} 7e6 0 0 0 7e3 0" for t in (0, 60, 9000, 9060, 18000)])
        few = self.write("20011_few.e", ["0 7e6 0 0 0 7e3 0"])
        with vt.Catalogue(SAMPLE, SAMPLES / "ecr_position.txt", holed) as catalogue:
            catalogue.load(few)
            table = pd.DataFrame(catalogue.to_dict()).set_index("satNum")
            self.assertEqual(table["notes"].to_list(), ["", "no velocities", "2 holes", "few points"])
            self.assertEqual(table["key"].to_list(), list(catalogue.keys))
            self.assertEqual(table["numOfPts"].to_list(), [121, 31, 5, 1])
            self.assertEqual(table["filePath"].to_list()[2:], [str(holed), str(few)])
            self.assertEqual(table.loc[10011, ["frame", "startDs50UTC"]].to_list(), ["ECR", 27819.0])
            self.assertEqual(catalogue.states("2026-03-01").outcome.tolist(), [0, 0, 2, 2])
            self.assertEqual(catalogue.states("2026-03-01", keys=catalogue.keys[1]).outcome, 0)
            saved = self.folder / "list.txt"
            catalogue.save(saved)
        self.assertEqual((len(catalogue), vt.VecTabGetCount()), (0, 0))
        with vt.Catalogue(saved) as again:
            self.assertCountEqual(again.to_dict()["filePath"], table["filePath"])

    def test_files_that_fail(self):
        bad, catalogue = self.folder / "bad.txt", vt.Catalogue(SAMPLE)
        bad.write_text("TIME(SEC): TIME\n" + 16 * "\n" + "no number\n")
        (self.folder / "empty").touch()
        for error, number, words, call, path in (
            (FileNotFoundError, errno.ENOENT, "No such file", catalogue.load, self.folder / "none"),
            (IsADirectoryError, errno.EISDIR, "Is a directory", catalogue.load, self.folder),
            (FileNotFoundError, errno.ENOENT, "No such file", catalogue.save, self.folder / "none/list"),
            (ValueError, None, "ReadLaunch", catalogue.load, bad),
            (ValueError, None, "no ephemeris in it", catalogue.load, self.folder / "empty"),
            (ValueError, None, "stored already", catalogue.load, SAMPLE),
            (ValueError, None, "512", catalogue.load, "x" * 513),
        ):
            with self.subTest(path=path), self.assertRaises(error) as caught:
                call(path)
            self.assertEqual(getattr(caught.exception, "errno", None), number)
            self.assertIn(words, str(caught.exception))
            self.assertIn(str(path) if number is None else repr(str(path)), str(caught.exception) + "x" * 513)
        with self.assertRaises(FileNotFoundError):
            catalogue.load(SAMPLES / "ecr.txt", "none")
        self.assertEqual(len(catalogue), 2)
        with self.assertRaises(FileNotFoundError):
            vt.Catalogue(SAMPLES / "itc.txt", "none")
        self.assertEqual(vt.VecTabGetCount(), 2)

    def test_keys_that_are_not_there(self):
        catalogue, other = vt.Catalogue(SAMPLE, SAMPLES / "ecr.txt"), build()
        for keys in (other, [int(catalogue.keys[0]), 5]):
            with self.assertRaisesRegex(KeyError, "is no key of this catalogue"):
                catalogue.states("2026-03-01", keys)
        with self.assertRaisesRegex(ValueError, "1 records that are not of this catalogue"):
            catalogue.save(self.folder / "list")
        vt.VecTabRemoveSat(int(catalogue.keys[0]))
        for call in (lambda: catalogue.states("2026-03-01"), catalogue.to_dict):
            with self.assertRaisesRegex(KeyError, f"{catalogue.keys[0]} is no longer stored"):
                call()
        catalogue.close()
        self.assertEqual(list(vt.VecTabGetLoaded()), [other])
