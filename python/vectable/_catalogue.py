"""The records of files, as one object."""
from __future__ import annotations

import contextlib
import ctypes
import os
from array import array
from ctypes import c_char_p, c_int32, c_int64, c_void_p
from typing import Any, Sequence, Union

from . import _calls, _log
from ._binding import numpy
from ._constants import VEC_TAB_GAP_MINUTES, VEC_TAB_LINE_LENGTH, VEC_TAB_PATH_LENGTH, VEC_TAB_STENCIL_POINTS
from ._library import function
from ._states import Outcome, States, answer, key_array
from ._text import PATH, characters
from .errors import VecTabError

_name_frame = function("VecHostFrameName", None, c_int32, c_void_p)
_name_format = function("VecHostGetFormat", c_int32, c_int64, c_void_p)
_get_point = function("VecTabGetEphemeris", c_int32, c_int64, c_int32, *[c_void_p] * 4)
_get_line = function("VecTabGetLine", c_int32, c_int64, c_void_p)
_take_keys = function("VecHostTakeKeys", c_int32, c_void_p, c_int32)
_format_of_file = function("VecHostGetFileFormat", c_int32, c_char_p, c_void_p, c_void_p)
_find_listed = function("VecHostFindListed", c_int32, c_char_p, c_void_p)
_take_listed = function("VecHostTakeListed", c_int32, c_void_p, c_int32, c_void_p)
_BY_ENTRY = 2
_HOLE = VEC_TAB_GAP_MINUTES / 1440.0  # days; over a longer step nothing is interpolated
_FRAME_NAME_LENGTH = 8  # VEC_HOST_FRAME_NAME_LENGTH
_FORMAT_LENGTH = 32  # VEC_HOST_FORMAT_LENGTH


def _name(call, number, length):
    """The name that a call of the library has for a number."""
    name = ctypes.create_string_buffer(length)
    call(number, name)
    return name.raw.decode().strip()


@contextlib.contextmanager
def _has_to_be_stored(key):
    """A scope in which a failure of a call tells that a record was removed."""
    try:
        yield
    except VecTabError as error:
        raise KeyError(f"record {key} is no longer stored: {error}") from error


class _Points:
    """The stored points of a record, by number from 1. Times and velocities only."""

    def __init__(self, key):
        self._key = key
        self._state = (ctypes.c_double * 8)()  # time, position, velocity; the revolution number
        self._outputs = tuple(ctypes.addressof(self._state) + 8 * place for place in (0, 1, 4, 7))

    def _read(self, number):
        if _get_point(self._key, number, *self._outputs) != 0:
            _calls.VecTabGetEphemeris(self._key, number)  # raises

    def time(self, number):
        self._read(number)
        return self._state[0]

    def moves(self, number):
        self._read(number)
        return any(self._state[4:7])


def _holes(points, first, last, start, end):
    """The number of steps that are too long between two points. A span that is short enough holds none."""
    if end - start <= _HOLE:
        return 0
    if last - first == 1:
        return 1
    middle = (first + last) // 2
    time = points.time(middle)
    return _holes(points, first, middle, start, time) + _holes(points, middle, last, time, end)


def _notes(key, count):
    """What a user of a record should know before relying on it, in the terms of `vectab info`."""
    points, notes = _Points(key), []
    if count < VEC_TAB_STENCIL_POINTS:
        notes.append("few points")
    if count > 0 and not any(points.moves(number) for number in range(1, count + 1)):
        notes.append("no velocities")
    holes = _holes(points, 1, count, points.time(1), points.time(count)) if count > 1 else 0
    if holes:
        notes.append(f"{holes} hole{'s' if holes > 1 else ''}")
    return ", ".join(notes)


def _is_oem(path):
    """Whether a file is an orbit ephemeris message, which has a call of its own."""
    name, holds = ctypes.create_string_buffer(_FORMAT_LENGTH), c_int32()
    return _format_of_file(os.fsencode(path), name, ctypes.byref(holds)) == 0 and name.raw.rstrip() == b"OEM"


