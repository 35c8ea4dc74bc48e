"""What searches find: the candidates that match a probe, at every security level."""
from __future__ import annotations

import ctypes
from collections.abc import Sequence

from .constants import SECURITY_LEVELS, TemplateType
from .gallery import Gallery
from .matcher import Matcher

_BLOCK = 128  # candidates searched at once: so many are gone through again for each match


class Searcher:
    """Searches one gallery in one mode. Not for several threads at once."""

    def __init__(self, templates: Sequence[bytes], kind: TemplateType, fast_mode: bool) -> None:
        self._templates = templates
        self._blocks = [Gallery(templates[start:start + _BLOCK])
                        for start in range(0, len(templates), _BLOCK)]
        self._matcher = Matcher(kind, fast_mode=fast_mode)

    def close(self) -> None:
        self._matcher.close()

    def _in_order(self, probe: bytes, gallery: Gallery) -> list[int]:
        """All that match, as one search after the other gives them, each without those
        that were found before."""
        found = []
        pointers, index = gallery._pointers, ctypes.c_int()
        while True:
            with self._matcher._lock:
                self._matcher._call("identification", "VXM_Identify", probe, len(probe), pointers,
                                    gallery._sizes, len(gallery), 0, ctypes.byref(index))
            if index.value < 0:
                break
            found.append(index.value)
            pointers[index.value] = None
        for each in found:
            pointers[each] = gallery[each]
        return found

    def matches(self, probe: bytes) -> list[list[int]]:
        """For each security level the indices of all candidates that match, in the order
        in which a search of the whole gallery would come to them."""
        self._matcher.security_level = SECURITY_LEVELS[0]
        left = [block * _BLOCK + index for block, gallery in enumerate(self._blocks)
                for index in self._in_order(probe, gallery)]
        found: list[list[int]] = []
        for level in SECURITY_LEVELS:
            if left:
                self._matcher.security_level = level
                gallery = Gallery(self._templates[index] for index in left)
                left = [left[index] for index in self._in_order(probe, gallery)]
            found.append(left)
        return found
