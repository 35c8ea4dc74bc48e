"""Comparisons of all that a protocol asks for, on all cores.

A matcher compares one pair at a time in its whole process, so each core gets a
process. A task is one probe with all its candidates.
"""
from __future__ import annotations

import dataclasses
import os
import signal
from collections.abc import Sequence
from concurrent.futures import ProcessPoolExecutor

import numpy as np
from tqdm import tqdm

from .constants import TemplateType
from .impressions import Impression
from .matcher import Matcher


@dataclasses.dataclass(frozen=True)
class Trials:
    """Comparisons, one an element: indices of the impressions, indices of their
    fingers, the points, and whether the FVC protocol has it."""

    probe: np.ndarray
    candidate: np.ndarray
    probe_finger: np.ndarray
    candidate_finger: np.ndarray
    points: np.ndarray
    fvc: np.ndarray

    @property
    def genuine(self) -> np.ndarray:
        return self.probe_finger == self.candidate_finger

    def of_fvc(self) -> Trials:
        return Trials(*(getattr(self, field.name)[self.fvc]
                        for field in dataclasses.fields(self)))


def finger_indices(impressions: Sequence[Impression]) -> np.ndarray:
    """For each impression the index of its finger, in the order of appearance."""
    names = {name: index for index, name in
             enumerate(dict.fromkeys(each.finger for each in impressions))}
    return np.array([names[each.finger] for each in impressions], dtype=np.int32)


def candidates_of(probe: int, fingers: np.ndarray, firsts: np.ndarray,
                  fvc_only: bool) -> np.ndarray:
    """Those after the probe, so that each pair comes once. By the FVC protocol: of
    the same finger all, of others the first impression with the first."""
    later = np.arange(probe + 1, len(fingers))
    if not fvc_only:
        return later
    same = fingers[later] == fingers[probe]
    return later[same | (firsts[probe] & firsts[later])]


class _Worker:
    """What a process keeps for its tasks."""

    matcher: Matcher
    templates: list[bytes]

    @classmethod
    def begin(cls, kind: TemplateType, templates: list[bytes]) -> None:
        signal.signal(signal.SIGINT, signal.SIG_IGN)  # the parent ends the work
        cls.matcher = Matcher(kind)
        cls.templates = templates

    @classmethod
    def compare(cls, probe: int, candidates: np.ndarray) -> np.ndarray:
        return np.array([cls.matcher.verify(cls.templates[probe], cls.templates[each]).points
                         for each in candidates], dtype=np.int16)


def run_trials(impressions: Sequence[Impression], fvc_only: bool = False, jobs: int = 0,
               progress: bool = True) -> Trials:
    """Compares the impressions, which are of one type and in order. `jobs` is the
    number of processes, 0 for one a core."""
    fingers = finger_indices(impressions)
    firsts = np.diff(fingers, prepend=-1) != 0
    candidates = [candidates_of(probe, fingers, firsts, fvc_only)
                  for probe in range(len(impressions))]
    counts = np.array([len(each) for each in candidates])
    executor = ProcessPoolExecutor(
        jobs or os.cpu_count(), initializer=_Worker.begin,
        initargs=(impressions[0].type, [each.template for each in impressions]))
    points = []
    with executor, tqdm(total=int(counts.sum()), unit=" pairs", unit_scale=True,
                        desc="comparing", disable=None if progress else True) as bar:
        try:
            for row in executor.map(_Worker.compare, range(len(impressions)), candidates,
                                    chunksize=max(1, len(impressions) // 200)):
                points.append(row)
                bar.update(len(row))
        except BaseException:
            executor.shutdown(cancel_futures=True)
            raise
    probe = np.repeat(np.arange(len(impressions), dtype=np.int32), counts)
    candidate = np.concatenate(candidates).astype(np.int32)
    genuine = fingers[probe] == fingers[candidate]
    return Trials(probe, candidate, fingers[probe], fingers[candidate], np.concatenate(points),
                  genuine | (firsts[probe] & firsts[candidate]))
