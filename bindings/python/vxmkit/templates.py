"""What is taken for a template, and for many of them."""
from __future__ import annotations

from collections.abc import Iterable
from typing import Union

Template = Union[bytes, bytearray, memoryview]
"""Bytes-like: any object with a buffer is taken."""


def template_bytes(value: object, name: str) -> bytes:
    """The bytes of a template. TypeError, which names the parameter: it is not
    bytes-like; neither a text nor a number is."""
    if isinstance(value, bytes):
        return value
    try:
        return memoryview(value).tobytes()  # type: ignore[arg-type]
    except TypeError:
        raise TypeError(f"{name}: a template is bytes-like, not {type(value).__name__}") from None


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
