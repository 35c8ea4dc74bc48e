"""Many templates, laid out for the library once and searched any number of times."""
from __future__ import annotations

import ctypes
from collections.abc import Iterable

from .templates import Template, template_list


class Gallery:
    """Candidates of an identification.

    Takes an iterable of bytes-like templates; None stands for a place that is
    empty, so that indices can be those of a table of the caller's. The templates are
    copied only where they are not `bytes`. Making it costs about 2 microseconds a
    template, which `Matcher.identify` spends each time when it is given a list.

    TypeError: one template instead of many, or an element that is none.
    """

    def __init__(self, templates: Iterable[Template | None]) -> None:
        kept = template_list(templates, "templates")
        self._templates = kept
        self._pointers = (ctypes.c_char_p * len(kept))(*kept)
        self._sizes = (ctypes.c_int * len(kept))(*(len(each or b"") for each in kept))

    def __len__(self) -> int:
        return len(self._templates)

    def __getitem__(self, index: int) -> bytes | None:
        return self._templates[index]