def _path_of(path):
    """A path that makes the library open exactly that file, in which it drops blanks at both ends."""
    text = os.fsdecode(characters("path", path, PATH, VEC_TAB_PATH_LENGTH))
    if text.endswith(" "):
        raise ValueError(f"path: one that ends in a blank is not wanted: {text!r}")
    return f"./{text}" if text.startswith(" ") else path


def _keys_of_load():
    """The keys of what this thread's last load has stored; nobody gets them twice."""
    keys, room = [], (c_int64 * 64)()
    while (count := _take_keys(room, len(room))) > 0:
        keys += room[:count]
    return keys


def _may_be_cut(key):
    """Whether the path of a record may be the head of a longer one."""
    line = ctypes.create_string_buffer(VEC_TAB_LINE_LENGTH)
    if _get_line(key, line) == 0:
        return line.raw[-1:] != b" "
    _log.forget()  # removed by another
    return False


def _cut_paths(path):
    """What the library takes of the paths of a list that are too long for it, and the numbers of their lines."""
    head, line = ctypes.create_string_buffer(VEC_TAB_PATH_LENGTH), c_int64()
    _find_listed(os.fsencode(path), ctypes.byref(c_int32()))
    while (length := _take_listed(head, VEC_TAB_PATH_LENGTH, ctypes.byref(line))) >= 0:
        if length > VEC_TAB_PATH_LENGTH:
            yield os.fsdecode(head.raw.rstrip()), line.value


def _raise_for_file(error, path):
    """Raises what Python people expect of a call on a file. Status 2 is a failure inside the file, or ENOENT."""
    if error.status != 2 or not os.path.exists(path):
        raise OSError(error.status, os.strerror(error.status), os.fspath(path)) from error
    raise ValueError(f"{os.fsdecode(path)}: {error}") from error


def _stored():
    """The keys of all stored records, in the order of loading. An empty store is not listed: the log would tell it."""
    return [int(key) for key in _calls.VecTabGetLoaded(_BY_ENTRY)] if _calls.VecTabGetCount() else []


