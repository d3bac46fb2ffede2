"""Tables of satellite states (ephemerides) in memory, interpolated at any time: libvectable for Python.

>>> import vectable
>>> catalogue = vectable.Catalogue("examples/samples/10001_leo.e")
>>> states = catalogue.states(["2026-03-01T00:12:30", "2026-03-01T01:00:00"])
>>> print("%.6f %.6f %.6f km" % tuple(states.pos[0, 0]))
1480.914721 4175.142189 5264.253823 km
>>> catalogue.close()

`Catalogue` holds the records of files; `states` gives the states of one key or many at one time or many, in one call.
Beside them the calls of the C library have their own names. What a call gives is its return value: one value as it is,
several as a named tuple, texts without their padding. Arrays are NumPy arrays where NumPy can be imported, otherwise
tuples, and memoryviews in what `states` gives.

>>> key = vectable.VecTabAddSatFrFile("examples/samples/10001_leo.e")
>>> state = vectable.VecTabMse(key, 12.5)
>>> print("%.6f %.6f %.6f km" % tuple(state.pos))
1480.914721 4175.142189 5264.253823 km
>>> vectable.VecTabRemoveSat(key)

Times of the calls are days since 1950 on the UTC scale (ds50UTC; day 1.0 is 1950-01-01 00:00) or minutes since the
first point of a record (mse). Positions are in km, velocities in km/s, in the frame of the record; nothing is
converted. A satKey names a stored record until the record is removed. The codes of frames
are VEC_TAB_FRAME_..., and vectable.h says what they mean.

Errors: a call that fails raises VecTabError, with the text that the library logged. Before a call is made, a sequence
or a text of the wrong length raises ValueError, an integer that does not fit 32 bits (64 for a satKey) OverflowError,
and an argument of the wrong type TypeError. What the library logs in a call that succeeds, such as a bad line that a
load passes over, goes to the logger "vectable": errors as warnings, information as information. An entry begins with
the path of the file that the call is about, which is also the attribute `file` of its log record.

Threads: calls run outside the interpreter's lock, so that threads load and evaluate at the same time. A record must not
be changed (VecTabAddSatEphem..., VecTabSetField) while another thread uses it, nor removed in direct-memory mode;
VecTabGetLoaded and VecTabSaveFile use all records.

Ctrl-C during a call raises KeyboardInterrupt when the call is done: a load is over at the end of its file.

The library is the one that the environment variable VECTABLE_LIBRARY names. Without it, it is looked for beside this
package, in the build directory of the checkout around it, in the lib directories of the prefix that it is installed in,
where the system's loader finds it, and in the checkout that pip installed this package from.
"""
from . import _calls, _constants
from ._calls import *  # noqa: F403
from ._catalogue import Catalogue
from ._constants import *  # noqa: F403
from ._log import VEC_HOST_TRACE_ERROR, VEC_HOST_TRACE_INFO, VecHostSetTraceSink, VecHostTraceToFile, set_trace_sink
from ._states import Outcome, States, states
from ._times import days_utc
from ._version import __version__
from .errors import VecTabError

__all__ = [
    *_calls.__all__,
    *_constants.__all__,
    "Catalogue",
    "Outcome",
    "States",
    "VEC_HOST_TRACE_ERROR",
    "VEC_HOST_TRACE_INFO",
    "VecHostSetTraceSink",
    "VecHostTraceToFile",
    "VecTabError",
    "__version__",
    "days_utc",
    "set_trace_sink",
    "states",
]
