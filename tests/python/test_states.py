"""States in arrays, times, catalogues: with NumPy and pandas, and in a process of its own without them."""

import copy
import datetime
import errno
import math
import os
import pickle
from array import array
from concurrent.futures import ThreadPoolExecutor

import numpy as np
import pandas as pd

import vectable as vt
from test_vectable import SAMPLE, START, TERMS, StoreTest, build, rows_of, run_python, state

SAMPLES = SAMPLE.parent
UTC = datetime.timezone.utc
HOURS = pd.date_range("2025-01-01", periods=2, freq="H", tz="UTC")


class Times(StoreTest):
    def test_every_form_of_a_time_is_the_same_day(self):
        # START is 2025-01-01; the seconds of the day are those of the text.
        for given, seconds in (
            ("2025-01-01", 0.0),
            (" 2025-01-01 06:00:00.5Z ", 21600.5),
            (datetime.datetime(2025, 1, 1, 0, 0, 1, tzinfo=UTC).isoformat(), 1.0),
            (datetime.datetime(2025, 1, 1, 7, 0, 0, 250000, UTC), 25200.25),
            (datetime.datetime(2025, 1, 1, 1, tzinfo=datetime.timezone(datetime.timedelta(hours=2))), -3600.0),
            (np.datetime64("2025-01-01T23:59:59.123456789"), 86399.123456789),
            (pd.Timestamp("2025-01-01T02:00", tz="Europe/Berlin"), 3600.0),
            (np.float32(27395.5), 43200.0),
        ):
            with self.subTest(given=given):
                for one in (vt.days_utc(given), vt.days_utc([given, START])[0], vt.days_utc(np.array([given]))[0]):
                    self.assertEqual(one, START + seconds / 86400.0)
        for given in (HOURS, HOURS.tz_localize(None), pd.Series(HOURS), (START, START + 1 / 24), HOURS.to_pydatetime()):
            self.assertEqual(list(vt.days_utc(given)), [START, START + 3600.0 / 86400.0])
        self.assertTrue(np.isnan(vt.days_utc(np.datetime64("NaT"))))


class Refusals(StoreTest):
    def test_every_row_of_refused_txt(self):
        key, bad = build(), self.folder / "bad.txt"
        bad.write_text("TIME(SEC): TIME\n" + 16 * "\n" + "no number\n")
        shared, few = np.zeros(42), np.ma.masked_equal([1, 2], 2)
        names = {"key": key, "shared": shared, "few": few, "catalogue": vt.Catalogue(), "bad": bad,
                 "keys": [key, 5, 6, 7], "times": START + np.arange(6.0) / 1440.0, "none": self.folder / "none"}
        for row in rows_of("refused.txt"):
            exception, words, expression = row.split(" | ")
            kind, *status = exception.split()
            error = vt.VecTabError if status else eval(kind)
            caught = self.raises(error, words, eval, expression, {**globals(), **names})
            if status:
                again, call = pickle.loads(pickle.dumps(caught)), expression[3:].split("(")[0]
                self.assertEqual((again.call, str(again.status), str(again).split(":")[0]), (call, *status, call))
        self.assertEqual(vt.VecTabGetAllFields(key).numOfPts, 6)