class Catalogue:
    """The records of files. The store belongs to the process; a catalogue has those records of it that it loaded, and
    removes them when it is closed, also at the end of a with block. Several threads may load into one catalogue.

    paths  files for load
    """

    def __init__(self, *paths: Union[str, os.PathLike]):
        self._keys = {}
        try:
            self.load(*paths)
        except BaseException:
            self.close()
            raise

    def __enter__(self):
        return self

    def __exit__(self, *exception):
        self.close()

    def __len__(self):
        return len(self._keys)

    def __contains__(self, key):
        return key in self._keys

    def __repr__(self):
        return f"<vectable.Catalogue of {len(self)} records>"

    def __reduce_ex__(self, protocol):
        fate = "its records are those of this process, and are removed once"
        raise TypeError(f"a Catalogue is not copied or pickled: {fate}")

    @property
    def keys(self) -> Sequence[int]:
        """The keys of the records, in the order of loading: an array of int64, or without NumPy a tuple."""
        return tuple(self._keys) if numpy is None else numpy.array(array("q", self._keys))

    def load(self, *paths: Union[str, os.PathLike]) -> None:
        """Loads ephemeris files, or the files that list files name; an OEM that a list names is passed over.

        The format is found out. Raises FileNotFoundError and its kin, with path and errno, for a file that cannot be
        opened, and ValueError for one that holds no ephemeris, that cannot be read to its end, or whose records are all
        stored already, and for a list with a path of more than 512 characters; what was loaded before stays. What a
        load passes over goes to the logger "vectable".
        """
        for path in map(_path_of, paths):
            loaded = self._load_file(path)
            self._refuse_cut_paths(path, loaded)
            if not loaded:
                raise ValueError(f"{os.fsdecode(path)}: no ephemeris in it, or only such that are stored already")

    def _load_file(self, path):
        """Loads a file, of which something may be stored also when it fails; the keys."""
        load = _calls.VecOemLoadFile if _is_oem(path) else _calls.VecTabLoadFile
        _keys_of_load()  # whose they are is settled
        try:
            load(path)
        except VecTabError as error:
            _raise_for_file(error, path)
        finally:
            loaded = _keys_of_load()
            self._keys.update(dict.fromkeys(loaded))
        return loaded

    def _refuse_cut_paths(self, path, keys):
        """Removes what was loaded by the head of a path in a list, which is another file."""
        files = {key: _calls.VecTabGetAllFields(key).filePath for key in keys if _may_be_cut(key)}
        cuts = dict(_cut_paths(path)) if set(files.values()) - {os.fsdecode(path)} else {}
        wrong = {key: cuts[file] for key, file in files.items() if file in cuts}
        for key in wrong:
            del self._keys[key]
            _calls.VecTabRemoveSat(key)
        if wrong:
            place = f"{os.fsdecode(path)}, line {min(wrong.values())}"
            raise ValueError(f"{place}: a path of more than {VEC_TAB_PATH_LENGTH} characters, which the library cuts")

    def to_dict(self) -> dict[str, list]:
        """A table of what is stored, as columns: pandas.DataFrame(catalogue.to_dict()).

        key, satNum, satName, ephemName   of the record
        format                            that the record was read as, such as Dot-E; empty when it was made by calls
        frame                             its name, such as ECI
        numOfPts                          number of points
        startDs50UTC, endDs50UTC          first and last time, days since 1950 UTC; NaN without points
        filePath                          the file that it came from
        notes                             as `vectab info` has them: "few points" (under four), "no velocities",
                                          "2 holes" (steps over 61 minutes); an empty text for none

        Raises KeyError for a record that was removed.
        """
        rows = [self._row(key) for key in self._keys]
        names = "key satNum satName ephemName format frame numOfPts startDs50UTC endDs50UTC filePath notes".split()
        return {name: [row[i] for row in rows] for i, name in enumerate(names)}

    def _row(self, key):
        with _has_to_be_stored(key):
            fields = _calls.VecTabGetAllFields(key)
            span = _calls.VecTabStartEndTime(key) if fields.numOfPts else (float("nan"),) * 2
            notes = _notes(key, fields.numOfPts)
        frame = _name(_name_frame, fields.coordSys, _FRAME_NAME_LENGTH) or str(fields.coordSys)
        names = fields.satName, fields.ephemName, _name(_name_format, key, _FORMAT_LENGTH)
        return (key, fields.satNum, *names, frame, fields.numOfPts, *span, fields.filePath, notes)

    def states(self, times: Any, keys: Any = None, covariance: bool = False, out: Any = None) -> States:
        """The states of the records at times, as the function `states` gives them.

        keys  one key or a sequence of them; None: all, in the order of `keys`

        Raises KeyError for a key that is not of this catalogue, or whose record was removed.
        """
        asked, shape = (array("q", self._keys), (len(self._keys),)) if keys is None else key_array(keys)
        for key in () if keys is None else set(asked) - self._keys.keys():
            raise KeyError(f"{key} is no key of this catalogue")
        found = answer(asked, shape, times, covariance, out)
        if Outcome.NO_RECORD in bytes(memoryview(found.outcome)):
            for key in asked:
                with _has_to_be_stored(key):
                    _calls.VecTabGetLine(key)
        return found

    def save(self, path: Union[str, os.PathLike]) -> None:
        """Writes a list file that names the files of the records, which `load` reads back. It holds no states.

        The list is of the whole store: raises ValueError when that holds records that are not of this catalogue, and
        OSError, with path and errno, when the file cannot be written.
        """
        path = _path_of(path)
        others = sum(1 for key in _stored() if key not in self._keys)
        if others:
            raise ValueError(f"a list has all records of the store, and {others} are not of this catalogue")
        try:
            _calls.VecTabSaveFile(path)
        except VecTabError as error:
            _raise_for_file(error, path)

    def close(self) -> None:
        """Removes the records from the store."""
        while self._keys:
            key, _ = self._keys.popitem()
            try:
                _calls.VecTabRemoveSat(key)
            except VecTabError:
                pass  # removed by another
