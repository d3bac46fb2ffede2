"""Makes a function of the library a function of Python, from one declaration: a def with its kinds and its docstring.

    @call(STATUS)
    def VecTabGetLine(satKey: SatKey) -> ListLine:
        \"\"\"...\"\"\"

The annotations of the arguments tell what the library is given; that of the result, one kind or the fields of a named
tuple, what it returns through pointers, in its order.
"""
from __future__ import annotations

import ctypes
import functools
import inspect
import operator
import os
import typing
from ctypes import c_char_p, c_double, c_int32, c_int64, c_void_p
from typing import Annotated, Sequence, Union

from . import _constants, _log
from ._library import library
from ._text import PATH, characters

try:
    import numpy
except ImportError:
    numpy = None


def refuse_masked(name, values):
    """Raises ValueError for an array of NumPy with elements that are masked: C would read what is below the mask."""
    if numpy is not None and isinstance(values, numpy.ma.MaskedArray) and numpy.ma.is_masked(values):
        raise ValueError(f"{name}: an array without masked elements is wanted; filled() or compressed() gives one")


# ----------------------- Kinds of arguments and results: type of C, from Python to it and back ------------------------


class _Integer:
    read = operator.attrgetter("value")

    def __init__(self, ctype):
        self.ctype = self.given = ctype

    def converter(self, name):
        bits = 8 * ctypes.sizeof(self.ctype)
        low, high, index = -(2 ** (bits - 1)), 2 ** (bits - 1), operator.index

        def convert(value):
            number = index(value)
            if low <= number < high:
                return number
            raise OverflowError(f"{name}: {number} does not fit {bits} bits")

        return convert


class _Real:
    ctype = given = c_double
    read = operator.attrgetter("value")

    def converter(self, name):
        return c_double


class _Reals:
    given = c_void_p

    def __init__(self, count):
        self.count, self.ctype = count, c_double * count

    def converter(self, name):
        def convert(values):
            refuse_masked(name, values)
            if len(values) != self.count:
                raise ValueError(f"{name}: {self.count} numbers are wanted, not {len(values)}")
            return self.ctype(*values)

        return convert

    def read(self, values):
        return tuple(values) if numpy is None else numpy.frombuffer(values)


class _Matrix(_Reals):
    def read(self, values):
        if numpy is not None:
            return numpy.frombuffer(values).reshape(6, 6)
        return tuple(tuple(values[row : row + 6]) for row in range(0, 36, 6))


class _Text:
    given = c_char_p

    def __init__(self, size, wanted=str):
        self.size, self.wanted, self.ctype = size, wanted, ctypes.c_char * size

    def converter(self, name):
        return lambda text: characters(name, text, self.wanted, self.size)

    def read(self, text):
        return os.fsdecode(text.raw.rstrip(b" "))


SatKey = Annotated[int, _Integer(c_int64)]
Int32 = Annotated[int, _Integer(c_int32)]
Real = Annotated[float, _Real()]
Vector = Annotated[Sequence[float], _Reals(3)]
CovTerms = Annotated[Sequence[float], _Reals(_constants.VEC_TAB_COV_TERMS)]
ExtArr = Annotated[Sequence[float], _Reals(_constants.VEC_TAB_EXT_LENGTH)]
CovMtx = Annotated[Sequence[Sequence[float]], _Matrix(_constants.VEC_TAB_COV_ELEMENTS)]
InfoText = Annotated[str, _Text(_constants.VEC_TAB_INFO_LENGTH)]
EpochText = Annotated[str, _Text(_constants.VEC_TAB_EPOCH_LENGTH)]
SatName = Annotated[str, _Text(_constants.VEC_TAB_SAT_NAME_LENGTH)]
EphemName = Annotated[str, _Text(_constants.VEC_TAB_EPHEM_NAME_LENGTH)]
FieldText = Annotated[str, _Text(_constants.VEC_TAB_FIELD_LENGTH)]
ListLine = Annotated[str, _Text(_constants.VEC_TAB_LINE_LENGTH)]
StoredPath = Annotated[str, _Text(_constants.VEC_TAB_PATH_LENGTH)]
Path = Annotated[Union[str, os.PathLike], _Text(_constants.VEC_TAB_PATH_LENGTH, PATH)]


# -------------------------------------------------- The declarations --------------------------------------------------


class _Result(typing.NamedTuple):
    """What a function of C gives itself: its type, and whether that is a failure."""

    ctype: typing.Any
    failed: typing.Callable[[typing.Any], bool]


STATUS = _Result(c_int32, bool)
KEY = _Result(c_int64, lambda key: key in (-1, 0))
COUNT = _Result(c_int32, lambda count: False)
NOTHING = _Result(None, lambda nothing: False)


def _kinds(returned):
    """The kinds of what comes back through pointers, and what makes the result of a list of them."""
    if hasattr(returned, "_fields"):
        hints = typing.get_type_hints(returned, include_extras=True)
        return [hints[field].__metadata__[0] for field in returned._fields], returned._make
    if typing.get_origin(returned) is Annotated:
        return [returned.__metadata__[0]], operator.itemgetter(0)
    return [], None


_GIVEN, _RETURNED = (1,), (2,)  # to ctypes, which makes room for what is returned


def call(result, reports=False, unlogged=None):
    """Makes a declaration the call of its name.

    result    what the function of C gives: STATUS, KEY, COUNT or NOTHING
    reports   whether it may log something when it succeeds
    unlogged  the text of a failure that the library does not log; for a status of a call on files, the system's text
    """

    def declare(declaration):
        name, signature = declaration.__name__, inspect.signature(declaration)
        hints = typing.get_type_hints(declaration, include_extras=True)
        outputs, make = _kinds(hints.pop("return"))
        given = {parameter: kind.__metadata__[0] for parameter, kind in hints.items()}
        types = [kind.given for kind in given.values()] + [ctypes.POINTER(kind.ctype) for kind in outputs]
        flags = (_GIVEN,) * len(given) + (_RETURNED,) * len(outputs)
        library_function = ctypes.CFUNCTYPE(result.ctype, *types)((name, library), flags)
        library_function.errcheck = lambda status, _, arguments: (status, arguments[len(given) :])
        converters = [kind.converter(parameter) for parameter, kind in given.items()]
        failed, reads = result.failed, [kind.read for kind in outputs]
        path = next((i for i, kind in enumerate(given.values()) if kind is Path.__metadata__[0]), None)

        @functools.wraps(declaration)
        def wrapper(*arguments, **named):
            if named or len(arguments) != len(converters):
                bound = signature.bind(*arguments, **named)
                bound.apply_defaults()
                arguments = bound.args
            values = [convert(value) for convert, value in zip(converters, arguments)]
            try:
                status, returned = library_function(*values)
                if reports or failed(status):
                    file = None if path is None else arguments[path]
                    reason = os.strerror(status) if path is not None and result is STATUS else unlogged
                    _log.settle(name, status, failed(status), reason, file)
            except BaseException:
                _log.forget()
                raise
            if make:
                return make([read(value) for read, value in zip(reads, returned)])
            return None if result is STATUS else status

        return wrapper

    return declare
