"""Holds the package's table of functions and its numbers against the C header."""
import re
from ctypes import POINTER, c_char_p, c_float, c_int, c_ubyte, c_uint, c_void_p
from enum import IntEnum
from pathlib import Path

import pytest

from vxmkit import constants
from vxmkit.signatures import SIGNATURES

HEADER = (Path(__file__).parents[2] / "include/vxmkit.h").read_text(encoding="utf-8")
CODE = re.sub(r"/\*.*?\*/", "", HEADER, flags=re.DOTALL)

TYPES = {
    "MatcherHandle": c_void_p,
    "MatcherHandle*": POINTER(c_void_p),
    "int": c_int,
    "unsigned int": c_uint,
    "int*": POINTER(c_int),
    "const int*": POINTER(c_int),
    "float*": POINTER(c_float),
    "void*": c_void_p,
    "char*": c_char_p,
    "const char*": c_char_p,
    "unsigned char*": POINTER(c_ubyte),
    "const unsigned char*": c_char_p,
    "const unsigned char* const*": POINTER(c_char_p),
    "VXM_ComString*": POINTER(c_void_p),
}


def test_functions() -> None:
    declared = {}
    for name, parameters in re.findall(r"VXM_API int VXM_CALL (\w+)\(([^)]*)\);", CODE):
        each = [" ".join(parameter.split()).rpartition(" ")[0]
                for parameter in parameters.split(",")]
        declared[name] = tuple(TYPES[parameter] for parameter in each)
    assert len(declared) == 19
    assert SIGNATURES == declared


@pytest.mark.parametrize("enum, name, prefix", [
    (constants.TemplateType, "TemplateType", "TEMPLATE_"),
    (constants.Status, "VXM_Status", "VXM_"),
    (constants.Parameter, "VXM_Parameter", "VXM_PARAM_"),
    (constants.TextSize, "VXM_TextSize", "VXM_"),
])
def test_numbers(enum: type[IntEnum], name: str, prefix: str) -> None:
    body = re.search(rf"enum {name} {{(.*?)}}", CODE, re.DOTALL).group(1)
    declared = {key: int(value) for key, value in re.findall(rf"{prefix}(\w+) = (-?\d+)", body)}
    assert declared == {each.name: each.value for each in enum}
