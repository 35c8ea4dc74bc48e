"""The figures of an evaluation: DET and ROC curves, distribution of scores, rank plot."""
from __future__ import annotations

from collections.abc import Iterable, Mapping, Sequence
from pathlib import Path
from typing import Any

import numpy as np
from matplotlib.axes import Axes
from matplotlib.figure import Figure
from matplotlib.ticker import FuncFormatter
from numpy.typing import NDArray

from .accuracy import Accuracy, Counts, Rate
from .constants import SCORE_SCALE
from .figures import save

LINES = (("-", "black"), ("--", "0.45"), ("-.", "black"), (":", "0.45"))
_PLACES = [(6, -3), (6, 6), (6, -13), (17, -3), (28, -3), (39, -3), (17, 6), (17, -13), (-13, 4)]


def _percent_axes(axes: Axes) -> None:
    for axis in (axes.xaxis, axes.yaxis):
        axis.set_major_formatter(FuncFormatter(lambda value, _: f"{value:g}"))
    axes.grid(True, color="0.9")


def label_points(axes: Axes, points: Sequence[tuple[float, float]], texts: Sequence[str]) -> None:
    """Writes each text beside its point, where neither another text nor a point is. The
    limits of the axes must be set."""
    axes.figure.draw_without_rendering()
    spots = [(float(x), float(y)) for x, y in map(axes.transData.transform, points)]
    scale = axes.figure.dpi / 72
    taken = [(x - 4, y - 4, x + 4, y + 4) for x, y in spots]

    def box(spot: tuple[float, float], place: tuple[int, int], text: str,
            ) -> tuple[float, float, float, float]:
        left, bottom = spot[0] + scale * place[0], spot[1] + scale * place[1]
        return (left, bottom, left + scale * 6 * len(text), bottom + scale * 9)

    def free(found: tuple[float, float, float, float]) -> bool:
        return not any(found[0] < other[2] and other[0] < found[2] and
                       found[1] < other[3] and other[1] < found[3] for other in taken)

    for point, spot, text in zip(points, spots, texts):
        place = next((each for each in _PLACES if free(box(spot, each, text))), _PLACES[0])
        taken.append(box(spot, place, text))
        axes.annotate(text, point, xytext=place, textcoords="offset points", fontsize=9)


def _level_points(accuracy: Accuracy, left: float, rate: str) -> list[tuple[float, float, str]]:
    """Where the levels stand in percent; without a false match at the left edge."""
    found = []
    for level in accuracy.levels:
        fnmr = 100 * level.fnmr.value
        found.append((max(100 * level.fmr.value, left), fnmr if rate == "fnmr" else 100 - fnmr,
                      str(level.level)))
    return found


def _mark_levels(axes: Axes, found: Iterable[tuple[float, float, str]], left: float,
                 bottom: float) -> None:
    seen = [each for each in found if each[1] > bottom]
    for x, y, _ in seen:
        axes.plot(x, y, "o" if x > left else "<", color="black", markersize=5, clip_on=False)
    label_points(axes, [each[:2] for each in seen], [each[2] for each in seen])


def det(accuracies: Mapping[str, Accuracy], title: str, marked: str | None = None) -> Figure:
    """FNMR over FMR in percent, both logarithmic. Rates of 0 have no place there: a
    curve ends at its last threshold with errors of both kinds, and security levels
    without a false match stand at the left edge. `marked` names the accuracy whose levels
    are shown, by default the first."""
    figure = Figure(figsize=(6, 5.4), layout="constrained")
    axes = figure.subplots()
    left = 50 / max(each.impostor for each in accuracies.values())
    bottom = 50 / max(each.genuine for each in accuracies.values())
    axes.plot([left, 100], [left, 100], ":", color="0.7", linewidth=1)
    for (name, accuracy), (line, color) in zip(accuracies.items(), LINES):
        fmr, fnmr = (100 * rate for rate in accuracy.rates)
        seen = (fmr > 0) & (fnmr > 0)
        axes.plot(fmr[seen], fnmr[seen], line, color=color, drawstyle="steps-post",
                  label=f"{name}: EER {100 * accuracy.eer.value:.2f} %")
    axes.set(xscale="log", yscale="log", xlim=(left, 100), ylim=(bottom, 100),
             xlabel="FMR, impostors that match (%)",
             ylabel="FNMR, genuine pairs that do not match (%)", title=title)
    _percent_axes(axes)
    marked = marked or next(iter(accuracies))
    axes.legend(loc="lower left", framealpha=1, edgecolor="white", alignment="left",
                title=f"numbers: security levels ({marked}),\nat the left edge with an FMR of 0")
    _mark_levels(axes, _level_points(accuracies[marked], left, "fnmr"), left, 0)
    return figure


