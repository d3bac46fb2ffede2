"""Many states in one call."""
from __future__ import annotations

import ctypes
import enum
import math
import operator
from array import array
from ctypes import c_int64, c_void_p
from typing import Any, NamedTuple, Optional

from . import _log
from ._binding import numpy, refuse_masked
from ._library import function
from ._times import days_of


class Outcome(enum.IntEnum):
    """What became of a request."""

    STATE = 0  # there is a state
    NO_RECORD = 1  # the key is unknown, or its record has no points
    OUTSIDE = 2  # before the first point, after the last, or not a finite time
    GAP = 3  # the points around the time are too far apart
    TOO_FEW = 4  # two or three points, and none at this time


class States(NamedTuple):
    """States at many times: arrays of NumPy, or without it memoryviews. "..." is an axis for keys and one for times.

    pos      (..., 3) doubles, km, in the frame of the record; NaN where there is no state
    vel      (..., 3) doubles, km/s, same frame; NaN where there is no state
    rev      (...) int32, revolution numbers; 0 where there is no state
    cov      (..., 6, 6) doubles, symmetric, in the units of its source, zeros without covariance, NaN where there is no
             state; None when it was not asked for
    outcome  (...) uint8, Outcome: why there is no state
    """

    pos: Any
    vel: Any
    rev: Any
    cov: Optional[Any]
    outcome: Any


# The C calls take addresses of arrays: int64 keys, double times, double [6], double [21], int32, uint8.
_grid = function("VecBatchGrid", c_int64, c_int64, c_void_p, c_int64, *[c_void_p] * 5)
_pairs = function("VecBatchPairs", c_int64, c_int64, *[c_void_p] * 6)

