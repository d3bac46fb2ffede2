"""Texts and paths as the library takes them."""
from __future__ import annotations

import os
import sys

PATH = (str, bytes, os.PathLike)


def characters(name, text, wanted=PATH, most=sys.maxsize):
    """The bytes of an argument. An integer is no path: to calls of Python it would be a descriptor of the process."""
    if not isinstance(text, wanted):
        raise TypeError(f"{name}: a {'str' if wanted is str else 'path'} is wanted, not {type(text).__name__}")
    encoded = os.fsencode(text)
    if len(encoded) > most:
        raise ValueError(f"{name}: at most {most} characters are wanted, not {len(encoded)}")
    if b"\0" in encoded:
        raise ValueError(f"{name}: holds a NUL")
    return encoded
