"""The numbers of the interface, named as in the C header without its prefixes."""
from __future__ import annotations

from enum import IntEnum


class TemplateType(IntEnum):
    """Template formats."""

    NATIVE = 2001
    ISO19794_2 = 2002
    ANSI378 = 2003


class Status(IntEnum):
    """Status codes; all but OK are raised as `VxmError`."""

    OK = 0
    ERROR = -1
    ERR_NOT_SUPPORTED = -111
    ERR_INVALID_PARAMETERS = -112
    ERR_DATA_CORRUPTED = -113
    ERR_MATCH_TIMEOUT = -401
    ERR_MATCH_ABORTED = -402
    ERR_TEMPLATE_TYPE = -411


class Parameter(IntEnum):
    """Parameter ids; `Matcher` has a property for each but ISO_MODE, which is
    another way to set the template type."""

    VERSION = 210
    COPYRIGHT = 211
    FAST_MODE = 301
    SECURITY_LEVEL = 302
    ISO_MODE = 311
    RETRY_TURNED = 321


class TextSize(IntEnum):
    """Least sizes of the buffers for texts, in bytes."""

    PARAMETER_TEXT_SIZE = 32
    ERROR_TEXT_SIZE = 31


SECURITY_LEVELS = range(1, 8)
"""From lenient to strict."""

SCORE_SCALE = 10000
"""Scores are points, whole numbers 0..9999, divided by this."""

_STANDARD_THRESHOLDS = (75, 120, 185, 290, 380, 470, 560)

THRESHOLDS = {
    TemplateType.NATIVE: (40, 85, 150, 240, 350, 480, 640),
    TemplateType.ISO19794_2: _STANDARD_THRESHOLDS,
    TemplateType.ANSI378: _STANDARD_THRESHOLDS,
}
"""By template type and security level (the first is level 1): the least points that
are a match."""
