"""The library vxmrecords as ctypes sees it: its structures and functions.

It is looked for as the matcher's library is: the file that the environment variable
VXMRECORDS_LIBRARY names, beside this module, by name.
"""
from __future__ import annotations

import ctypes
import functools
import sys
from ctypes import (POINTER, Structure, c_char, c_char_p, c_int, c_int32, c_size_t, c_uint8,
                    c_uint16, c_uint32)
from typing import Any

from .library import open_library

VARIABLE = "VXMRECORDS_LIBRARY"
FILE_NAMES = {"win32": ("vxmrecords.dll",)}.get(
    sys.platform, ("libvxmrecords.so.1", "libvxmrecords.so"))


class Minutia(Structure):
    _fields_ = [("x", c_uint16), ("y", c_uint16), ("angle", c_uint16), ("type", c_uint8),
                ("quality", c_uint8)]


class Quality(Structure):
    _fields_ = [("vendor", c_uint16), ("algorithm", c_uint16), ("value", c_uint8)]


class Certification(Structure):
    _fields_ = [("authority", c_uint16), ("scheme", c_uint8)]


class View(Structure):
    _fields_ = [
        ("width", c_uint16), ("height", c_uint16), ("x_resolution", c_uint16),
        ("y_resolution", c_uint16), ("capture_vendor", c_uint16), ("capture_device", c_uint16),
        ("capture_technology", c_uint8), ("capture_time", c_uint8 * 9),
        ("finger_position", c_uint8), ("number", c_uint8), ("impression_type", c_uint8),
        ("minutia_size", c_uint8), ("ridge_ending_type", c_uint8), ("quality_count", c_uint32),
        ("certification_count", c_uint32), ("minutia_count", c_uint32),
        ("extended_size", c_uint32), ("qualities", POINTER(Quality)),
        ("certifications", POINTER(Certification)), ("minutiae", POINTER(Minutia)),
        ("extended", POINTER(c_uint8))]


class Record(Structure):
    _fields_ = [("form", c_int32), ("vendor", c_uint16), ("subformat", c_uint16),
                ("device", c_uint16), ("certification", c_uint8), ("reserved", c_uint8),
                ("view_count", c_uint32), ("views", POINTER(View))]


class Fault(Structure):
    _fields_ = [("offset", c_size_t), ("view", c_int32), ("minutia", c_int32),
                ("text", c_char * 152)]


class Image(Structure):
    _fields_ = [("width", c_uint16), ("height", c_uint16), ("resolution", c_uint16)]


class Conversion(Structure):
    _fields_ = [(name, c_int32) for name in (
        "form", "resolution", "width", "height", "view", "max_minutiae", "order", "descending",
        "keep_extended")]


class Losses(Structure):
    _fields_ = [(name, c_uint32) for name in (
        "minutiae_outside", "minutiae_pruned", "positions_rounded", "angles_rounded",
        "types_dropped", "qualities_dropped", "extended_dropped", "views_dropped",
        "fields_dropped")]


_BYTES = (c_char_p, c_size_t, c_int, POINTER(Image))
SIGNATURES: dict[str, tuple[Any, tuple[Any, ...]]] = {
    "VXR_TellForm": (c_int, (c_char_p, c_size_t)),
    "VXR_FormName": (c_char_p, (c_int,)),
    "VXR_FormOfName": (c_int, (c_char_p,)),
    "VXR_Check": (c_int, (*_BYTES, POINTER(Fault), c_int)),
    "VXR_Read": (c_int, (*_BYTES, POINTER(POINTER(Record)), POINTER(Fault))),
    "VXR_Convert": (c_int, (POINTER(Record), POINTER(Conversion), POINTER(POINTER(Record)),
                            POINTER(Losses), POINTER(Fault))),
    "VXR_Write": (c_int, (POINTER(Record), c_char_p, c_size_t, POINTER(c_size_t),
                          POINTER(Fault))),
    "VXR_Free": (None, (POINTER(Record),)),
}


@functools.cache
def load() -> ctypes.CDLL:
    """The library vxmrecords. LibraryNotFoundError: there is none."""
    return open_library("library vxmrecords", VARIABLE, FILE_NAMES, SIGNATURES)
