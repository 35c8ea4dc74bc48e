"""Finds and loads the library, once in a process.

In this order: the file that the environment variable VXMKIT_LIBRARY names, and if
it is set then no other; the library beside this module, where a wheel has it; the
library that the system finds by name.
"""
from __future__ import annotations

import ctypes
import functools
import os
import sys
from collections.abc import Iterator
from pathlib import Path

from .constants import Status, TextSize
from .errors import LibraryNotFoundError, error_of
from .signatures import SIGNATURES

VARIABLE = "VXMKIT_LIBRARY"
# The number is that of the binary interface, which SIGNATURES describes.
FILE_NAMES = {"win32": ("vxmkit.dll",)}.get(sys.platform, ("libvxmkit.so.3", "libvxmkit.so"))


def _places() -> Iterator[str]:
    if VARIABLE in os.environ:
        yield os.environ[VARIABLE]
        return
    for name in FILE_NAMES:
        beside = Path(__file__).with_name(name)
        if beside.exists():
            yield str(beside)
    yield from FILE_NAMES


@functools.cache
def load() -> ctypes.CDLL:
    """The library with the types of its functions set. LibraryNotFoundError: there
    is none."""
    faults = []
    for place in _places():
        try:
            library = ctypes.CDLL(place)
            for name, arguments in SIGNATURES.items():
                function = getattr(library, name)
                function.argtypes = arguments
                function.restype = ctypes.c_int
        except (OSError, AttributeError) as fault:
            faults.append(f"{place or 'an empty name'} ({fault})")
        else:
            return library
    raise LibraryNotFoundError(
        f"no VXMKIT library: tried {', '.join(faults)}; {VARIABLE} may name its file")


def status_text(status: int) -> str:
    """The library's words for a status."""
    text = ctypes.create_string_buffer(TextSize.ERROR_TEXT_SIZE)
    load().VXM_GetErrorString(status, text)
    return text.value.decode("ascii")


def require_ok(status: int, where: str) -> None:
    """Raises the `VxmError` of a status that is not OK."""
    if status != Status.OK:
        raise error_of(status, status_text(status), where)
