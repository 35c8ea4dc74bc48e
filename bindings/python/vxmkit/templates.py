"""What is taken for a template, and for many of them."""
from __future__ import annotations

from collections.abc import Iterable
from typing import Union

from .constants import Status
from .errors import TemplateTypeError

Template = Union[bytes, bytearray, memoryview]
"""Bytes-like: any object with a buffer is taken."""


def plain_bytes(value: object, name: str) -> bytes:
    """TypeError, which names the parameter: it is not bytes-like; neither a text nor a
    number is."""
    if isinstance(value, bytes):
        return value
    try:
        return memoryview(value).tobytes()  # type: ignore[arg-type]
    except TypeError:
        raise TypeError(f"{name}: a template is bytes-like, not {type(value).__name__}") from None


def misread(data: bytes, by: str = "vxmkit.records.matchable") -> str:
    """Why the matcher would misread the bytes, since it looks at no version: a record of
    a later edition or of an unknown version, or of ANSI with a length in six bytes. Empty
    if it would not. `by` is what converts such records."""
    if data[:4] != b"FMR\0" or len(data) < 10:
        return ""
    if data[4:8] in (b"030\0", b"035\0"):
        return f"a record of a later form, which the matcher would misread: convert it by {by}"
    if data[4:8] != b" 20\0":
        return "a record of an unknown version"
    size = len(data).to_bytes(4, "big")
    if data[8:10] == b"\0\0" and data[10:14] == size > b"\0\0\xff\xff" and data[8:12] != size:
        return f"a record with a long length, which the matcher would misread: convert it by {by}"
    return ""


def template_bytes(value: object, name: str) -> bytes:
    """The bytes of a template that the matcher does not misread. TypeError: as above.
    TemplateTypeError: a record of a form that it takes for another."""
    data = plain_bytes(value, name)
    if why := misread(data):
        raise TemplateTypeError(Status.ERR_TEMPLATE_TYPE, why, name)
    return data


def many(values: object, name: str) -> Iterable[object]:
    """The same, which is an iterable and no single template; else TypeError."""
    if isinstance(values, (str, bytes, bytearray, memoryview)) or not isinstance(values, Iterable):
        raise TypeError(f"{name}: an iterable of templates is wanted, not one "
                        f"{type(values).__name__}")
    return values


def template_list(values: object, name: str) -> list[bytes | None]:
    """The templates of an iterable, None where it has None. TypeError, which names
    the parameter or its element: it is one template, or no iterable of templates."""
    return [None if each is None else template_bytes(each, f"{name}[{index}]")
            for index, each in enumerate(many(values, name))]
