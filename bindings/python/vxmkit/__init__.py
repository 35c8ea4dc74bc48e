"""Fingerprint template matching, by the VXMKIT library.

    from vxmkit import Gallery, Matcher, TemplateType

    with Matcher(TemplateType.ISO19794_2, security_level=5) as matcher:
        result = matcher.verify(probe, candidate)
        print(result.score, result.matched)
        gallery = Gallery(templates)
        print(matcher.identify(probe, gallery, timeout=2.0))

`vxmkit.records` tells, checks and converts records of all forms; it needs numpy.
`scores` compares very many pairs on all cores; it needs numpy and tqdm.
`python3 -m vxmkit.evaluate` measures error rates on a folder of templates,
`python3 -m vxmkit.draw` draws templates and why two of them match.
"""
from __future__ import annotations

from typing import TYPE_CHECKING, Any

from .constants import (SCORE_SCALE, SECURITY_LEVELS, THRESHOLDS, Parameter, Status,
                        TemplateType)
from .errors import (DataCorruptedError, InvalidParametersError, LibraryNotFoundError,
                     MatchAbortedError, MatchTimeoutError, TemplateTypeError, VxmError)
from .gallery import Gallery
from .matcher import Matcher, Verification
from .template_format import detect_type
from .version import __version__

if TYPE_CHECKING:
    from .scoring import scores

__all__ = [
    "DataCorruptedError", "Gallery", "InvalidParametersError", "LibraryNotFoundError",
    "MatchAbortedError", "MatchTimeoutError", "Matcher", "Parameter", "SCORE_SCALE",
    "SECURITY_LEVELS", "Status", "THRESHOLDS", "TemplateType", "TemplateTypeError",
    "Verification", "VxmError", "__version__", "detect_type", "scores",
]


def __getattr__(name: str) -> Any:
    """Loads numpy with `scores`, for those who use it."""
    if name == "scores":
        from .scoring import scores
        return scores
    raise AttributeError(f"module 'vxmkit' has no attribute '{name}'")
