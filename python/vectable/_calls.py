"""The calls of the C library, one declaration each, and the named tuples that they give."""
from __future__ import annotations

import os
from ctypes import addressof, c_char_p, c_int32, c_int64, c_void_p
from typing import NamedTuple, Sequence

from . import _log
from ._binding import COUNT, KEY, NOTHING, STATUS, call, numpy
from ._binding import CovMtx, CovTerms, EphemName, EpochText, ExtArr, FieldText, InfoText, Int32, ListLine, Path, Real
from ._binding import SatKey, SatName, StoredPath, Vector
from ._library import function


class StateDs50UTC(NamedTuple):
    """A state at ds50UTC, days since 1950 UTC: pos (3) km, vel (3) km/s, revolution number."""

    ds50UTC: Real
    pos: Vector
    vel: Vector
    revNum: Int32


class StateDs50UTCCovMtx(NamedTuple):
    """A state at ds50UTC, days since 1950 UTC: pos (3) km, vel (3) km/s, revolution number, covMtx (6 x 6)."""

    ds50UTC: Real
    pos: Vector
    vel: Vector
    revNum: Int32
    covMtx: CovMtx


class StateMse(NamedTuple):
    """A state at mse, minutes since the first point: pos (3) km, vel (3) km/s, revolution number."""

    mse: Real
    pos: Vector
    vel: Vector
    revNum: Int32


class StateMseCovMtx(NamedTuple):
    """A state at mse, minutes since the first point: pos (3) km, vel (3) km/s, revolution number, covMtx (6 x 6)."""

    mse: Real
    pos: Vector
    vel: Vector
    revNum: Int32
    covMtx: CovMtx


class AllFields(NamedTuple):
    """The fields of a record; units as VecTabGetAllFields tells."""

    satNum: Int32
    satName: SatName
    ephemName: EphemName
    epochDs50UTC: Real
    ae: Real
    ke: Real
    pos: Vector
    vel: Vector
    coordSys: Int32
    numOfPts: Int32
    filePath: StoredPath


class StartEndTime(NamedTuple):
    """The first and the last time of a record, days since 1950, UTC."""

    startDs50UTC: Real
    endDs50UTC: Real


# ---------------------------------------------------- Library ----------------------------------------------------


@call(STATUS)
def VecTabInit() -> None:
    """Does nothing: the library is ready when it is loaded."""


@call(NOTHING)
def VecTabGetInfo() -> InfoText:
    """Name, version and build of the library."""


@call(KEY, unlogged="the text is no date")
def VecTabFieldsToSatKey(satNum: Int32, epochText: EpochText) -> int:
    """The key that a record of this satellite and epoch has in tree mode. The store is not asked.

    epochText  at most 20 characters, UTC: "YYDDDHHMMSS.SSS", "YYYYDDDHHMMSS.SSS" or "YYDDD.DDDDDDDD"; years 57 to 99
               are 1957 to 1999, 00 to 56 are 2000 to 2056

    Raises VecTabError when the text is no date.
    """


# --------------------------------------------------- Catalogue ---------------------------------------------------


@call(COUNT)
def VecTabGetCount() -> int:
    """The number of stored records."""


_count = function("VecTabGetCount", c_int32)
_list = function("VecHostGetLoaded", c_int32, c_int32, c_void_p, c_int32)
_to_order = Int32.__metadata__[0].converter("order")


def VecTabGetLoaded(order: int = 0) -> Sequence[int]:
    """The keys of all stored records.

    order  0 by satellite number, frame and epoch; 1 the reverse of 0; 2 by entry into the store; any other value by key

    Raises VecTabError when there is no memory.
    """
    order, count = _to_order(order), _count()
    while True:  # until there is room: other threads may add records meanwhile
        room = count
        keys = (c_int64 * room)()
        count = _list(order, keys, room)
        if count < 0:
            _log.settle("VecTabGetLoaded", count, True)
        if count <= room:
            return _key_list(keys[:count])


