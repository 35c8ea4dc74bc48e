"""A process that compares: `serve` is what it runs, `Worker` what its starter holds.

A matcher compares one pair at a time in its whole process, so each core gets a
process. It is started as a fresh program: a copy by `fork` might be of a process with
a thread inside the library, and the starter's own program is not run again. All
processes map one file of templates. A task is counted pairs of 4-byte indices, an
answer as many 2-byte numbers: points, or the negative status of a comparison that the
library refused.
"""
from __future__ import annotations

import contextlib
import ctypes
import itertools
import json
import operator
import struct
import subprocess
import sys
from collections.abc import Iterable, Sequence
from pathlib import Path
from typing import BinaryIO

import numpy as np
from numpy.typing import NDArray

from .constants import SCORE_SCALE, TemplateType
from .library import load, require_ok
from .pairs import Indices, as_list

_COUNT = struct.Struct("=q")
_AT_ONCE = 1024


class WorkerError(RuntimeError):
    """A process ended before its work was done."""


class Comparer:
    """Verifies pairs of templates that lie one behind the other in memory.

    Python's share of a comparison is kept small: all arguments are made before, the
    function's own checks of them are off, and `map` runs the loop.
    """

    def __init__(self, kind: TemplateType, templates: NDArray[np.uint8],
                 starts: NDArray[np.int64], only_thread: bool = False) -> None:
        library = load()
        handle = ctypes.c_void_p()
        require_ok(library.VXM_Create(ctypes.byref(handle)), "making a matcher")
        require_ok(library.VXM_SetTemplateType(handle, kind), "setting the template type")
        assert handle.value is not None
        # A second object of the same library, whose function takes what it is given.
        # Where no other thread wants Python's lock, it is not let go for each call.
        kind_of_library = ctypes.PyDLL if only_thread else ctypes.CDLL
        self._verify = kind_of_library(library._name).VXM_VerifyEx
        # What is passed as it is must not be made for each call: references to bytes.
        self._handle = ctypes.byref(ctypes.c_char.from_address(handle.value))
        self._memory = templates
        base = ctypes.c_char.from_address(templates.ctypes.data)
        self._references = [ctypes.byref(base, start) for start in as_list(starts[:-1])]
        self._sizes = as_list(np.diff(starts))
        self._scores = np.zeros(_AT_ONCE, dtype=np.float32)
        first = ctypes.c_float.from_address(self._scores.ctypes.data)
        self._places = [ctypes.byref(first, offset) for offset in range(0, 4 * _AT_ONCE, 4)]
        self._decision = ctypes.byref(ctypes.c_int())
        self._library, self._matcher = library, handle

    def close(self) -> None:
        self._library.VXM_Delete(self._matcher)

    def compare(self, probes: Indices, candidates: Indices) -> NDArray[np.int16]:
        """Some at a time, so that the arguments stay in the processor's cache."""
        parts = [self._compare(probes[start:start + _AT_ONCE], candidates[start:start + _AT_ONCE])
                 for start in range(0, len(probes), _AT_ONCE)]
        return np.concatenate([np.empty(0, dtype=np.int16), *parts])

    def _compare(self, probes: Indices, candidates: Indices) -> NDArray[np.int16]:
        count = len(probes)

        def chosen(values: Sequence[object], indices: Indices) -> Iterable[object]:
            # With one index alone the getter gives no tuple.
            found: tuple[object, ...] = operator.itemgetter(*as_list(indices), 0)(values)
            return found

        statuses = np.fromiter(map(
            self._verify, itertools.repeat(self._handle, count),
            chosen(self._references, probes), chosen(self._sizes, probes),
            chosen(self._references, candidates), chosen(self._sizes, candidates),
            self._places, itertools.repeat(self._decision)), dtype=np.int16, count=count)
        points = np.rint(self._scores[:count] * np.float32(SCORE_SCALE)).astype(np.int16)
        return np.where(statuses == 0, points, statuses)


def map_templates(folder: Path) -> tuple[NDArray[np.uint8], NDArray[np.int64]]:
    starts = np.load(folder / "starts.npy")
    return np.memmap(folder / "templates", dtype=np.uint8, mode="r"), starts


def write_templates(folder: Path, templates: list[bytes]) -> None:
    """The files that workers map."""
    with (folder / "templates").open("wb") as file:
        file.writelines(templates)
        file.write(b"\0")  # an empty file cannot be mapped
    sizes = np.fromiter(map(len, templates), dtype=np.int64, count=len(templates))
    np.save(folder / "starts.npy", np.concatenate([[0], np.cumsum(sizes)]))


def serve(source: BinaryIO, target: BinaryIO) -> None:
    """Answers tasks until there are no more."""
    settings = json.loads(source.readline())
    comparer = Comparer(TemplateType(settings["type"]),
                        *map_templates(Path(settings["folder"])), only_thread=True)
    while head := source.read(_COUNT.size):
        count, = _COUNT.unpack(head)
        indices = np.frombuffer(source.read(8 * count), dtype=np.int32).astype(np.int64)
        target.write(comparer.compare(indices[:count], indices[count:]).tobytes())
        target.flush()


class Worker:
    """Not for several threads at once."""

    def __init__(self, kind: TemplateType, folder: Path) -> None:
        package = Path(__file__).resolve().parent
        # The starter ends the work, not Ctrl-C.
        program = ("import signal, sys; signal.signal(signal.SIGINT, signal.SIG_IGN)\n"
                   f"sys.path.insert(0, {str(package.parent)!r})\n"
                   f"from {package.name}.score_worker import serve\n"
                   "serve(sys.stdin.buffer, sys.stdout.buffer)")
        self._process = subprocess.Popen([sys.executable, "-c", program],
                                         stdin=subprocess.PIPE, stdout=subprocess.PIPE)
        assert self._process.stdin is not None and self._process.stdout is not None
        self._tasks, self._answers = self._process.stdin, self._process.stdout
        settings = {"type": int(kind), "folder": str(folder)}
        self._send(json.dumps(settings).encode() + b"\n")

    def _send(self, data: bytes) -> None:
        try:
            self._tasks.write(data)
            self._tasks.flush()
        except OSError as error:
            raise WorkerError("a process that compared ended early; is memory short?") from error

    def compare(self, probes: Indices, candidates: Indices) -> NDArray[np.int16]:
        """Shape (n,): points, or a negative status. WorkerError: the process is gone."""
        self._send(_COUNT.pack(len(probes)) + probes.astype(np.int32).tobytes()
                   + candidates.astype(np.int32).tobytes())
        answer = self._answers.read(2 * len(probes))
        if len(answer) != 2 * len(probes):
            raise WorkerError("a process that compared ended early; is memory short?")
        return np.frombuffer(answer, dtype=np.int16)

    def kill(self) -> None:
        self._process.kill()

    def close(self) -> None:
        """After `kill`."""
        self._process.wait()
        self._answers.close()
        with contextlib.suppress(OSError):  # what it did not read any more
            self._tasks.close()
