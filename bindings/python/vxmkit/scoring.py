"""Scores of very many pairs of templates, on all cores."""
from __future__ import annotations

import contextlib
import hashlib
import os
import queue
import tempfile
from collections import deque
from collections.abc import Iterable, Iterator
from concurrent.futures import Future, ThreadPoolExecutor
from concurrent.futures import TimeoutError as NotYet
from pathlib import Path
from typing import Any

import numpy as np
from numpy.lib import format as npy
from numpy.typing import ArrayLike, NDArray

from .constants import TemplateType
from .errors import VxmError, error_of
from .library import status_text
from .matcher import Matcher
from .pairs import Indices, Listed, Matrix, Pairs, listed_pairs
from .score_worker import Comparer, Worker, write_templates
from .template_format import detect_type
from .templates import Template, template_list

Points = NDArray[np.int16]

_CHUNK = 1 << 16  # comparisons of one task: about a second
_FEW = 2000       # are done sooner than a process starts
_NAMED = 5        # faults that a message names


def scores(probes: Iterable[Template], candidates: Iterable[Template],
           pairs: ArrayLike | None = None, *, threads: int | None = None,
           out: str | os.PathLike[str] | None = None, progress: bool = True) -> Points:
    """Verifies every probe with every candidate, or the listed pairs, on all cores.

    `probes` and `candidates` are iterables of P and C templates of one format (the same
    object for both is fine). `pairs` is an integer array of shape (n, 2), an index of a
    probe and one of a candidate in each row; a memory-mapped one is read piece by piece.
    `threads` is the number of processes that compare, by default one a core: a process
    compares one pair at a time. `progress` shows a bar on standard error where that is a
    terminal.

    Gives an int16 array of shape (P, C), or (n,) for pairs: points 0 to 9999, as
    `Verification.points`, to be held against `THRESHOLDS`. The order within a pair is
    that of `Matcher.verify`.

    With `out`, the name of a .npy file that does not exist, the scores go there while
    they are made and the answer is that file, memory-mapped and only to be read. Until
    all are there the file is called OUT.IDENTITY.part, of which the identity stands for
    the library's version, the templates and the pairs. After an interruption (Ctrl-C, a
    full disk, the end of the process) the same call goes on where the scores ended.

    TypeError: a wrong type, the text names the parameter. ValueError: pairs out of range
    or of another shape, templates of several formats. `VxmError`: templates that the
    library refuses; they are found before anything is compared, and named.
    FileExistsError: `out`. WorkerError: a process ended early.
    """
    first = _templates(probes, "probes")
    second = first if candidates is probes else _templates(candidates, "candidates")
    plan: Pairs = Matrix(len(first), len(second))
    shape: tuple[int, ...] = (len(first), len(second))
    if pairs is not None:
        plan = listed_pairs(pairs, len(first), len(second))
        shape = (len(plan),)
    templates = first if second is first else first + second
    offset = 0 if second is first else len(first)
    names = [f"probes[{i}]" for i in range(len(first))]
    names += [f"candidates[{i}]" for i in range(len(templates) - len(first))]
    return pair_scores(templates, plan, shape, offset=offset, names=names, threads=threads,
                       out=None if out is None else Path(out), progress=progress)


def pair_scores(templates: list[bytes], pairs: Pairs, shape: tuple[int, ...], *,
                offset: int = 0, names: list[str] | None = None, threads: int | None = None,
                out: Path | None = None, rename: bool = True, progress: bool = True) -> Points:
    """As `scores`, for pairs of one list of templates; the candidates' indices are counted
    from `offset`. `names` are what messages call the templates. Without `rename` the file
    keeps the name that tells what it holds, and the same call finds it again."""
    workers = _worker_count(threads)
    kind = _common_type(templates)
    identity = _identity(templates, pairs, offset) if out else ""
    with contextlib.ExitStack() as stack:
        store: _Memory | _File = _File(out, identity, shape) if out else _Memory(shape)
        stack.enter_context(store)
        if store.done < len(pairs):
            team = stack.enter_context(_Team(kind, templates, workers,
                                             len(pairs) - store.done + len(templates)))
            _require_valid(team, templates, names)
            with _bar(len(pairs), store.done, progress) as bar:
                for points in team.compare(pairs, store.done, offset):
                    store.add(points)
                    bar.update(len(points))
    return store.finish(rename)


def _templates(values: Iterable[Template], name: str) -> list[bytes]:
    templates = []
    for index, each in enumerate(template_list(values, name)):
        if each is None:
            raise TypeError(f"{name}[{index}]: a template is bytes-like, not NoneType")
        templates.append(each)
    return templates


def _worker_count(threads: int | None) -> int:
    if threads is None:
        return len(os.sched_getaffinity(0)) if hasattr(os, "sched_getaffinity") else (
            os.cpu_count() or 1)
    if isinstance(threads, bool) or not isinstance(threads, int):
        raise TypeError(f"threads: an int is wanted, not {type(threads).__name__}")
    if threads < 1:
        raise ValueError(f"threads: {threads} is less than 1")
    return threads


def _common_type(templates: list[bytes]) -> TemplateType:
    kinds = sorted({detect_type(each) for each in templates})
    if len(kinds) > 1:
        raise ValueError(f"templates of several formats: {', '.join(each.name for each in kinds)}")
    return kinds[0] if kinds else TemplateType.NATIVE


def _identity(templates: list[bytes], pairs: Pairs, offset: int) -> str:
    with Matcher() as matcher:
        known = hashlib.sha256(f"{matcher.version} {offset}".encode())
    for each in templates:
        known.update(len(each).to_bytes(8, "little"))
        known.update(each)
    for part in pairs.identity():
        known.update(part)
    return known.hexdigest()[:16]