def _key_list(keys):
    return tuple(keys) if numpy is None else numpy.array(keys, numpy.int64)


@call(STATUS)
def VecTabRemoveSat(satKey: SatKey) -> None:
    """Removes a record. Its key is no longer good. Raises VecTabError when the key is unknown."""


@call(STATUS)
def VecTabRemoveAllSats() -> None:
    """Removes all records."""


@call(KEY)
def VecTabGetSatKey(satNum: Int32) -> int:
    """The key of one of a satellite's records, the same one until the store changes.

    Raises VecTabError when the satellite has no record.
    """


# ---------------------------------------------------- Creation ---------------------------------------------------


@call(KEY, unlogged="the epoch is out of range")
def VecTabAddSat(satNum: Int32, epochDs50UTC: Real, ae: Real, ke: Real, typeCode: Int32) -> int:
    """Stores a record without points; its key.

    satNum        satellite number
    epochDs50UTC  days since 1950, UTC; the key is made from it, and the first point replaces it
    ae            Earth radius, km; carried and reported only
    ke            gravity constant, (Earth radii)^1.5 a minute; carried and reported only
    typeCode      its last decimal digit is the code of the frame

    Raises VecTabError on failure, and for a duplicate unless VecHostSetDupKeyMode settles that it gives the key.
    """


@call(STATUS)
def VecTabAddSatEphem(satKey: SatKey, ds50UTC: Real, pos: Vector, vel: Vector, revNum: Int32) -> None:
    """Appends a state to a record. States come in order of time; one that is not later than the last is dropped.

    ds50UTC  days since 1950, UTC
    pos      3 numbers, km, in the record's frame
    vel      3 numbers, km/s, same frame
    revNum   revolution number

    From the fourth state on the record can be interpolated. Raises VecTabError when the key is unknown or there is no
    memory.
    """


@call(STATUS)
def VecTabAddSatEphemCovMtx(
    satKey: SatKey, ds50UTC: Real, pos: Vector, vel: Vector, revNum: Int32, covTerms: CovTerms
) -> None:
    """Appends a state with its covariance to a record. As VecTabAddSatEphem, and

    covTerms  21 numbers, lower triangle of the covariance, row by row: (1,1), (2,1), (2,2), (3,1), ... (6,6); kept in
              its own units
    """


@call(STATUS)
def VecTabAddSatEphemExt(
    satKey: SatKey, ds50UTC: Real, pos: Vector, vel: Vector, revNum: Int32, covTerms: CovTerms
) -> None:
    """The same as VecTabAddSatEphemCovMtx, under another name."""


# ----------------------------------------------------- Fields ----------------------------------------------------


@call(STATUS)
def VecTabGetAllFields(satKey: SatKey) -> AllFields:
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


@call(STATUS)
def VecTabGetField(satKey: SatKey, fieldCode: Int32) -> FieldText:
    """One field of a record as text.

    fieldCode   1 satellite number   2 epoch, "YYDDDHHMMSS.SSS"   3 ae, km   4 ke, (Earth radii)^1.5 a minute
                5 to 7 position x, y, z, km, and 8 to 10 velocity x, y, z, km/s, of the first point
               11 code of the frame   12 number of points   13 path of the file   14 satellite name
               15 name of the ephemeris   any other code: an empty text

    A number too wide for its columns comes out as asterisks. Raises VecTabError when the key is unknown or the record
    has no points.
    """


@call(STATUS)
def VecTabSetField(satKey: SatKey, fieldCode: Int32, fieldText: FieldText) -> None:
    """Changes a field of a record; its key stays.

    fieldCode  11 code of the frame, only the first character of the text; 14 satellite name, 8 characters; 15 name of
               the ephemeris, 128 characters; any other code changes nothing
    fieldText  at most 512 characters, leading blanks ignored; what is longer than the field is cut

    Raises VecTabError when the key is unknown.
    """


