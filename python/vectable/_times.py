"""Times as Python people write them, in days since 1950 UTC."""
from __future__ import annotations

import datetime
import numbers
from array import array
from ctypes import POINTER, byref, c_char_p, c_double, c_int32
from typing import Any

from ._binding import numpy, refuse_masked
from ._library import function

# Day 0.0: day 1.0 is 1950-01-01 00:00.
_DAY_0 = datetime.datetime(1949, 12, 31, tzinfo=datetime.timezone.utc)
_DAYS_TO_1970 = 7306.0
_time_of_text = function("VecHostTimeOfText", c_int32, c_char_p, POINTER(c_double))
_WANTED = "a datetime64, a datetime with a zone, a text of a date or a number of days since 1950 is wanted"


def _day_of_datetime(time):
    if time.utcoffset() is None:
        raise ValueError(f"times: a datetime with a zone is wanted, not the naive {time.isoformat()}")
    since = time - _DAY_0
    # Seconds of the day over 86400, as the library has it: a request for the time of a point has to hit it to the bit.
    return since.days + (since.seconds * 1_000_000 + since.microseconds) / 1e6 / 86400.0


def _day_of_text(text):
    day = c_double()
    # What isoformat() writes of a datetime in UTC ends so; the library's grammar has a Z for it.
    if "\0" in text or _time_of_text(text.removesuffix("+00:00").encode(), byref(day)) != 0:
        raise ValueError(f"times: {_WANTED}, not {text!r}")
    return day.value


def _days_of_datetime64(times):
    """An array of datetime64, taken as UTC; NaT gives NaN."""
    days = times.astype("M8[D]")
    start = days.astype(times.dtype)
    # NumPy lets numbers wrap that do not fit; a day is floored, but whole days make up a year, a month or a week.
    fits = start == times if numpy.datetime_data(times.dtype)[0] in "YMW" else start <= times
    if not (fits | numpy.isnat(times)).all():
        raise OverflowError("times: a datetime64 is too far away to be told in days")
    seconds = (times - days) / numpy.timedelta64(1, "s")
    return days.astype(numpy.int64) + _DAYS_TO_1970 + seconds / 86400.0


def _day(time):
    if isinstance(time, str):
        return _day_of_text(time)
    if isinstance(time, datetime.datetime):
        return _day_of_datetime(time)
    if isinstance(time, numbers.Real) and not isinstance(time, bool):
        return float(time)
    if numpy is not None and isinstance(time, numpy.datetime64):
        return float(_days_of_datetime64(time))
    raise TypeError(f"times: {_WANTED}, not {time!r}")


def _of_array(times):
    if times.ndim > 1:
        raise ValueError(f"times: one time or a sequence of times is wanted, not an array of shape {times.shape}")
    if times.dtype.kind == "M":
        return numpy.ascontiguousarray(_days_of_datetime64(times)), times.shape
    if times.dtype.kind in "fiu":
        return numpy.ascontiguousarray(times, float), times.shape
    if times.dtype.kind == "O":
        return numpy.fromiter(map(_day, times.ravel()), float, times.size), times.shape
    raise TypeError(f"times: {_WANTED}, not an array of {times.dtype}")


def days_of(times):
    """Times as contiguous doubles, and their shape: () for one time, (n,) for a sequence."""
    if isinstance(times, (str, datetime.datetime, int, float)):
        return array("d", [_day(times)]), ()
    if numpy is not None:
        refuse_masked("times", times)
        taken = numpy.asarray(times)
        # Where one is a text, NumPy makes texts of numbers too.
        return _of_array(taken if taken.dtype.kind != "U" else numpy.asarray(times, object))
    try:
        view = memoryview(times)
    except TypeError:
        days = array("d", map(_day, times))
        return days, (len(days),)
    if view.ndim != 1 or view.format != "d":
        raise ValueError(f"times: a buffer of doubles in one dimension is wanted, not {view.ndim} of {view.format!r}")
    # Of what is read-only ctypes gives no address.
    days = view if view.contiguous and not view.readonly else array("d", view)
    return days, (len(days),)


def days_utc(times: Any) -> Any:
    """Times as days since 1950 UTC, day 1.0 being 1950-01-01 00:00: the unit of all calls.

    times  one time or a sequence of them: datetime64 (taken as UTC), datetime with a zone, text in UTC as
           the library reads dates (host.h), such as "2026-03-01T12:00:06.25", or a number of days, which stays as it is

    A float for one time; for a sequence an array, NumPy's where it can be imported. Raises ValueError for a text
    that is no time and for a datetime without a zone, TypeError for anything else.
    """
    days, shape = days_of(times)
    return days if shape else float(days[0])
