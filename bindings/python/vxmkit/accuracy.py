"""Error rates from numbers of scores.

FMR is the share of impostor comparisons that match, FNMR that of genuine ones that
do not; both are functions of the threshold, 0 to SCORE_SCALE. Where nothing was
compared a rate is NaN.
"""
from __future__ import annotations

import dataclasses
from collections.abc import Sequence
from typing import Any, NamedTuple

import numpy as np
from numpy.typing import NDArray

from .constants import SCORE_SCALE

Counts = NDArray[np.int64]
"""How many comparisons have 0, 1, ... points; shape (SCORE_SCALE + 1,)."""

Curve = NDArray[np.float64]


class Rate(NamedTuple):
    """A share 0 to 1, with the ends of its 95 % confidence interval if there is one."""

    value: float
    low: float | None
    high: float | None


class ErrorRates(NamedTuple):
    """By threshold, shape (SCORE_SCALE + 1,); at SCORE_SCALE nothing matches."""

    fmr: Curve
    fnmr: Curve


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
    eer_nearest: Rate
    fmr100: Rate
    fmr1000: Rate
    zero_fmr: Rate
    levels: tuple[LevelRates, ...]


class Samples(NamedTuple):
    """What was counted: once as it is, and in each round of a bootstrap, a row each."""

    genuine: Counts
    impostor: Counts
    drawn_genuine: Counts  # shape (rounds, SCORE_SCALE + 1)
    drawn_impostor: Counts


def error_rates(genuine: Counts, impostor: Counts) -> ErrorRates:
    reached = np.cumsum(impostor[::-1])[::-1]
    missed = np.concatenate([[0], np.cumsum(genuine[:-1])])
    with np.errstate(invalid="ignore"):
        return ErrorRates(reached / reached[0], missed / genuine.sum())


def equal_error_rate(rates: ErrorRates) -> float:
    """The rate where FMR and FNMR cross, as the FVC protocol defines it: of the last
    threshold where FNMR is not above FMR and the first where it is not below, the one with
    the lesser sum of both rates, and there the middle between the two."""
    fmr, fnmr = rates
    if np.isnan(fmr[0]) or np.isnan(fnmr[0]):
        return float("nan")
    before = np.flatnonzero(fnmr <= fmr)[-1]
    after = np.flatnonzero(fnmr >= fmr)[0]
    return float(min(fmr[before] + fnmr[before], fmr[after] + fnmr[after]) / 2)


def nearest_error_rate(rates: ErrorRates) -> float:
    """Another definition in use: the mean of FMR and FNMR at the threshold where they are
    nearest."""
    if np.isnan(rates.fmr[0]) or np.isnan(rates.fnmr[0]):
        return float("nan")
    at = np.abs(rates.fmr - rates.fnmr).argmin()
    return float((rates.fmr[at] + rates.fnmr[at]) / 2)


def fnmr_at_fmr(rates: ErrorRates, fmr: float) -> float:
    allowed = rates.fnmr[rates.fmr <= fmr]
    return float(allowed.min()) if len(allowed) else float("nan")


def _figures(rates: ErrorRates, thresholds: list[int]) -> Curve:
    return np.array([equal_error_rate(rates), nearest_error_rate(rates),
                     fnmr_at_fmr(rates, 0.01), fnmr_at_fmr(rates, 0.001), fnmr_at_fmr(rates, 0.0),
                     *rates.fmr[thresholds], *rates.fnmr[thresholds]])


def with_interval(figures: NDArray[np.float64], drawn: Sequence[Any] | NDArray[np.float64]
                  ) -> list[Rate]:
    """The figures with what lies between the 2.5th and the 97.5th percentile of the same
    figures of each round."""
    if len(drawn) == 0:
        return [Rate(float(each), None, None) for each in figures]
    low, high = np.percentile(drawn, [2.5, 97.5], axis=0)
    return [Rate(*map(float, triple)) for triple in zip(figures, low, high)]


def measure(samples: Samples, thresholds: Sequence[int]) -> Accuracy:
    """All figures; the thresholds are those of the security levels. A round that drew no
    genuine or no impostor comparison does not count."""
    chosen = list(thresholds)
    rates = error_rates(samples.genuine, samples.impostor)
    # numpy's types do not tell that these are arrays again.
    rounds: Any = zip(samples.drawn_genuine, samples.drawn_impostor)
    drawn = [_figures(error_rates(genuine, impostor), chosen) for genuine, impostor in rounds
             if genuine.any() and impostor.any()]
    eer, nearest, fmr100, fmr1000, zero_fmr, *each = with_interval(_figures(rates, chosen), drawn)
    count = len(chosen)
    levels = tuple(LevelRates(number, threshold, fmr, fnmr) for number, threshold, fmr, fnmr in
                   zip(range(1, count + 1), chosen, each[:count], each[count:]))
    return Accuracy(int(samples.genuine.sum()), int(samples.impostor.sum()), rates, eer, nearest,
                    fmr100, fmr1000, zero_fmr, levels)


def empty_counts() -> Counts:
    return np.zeros(SCORE_SCALE + 1, dtype=np.int64)
