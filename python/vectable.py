"""Tables of satellite states (ephemerides) in memory, interpolated at any time: libvectable for Python.

>>> import vectable
>>> key = vectable.VecTabAddSatFrFile("examples/samples/10001_leo.e")
>>> state = vectable.VecTabMse(key, 12.5)
>>> print("%.6f %.6f %.6f km" % tuple(state.pos))
1480.914721 4175.142189 5264.253823 km
>>> vectable.VecTabRemoveSat(key)

The calls have the names of the C library. What a call gives is its return value: one value as it is, several as a named
tuple, texts without their padding. Arrays are NumPy arrays where NumPy can be imported, otherwise tuples.

Times are days since 1950 on the UTC scale (ds50UTC; day 1.0 is 1950-01-01 00:00) or minutes since the first point of a
record (mse). Positions are in km, velocities in km/s, in the frame of the record; nothing is converted. A satKey names
a stored record until the record is removed. Codes of frames: 1 ECI, 2 J2K, 3 EFG, 4 ECR, 15 latitude, longitude,
height, 16 south, east, north, 17 hcsrl, 18 wptrl, 19 hcsgc, 20 wptgc.

Errors: a call that fails raises VecTabError, with the words that the library logged. Before a call is made, a sequence
or a text of the wrong length raises ValueError, an integer that does not fit 32 bits (64 for a satKey) OverflowError,
and an argument of the wrong type TypeError. What the library logs in a call that succeeds, such as a bad line that a
load passes over, goes to the logger "vectable": errors as warnings, information as information.

Threads: calls run outside the interpreter's lock, so that threads evaluate at the same time. A record must not be
changed (VecTabAddSatEphem..., VecTabSetField) while another thread uses it, and in direct-memory mode not be removed;
VecTabGetLoaded and VecTabSaveFile use all records.

The library is the one that the environment variable VECTABLE_LIBRARY names; without it, libvectable.so.1 beside this
module, in the lib folders of the prefix that the module is installed in, or where the system's loader finds it.
"""
from __future__ import annotations

import atexit
import contextlib
import ctypes
import logging
import operator
import os
import pathlib
import threading
from ctypes import POINTER, c_char, c_double, c_int32, c_int64
from typing import Any, Callable, NamedTuple, Optional, Sequence, Union

try:
    import numpy
except ImportError:
    numpy = None

VEC_HOST_TRACE_ERROR = 1
VEC_HOST_TRACE_INFO = 2

_logger = logging.getLogger("vectable")


class VecTabError(Exception):
    """A call of the library failed.

    call      name of the call
    status    what it gave: 2, an error number of the system, or a key of -1 or 0; None where it gives nothing
    messages  the error entries of the trace log that the call caused, oldest first
    """

    def __init__(self, call: str, status: Optional[int], messages: Sequence[str] = ()):
        super().__init__(call, status, messages)
        self.call = call
        self.status = status
        self.messages = tuple(messages)

    def __str__(self):
        words = "; ".join(self.messages) or self._unlogged()
        return words if words.startswith(f"{self.call}:") else f"{self.call}: {words}"

    def _unlogged(self):
        if _logs_to_file:
            return f"failed with {self.status}, see the log file"
        if self.call in ("VecTabLoadFile", "VecTabSaveFile", "VecHostTraceToFile"):
            return os.strerror(self.status)
        return {
            "VecTabFieldsToSatKey": "the text is no date",
            "VecTabAddSat": "the epoch is out of range",
            "VecTabAddSatFrFile": "the file cannot be opened, or holds no ephemeris",
        }.get(self.call, f"failed with {self.status}")


class StateDs50UTC(NamedTuple):
    """A state at ds50UTC, days since 1950 UTC: pos (3) km, vel (3) km/s, revolution number."""

    ds50UTC: float
    pos: Sequence[float]
    vel: Sequence[float]
    revNum: int