def _bar(total: int, done: int, progress: bool) -> Any:
    from tqdm import tqdm
    return tqdm(total=total, initial=done, unit=" pairs", unit_scale=True, desc="comparing",
                disable=None if progress else True)


class _Team:
    """Processes that compare, or for few pairs this process."""

    def __init__(self, kind: TemplateType, templates: list[bytes], workers: int,
                 comparisons: int) -> None:
        self._chunk = max(256, min(_CHUNK, comparisons // (8 * workers)))
        self._workers: list[Worker] = []
        self._comparer: Comparer | None = None
        if comparisons < _FEW:
            starts = np.cumsum([0, *map(len, templates)])
            self._comparer = Comparer(
                kind, np.frombuffer(b"".join(templates) + b"\0", dtype=np.uint8), starts)
            return
        self._folder = tempfile.TemporaryDirectory(prefix="vxmkit-")
        self._idle: queue.SimpleQueue[Worker] = queue.SimpleQueue()
        self._threads = ThreadPoolExecutor(workers)
        try:
            write_templates(Path(self._folder.name), templates)
            for _ in range(workers):
                self._workers.append(Worker(kind, Path(self._folder.name)))
                self._idle.put(self._workers[-1])
        except BaseException:
            self.__exit__()
            raise

    def __enter__(self) -> _Team:
        return self

    def __exit__(self, *unused: object) -> None:
        if self._comparer is not None:
            self._comparer.close()
            return
        for worker in self._workers:
            worker.kill()  # whoever waits for its answer then gets none
        self._threads.shutdown(cancel_futures=True)
        for worker in self._workers:
            worker.close()
        self._folder.cleanup()

    def _task(self, probes: Indices, candidates: Indices) -> Points:
        worker = self._idle.get()
        try:
            return worker.compare(probes, candidates)
        finally:
            self._idle.put(worker)

    def compare(self, pairs: Pairs, start: int, offset: int) -> Iterator[Points]:
        """Points, or negative statuses, of the pairs from `start` on, in their order, some
        at a time."""
        waiting: deque[Future[Points]] = deque()
        for begin in range(start, len(pairs), self._chunk):
            probes, candidates = pairs.between(begin, min(begin + self._chunk, len(pairs)))
            if self._comparer is not None:
                yield self._comparer.compare(probes, candidates + offset)
                continue
            waiting.append(self._threads.submit(self._task, probes, candidates + offset))
            if len(waiting) > 2 * len(self._workers):
                yield _result(waiting.popleft())
        while waiting:
            yield _result(waiting.popleft())


def _result(task: Future[Points]) -> Points:
    """Waits so that Ctrl-C is seen, on Windows too."""
    while True:
        with contextlib.suppress(NotYet):
            return task.result(timeout=0.2)


def _require_valid(team: _Team, templates: list[bytes], names: list[str] | None) -> None:
    """Compares each template with itself, which fails exactly for those that no
    comparison takes."""
    each = np.arange(len(templates))
    statuses = np.concatenate(
        [np.empty(0, np.int16),
         *team.compare(Listed(np.stack([each, each], axis=1)), 0, 0)])
    bad = np.flatnonzero(statuses < 0)
    if len(bad) == 0:
        return
    called = [names[i] if names else f"template {i}" for i in bad[:_NAMED]]
    if len(bad) > _NAMED:
        called.append(f"{len(bad) - _NAMED} more")
    status = int(statuses[bad[0]])
    error: VxmError = error_of(status, status_text(status), ", ".join(called))
    raise error


class _Memory:
    """Scores in an array."""

    done = 0

    def __init__(self, shape: tuple[int, ...]) -> None:
        self._points = np.empty(shape, dtype=np.int16)
        self._flat = self._points.reshape(-1)

    def __enter__(self) -> _Memory:
        return self

    def __exit__(self, *unused: object) -> None:
        pass

    def add(self, points: Points) -> None:
        self._flat[self.done:self.done + len(points)] = points
        self.done += len(points)

    def finish(self, rename: bool) -> Points:
        return self._points


class _File:
    """Scores in a .npy file that grows, so that its size tells how many there are."""

    def __init__(self, out: Path, identity: str, shape: tuple[int, ...]) -> None:
        if out.exists():
            raise FileExistsError(f"{out}: exists already")
        self._out = out
        self._part = out.with_name(f"{out.name}.{identity}.part")
        self._file = self._part.open("r+b" if self._part.exists() else "w+b")
        try:
            npy.write_array_header_1_0(  # type: ignore[no-untyped-call]
                self._file, {"descr": "<i2", "fortran_order": False, "shape": shape})
            header = self._file.tell()
            size = self._file.seek(0, os.SEEK_END)
            self.done = (size - header) // 2
            self._file.seek(header + 2 * self.done)
        except BaseException:
            self._file.close()
            raise

    def __enter__(self) -> _File:
        return self

    def __exit__(self, *unused: object) -> None:
        self._file.close()

    def add(self, points: Points) -> None:
        """On the disk before it counts: after a crash no score is one that was not made."""
        self._file.write(points.astype("<i2").tobytes())
        self._file.flush()
        os.fsync(self._file.fileno())
        self.done += len(points)

    def finish(self, rename: bool) -> Points:
        if rename:
            os.replace(self._part, self._out)
        # Nothing cannot be mapped.
        points: Points = np.load(self._out if rename else self._part,
                                 mmap_mode="r" if self.done else None)
        return points
