"""What the programs of this package have in common: files that are replaced as a whole,
and an end that tells what failed.

Exit codes as those of `vxm`: 0 done, 2 error, 3 stopped by Ctrl-C, 4 something was left
out and is named.
"""
from __future__ import annotations

import os
import sys
import tempfile
from collections.abc import Callable
from contextlib import suppress
from pathlib import Path

DONE, FAILED, STOPPED, LEFT_OUT = 0, 2, 3, 4


def replace_file(path: Path, content: bytes) -> None:
    """Writes beside the file, flushes, and puts the new one in the place of the old; a
    device or a pipe is written to. OSError: nothing has changed."""
    if path.exists() and not path.is_file():
        path.write_bytes(content)
        return
    whole = Path(os.path.realpath(path))
    mode = whole.stat().st_mode if whole.exists() else 0o666 & ~_umask()
    try:
        descriptor, beside = tempfile.mkstemp(prefix=".vxm-", dir=whole.parent)
    except OSError as fault:
        raise OSError(fault.errno, fault.strerror, str(path)) from fault
    try:
        with open(descriptor, "wb") as file:
            file.write(content)
            file.flush()
            os.fsync(descriptor)
        os.chmod(beside, mode & 0o7777)
        os.replace(beside, whole)
    except BaseException:
        with suppress(OSError):
            os.unlink(beside)
        raise


def _umask() -> int:
    mask = os.umask(0o077)
    os.umask(mask)
    return mask


def run_program(name: str, body: Callable[[], int],
                faults: tuple[type[BaseException], ...] = (OSError,)) -> int:
    """The exit code of the body. Faults become messages, and so does standard output
    that cannot be written."""
    if sys.stdout is None:  # closed: what is printed is to fail
        sys.stdout = open(os.devnull, encoding="utf-8")
    try:
        try:
            code = body()
        except SystemExit as end:  # help, or a usage error
            code = end.code if isinstance(end.code, int) else FAILED
        if sys.stdout.writable():
            sys.stdout.flush()
        return code
    except KeyboardInterrupt as stop:
        problem, code = str(stop) or "stopped", STOPPED
    except faults as fault:
        problem, code = str(fault).strip() or type(fault).__name__, FAILED
    with suppress(OSError, ValueError):
        print(f"{name}: {problem}", file=sys.stderr)
    # Else the interpreter would try again to write what it could not.
    with suppress(OSError, ValueError):
        os.dup2(os.open(os.devnull, os.O_WRONLY), sys.stdout.fileno())
    return code