class StateDs50UTCCovMtx(NamedTuple):
    """A state at ds50UTC, days since 1950 UTC: pos (3) km, vel (3) km/s, revolution number, covMtx (6 x 6)."""

    ds50UTC: float
    pos: Sequence[float]
    vel: Sequence[float]
    revNum: int
    covMtx: Sequence[Sequence[float]]


class StateMse(NamedTuple):
    """A state at mse, minutes since the first point: pos (3) km, vel (3) km/s, revolution number."""

    mse: float
    pos: Sequence[float]
    vel: Sequence[float]
    revNum: int


class StateMseCovMtx(NamedTuple):
    """A state at mse, minutes since the first point: pos (3) km, vel (3) km/s, revolution number, covMtx (6 x 6)."""

    mse: float
    pos: Sequence[float]
    vel: Sequence[float]
    revNum: int
    covMtx: Sequence[Sequence[float]]


class AllFields(NamedTuple):
    """The fields of a record; units as VecTabGetAllFields tells."""

    satNum: int
    satName: str
    ephemName: str
    epochDs50UTC: float
    ae: float
    ke: float
    pos: Sequence[float]
    vel: Sequence[float]
    coordSys: int
    numOfPts: int
    filePath: str


class StartEndTime(NamedTuple):
    """The first and the last time of a record, days since 1950, UTC."""

    startDs50UTC: float
    endDs50UTC: float


# ------------------------------------------------ Shared library --------------------------------------------------


def _library_paths():
    explicit = os.environ.get("VECTABLE_LIBRARY")
    if explicit:
        return [explicit]
    name = "libvectable.so.1"
    folder = pathlib.Path(__file__).resolve().parent
    paths = [folder / name]
    # <prefix>/share/vectable, and <prefix>/lib/python3/dist-packages
    for prefix in list(folder.parents)[1:3]:
        for pattern in (f"lib*/{name}", f"lib/*/{name}"):
            paths += sorted(prefix.glob(pattern)) or [prefix / pattern]
    return [*map(str, paths), name]


def _load_library():
    failures = []
    for path in _library_paths():
        try:
            return ctypes.CDLL(path)
        except OSError as error:
            failures.append(f"\n  {error}")
    raise ImportError("the library of vectable cannot be loaded; tried" + "".join(failures))


_library = _load_library()

# --------------------------------------------------- Trace log ----------------------------------------------------


class _TraceLog(threading.local):
    """The entries of the call under way on a thread; None outside a call."""

    entries = None
    interrupt = None


# A load of rubbish may report every line: what comes behind these entries of one call is dropped.
_MOST_ENTRIES = 10_000

_log = _TraceLog()
_sink = None
_logs_to_file = False


# The pointer is no c_char_p: the text is not NUL-terminated.
@ctypes.CFUNCTYPE(None, c_int32, ctypes.c_void_p, c_int32, ctypes.c_void_p)
def _collect(level, text, length, context):
    try:
        if _log.entries is not None and len(_log.entries) < _MOST_ENTRIES:
            _log.entries.append((level, ctypes.string_at(text, length)))
    except BaseException as interrupt:  # Ctrl-C in a long load arrives here; nothing may pass through the library
        _log.interrupt = interrupt


def _report(level, text):
    sink = _sink
    if sink is None:
        return
    try:
        sink(level, text)
    except Exception:
        _logger.exception("the trace sink failed")


def _watched(call, failed, function, *arguments):
    """Runs a function of the library. What it logs goes to the sink, and to the exception or the logger."""
    _log.entries, _log.interrupt = [], None
    try:
        result = function(*arguments)
    finally:
        entries, _log.entries = _log.entries, None
    if _log.interrupt is not None:
        raise _log.interrupt
    texts = [(level, text.decode("utf-8", "backslashreplace").rstrip(" ")) for level, text in entries]
    errors = [text for level, text in texts if level == VEC_HOST_TRACE_ERROR]
    failure = VecTabError(call, result, errors) if failed(result, errors) else None
    for level, text in texts:
        _report(level, text)
        if level == VEC_HOST_TRACE_INFO:
            _logger.info("%s", text)
        elif failure is None:
            _logger.warning("%s", text)
    if failure is not None:
        raise failure
    return result


