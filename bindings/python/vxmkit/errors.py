"""What the package raises."""
from __future__ import annotations

from .constants import Status


class LibraryNotFoundError(ImportError):
    """No VXMKIT library could be loaded; the text names the places tried."""


class VxmError(Exception):
    """A call that the library refused or ended early.

    `code` is its status (a `Status`), `text` the library's own words for it, and
    `where` what was being done.
    """

    def __init__(self, code: Status, text: str, where: str) -> None:
        super().__init__(code, text, where)
        self.code = code
        self.text = text
        self.where = where

    def __str__(self) -> str:
        return f"{self.where}: {self.text} ({int(self.code)})"


class InvalidParametersError(VxmError, ValueError):
    """An invalid native template (-112)."""


class DataCorruptedError(VxmError, ValueError):
    """A standard record fails its structural check (-113)."""


class MatchTimeoutError(VxmError, TimeoutError):
    """An identification passed its time limit (-401)."""


class MatchAbortedError(VxmError):
    """`Matcher.abort` ended an identification (-402)."""


class TemplateTypeError(VxmError, ValueError):
    """A template is not of the matcher's type (-411)."""


_CLASSES: dict[int, type[VxmError]] = {
    Status.ERR_INVALID_PARAMETERS: InvalidParametersError,
    Status.ERR_DATA_CORRUPTED: DataCorruptedError,
    Status.ERR_MATCH_TIMEOUT: MatchTimeoutError,
    Status.ERR_MATCH_ABORTED: MatchAbortedError,
    Status.ERR_TEMPLATE_TYPE: TemplateTypeError,
}


def error_of(status: int, text: str, where: str) -> VxmError:
    """The exception for a status that is not OK."""
    return _CLASSES.get(status, VxmError)(Status(status), text, where)
