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
from ._library import function
from ._text import PATH, characters

try:
    import numpy
except ImportError:
    numpy = None


def refuse_masked(name, values):
    """Raises ValueError for an array of NumPy with elements that are masked: C would read what is below the mask."""
    if numpy is not None and isinstance(values, numpy.ma.MaskedArray) and numpy.ma.is_masked(values):
        raise ValueError(f"{name}: an array without masked elements is wanted; filled() or compressed() gives one")


# ------------------------------ Kinds of arguments and results: to C, size in bytes, back -----------------------------


class _Integer:
    def __init__(self, ctype):
        self.ctype, self.size = ctype, ctypes.sizeof(ctype)

    def converter(self, name):
        bits = 8 * self.size
        low, high, index = -(2 ** (bits - 1)), 2 ** (bits - 1), operator.index

        def convert(value):
            number = index(value)
            if low <= number < high:
                return number
            raise OverflowError(f"{name}: {number} does not fit {bits} bits")

        return convert

    def read(self, block, offset):
        return self.ctype.from_buffer(block, offset).value


class _Real:
    ctype, size = c_double, 8

    def converter(self, name):
        return c_double

    def read(self, block, offset):
        return block[offset // 8]


class _Reals:
    ctype = c_void_p

    def __init__(self, count):
        self.count, self.size = count, 8 * count

    def converter(self, name):
        def convert(values):
            refuse_masked(name, values)
            if len(values) != self.count:
                raise ValueError(f"{name}: {self.count} numbers are wanted, not {len(values)}")
            return (c_double * self.count)(*values)

        return convert

    def read(self, block, offset):
        if numpy is None:
            return tuple(block[offset // 8 : offset // 8 + self.count])
        return numpy.frombuffer(block, float, self.count, offset)


class _Matrix(_Reals):
    def read(self, block, offset):
        values = super().read(block, offset)
        return values.reshape(6, 6) if numpy else tuple(values[row : row + 6] for row in range(0, 36, 6))


class _Text:
    ctype = c_char_p

    def __init__(self, size, wanted=str):
        self.size, self.wanted = size, wanted

    def converter(self, name):
        return lambda text: characters(name, text, self.wanted, self.size)

    def read(self, block, offset):
        return os.fsdecode(ctypes.string_at(ctypes.addressof(block) + offset, self.size).rstrip(b" "))


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
    """What a function of C gives itself: its type, and the expression that tells a failure."""

    ctype: typing.Any
    failed: str


STATUS = _Result(c_int32, "result != 0")
KEY = _Result(c_int64, "result == -1 or result == 0")
COUNT = _Result(c_int32, "False")
NOTHING = _Result(None, "False")


def _kinds(returned):
    """The kinds of what comes back through pointers, and what makes the result of them."""
    if hasattr(returned, "_fields"):
        hints = typing.get_type_hints(returned, include_extras=True)
        return [hints[field].__metadata__[0] for field in returned._fields], returned
    if typing.get_origin(returned) is Annotated:
        return [returned.__metadata__[0]], lambda value: value
    return [], None


# A wrapper is written out as source and compiled: loops over arguments and outputs would cost a call a microsecond.
_WRAPPER = """def {name}({parameters}):
    block = Block()
    base = addressof(block)
    try:
        result = function({arguments})
        if {settles}:
            settle({name!r}, result, {failed}, {reason}, {file})
    except BaseException:
        forget()
        raise
    return {made}
"""


def call(result, reports=False, unlogged=None):
    """Makes a declaration the call of its name.

    result    what the function of C gives: STATUS, KEY, COUNT or NOTHING
    reports   whether it may log something when it succeeds
    unlogged  the text of a failure that the library does not log; for a status of a call on files, the system's text
    """

    def declare(declaration):
        name = declaration.__name__
        hints = typing.get_type_hints(declaration, include_extras=True)
        outputs, make = _kinds(hints.pop("return"))
        given = {parameter: kind.__metadata__[0] for parameter, kind in hints.items()}
        types = [kind.ctype for kind in given.values()] + [c_void_p] * len(outputs)
        offsets = [sum(-(-kind.size // 8) * 8 for kind in outputs[:i]) for i in range(len(outputs) + 1)]
        arguments = [f"to_{parameter}({parameter})" for parameter in given] + [f"base + {at}" for at in offsets[:-1]]
        reads = ", ".join(f"read_{i}(block, {at})" for i, at in enumerate(offsets[:-1]))
        file = next((parameter for parameter, kind in given.items() if kind is Path.__metadata__[0]), None)
        names = {
            **{f"to_{parameter}": kind.converter(parameter) for parameter, kind in given.items()},
            **{f"read_{i}": kind.read for i, kind in enumerate(outputs)},
            "function": function(name, result.ctype, *types),
            "Block": c_double * (offsets[-1] // 8),
            "addressof": ctypes.addressof,
            "make": make,
            "settle": _log.settle,
            "forget": _log.forget,
            "strerror": os.strerror,
        }
        source = _WRAPPER.format(
            name=name,
            parameters=", ".join(
                p.name if p.default is p.empty else f"{p.name}={p.default!r}"
                for p in inspect.signature(declaration).parameters.values()
            ),
            arguments=", ".join(arguments),
            settles=reports or result.failed,
            failed=result.failed,
            reason="strerror(result)" if file and result is STATUS else repr(unlogged),
            file=file,
            made=f"make({reads})" if make else "None" if result is STATUS else "result",
        )
        exec(compile(source, f"<{name}>", "exec"), names)
        return functools.wraps(declaration)(names[name])

    return declare