# --------------------------------------------- Arguments and results ----------------------------------------------


class _Given(NamedTuple):
    ctype: Any
    convert: Callable


class _Returned(NamedTuple):
    ctype: Any
    read: Callable


def _integer(name, ctype=c_int32):
    bits = 8 * ctypes.sizeof(ctype)

    def convert(value):
        number = operator.index(value)
        if not -(2 ** (bits - 1)) <= number < 2 ** (bits - 1):
            raise OverflowError(f"{name}: {number} does not fit {bits} bits")
        return number

    return _Given(ctype, convert)


def _reals(name, count):
    def convert(values):
        if len(values) != count:
            raise ValueError(f"{name}: {count} numbers are expected, not {len(values)}")
        return (c_double * count)(*values)

    return _Given(POINTER(c_double), convert)


def _encoded(name, text, length):
    characters = os.fsencode(text)
    if length is not None and len(characters) > length:
        raise ValueError(f"{name}: longer than {length} characters")
    if b"\0" in characters:
        raise ValueError(f"{name}: holds a NUL")
    return characters


def _text(name, length):
    def convert(text):
        if not isinstance(text, str):
            raise TypeError(f"{name}: a str is expected, not {type(text).__name__}")
        return _encoded(name, text, length)

    return _Given(ctypes.c_char_p, convert)


def _path(name, length=512):
    return _Given(ctypes.c_char_p, lambda path: _encoded(name, path, length))


def _array(values):
    return tuple(values) if numpy is None else numpy.frombuffer(values)


def _matrix(values):
    if numpy is None:
        return tuple(tuple(values[row : row + 6]) for row in range(0, 36, 6))
    return _array(values).reshape(6, 6)


def _text_out(length):
    return _Returned(c_char * length, lambda characters: os.fsdecode(characters.raw).rstrip(" "))


_SAT_KEY = _integer("satKey", c_int64)
_REAL = _Given(c_double, c_double)
_REAL_OUT = _Returned(c_double, operator.attrgetter("value"))
_INTEGER_OUT = _Returned(c_int32, operator.attrgetter("value"))
_VECTOR_OUT = _Returned(c_double * 3, _array)
_STATE_OUT = (_REAL_OUT, _VECTOR_OUT, _VECTOR_OUT, _INTEGER_OUT)
_COV_MTX_OUT = _Returned(c_double * 36, _matrix)

_POINT = (_SAT_KEY, _REAL, _reals("pos", 3), _reals("vel", 3), _integer("revNum"))
_MODE = _integer("mode")
_ORDER = _integer("order")


# Of each kind of result: its C type, and when it is a failure.
class _Result(NamedTuple):
    ctype: Any
    failed: Callable


_STATUS = _Result(c_int32, lambda status, errors: status != 0)
_KEY = _Result(c_int64, lambda key, errors: key in (-1, 0))
_COUNT = _Result(c_int32, lambda count, errors: False)
_NOTHING = _Result(None, lambda nothing, errors: bool(errors))