@call(STATUS)
def VecTabStartEndTime(satKey: SatKey) -> StartEndTime:
    """The first and the last time of a record, days since 1950, UTC.

    Raises VecTabError when the key is unknown or the record has no points.
    """


# --------------------------------------------------- Retrieval ---------------------------------------------------


@call(STATUS)
def VecTabGetEphemeris(satKey: SatKey, index: Int32) -> StateDs50UTC:
    """A stored point.

    index  number of the point, 1 to the number of points

    Gives its time in days since 1950 UTC, pos (3) in km and vel (3) in km/s in the record's frame, and the revolution
    number. Raises VecTabError when the key is unknown, the record has no points, or there is no such point.
    """


@call(STATUS)
def VecTabGetCovMtx(satKey: SatKey, index: Int32) -> StateDs50UTCCovMtx:
    """A stored point with its covariance. As VecTabGetEphemeris, and

    covMtx  6 x 6, symmetric, in the units of its source; zeros without covariance
    """


@call(STATUS)
def VecTabMse(satKey: SatKey, mse: Real) -> StateDs50UTC:
    """The state at a time since the first point.

    mse  minutes since the first point; those of the last point can fail, as mse / 1440 + start may round to after it

    A stored time gives the stored point. Between points, position and velocity come from the polynomial of degree 7
    that takes on position and velocity of the four points round the time.

    Gives the time asked for in days since 1950 UTC, pos (3) in km and vel (3) in km/s in the record's frame, and the
    revolution number, 0 to 99999 between points. Raises VecTabError when the key is unknown, the record has no points,
    the time lies outside the table, the record has fewer than four points and none at the time, or the four points lie
    more than VEC_TAB_GAP_MINUTES apart on the average.
    """


@call(STATUS)
def VecTabMseCovMtx(satKey: SatKey, mse: Real) -> StateDs50UTCCovMtx:
    """The state and covariance at a time since the first point. As VecTabMse, and

    covMtx  6 x 6, symmetric, in the units of its source; zeros without covariance; between points each term comes from
            the cubic through the four points round the time
    """


@call(STATUS)
def VecTabDs50UTC(satKey: SatKey, ds50UTC: Real) -> StateMse:
    """The state at a time.

    ds50UTC  days since 1950, UTC

    Gives the minutes since the first point, pos (3) in km and vel (3) in km/s in the record's frame, and the revolution
    number, 0 to 99999 between points. Interpolates, and raises VecTabError, as VecTabMse does.
    """


@call(STATUS)
def VecTabDs50UTCCovMtx(satKey: SatKey, ds50UTC: Real) -> StateMseCovMtx:
    """The state and covariance at a time. As VecTabDs50UTC, and

    covMtx  6 x 6, symmetric, in the units of its source; zeros without covariance; between points each term comes from
            the cubic through the four points round the time
    """


@call(STATUS)
def VecTabXten(satKey: SatKey, ephType: Int32, value: Real) -> ExtArr:
    """A state with everything in one array.

    ephType  what `value` is: 1 minutes since the first point, 2 days since 1950 UTC, 3 the number of a point, a
             fraction cut off
    value    the request

    Gives extArr, 128 numbers, counted from 0: 0 minutes since the first point, 1 days since 1950 UTC, 2-4 position in
    km, 5-7 velocity in km/s, 8 revolution number, 9-29 the 21 covariance terms, 30-127 zeros. Raises VecTabError as
    VecTabMse and VecTabGetEphemeris do, and when ephType is not 1, 2 or 3.
    """


# -------------------------------------------------- Persistence --------------------------------------------------


@call(STATUS, reports=True)
def VecTabLoadFile(vecTabFile: Path) -> None:
    """Loads an ephemeris file, or the files that a list file names, into the store. The format is found out.

    vecTabFile  path of at most 512 characters, leading and trailing blanks ignored

    Raises VecTabError when an ephemeris could not be read, status 2, or the file cannot be opened, status the error
    number of the system; the records finished before stay. A list file raises nothing for the files that it names, nor
    does a file in which no format is found, nor a duplicate: see the logger.
    """


