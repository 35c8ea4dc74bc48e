"""Fingerprint template matching, by the VXMKIT library.

    from vxmkit import Gallery, Matcher, TemplateType

    with Matcher(TemplateType.ISO19794_2, security_level=5) as matcher:
        result = matcher.verify(probe, candidate)
        print(result.score, result.matched)
        gallery = Gallery(templates)
        print(matcher.identify(probe, gallery, timeout=2.0))

`python3 -m vxmkit.evaluate` measures error rates on a folder of templates,
`python3 -m vxmkit.draw` draws templates and why two of them match.
"""
from .constants import (SCORE_SCALE, SECURITY_LEVELS, THRESHOLDS, Parameter, Status,
                        TemplateType)
from .errors import (DataCorruptedError, InvalidParametersError, LibraryNotFoundError,
                     MatchAbortedError, MatchTimeoutError, TemplateTypeError, VxmError)
from .gallery import Gallery
from .matcher import Matcher, Verification
from .template_format import detect_type

__all__ = [
    "DataCorruptedError", "Gallery", "InvalidParametersError", "LibraryNotFoundError",
    "MatchAbortedError", "MatchTimeoutError", "Matcher", "Parameter", "SCORE_SCALE",
    "SECURITY_LEVELS", "Status", "THRESHOLDS", "TemplateType", "TemplateTypeError",
    "Verification", "VxmError", "detect_type",
]