_CALLS = {
    "VecTabInit": (_STATUS,),
    "VecTabGetInfo": (_NOTHING, _text_out(128)),
    "VecTabFieldsToSatKey": (_KEY, _integer("satNum"), _text("epochText", 20)),
    "VecTabGetCount": (_COUNT,),
    "VecTabGetLoaded": (_NOTHING, _ORDER, _Given(POINTER(c_int64), None)),
    "VecTabRemoveSat": (_STATUS, _SAT_KEY),
    "VecTabRemoveAllSats": (_STATUS,),
    "VecTabGetSatKey": (_KEY, _integer("satNum")),
    "VecTabAddSat": (_KEY, _integer("satNum"), _REAL, _REAL, _REAL, _integer("typeCode")),
    "VecTabAddSatEphem": (_STATUS, *_POINT),
    "VecTabAddSatEphemCovMtx": (_STATUS, *_POINT, _reals("covTerms", 21)),
    "VecTabAddSatEphemExt": (_STATUS, *_POINT, _reals("covTerms", 21)),
    "VecTabGetAllFields": (
        _STATUS,
        _SAT_KEY,
        _INTEGER_OUT,
        _text_out(8),
        _text_out(128),
        *(_REAL_OUT, _REAL_OUT, _REAL_OUT),
        *(_VECTOR_OUT, _VECTOR_OUT),
        *(_INTEGER_OUT, _INTEGER_OUT),
        _text_out(512),
    ),
    "VecTabGetField": (_STATUS, _SAT_KEY, _integer("fieldCode"), _text_out(512)),
    "VecTabSetField": (_STATUS, _SAT_KEY, _integer("fieldCode"), _text("fieldText", 512)),
    "VecTabStartEndTime": (_STATUS, _SAT_KEY, _REAL_OUT, _REAL_OUT),
    "VecTabGetEphemeris": (_STATUS, _SAT_KEY, _integer("index"), *_STATE_OUT),
    "VecTabGetCovMtx": (_STATUS, _SAT_KEY, _integer("index"), *_STATE_OUT, _COV_MTX_OUT),
    "VecTabMse": (_STATUS, _SAT_KEY, _REAL, *_STATE_OUT),
    "VecTabMseCovMtx": (_STATUS, _SAT_KEY, _REAL, *_STATE_OUT, _COV_MTX_OUT),
    "VecTabDs50UTC": (_STATUS, _SAT_KEY, _REAL, *_STATE_OUT),
    "VecTabDs50UTCCovMtx": (_STATUS, _SAT_KEY, _REAL, *_STATE_OUT, _COV_MTX_OUT),
    "VecTabXten": (_STATUS, _SAT_KEY, _integer("ephType"), _REAL, _Returned(c_double * 128, _array)),
    "VecTabLoadFile": (_STATUS, _path("vecTabFile")),
    "VecTabAddSatFrFile": (_KEY, _path("filePath")),
    "VecTabSaveFile": (_STATUS, _path("vecTabFile"), _integer("saveMode")),
    "VecTabGetLine": (_STATUS, _SAT_KEY, _text_out(512)),
    "VecHostSetTraceSink": (_NOTHING, _Given(type(_collect), None), _Given(ctypes.c_void_p, None)),
    "VecHostTraceToFile": (_STATUS, _path("path", None)),
    "VecHostSetUseAllKeyMode": (_NOTHING, _integer("onOff")),
    "VecHostSetAllKeyMode": (_NOTHING, _MODE),
    "VecHostSetElsetKeyMode": (_NOTHING, _MODE),
    "VecHostSetDupKeyMode": (_NOTHING, _MODE),
}


def _c_type(parameter):
    if isinstance(parameter, _Given):
        return parameter.ctype
    is_array = issubclass(parameter.ctype, ctypes.Array)
    return POINTER(parameter.ctype._type_ if is_array else parameter.ctype)


def _bind(name, result, *parameters):
    try:
        function = getattr(_library, name)
    except AttributeError:
        raise ImportError(f"{_library._name} has no {name}") from None
    function.argtypes = [_c_type(parameter) for parameter in parameters]
    function.restype = result.ctype
    return function


_functions = {name: _bind(name, *signature) for name, signature in _CALLS.items()}

# The arguments that a caller gives, apart from those that receive an output.
_SIGNATURES = {
    name: (result, *([p for p in parameters if isinstance(p, kind)] for kind in (_Given, _Returned)))
    for name, (result, *parameters) in _CALLS.items()
}


class _Growth:
    """Lets no record be added between the count that sizes a list of keys and the listing. Additions run together."""

    def __init__(self):
        self._changed = threading.Condition()
        self._additions = 0

    @contextlib.contextmanager
    def allowed(self):
        with self._changed:
            self._additions += 1
        try:
            yield
        finally:
            with self._changed:
                self._additions -= 1
                self._changed.notify_all()

    @contextlib.contextmanager
    def suspended(self):
        with self._changed:
            self._changed.wait_for(lambda: self._additions == 0)
            yield


_growth = _Growth()


