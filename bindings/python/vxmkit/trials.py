"""The comparisons that a protocol asks for, and what is counted of them.

The scores of 10^8 comparisons lie in a file and go through memory a part at a time;
only numbers of scores are kept. Confidence intervals come from a bootstrap over
fingers: comparisons with one finger in common are not independent, so whole fingers
are drawn, and a comparison counts as often as both of its fingers were.
"""
from __future__ import annotations

import dataclasses
from collections.abc import Iterator, Sequence
from pathlib import Path
from typing import NamedTuple

import numpy as np
from numpy.typing import NDArray
from tqdm import tqdm

from .accuracy import Counts, Samples, empty_counts
from .constants import SCORE_SCALE
from .impressions import Impression
from .pairs import Chain, Indices, Listed, Pairs, Triangle
from .scoring import Points, pair_scores

_PART = 1 << 18  # comparisons in memory at once
_BINS = SCORE_SCALE + 1


class Part(NamedTuple):
    """Some comparisons: indices of the impressions, and points."""

    probe: Indices
    candidate: Indices
    points: Points


@dataclasses.dataclass(frozen=True)
class Trials:
    """Comparisons of impressions that lie by finger. `finger` has the index of the finger
    of each impression, `first` whether it is its finger's first."""

    finger: NDArray[np.int32]
    first: NDArray[np.bool_]
    pairs: Pairs
    points: Points
    fvc_only: bool

    def parts(self, progress: str = "") -> Iterator[Part]:
        with tqdm(total=len(self.pairs), desc=progress, unit=" pairs", unit_scale=True,
                  disable=None if progress else True) as bar:
            for start in range(0, len(self.pairs), _PART):
                stop = min(start + _PART, len(self.pairs))
                yield Part(*self.pairs.between(start, stop), np.asarray(self.points[start:stop]))
                bar.update(stop - start)

    def genuine(self, part: Part) -> NDArray[np.bool_]:
        return np.asarray(self.finger[part.probe] == self.finger[part.candidate])


def finger_indices(impressions: Sequence[Impression]) -> NDArray[np.int32]:
    """For each impression the index of its finger, in the order of appearance."""
    names = {name: index for index, name in
             enumerate(dict.fromkeys(each.finger for each in impressions))}
    return np.array([names[each.finger] for each in impressions], dtype=np.int32)


def protocol_pairs(finger: NDArray[np.int32], fvc_only: bool) -> Pairs:
    """Each impression with each later one; by the FVC protocol those of the same finger,
    and the first impressions of all fingers with each other."""
    if not fvc_only:
        return Triangle(np.arange(len(finger)))
    starts = np.flatnonzero(np.diff(finger, prepend=-1))
    ends = np.append(starts[1:], len(finger))
    same = [(i, j) for start, end in zip(starts, ends)
            for i in range(start, end) for j in range(i + 1, end)]
    return Chain(Listed(np.array(same, dtype=np.int64).reshape(-1, 2)), Triangle(starts))


def run_trials(impressions: Sequence[Impression], fvc_only: bool = False, jobs: int | None = None,
               progress: bool = True, out: Path | None = None) -> Trials:
    """Compares the impressions, which are of one type and by finger. `jobs` is the number
    of processes, by default one a core; `out` as for `pair_scores`, without renaming."""
    finger = finger_indices(impressions)
    pairs = protocol_pairs(finger, fvc_only)
    points = pair_scores([each.template for each in impressions], pairs, (len(pairs),),
                         names=[each.path for each in impressions], threads=jobs, out=out,
                         rename=False, progress=progress)
    return Trials(finger, np.diff(finger, prepend=-1) != 0, pairs, points, fvc_only)