class States(StoreTest):
    def setUp(self):
        super().setUp()
        self.key = build()
        self.keys = [self.key, build(7, points=3), vt.VecTabAddSat(8, START, 0.0, 0.0, 1), 5]
        self.times = np.array([-1.0, 0.0, 0.5, 2.25, 5.0, 6.0]) / 1440.0 + START

    def test_grid_and_pairs_have_the_bits_of_single_calls(self):
        with self.assertLogs("vectable", "INFO") as logged:
            grid = vt.states(self.keys, self.times, covariance=True)
        self.assertEqual(logged.output, ["INFO:vectable:VecBatchGrid: 19 of 24 requests have no state."])
        self.assertEqual(grid.outcome.tolist(), [[2, 0, 0, 0, 0, 2], [2, 0, 4, 2, 2, 2], [1] * 6, [1] * 6])
        keys, times = np.repeat(self.keys, 6), np.tile(self.times, 4)
        pairs = vt.states(keys, times, True, pairs=True)
        for request, (key, time) in enumerate(zip(keys, times)):
            single = np.full(3, np.nan), np.full(3, np.nan), 0, np.full((6, 6), np.nan)
            if pairs.outcome[request] == vt.Outcome.STATE:
                single = vt.VecTabDs50UTCCovMtx(key, time)[1:]
            else:
                self.raises(vt.VecTabError, "", vt.VecTabDs50UTCCovMtx, key, time)
            for field, of_pairs, wanted in zip(grid, pairs, single):
                np.testing.assert_array_equal(field[request // 6, request % 6], wanted)
                np.testing.assert_array_equal(of_pairs[request], wanted)

    def test_shapes(self):
        for keys, times, pairs, shape in (
            (self.key, self.times[2], False, ()),
            (np.int64(self.key), "2025-01-01T00:00:30", False, ()),
            (self.key, [START], False, (1,)),
            ([self.key], START, False, (1,)),
            (np.array([self.key, 5]), self.times, False, (2, 6)),
            (pd.Series([self.key] * 6), pd.Series(self.times), True, (6,)),
            ([], self.times, False, (0, 6)),
            (self.key, [], False, (0,)),
        ):
            states = vt.states(keys, times, covariance=True, pairs=pairs)
            shapes = [np.shape(field) for field in states]
            self.assertEqual(shapes, [(*shape, *tail) for tail in ((3,), (3,), (), (6, 6), ())])

    def test_buffers_of_any_kind(self):
        wanted = vt.states(self.key, self.times)
        frozen, spread = self.times.copy(), np.zeros(18)
        frozen.flags.writeable, spread[::3] = False, self.times
        for times in (frozen, spread[::3], memoryview(spread)[::3], array("d", self.times), self.times[::-1][::-1]):
            np.testing.assert_array_equal(vt.states(self.key, times).pos, wanted.pos)
        room = np.zeros((6, 9))
        for out in (np.zeros((6, 6)), array("d", bytes(288)), room[:, 2:8], np.zeros(72)[::2]):
            states = vt.states(self.key, self.times, out=out)
            np.testing.assert_array_equal(np.asarray(out).reshape(6, 6), np.hstack((wanted.pos, wanted.vel)))
            self.assertEqual(np.shares_memory(states.pos, out), memoryview(out).c_contiguous)
        self.assertFalse(room[:, [0, 1, 8]].any())

    def test_without_numpy_the_numbers_are_the_same(self):
        code = """
import sys; sys.modules["numpy"] = None
import datetime; from array import array; import vectable as vt
def lists(states): return [field.tolist() for field in states]
key, days, texts = vt.VecTabAddSatFrFile("examples/samples/itc.txt"), [27819.0, 27819.0015], ["2026-03-01", 27819.0015]
out, spread = array("d", bytes(192)), memoryview(array("d", bytes(384)))[::2]
found = vt.states([key, 5], days, True, out)
print(lists(found), vt.states(key, days[1]).pos.tolist(), vt.states([], days).pos.tolist())
spaced = memoryview(array("d", [days[0], 0.0, days[1]]))[::2]
for given in (array("d", days), spaced, memoryview(array("d", days)).toreadonly(), texts):
    again = vt.states([key, 5], given, True, spread)
    assert str(lists(again)) == str(lists(found)) and bytes(spread[:12]) == out[:12].tobytes(), given
no_times, no_room = lambda: vt.states(key, memoryview(b"12")), lambda: vt.states(key, days, out=b"12")
for bad in (no_times, no_room, lambda: vt.Catalogue("none")):
    try: bad()
    except Exception as error: print(type(error).__name__)
point = vt.VecTabGetCovMtx(key, 1)
print(type(point.pos).__name__, type(point.covMtx).__name__, point.covMtx[1][0], point.covMtx[0][1],
      type(vt.VecTabGetLoaded()).__name__)
"""
        bare = run_python(code)
        key = vt.VecTabAddSatFrFile(SAMPLES / "itc.txt")
        states = vt.states([key, 5], [27819.0, 27819.0015], True)
        numbers = [[field.tolist() for field in states], states.pos[0, 1].tolist(), []]
        # The covariance is point 1 of the file, as docs/formats.md prints it.
        wanted = [" ".join(map(str, numbers)), "ValueError", "TypeError", "FileNotFoundError",
                  "tuple tuple 0.101 0.101 tuple"]
        self.assertEqual((bare.stderr, bare.stdout.splitlines()), ("", wanted))


class Catalogues(StoreTest):
    def write(self, name, times):
        head = ["stk.v.4", "ScenarioEpoch 1 Jan 2025 00:00:00.000", "EphemerisTimePosVel"]
        (self.folder / name).write_text("\n".join(head + [f"{t} 7e6 0 0 0 7e3 0" for t in times]) + "\n")
        return self.folder / name

    def test_table(self):
        holed, few = self.write("20010_holed.e", (0, 60, 9000, 9060, 18000)), self.write("20011_few.e", (0, 4000))
        saved = self.folder / "list.txt"
        with vt.Catalogue(SAMPLE, SAMPLES / "ecr_position.txt", holed) as catalogue:
            catalogue.load(few)
            table = pd.DataFrame(catalogue.to_dict()).set_index("satNum")
            for column, wanted in (
                ("notes", ["", "no velocities", "2 holes", "few points, 1 hole"]),
                ("key", list(catalogue.keys)),
                ("numOfPts", [121, 31, 5, 2]),
                ("frame", ["ECI", "ECR", "J2K", "J2K"]),
                ("startDs50UTC", [27819.0, 27819.0, START, START]),
                ("filePath", [str(SAMPLE), str(SAMPLES / "ecr_position.txt"), str(holed), str(few)]),
            ):
                self.assertEqual(table[column].to_list(), wanted)
            self.assertEqual(catalogue.states("2026-03-01").outcome.tolist(), [0, 0, 2, 2])
            self.assertEqual(catalogue.states("2026-03-01", keys=catalogue.keys[1]).outcome, 0)
            catalogue.save(saved)
        self.assertEqual((len(catalogue), vt.VecTabGetCount()), (0, 0))
        with vt.Catalogue(saved) as again:
            self.assertCountEqual(again.to_dict()["filePath"], table["filePath"])

    def test_threads_load_each_their_own(self):
        paths = [self.write(f"{number}.e", (0, 60)) for number in range(20100, 20300)]
        with ThreadPoolExecutor(8) as pool:
            catalogues = list(pool.map(vt.Catalogue, paths))
        for path, catalogue in zip(paths, catalogues):
            self.assertEqual(catalogue.to_dict()["filePath"], [str(path)])
            catalogue.close()
        self.assertEqual(vt.VecTabGetCount(), 0)

    def test_no_other_file_is_loaded_for_a_path(self):
        for name in ("20012.e", "20013.e", " 20013.e"):
            self.write(name, (0, 60))
        self.addCleanup(os.chdir, os.getcwd())
        os.chdir(self.folder)
        long = str(self.folder) + "20012.e".rjust(512 - len(str(self.folder)), "/")
        (self.folder / "list").write_text(f"EPHFIL = 20013.e\nEPHFIL = {long}x\n")
        with vt.Catalogue() as catalogue:
            self.raises(ValueError, "list, line 2: a path of more than 512", catalogue.load, "list")
            catalogue.load(long, " 20013.e")
            self.assertEqual(catalogue.to_dict()["filePath"], ["20013.e", long, "./ 20013.e"])
            self.assertEqual(vt.VecTabGetCount(), 3)

    def test_oem_has_a_record_a_segment(self):
        message = SAMPLES.parents[1] / "tests/data/files/message.oem"
        with self.assertLogs("vectable", "INFO") as logged, vt.Catalogue(message) as catalogue:
            self.assertEqual(catalogue.to_dict()["numOfPts"], [6, 3])
            self.raises(ValueError, "Segment 1 cannot be stored", catalogue.load, message)
        self.assertEqual({record.file for record in logged.records}, {message})
        self.assertEqual([vt.VecTabGetAllFields(key).satNum for key in vt.VecOemLoadFile(message, 5)], [5, 5])
        self.raises(vt.VecTabError, "No such file", vt.VecOemLoadFile, self.folder / "none")

    def test_files_and_keys_that_fail(self):
        bad, none, catalogue = self.folder / "bad.txt", self.folder / "none", vt.Catalogue(SAMPLE)
        bad.write_text("TIME(SEC): TIME\n" + 16 * "\n" + "no number\n")
        (self.folder / "empty").touch()
        for error, number, call, path in (
            (FileNotFoundError, errno.ENOENT, catalogue.load, none),
            (IsADirectoryError, errno.EISDIR, catalogue.load, self.folder),
            (FileNotFoundError, errno.ENOENT, catalogue.save, none / "list"),
            (ValueError, "ReadLaunch", catalogue.load, bad),
            (ValueError, "no ephemeris in it", catalogue.load, self.folder / "empty"),
            (ValueError, "stored already", catalogue.load, SAMPLE),
        ):
            caught = self.raises(error, str(path), call, path)
            self.assertIn(str(number), str(caught))
        self.raises(FileNotFoundError, "none", catalogue.load, SAMPLES / "ecr.txt", none)
        self.raises(FileNotFoundError, "none", vt.Catalogue, SAMPLES / "itc.txt", none)
        first, second = map(int, catalogue.keys)  # the finished file stays; what failed leaves nothing
        self.assertEqual(vt.VecTabGetCount(), 2)
        other = build()
        self.raises(KeyError, f"{other} is no key of this catalogue", catalogue.states, START, other)
        self.raises(KeyError, "5 is no key of this catalogue", catalogue.states, START, [first, 5])
        self.raises(ValueError, "1 are not of this catalogue", catalogue.save, none)
        vt.VecTabRemoveSat(first)
        self.raises(KeyError, f"{first} is no longer stored", catalogue.states, START)
        self.raises(KeyError, f"{first} is no longer stored", catalogue.to_dict)
        catalogue.close()
        self.assertEqual(list(vt.VecTabGetLoaded()), [other])