def _adding(function):
    def add(*arguments):
        with _growth.allowed():
            return function(*arguments)

    return add


for _name in ("VecTabAddSat", "VecTabAddSatFrFile", "VecTabLoadFile"):
    _functions[_name] = _adding(_functions[_name])


def _call(name, *values):
    """Makes a call; its outputs as a list, or its result where it has none."""
    result, given, returned = _SIGNATURES[name]
    arguments = [parameter.convert(value) for parameter, value in zip(given, values)]
    outputs = [parameter.ctype() for parameter in returned]
    pointers = [output if isinstance(output, ctypes.Array) else ctypes.byref(output) for output in outputs]
    value = _watched(name, result.failed, _functions[name], *arguments, *pointers)
    return [parameter.read(output) for parameter, output in zip(returned, outputs)] if returned else value


# ----------------------------------------------------- Library ----------------------------------------------------


def VecTabInit() -> None:
    """Does nothing: the library is ready when it is loaded."""
    _call("VecTabInit")


def VecTabGetInfo() -> str:
    """Name, version and build of the library."""
    return _call("VecTabGetInfo")[0]


def VecTabFieldsToSatKey(satNum: int, epochText: str) -> int:
    """The key that a record of this satellite and epoch has in tree mode. The store is not asked.

    epochText  at most 20 characters, UTC: "YYDDDHHMMSS.SSS", "YYYYDDDHHMMSS.SSS" or "YYDDD.DDDDDDDD"; years 57 to 99
               are 1957 to 1999, 00 to 56 are 2000 to 2056

    Raises VecTabError when the text is no date.
    """
    return _call("VecTabFieldsToSatKey", satNum, epochText)


# ---------------------------------------------------- Catalogue ---------------------------------------------------


def VecTabGetCount() -> int:
    """The number of stored records."""
    return _call("VecTabGetCount")


def VecTabGetLoaded(order: int = 0) -> Sequence[int]:
    """The keys of all stored records.

    order  0 by satellite number, frame and epoch; 1 the reverse of 0; 2 by entry into the store; any other value by key

    Raises VecTabError when there is no memory.
    """
    keys = []
    _watched("VecTabGetLoaded", _NOTHING.failed, _list_keys, _ORDER.convert(order), keys)
    return tuple(keys) if numpy is None else numpy.array(keys, numpy.int64)


def _list_keys(order, listed):
    with _growth.suspended():
        keys = (c_int64 * _functions["VecTabGetCount"]())()
        _functions["VecTabGetLoaded"](order, keys)
    listed.extend(key for key in keys if key != 0)  # fewer than counted when another thread removes records


def VecTabRemoveSat(satKey: int) -> None:
    """Removes a record. Its key is no longer good. Raises VecTabError when the key is unknown."""
    _call("VecTabRemoveSat", satKey)


def VecTabRemoveAllSats() -> None:
    """Removes all records."""
    _call("VecTabRemoveAllSats")


def VecTabGetSatKey(satNum: int) -> int:
    """The key of one of a satellite's records, the same one until the store changes.

    Raises VecTabError when the satellite has no record.
    """
    return _call("VecTabGetSatKey", satNum)


# ---------------------------------------------------- Creation ----------------------------------------------------


def VecTabAddSat(satNum: int, epochDs50UTC: float, ae: float, ke: float, typeCode: int) -> int:
    """Stores a record without points; its key.

    satNum        satellite number
    epochDs50UTC  days since 1950, UTC; the key is made from it, and the first point replaces it
    ae            Earth radius, km; carried and reported only
    ke            gravity constant, (Earth radii)^1.5 a minute; carried and reported only
    typeCode      its last decimal digit is the code of the frame

    Raises VecTabError on failure, and for a duplicate unless VecHostSetDupKeyMode settles that it gives the key.
    """
    return _call("VecTabAddSat", satNum, epochDs50UTC, ae, ke, typeCode)


