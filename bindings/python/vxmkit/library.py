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
from collections.abc import Iterator, Mapping, Sequence
from pathlib import Path
from typing import Any

from .constants import Status, TextSize
from .errors import LibraryNotFoundError, error_of
from .signatures import SIGNATURES

VARIABLE = "VXMKIT_LIBRARY"
# The number is that of the binary interface, which SIGNATURES describes.
FILE_NAMES = {"win32": ("vxmkit.dll",)}.get(sys.platform, ("libvxmkit.so.3", "libvxmkit.so"))


def _places(variable: str, names: Sequence[str]) -> Iterator[str]:
    if variable in os.environ:
        yield os.environ[variable]
        return
    for name in names:
        beside = Path(__file__).with_name(name)
        if beside.exists():
            yield str(beside)
    yield from names


def open_library(title: str, variable: str, names: Sequence[str],
                 signatures: Mapping[str, tuple[Any, Sequence[Any]]]) -> ctypes.CDLL:
    """A library with the results and arguments of its functions set; `variable` is that
    of the environment which names its file. LibraryNotFoundError: there is none."""
    faults = []
    for place in _places(variable, names):
        try:
            library = ctypes.CDLL(place)
            for name, (result, arguments) in signatures.items():
                function = getattr(library, name)
                function.argtypes = arguments
                function.restype = result
        except (OSError, AttributeError) as fault:
            faults.append(f"{place or 'an empty name'} ({fault})")
        else:
            return library
    raise LibraryNotFoundError(
        f"no {title}: tried {', '.join(faults)}; {variable} may name its file")


@functools.cache
def load() -> ctypes.CDLL:
    """The matcher's library. LibraryNotFoundError: there is none."""
    return open_library("VXMKIT library", VARIABLE, FILE_NAMES,
                        {name: (ctypes.c_int, arguments)
                         for name, arguments in SIGNATURES.items()})


def status_text(status: int) -> str:
    """The library's words for a status."""
    text = ctypes.create_string_buffer(TextSize.ERROR_TEXT_SIZE)
    load().VXM_GetErrorString(status, text)
    return text.value.decode("ascii")


def require_ok(status: int, where: str) -> None:
    """Raises the `VxmError` of a status that is not OK."""
    if status != Status.OK:
        raise error_of(status, status_text(status), where)
