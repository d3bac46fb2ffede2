"""The trace log: what the library logs in a call goes to its exception, to the logger "vectable", and to a sink."""
from __future__ import annotations

import ctypes
import logging
import os
from ctypes import c_char_p, c_int32, c_int64, c_void_p
from typing import Any, Callable, Optional, Union

from ._constants import VEC_TAB_PATH_LENGTH
from ._library import function
from ._text import characters
from .errors import VecTabError

VEC_HOST_TRACE_ERROR = 1
VEC_HOST_TRACE_INFO = 2

_LONGEST = 8192  # characters of an entry

_logger = logging.getLogger("vectable")
_sink = None
_logs_to_file = False


def _text(characters):
    return characters.decode("utf-8", "backslashreplace").rstrip(" ")


# The library keeps the entries of a call until it is done, and no Python runs inside a call: Ctrl-C, which raises an
# exception in whatever Python runs next, would be lost there.
_keep_entry = ctypes.cast(function("VecHostKeepEntry", None), c_void_p)
_take_entry = function("VecHostTakeEntry", c_int32, c_void_p, c_void_p, c_int32, c_void_p, c_void_p)


def _taken():
    """What was logged on this thread since its last call was settled: (level, text, "path:line: ", "path: " or "")."""
    level, line, entries = c_int32(), c_int64(), []
    text, path = ctypes.create_string_buffer(_LONGEST), ctypes.create_string_buffer(VEC_TAB_PATH_LENGTH)
    arguments = ctypes.addressof(level), text, _LONGEST, path, ctypes.addressof(line)
    while (length := _take_entry(*arguments)) >= 0:
        about, number = _text(path.raw), f"{line.value}:" if line.value else ""
        place = f"{about}:{number} " if about else ""
        entries.append((level.value, _text(ctypes.string_at(text, min(length, _LONGEST))), place))
    return entries


def forget():
    """Drops what a call logged that came to no end."""
    _taken()


class _Settled:
    """The scope of a call and of what settles it: an interrupt between the two leaves nothing to a later call."""

    def __enter__(self):
        return self

    def __exit__(self, kind, exception, traceback):
        if kind is not None:
            forget()


settled = _Settled()


def _report(level, text):
    sink = _sink
    if sink is None:
        return
    try:
        sink(level, text)
    except Exception:
        _logger.exception("the trace sink failed")


def settle(call, status, failed, reason=None, file=None):
    """Hands out what a call logged, and raises VecTabError when it failed.

    file  path of the file that the call is about, which the entries for the logger begin with, in a load with the line
    """
    entries = _taken()
    errors = [
        place + text.removeprefix(f"{call}: ") if place else text
        for level, text, place in entries
        if level == VEC_HOST_TRACE_ERROR
    ]
    about = "" if file is None else f"{os.fsdecode(file)}: "
    for level, text, place in entries:
        _report(level, text)
        if level == VEC_HOST_TRACE_INFO or not failed:
            severity = logging.INFO if level == VEC_HOST_TRACE_INFO else logging.WARNING
            _logger.log(severity, "%s%s", place or about, text, extra={"file": file})
    if failed:
        if _logs_to_file:
            reason = f"failed with {status}, see the log file"
        raise VecTabError(call, status, errors, reason or f"failed with {status}")


_set_sink = function("VecHostSetTraceSink", None, c_void_p, c_void_p)
_trace_to_file = function("VecHostTraceToFile", c_int32, c_char_p)


def VecHostSetTraceSink(sink: Optional[Callable[[int, str], Any]] = None) -> None:
    """Hands the entries of the trace log to a function too; None hands them to exceptions and the logger only.

    sink  called as sink(level, text), level 1 (VEC_HOST_TRACE_ERROR) or 2 (VEC_HOST_TRACE_INFO), on the thread of the
          call that logs, when that call is done: it may make calls itself. What it raises goes to the logger.

    Ends what VecHostTraceToFile began.
    """
    global _sink, _logs_to_file
    if sink is not None and not callable(sink):
        raise TypeError(f"sink: a function or None is wanted, not {sink!r}")
    _set_sink(_keep_entry, None)
    _sink, _logs_to_file = sink, False


set_trace_sink = VecHostSetTraceSink


def VecHostTraceToFile(path: Union[str, os.PathLike]) -> None:
    """Appends all entries of the trace log to a file from now on: UTC time, level, text.

    From then on exceptions have no texts, and logger and sink get nothing, until VecHostSetTraceSink is called. Raises
    VecTabError when the file cannot be opened, status the error number of the system; the log is then as before.
    """
    global _logs_to_file
    status = _trace_to_file(characters("path", path))
    if status != 0:
        raise VecTabError("VecHostTraceToFile", status, (), os.strerror(status))
    _logs_to_file = True


VecHostSetTraceSink(None)