def VecTabAddSatEphem(satKey: int, ds50UTC: float, pos: Sequence[float], vel: Sequence[float], revNum: int) -> None:
    """Appends a state to a record. States come in order of time; one that is not later than the last is dropped.

    ds50UTC  days since 1950, UTC
    pos      3 numbers, km, in the record's frame
    vel      3 numbers, km/s, same frame
    revNum   revolution number

    From the fourth state on the record can be interpolated. Raises VecTabError when the key is unknown or there is no
    memory.
    """
    _call("VecTabAddSatEphem", satKey, ds50UTC, pos, vel, revNum)


def VecTabAddSatEphemCovMtx(
    satKey: int, ds50UTC: float, pos: Sequence[float], vel: Sequence[float], revNum: int, covTerms: Sequence[float]
) -> None:
    """Appends a state with its covariance to a record. As VecTabAddSatEphem, and

    covTerms  21 numbers, lower triangle of the covariance, row by row: (1,1), (2,1), (2,2), (3,1), ... (6,6); kept in
              its own units
    """
    _call("VecTabAddSatEphemCovMtx", satKey, ds50UTC, pos, vel, revNum, covTerms)


def VecTabAddSatEphemExt(
    satKey: int, ds50UTC: float, pos: Sequence[float], vel: Sequence[float], revNum: int, covTerms: Sequence[float]
) -> None:
    """The same as VecTabAddSatEphemCovMtx, under another name."""
    _call("VecTabAddSatEphemExt", satKey, ds50UTC, pos, vel, revNum, covTerms)


# ----------------------------------------------------- Fields -----------------------------------------------------


def VecTabGetAllFields(satKey: int) -> AllFields:
    """All fields of a record.

    satNum        satellite number, 99999 when its file gives none
    satName       satellite name
    ephemName     name of the ephemeris
    epochDs50UTC  time of the first point, days since 1950, UTC
    ae, ke        Earth radius, km; gravity constant, (Earth radii)^1.5 a minute
    pos, vel      first point, km and km/s; zeros without points
    coordSys      code of the frame
    numOfPts      number of points
    filePath      path of the file that the record came from

    Raises VecTabError when the key is unknown.
    """
    return AllFields(*_call("VecTabGetAllFields", satKey))


def VecTabGetField(satKey: int, fieldCode: int) -> str:
    """One field of a record as text.

    fieldCode   1 satellite number   2 epoch, "YYDDDHHMMSS.SSS"   3 ae, km   4 ke, (Earth radii)^1.5 a minute
                5 to 7 position x, y, z, km, and 8 to 10 velocity x, y, z, km/s, of the first point
               11 code of the frame   12 number of points   13 path of the file   14 satellite name
               15 name of the ephemeris   any other code: an empty text

    A number too wide for its columns comes out as asterisks. Raises VecTabError when the key is unknown or the record
    has no points.
    """
    return _call("VecTabGetField", satKey, fieldCode)[0]


def VecTabSetField(satKey: int, fieldCode: int, fieldText: str) -> None:
    """Changes a field of a record; its key stays.

    fieldCode  11 code of the frame, the first character of the text alone; 14 satellite name, 8 characters; 15 name of
               the ephemeris, 128 characters; any other code changes nothing
    fieldText  at most 512 characters, leading blanks ignored; what is longer than the field is cut

    Raises VecTabError when the key is unknown.
    """
    _call("VecTabSetField", satKey, fieldCode, fieldText)


def VecTabStartEndTime(satKey: int) -> StartEndTime:
    """The first and the last time of a record, days since 1950, UTC.

    Raises VecTabError when the key is unknown or the record has no points.
    """
    return StartEndTime(*_call("VecTabStartEndTime", satKey))


# ---------------------------------------------------- Retrieval ---------------------------------------------------


def VecTabGetEphemeris(satKey: int, index: int) -> StateDs50UTC:
    """A stored point.

    index  number of the point, 1 to the number of points

    Gives its time in days since 1950 UTC, pos (3) in km and vel (3) in km/s in the record's frame, and the revolution
    number. Raises VecTabError when the key is unknown, the record has no points, or there is no such point.
    """
    return StateDs50UTC(*_call("VecTabGetEphemeris", satKey, index))


