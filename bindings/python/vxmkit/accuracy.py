"""Error rates of trials, and how far to trust them.

FMR is the share of impostor comparisons that match, FNMR that of genuine ones that
do not; both are functions of the threshold, 0 to SCORE_SCALE. Confidence intervals
come from a bootstrap over fingers: comparisons with one finger in common are not
independent, so whole fingers are drawn, and a comparison counts as often as both of
its fingers were.
"""
from __future__ import annotations

import dataclasses
from typing import NamedTuple

import numpy as np
from tqdm import trange

from .constants import SCORE_SCALE
from .trials import Trials


class Rate(NamedTuple):
    """A share 0 to 1, with the ends of its 95 % confidence interval."""

    value: float
    low: float
    high: float


class ErrorRates(NamedTuple):
    """By threshold; at SCORE_SCALE nothing matches."""

    fmr: np.ndarray
    fnmr: np.ndarray


@dataclasses.dataclass(frozen=True)
class LevelRates:
    level: int
    threshold: int
    fmr: Rate
    fnmr: Rate


@dataclasses.dataclass(frozen=True)
class Accuracy:
    """FMR100, FMR1000 and ZeroFMR are the least FNMR at thresholds with an FMR of at
    most 1 %, at most 0.1 %, and 0."""

    genuine: int  # comparisons
    impostor: int
    rates: ErrorRates
    eer: Rate
    fmr100: Rate
    fmr1000: Rate
    zero_fmr: Rate
    levels: tuple[LevelRates, ...]


def error_rates(points: np.ndarray, genuine: np.ndarray, weights: np.ndarray) -> ErrorRates:
    """FMR and FNMR at every threshold. NaN where nothing was compared."""
    def histogram(chosen: np.ndarray) -> np.ndarray:
        return np.bincount(points[chosen], weights[chosen], minlength=SCORE_SCALE + 1)

    below = np.cumsum(histogram(genuine))
    reached = np.cumsum(histogram(~genuine)[::-1])[::-1]
    with np.errstate(invalid="ignore"):
        return ErrorRates(reached / reached[0], np.concatenate([[0.0], below[:-1]]) / below[-1])


def equal_error_rate(rates: ErrorRates) -> float:
    """The mean of FMR and FNMR at the threshold where they are nearest."""
    at = np.abs(rates.fmr - rates.fnmr).argmin()
    return (rates.fmr[at] + rates.fnmr[at]) / 2


def fnmr_at_fmr(rates: ErrorRates, fmr: float) -> float:
    return rates.fnmr[rates.fmr <= fmr].min()


def _figures(rates: ErrorRates, thresholds: list[int]) -> np.ndarray:
    return np.array([equal_error_rate(rates), fnmr_at_fmr(rates, 0.01), fnmr_at_fmr(rates, 0.001),
                     fnmr_at_fmr(rates, 0.0), *rates.fmr[thresholds], *rates.fnmr[thresholds]])


def measure(trials: Trials, thresholds: tuple[int, ...], rounds: int = 1000,
            seed: int = 1, progress: bool = False) -> Accuracy:
    """All figures of trials that hold genuine and impostor comparisons; thresholds
    are those of the security levels. The bootstrap draws `rounds` times from `seed`."""
    genuine = trials.genuine
    rates = error_rates(trials.points, genuine, np.ones(len(genuine)))
    figures = _figures(rates, list(thresholds))
    fingers = 1 + max(trials.probe_finger.max(), trials.candidate_finger.max())
    source = np.random.default_rng(seed)
    drawn = []
    for _ in trange(rounds, desc="confidence", unit=" rounds", disable=None if progress else True):
        times = np.bincount(source.integers(fingers, size=fingers), minlength=fingers)
        weights = times[trials.probe_finger] * np.where(genuine, 1, times[trials.candidate_finger])
        sample = error_rates(trials.points, genuine, weights)
        if not (np.isnan(sample.fmr[0]) or np.isnan(sample.fnmr[0])):
            drawn.append(_figures(sample, list(thresholds)))
    low, high = np.percentile(drawn, [2.5, 97.5], axis=0) if drawn else (figures, figures)
    each = [Rate(*map(float, triple)) for triple in zip(figures, low, high)]
    count = len(thresholds)
    levels = tuple(LevelRates(number, threshold, fmr, fnmr) for number, threshold, fmr, fnmr in
                   zip(range(1, count + 1), thresholds, each[4:4 + count], each[4 + count:]))
    return Accuracy(int(genuine.sum()), int((~genuine).sum()), rates, each[0], each[1],
                    each[2], each[3], levels)