# Of the elements of a 6 x 6 matrix, row by row, their places in the lower triangle.
_PLACES = [max(i, j) * (max(i, j) + 1) // 2 + min(i, j) for i in range(6) for j in range(6)]


def _new(code, count):
    if numpy is not None:
        return numpy.empty(count, code)
    return array(code, bytes(array(code).itemsize * count))


def _address(values):
    if numpy is not None and isinstance(values, numpy.ndarray):
        return values.ctypes.data
    return ctypes.addressof((ctypes.c_char * 0).from_buffer(values))


def _shaped(values, shape):
    """Contiguous values in a shape; a single value as it is."""
    if numpy is not None:
        return values.reshape(shape)[()]
    if not shape:
        return values[0]
    # A memoryview has no shape with a 0 in it.
    return memoryview(values).cast("B").cast(values.typecode, shape) if len(values) else memoryview(values)


def _columns(states, first, shape):
    """Three of the six columns of states."""
    if numpy is not None:
        return states.reshape(*shape, 6)[..., first : first + 3]
    taken = _new("d", len(states) // 2)
    for i in range(3):
        memoryview(taken)[i::3] = memoryview(states)[first + i :: 6]
    return _shaped(taken, (*shape, 3))


def _matrices(packed, shape):
    """Symmetric matrices from their lower triangles."""
    if numpy is not None:
        return packed.reshape(-1, 21)[:, _PLACES].reshape(*shape, 6, 6)
    taken = _new("d", len(packed) // 21 * 36)
    for i, place in enumerate(_PLACES):
        memoryview(taken)[i::36] = memoryview(packed)[place::21]
    return _shaped(taken, (*shape, 6, 6))


def _key(key):
    number = operator.index(key)
    if not -(2**63) <= number < 2**63:
        raise OverflowError(f"keys: {number} does not fit 64 bits")
    return number


def key_array(keys):
    """Keys as contiguous int64, and their shape: () for one key, (n,) for a sequence."""
    if isinstance(keys, (bool, str, bytes, bytearray)):
        raise TypeError(f"keys: one key or a sequence of keys is wanted, not {keys!r:.100}")
    refuse_masked("keys", keys)
    try:
        return array("q", [_key(keys)]), ()
    except TypeError:
        pass
    if numpy is not None and hasattr(keys, "__array__"):
        keys = numpy.asarray(keys)
        if keys.ndim != 1 or keys.dtype.kind not in "iu":
            raise TypeError(f"keys: integers in one dimension are wanted, not {keys.dtype} of shape {keys.shape}")
        if keys.dtype != numpy.uint64:
            return numpy.ascontiguousarray(keys, numpy.int64), keys.shape
    try:
        listed = array("q", map(_key, keys))
    except TypeError:
        raise TypeError(f"keys: one key or a sequence of keys is wanted, not {keys!r:.100}") from None
    return listed, (len(listed),)


def _checked_room(out, shape):
    """The view of an `out`, after a look at what it is."""
    refuse_masked("out", out)
    numbers = 6 * math.prod(shape)
    wanted = f"a writable buffer of doubles of shape {(*shape, 6)}, or of {numbers} in one dimension, is wanted"
    try:
        view = memoryview(out)
    except TypeError:
        raise TypeError(f"out: {wanted}, not {type(out).__name__}") from None
    if view.format != "d":
        raise TypeError(f"out: {wanted}, not one of format {view.format!r}")
    if view.shape not in ((*shape, 6), (numbers,)):
        raise ValueError(f"out: {wanted}, not one of shape {view.shape}")
    if view.readonly:
        raise ValueError(f"out: {wanted}, not a read-only one")
    return view


def _room(view, count):
    """Contiguous room for states: that of the view where it is contiguous."""
    if view is None or not view.c_contiguous:
        return _new("d", 6 * count)
    if numpy is not None:
        return numpy.asarray(view).reshape(-1)
    return view.cast("B").cast("d") if count else array("d")


def _overlap(a, b):
    """Whether two contiguous arrays share memory."""
    return _address(a) < _address(b) + len(b) * b.itemsize and _address(b) < _address(a) + len(a) * a.itemsize


def _copy_into(view, states):
    if numpy is not None:
        numpy.asarray(view)[...] = states.reshape(view.shape)
    elif view.ndim == 1:
        view[:] = memoryview(states)
    else:
        raise ValueError("out: without NumPy, a buffer of several dimensions is wanted contiguous")


def states(keys: Any, times: Any, covariance: bool = False, out: Any = None, *, pairs: bool = False) -> States:
    """The states of one key or many at one time or many, by one call of the library; threads run beside it.

    keys        a satKey, or K of them in a sequence
    times       one time, or T of them: datetime64 (taken as UTC), datetime with a zone, text in UTC such as
                "2026-03-01T12:00:06.25", or days since 1950 UTC as numbers. A contiguous buffer of doubles is read
                where it is, one with strides is gathered first. Times that rise are fastest.
    covariance  whether covariances are wanted, which takes time
    out         writable buffer of doubles that receives the states: shape (..., 6), or one dimension of as many.
                With NumPy, pos and vel of the result lie in it when it is contiguous. It shares no memory with keys or
                times.
    pairs       False: every key at every time. True: key i at time i, for as many times as keys.

    Gives States; of one key and one time each field is that of one state, of many keys and many times it has the axes
    K, T. A request without a state is no error: its numbers are NaN and its outcome says why. Bits are those of
    VecTabDs50UTC and VecTabDs50UTCCovMtx. Raises TypeError, ValueError and OverflowError for arguments that are none of
    these, such as masked elements.
    """
    return answer(*key_array(keys), times, covariance, out, pairs)


def answer(keys, key_shape, times, covariance, out, pairs=False):
    """What `states` gives for keys as key_array gives them."""
    times, time_shape = days_of(times)
    if pairs and key_shape != time_shape:
        raise ValueError(f"pairs: as many times as keys are wanted, not {len(times)} times for {len(keys)} keys")
    shape = key_shape if pairs else key_shape + time_shape
    count = math.prod(shape)
    view = None if out is None else _checked_room(out, shape)
    room = _room(view, count)
    if _overlap(room, keys) or _overlap(room, times):
        raise ValueError("out: memory of its own is wanted, not that of the keys or times")
    covs = _new("d", 21 * count) if covariance else None
    revs, outcomes = _new("i", count), _new("B", count)
    results = (_address(room), None if covs is None else _address(covs), _address(revs), _address(outcomes))
    with _log.settled:
        if pairs:
            missing = _pairs(count, _address(keys), _address(times), *results)
        else:
            missing = _grid(len(keys), _address(keys), len(times), _address(times), *results)
        if missing != 0:
            _log.settle("VecBatchPairs" if pairs else "VecBatchGrid", missing, missing < 0)
    if view is not None and not view.c_contiguous:
        _copy_into(view, room)
    return States(
        _columns(room, 0, shape),
        _columns(room, 3, shape),
        _shaped(revs, shape),
        None if covs is None else _matrices(covs, shape),
        _shaped(outcomes, shape),
    )