def VecTabGetCovMtx(satKey: int, index: int) -> StateDs50UTCCovMtx:
    """A stored point with its covariance. As VecTabGetEphemeris, and

    covMtx  6 x 6, symmetric, in the units of its source; zeros without covariance
    """
    return StateDs50UTCCovMtx(*_call("VecTabGetCovMtx", satKey, index))


def VecTabMse(satKey: int, mse: float) -> StateDs50UTC:
    """The state at a time since the first point.

    mse  minutes since the first point; those of the last point can fail, as mse / 1440 + start may round to behind it

    A stored time gives the stored point. Between points, position and velocity come from the polynomial of degree 7
    that takes on position and velocity of the four points round the time.

    Gives the time asked for in days since 1950 UTC, pos (3) in km and vel (3) in km/s in the record's frame, and the
    revolution number, 0 to 99999 between points. Raises VecTabError when the key is unknown, the record has no points,
    the time lies outside the table, the record has fewer than four points and none at the time, or the four points lie
    more than 61 minutes apart on the average.
    """
    return StateDs50UTC(*_call("VecTabMse", satKey, mse))


def VecTabMseCovMtx(satKey: int, mse: float) -> StateDs50UTCCovMtx:
    """The state and covariance at a time since the first point. As VecTabMse, and

    covMtx  6 x 6, symmetric, in the units of its source; zeros without covariance; between points each term comes from
            the cubic through the four points round the time
    """
    return StateDs50UTCCovMtx(*_call("VecTabMseCovMtx", satKey, mse))


def VecTabDs50UTC(satKey: int, ds50UTC: float) -> StateMse:
    """The state at a time.

    ds50UTC  days since 1950, UTC

    Gives the minutes since the first point, pos (3) in km and vel (3) in km/s in the record's frame, and the revolution
    number, 0 to 99999 between points. Interpolates, and raises VecTabError, as VecTabMse does.
    """
    return StateMse(*_call("VecTabDs50UTC", satKey, ds50UTC))


def VecTabDs50UTCCovMtx(satKey: int, ds50UTC: float) -> StateMseCovMtx:
    """The state and covariance at a time. As VecTabDs50UTC, and

    covMtx  6 x 6, symmetric, in the units of its source; zeros without covariance; between points each term comes from
            the cubic through the four points round the time
    """
    return StateMseCovMtx(*_call("VecTabDs50UTCCovMtx", satKey, ds50UTC))


def VecTabXten(satKey: int, ephType: int, value: float) -> Sequence[float]:
    """A state with everything in one array.

    ephType  what `value` is: 1 minutes since the first point, 2 days since 1950 UTC, 3 the number of a point, a
             fraction cut off
    value    the request

    Gives extArr, 128 numbers, counted from 0: 0 minutes since the first point, 1 days since 1950 UTC, 2-4 position in
    km, 5-7 velocity in km/s, 8 revolution number, 9-29 the 21 covariance terms, 30-127 zeros. Raises VecTabError as
    VecTabMse and VecTabGetEphemeris do, and when ephType is not 1, 2 or 3.
    """
    return _call("VecTabXten", satKey, ephType, value)[0]


# --------------------------------------------------- Persistence --------------------------------------------------


def VecTabLoadFile(vecTabFile: Union[str, os.PathLike]) -> None:
    """Loads an ephemeris file, or the files that a list file names, into the store. The format is found out.

    vecTabFile  path of at most 512 characters, leading and trailing blanks ignored

    Raises VecTabError when an ephemeris could not be read, status 2, or the file cannot be opened, status the error
    number of the system; the records finished before stay. A list file raises nothing for the files that it names, nor
    does a file in which no format is found, nor a duplicate: see the logger.
    """
    _call("VecTabLoadFile", vecTabFile)


def VecTabAddSatFrFile(filePath: Union[str, os.PathLike]) -> int:
    """Loads an ephemeris file; the key of the last record that it gave. List lines are not followed.

    filePath  path of at most 512 characters, leading and trailing blanks ignored

    Raises VecTabError when the file cannot be opened, fails, or holds no ephemeris, and for a duplicate unless
    VecHostSetDupKeyMode settles that it gives the key; the records finished before stay.
    """
    return _call("VecTabAddSatFrFile", filePath)