def roc(accuracies: Mapping[str, Accuracy], title: str) -> Figure:
    """The share of genuine pairs that match over FMR, in percent."""
    figure = Figure(figsize=(6, 4.6), layout="constrained")
    axes = figure.subplots()
    left = 50 / max(each.impostor for each in accuracies.values())
    lowest = 100.0
    for (name, accuracy), (line, color) in zip(accuracies.items(), LINES):
        fmr, found = 100 * accuracy.rates.fmr, 100 * (1 - accuracy.rates.fnmr)
        seen = fmr > 0
        axes.plot(fmr[seen], found[seen], line, color=color, drawstyle="steps-post", label=name)
        lowest = min([lowest, *found[seen], *(100 * (1 - each.fnmr.value)
                                              for each in accuracy.levels)])
    axes.set(xscale="log", xlim=(left, 100), ylim=(max(0, lowest - 5), 101),
             xlabel="FMR, impostors that match (%)", ylabel="genuine pairs that match (%)",
             title=title)
    _percent_axes(axes)
    marked, accuracy = next(iter(accuracies.items()))
    axes.legend(loc="lower right", framealpha=1, edgecolor="white", alignment="left",
                title=f"numbers: security levels ({marked})")
    _mark_levels(axes, _level_points(accuracy, left, "found"), left, -1)
    return figure


def histogram(axes: Axes, series: Iterable[tuple[str, Counts, dict[str, Any]]],
              thresholds: Sequence[int]) -> None:
    """Share of comparisons by score. The scale is linear up to the lowest threshold and
    logarithmic above it, where most of the decisions fall."""
    linear = thresholds[0]
    bins = np.unique(np.concatenate([np.linspace(0, linear, 5),
                                     np.geomspace(linear, SCORE_SCALE, 33)[1:]]).astype(int))
    for label, counts, style in series:
        shares = 100 * np.add.reduceat(counts, bins[:-1]) / max(1, counts.sum())
        axes.stairs(shares, bins, label=label, **style)
    for level, threshold in enumerate(thresholds, 1):
        axes.axvline(threshold, color="black", linestyle=":", linewidth=0.8)
        axes.annotate(str(level), (threshold, 1), xycoords=("data", "axes fraction"),
                      ha="center", va="bottom", fontsize=8)
    ticks = [0, 20, 50, 100, 200, 500, 1000, 2000, 5000, SCORE_SCALE]
    axes.set_xscale("symlog", linthresh=linear)
    axes.set_xticks(ticks, [f"{tick / SCORE_SCALE:g}" for tick in ticks])
    axes.minorticks_off()
    axes.set(xlim=(0, SCORE_SCALE), yscale="log", xlabel="score",
             ylabel="share of the comparisons (%)")
    axes.yaxis.set_major_formatter(FuncFormatter(lambda value, _: f"{value:g}"))


def distribution(genuine: Counts, impostor: Counts, thresholds: Sequence[int],
                 title: str) -> Figure:
    figure = Figure(figsize=(7, 4.2), layout="constrained")
    axes = figure.subplots()
    histogram(axes, (
        (f"impostor, {impostor.sum()} pairs", impostor,
         {"fill": True, "facecolor": "0.8", "edgecolor": "0.5"}),
        (f"genuine, {genuine.sum()} pairs", genuine,
         {"fill": True, "facecolor": "none", "edgecolor": "black", "hatch": "////",
          "linewidth": 1.2})), thresholds)
    axes.set_title(title, pad=18)
    axes.legend(loc="upper right", framealpha=1, edgecolor="white",
                title="dotted: security levels 1 to 7")
    return figure


def rank_plot(curves: Mapping[str, NDArray[np.float64]], title: str) -> Figure:
    """Share of searches whose finger is among the best 1, 2, ... (CMC)."""
    figure = Figure(figsize=(6, 4.2), layout="constrained")
    axes = figure.subplots()
    ranks = 1
    for (name, curve), (line, color) in zip(curves.items(), LINES):
        ranks = max(ranks, min(len(curve), 50))
        axes.plot(np.arange(1, len(curve) + 1), 100 * curve, line, color=color, marker=".",
                  label=f"{name}: rank 1 {100 * curve[0]:.2f} %")
    axes.set(xlim=(0.8, ranks + 0.5), xlabel="rank",
             ylabel="searches whose finger is at this rank or before (%)", title=title)
    axes.xaxis.get_major_locator().set_params(integer=True)
    axes.grid(True, color="0.9")
    axes.legend(loc="lower right", framealpha=1, edgecolor="white")
    return figure


def write_figures(folder: Path, figures: Mapping[str, Figure]) -> None:
    """Each as SVG and as PNG."""
    for name, figure in figures.items():
        for suffix in (".svg", ".png"):
            save(figure, folder / (name + suffix))


def percent(rate: Rate) -> str:
    """As text in percent, with the interval in brackets if there is one."""
    def digits(share: float) -> str:
        return f"{100 * share:.{2 if share == 0 or share >= 0.001 else 4}f}"

    if rate.low is None or rate.high is None:
        return digits(rate.value)
    return f"{digits(rate.value)} ({digits(rate.low)} to {digits(rate.high)})"