def _impostor_total(drawn: NDArray[np.int64], sizes: NDArray[np.int64]) -> Counts:
    """In each round, the pairs of different fingers of which each has so many members."""
    weights = drawn * sizes
    return np.asarray((weights.sum(axis=1) ** 2 - (weights ** 2).sum(axis=1)) // 2)


def _add_rounds(target: Counts, part: Part, chosen: NDArray[np.bool_], trials: Trials,
                drawn: NDArray[np.int64], genuine: bool) -> None:
    if not chosen.any():
        return
    probe, candidate = trials.finger[part.probe[chosen]], trials.finger[part.candidate[chosen]]
    points = part.points[chosen]
    most = int(points.max()) + 1
    for number in range(len(target)):
        times = drawn[number].astype(np.float64)
        weights = times[probe] if genuine else times[probe] * times[candidate]
        target[number, :most] += np.bincount(points, weights, minlength=most).astype(np.int64)


def count_scores(trials: Trials, rounds: int, seed: int, progress: bool = True,
                 ) -> dict[str, Samples]:
    """Numbers of scores by protocol, "all pairs" and "FVC", with those of `rounds` draws
    of fingers from `seed`. Impostors without any points, most of them, are not gone
    through in each round: their number is what is missing from all."""
    fingers = int(trials.finger.max()) + 1
    source = np.random.default_rng(seed)
    drawn = np.array([np.bincount(source.integers(fingers, size=fingers), minlength=fingers)
                      for _ in range(rounds)], dtype=np.int64).reshape(rounds, fingers)
    genuine, drawn_genuine = empty_counts(), np.zeros((rounds, _BINS), dtype=np.int64)
    names = ["FVC"] if trials.fvc_only else ["all pairs", "FVC"]
    impostor = {name: empty_counts() for name in names}
    drawn_impostor = {name: np.zeros((rounds, _BINS), dtype=np.int64) for name in names}
    for part in trials.parts("counting" if progress else ""):
        same = trials.genuine(part)
        genuine += np.bincount(part.points[same], minlength=_BINS)
        _add_rounds(drawn_genuine, part, same, trials, drawn, genuine=True)
        for name in names:
            other = ~same
            if name == "FVC":
                other &= trials.first[part.probe] & trials.first[part.candidate]
            impostor[name] += np.bincount(part.points[other], minlength=_BINS)
            _add_rounds(drawn_impostor[name], part, other & (part.points > 0), trials, drawn,
                        genuine=False)
    sizes = {"all pairs": np.bincount(trials.finger), "FVC": np.ones(fingers, dtype=np.int64)}
    for name in names:
        drawn_impostor[name][:, 0] = (_impostor_total(drawn, sizes[name])
                                      - drawn_impostor[name][:, 1:].sum(axis=1))
    return {name: Samples(genuine, impostor[name], drawn_genuine, drawn_impostor[name])
            for name in names}


def match_characteristic(trials: Trials) -> NDArray[np.float64]:
    """Of all impressions but the first of each finger, the share whose finger is among the
    1, 2, ... best when it is sought among the first impressions of all; shape (fingers,).
    Scores are those of the trials, whichever of the two was the probe. A tie counts
    against the finger, and a mate without any points is never found."""
    mates = np.zeros(len(trials.finger), dtype=np.int64)
    for part in trials.parts():
        chosen = trials.genuine(part) & trials.first[part.probe]
        mates[part.candidate[chosen]] = part.points[chosen]
    ahead = np.zeros(len(trials.finger), dtype=np.int64)
    for part in trials.parts():
        one_first = trials.first[part.probe] ^ trials.first[part.candidate]
        chosen = one_first & ~trials.genuine(part)
        probes = np.where(trials.first[part.probe], part.candidate, part.probe)[chosen]
        np.add.at(ahead, probes[part.points[chosen] >= mates[probes]], 1)
    sought = ~trials.first
    found = ahead[sought & (mates > 0)]
    ranks = np.bincount(found, minlength=int(trials.first.sum()))
    return np.asarray(np.cumsum(ranks) / max(1, sought.sum()))