@call(KEY, reports=True, unlogged="the file cannot be opened, or holds no ephemeris")
def VecTabAddSatFrFile(filePath: Path) -> int:
    """Loads an ephemeris file; the key of the last record that it gave. List lines are not followed.

    filePath  path of at most 512 characters, leading and trailing blanks ignored

    Raises VecTabError when the file cannot be opened, fails, or holds no ephemeris, and for a duplicate unless
    VecHostSetDupKeyMode settles that it gives the key; the records finished before stay.
    """


@call(STATUS, reports=True)
def VecTabSaveFile(vecTabFile: Path, saveMode: Int32 = 0) -> None:
    """Writes a list file that names, for every stored record, the file that it came from and its name. No states.

    vecTabFile  path of at most 512 characters, leading and trailing blanks ignored
    saveMode    0 replaces the file, any other value appends to it

    VecTabLoadFile reads it back, but for records that came from no file. Raises VecTabError when a write failed, status
    2, the file cannot be opened, status the error number of the system, or another save is under way, EBUSY.
    """


@call(STATUS)
def VecTabGetLine(satKey: SatKey) -> ListLine:
    """The line of a list file that names the file of a record: "EPHFIL = " and the first 503 characters of the path.

    Raises VecTabError when the key is unknown.
    """


# ------------------------------------------------------ Host -----------------------------------------------------


@call(NOTHING)
def VecHostSetUseAllKeyMode(onOff: Int32) -> None:
    """Which of two settings is the key mode: 0 that of VecHostSetElsetKeyMode, else that of VecHostSetAllKeyMode."""


@call(NOTHING)
def VecHostSetAllKeyMode(mode: Int32) -> None:
    """The key mode of records stored from now on: 1 direct-memory mode, any other value tree mode.

    Tree mode: the key is made from satellite number and epoch; storing the same ephemeris twice is a duplicate.
    Direct-memory mode: the key leads to the record without a search, and every store makes a new one; a record must not
    be removed while another thread uses it.
    """


@call(NOTHING)
def VecHostSetElsetKeyMode(mode: Int32) -> None:
    """As VecHostSetAllKeyMode; VecHostSetUseAllKeyMode tells which of the two counts."""


@call(NOTHING)
def VecHostSetDupKeyMode(mode: Int32) -> None:
    """What storing a duplicate in tree mode does: 0 raises VecTabError, any other value gives the key."""


# ------------------------------------------- Orbit ephemeris messages --------------------------------------------

# Bytes: the keywords that a segment must have, and a state.
_SHORTEST_SEGMENT = 128
_load_oem = function("VecOemLoadFile", c_int32, c_char_p, c_int32, c_void_p, c_int32, c_void_p)
_to_path = Path.__metadata__[0].converter("filePath")
_to_number = Int32.__metadata__[0].converter("satNum")


def VecOemLoadFile(filePath: Path, satNum: int = 0) -> Sequence[int]:
    """Loads every segment of a CCSDS orbit ephemeris message into a record of its own; their keys, in its order.

    filePath  path of at most 512 characters
    satNum    satellite number of the records; 0 stands for 99999

    Raises VecTabError when the file is no such message, has a line that is not of its form, or a segment that is stored
    already, status 2, or cannot be opened, status the error number of the system; then none of its records is stored.
    """
    path, number = _to_path(filePath), _to_number(satNum)
    room = os.path.getsize(path) // _SHORTEST_SEGMENT + 1 if os.path.exists(path) else 0
    keys, count = (c_int64 * room)(), c_int32()
    with _log.settled:
        status = _load_oem(path, number, keys, room, addressof(count))
        _log.settle("VecOemLoadFile", status, status != 0, os.strerror(status), filePath)
    return _key_list(keys[: count.value])


_PUBLIC = "VecTab", "VecHost", "VecOem", "State", "StartEnd", "AllFields"
__all__ = [name for name in globals() if name.startswith(_PUBLIC)]
