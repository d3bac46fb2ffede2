"""Finds and loads the shared library."""
from __future__ import annotations

import ctypes
import importlib.metadata
import json
import os
import pathlib
import re
import urllib.parse
import urllib.request

from ._version import __version__

_NAME = f"libvectable.so.{__version__.split('.')[0]}"
_BUILD = pathlib.Path("build/release/lib") / _NAME


def _checkout_of_installation():
    """The checkout from which pip installed this package, in a list; empty when it came from elsewhere."""
    try:
        origin = json.loads(importlib.metadata.distribution("vectable").read_text("direct_url.json") or "{}")
    except (importlib.metadata.PackageNotFoundError, ValueError):
        return []
    url = urllib.parse.urlsplit(origin.get("url", ""))
    return [pathlib.Path(urllib.request.url2pathname(url.path)).parent] if url.scheme == "file" else []


def _candidates():
    explicit = os.environ.get("VECTABLE_LIBRARY")
    if explicit:
        return [explicit]
    package = pathlib.Path(__file__).resolve().parent
    paths = [package / _NAME, package.parent / _NAME, package.parents[1] / _BUILD]
    # <prefix>/share/<directory>/vectable, and <prefix>/lib/python3/dist-packages/vectable
    for prefix in list(package.parents)[2:4]:
        paths += sorted([*prefix.glob(f"lib*/{_NAME}"), *prefix.glob(f"lib/*/{_NAME}")])
    return [*map(str, paths), _NAME, *(str(checkout / _BUILD) for checkout in _checkout_of_installation())]


def _fault(library):
    """Why a library does not serve this package, or None: it has to have the same major version, and to be no older."""
    info = ctypes.create_string_buffer(129)
    try:
        library.VecTabGetInfo(info)
    except AttributeError:
        return "no VecTabGetInfo in it"
    version = re.match(rb"VecTable (\d+)\.(\d+)\.(\d+)", info.raw)
    wanted = [int(number) for number in __version__.split(".")]
    found = [int(number) for number in version.groups()] if version else []
    if found[:1] == wanted[:1] and found >= wanted:
        return None
    return f"version {'.'.join(map(str, found)) or 'unknown'}"


def _load():
    failures = []
    for path in _candidates():
        try:
            library = ctypes.CDLL(path)
        except OSError as error:
            failures.append(f"\n  {error}")
            continue
        fault = _fault(library)
        if fault is None:
            return library
        failures.append(f"\n  {path}: {fault}")
    raise ImportError(
        f"vectable {__version__} wants the library {_NAME} of version {__version__} or a later one; build it in the"
        " checkout, install it, or set VECTABLE_LIBRARY to its path. Tried" + "".join(failures)
    )


library = _load()


def function(name, result, *arguments):
    """A function of the library, with the types of its result and arguments."""
    try:
        found = getattr(library, name)
    except AttributeError:
        raise ImportError(f"{library._name} has no {name}") from None
    found.restype, found.argtypes = result, arguments
    return found