def VecTabSaveFile(vecTabFile: Union[str, os.PathLike], saveMode: int = 0) -> None:
    """Writes a list file that names, for every stored record, the file that it came from and its name. No states.

    vecTabFile  path of at most 512 characters, leading and trailing blanks ignored
    saveMode    0 replaces the file, any other value appends to it

    VecTabLoadFile reads it back, but for records that came from no file. Raises VecTabError when a write failed, status
    2, the file cannot be opened, status the error number of the system, or another save is under way, EBUSY.
    """
    _call("VecTabSaveFile", vecTabFile, saveMode)


def VecTabGetLine(satKey: int) -> str:
    """The line of a list file that names the file of a record: "EPHFIL = " and the first 503 characters of the path.

    Raises VecTabError when the key is unknown.
    """
    return _call("VecTabGetLine", satKey)[0]


# ------------------------------------------------------ Host ------------------------------------------------------


def VecHostSetTraceSink(sink: Optional[Callable[[int, str], Any]] = None) -> None:
    """Hands the entries of the trace log to a function too; None hands them to exceptions and the logger alone.

    sink  called as sink(level, text), level 1 (VEC_HOST_TRACE_ERROR) or 2 (VEC_HOST_TRACE_INFO), on the thread of the
          call that logs, when that call is done: it may make calls itself. What it raises goes to the logger.

    Ends what VecHostTraceToFile began.
    """
    global _sink, _logs_to_file
    if sink is not None and not callable(sink):
        raise TypeError("sink: a function or None is expected")
    _functions["VecHostSetTraceSink"](_collect, None)
    _sink, _logs_to_file = sink, False


set_trace_sink = VecHostSetTraceSink


def VecHostTraceToFile(path: Union[str, os.PathLike]) -> None:
    """Appends all entries of the trace log to a file from now on: UTC time, level, text.

    From then on exceptions have no words, and logger and sink get nothing, until VecHostSetTraceSink is called. Raises
    VecTabError when the file cannot be opened, status the error number of the system; the log is then as before.
    """
    global _logs_to_file
    _call("VecHostTraceToFile", path)
    _logs_to_file = True


def VecHostSetUseAllKeyMode(onOff: int) -> None:
    """Which of two settings is the key mode: 0 that of VecHostSetElsetKeyMode, else that of VecHostSetAllKeyMode."""
    _call("VecHostSetUseAllKeyMode", onOff)


def VecHostSetAllKeyMode(mode: int) -> None:
    """The key mode of records stored from now on: 1 direct-memory mode, any other value tree mode.

    Tree mode: the key is made from satellite number and epoch; storing the same ephemeris twice is a duplicate.
    Direct-memory mode: the key leads to the record without a search, and every store makes a new one; a record must not
    be removed while another thread uses it.
    """
    _call("VecHostSetAllKeyMode", mode)


def VecHostSetElsetKeyMode(mode: int) -> None:
    """As VecHostSetAllKeyMode; VecHostSetUseAllKeyMode tells which of the two counts."""
    _call("VecHostSetElsetKeyMode", mode)


def VecHostSetDupKeyMode(mode: int) -> None:
    """What storing a duplicate in tree mode does: 0 raises VecTabError, any other value gives the key."""
    _call("VecHostSetDupKeyMode", mode)


__all__ = [
    *_CALLS,
    "AllFields",
    "StartEndTime",
    "StateDs50UTC",
    "StateDs50UTCCovMtx",
    "StateMse",
    "StateMseCovMtx",
    "VEC_HOST_TRACE_ERROR",
    "VEC_HOST_TRACE_INFO",
    "VecTabError",
    "set_trace_sink",
]

VecHostSetTraceSink(None)
# Threads that are still in the library must not enter an interpreter that ends.
atexit.register(_functions["VecHostSetTraceSink"], type(_collect)(), None)
