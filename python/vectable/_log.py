"""The trace log: what the library logs in a call goes to its exception, to the logger "vectable", and to a sink."""
from __future__ import annotations

import atexit
import ctypes
import logging
import os
import threading
from ctypes import c_int32, c_int64
from typing import Any, Callable, Optional, Union

from ._constants import VEC_TAB_PATH_LENGTH
from ._library import function
from .errors import VecTabError

VEC_HOST_TRACE_ERROR = 1
VEC_HOST_TRACE_INFO = 2

# A load of rubbish may report every line: what comes after these entries of one call is dropped.
_MOST_ENTRIES = 10_000

_logger = logging.getLogger("vectable")
_sink = None
_logs_to_file = False


class _TraceLog(threading.local):
    """What was logged on this thread since its last call was settled: (level, bytes, place), or an exception."""

    def __init__(self):
        self.entries = []


log = _TraceLog()
_reading_line = function("VecHostReadingLine", c_int32, ctypes.c_void_p, ctypes.c_void_p)


def _place():
    """Of which file and line an entry of a load tells, as b"path:line: " or b"path: "; otherwise empty."""
    path, line = ctypes.create_string_buffer(VEC_TAB_PATH_LENGTH), c_int64()
    if _reading_line(path, ctypes.addressof(line)) != 0:
        return b""
    return path.raw.rstrip(b" ") + (b":%d: " % line.value if line.value else b": ")


# The pointer is no c_char_p: the text is not NUL-terminated.
@ctypes.CFUNCTYPE(None, c_int32, ctypes.c_void_p, c_int32, ctypes.c_void_p)
def _collect(level, text, length, context):
    try:
        if len(log.entries) < _MOST_ENTRIES:
            log.entries.append((level, ctypes.string_at(text, length), _place()))
    except BaseException as interrupt:  # Ctrl-C in a long load arrives here; nothing may pass through the library
        log.entries.append(interrupt)


def _text(entry):
    return entry.decode("utf-8", "backslashreplace")


def _report(level, text):
    sink = _sink
    if sink is None:
        return
    try:
        sink(level, text)
    except Exception:
        _logger.exception("the trace sink failed")


def settle(call, status, failed, reason=None, file=None):
    """Hands out what a call logged, and raises VecTabError when it failed; `failed` None: when it logged an error.

    file  path of the file that the call is about, which the entries for the logger begin with, in a load with the line
    """
    entries, log.entries = log.entries, []
    for entry in entries:
        if isinstance(entry, BaseException):
            raise entry
    texts = [(level, _text(text).rstrip(" "), _text(place)) for level, text, place in entries]
    errors = [
        place + text.removeprefix(f"{call}: ") if place else text
        for level, text, place in texts
        if level == VEC_HOST_TRACE_ERROR
    ]
    failed = bool(errors) if failed is None else failed
    about = "" if file is None else f"{os.fspath(file)}: "
    for level, text, place in texts:
        _report(level, text)
        if level == VEC_HOST_TRACE_INFO or not failed:
            severity = logging.INFO if level == VEC_HOST_TRACE_INFO else logging.WARNING
            _logger.log(severity, "%s%s", place or about, text, extra={"file": file})
    if failed:
        if _logs_to_file:
            reason = f"failed with {status}, see the log file"
        raise VecTabError(call, status, errors, reason or f"failed with {status}")


_set_sink = function("VecHostSetTraceSink", None, type(_collect), ctypes.c_void_p)
_trace_to_file = function("VecHostTraceToFile", c_int32, ctypes.c_char_p)


def VecHostSetTraceSink(sink: Optional[Callable[[int, str], Any]] = None) -> None:
    """Hands the entries of the trace log to a function too; None hands them to exceptions and the logger only.

    sink  called as sink(level, text), level 1 (VEC_HOST_TRACE_ERROR) or 2 (VEC_HOST_TRACE_INFO), on the thread of the
          call that logs, when that call is done: it may make calls itself. What it raises goes to the logger.

    Ends what VecHostTraceToFile began.
    """
    global _sink, _logs_to_file
    if sink is not None and not callable(sink):
        raise TypeError(f"sink: a function or None is wanted, not {sink!r}")
    _set_sink(_collect, None)
    _sink, _logs_to_file = sink, False


set_trace_sink = VecHostSetTraceSink


def VecHostTraceToFile(path: Union[str, os.PathLike]) -> None:
    """Appends all entries of the trace log to a file from now on: UTC time, level, text.

    From then on exceptions have no texts, and logger and sink get nothing, until VecHostSetTraceSink is called. Raises
    VecTabError when the file cannot be opened, status the error number of the system; the log is then as before.
    """
    global _logs_to_file
    status = _trace_to_file(os.fsencode(path))
    if status != 0:
        raise VecTabError("VecHostTraceToFile", status, (), os.strerror(status))
    _logs_to_file = True


VecHostSetTraceSink(None)
# Threads that are still in the library must not enter an interpreter that ends.
atexit.register(_set_sink, type(_collect)(), None)
