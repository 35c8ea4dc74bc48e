"""The 19 functions of the C interface. All return an int, a status."""
from __future__ import annotations

from ctypes import POINTER, c_char_p, c_float, c_int, c_ubyte, c_uint, c_void_p
from typing import Any

Handle = c_void_p
Template = c_char_p  # const unsigned char*: bytes are handed over as they are
Templates = POINTER(c_char_p)  # const unsigned char* const*
Ints = POINTER(c_int)
Text = c_char_p

_ONE_TO_MANY = (Handle, Template, c_int, Templates, Ints, c_int, c_uint, Ints)

SIGNATURES: dict[str, tuple[Any, ...]] = {
    "VXM_Create": (POINTER(Handle),),
    "VXM_CreateEx": (POINTER(Handle), Text),
    "VXM_Delete": (Handle,),
    "VXM_GetParameter": (Handle, c_int, c_void_p),
    "VXM_SetParameter": (Handle, c_int, Ints),
    "VXM_GetTemplateType": (Handle, Ints),
    "VXM_SetTemplateType": (Handle, c_int),
    "VXM_VerifyEx": (Handle, Template, c_int, Template, c_int, POINTER(c_float), Ints),
    "VXM_Verify": (Handle, Template, c_int, Template, c_int, Ints),
    "VXM_RotateTemplate": (Handle, POINTER(c_ubyte), c_int),
    "VXM_Identify": _ONE_TO_MANY,
    "VXM_Identify_J": _ONE_TO_MANY,
    "VXM_IdentifyMT": _ONE_TO_MANY,
    "VXM_IdentifyMT_J": _ONE_TO_MANY,
    "VXM_AbortIdentify": (Handle,),
    "VXM_IdentifyInit": (Handle, Template, c_int),
    "VXM_IdentifyNext": (Handle, Template, c_int, Ints),
    "VXM_GetErrorString": (c_int, Text),
    "VXM_GetErrorString_B": (c_int, POINTER(c_void_p)),
}
