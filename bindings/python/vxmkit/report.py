"""The figures of an evaluation: DET curve and distribution of scores."""
from __future__ import annotations

from pathlib import Path

import numpy as np
from matplotlib.figure import Figure
from matplotlib.ticker import FuncFormatter

from .accuracy import Accuracy
from .constants import SCORE_SCALE
from .figures import save
from .trials import Trials

_LINES = (("-", "black"), ("--", "0.45"))


def _det(accuracies: dict[str, Accuracy], title: str) -> Figure:
    """FNMR over FMR in percent, both logarithmic. Rates of 0 have no place there: a
    curve ends at its last threshold with errors of both kinds, and security levels
    without a false match stand at the left edge. They are of the first accuracy."""
    figure = Figure(figsize=(6, 5.4), layout="constrained")
    axes = figure.subplots()
    left = 50 / max(each.impostor for each in accuracies.values())
    bottom = 50 / max(each.genuine for each in accuracies.values())
    axes.plot([left, 100], [left, 100], ":", color="0.7", linewidth=1)
    for (name, accuracy), (line, color) in zip(accuracies.items(), _LINES):
        fmr, fnmr = (100 * rate for rate in accuracy.rates)
        seen = (fmr > 0) & (fnmr > 0)
        axes.plot(fmr[seen], fnmr[seen], line, color=color, drawstyle="steps-post",
                  label=f"{name}: EER {100 * accuracy.eer.value:.2f} %")
    marked, accuracy = next(iter(accuracies.items()))
    for level in accuracy.levels:
        at = max(100 * level.fmr.value, left), 100 * level.fnmr.value
        if at[1] > 0:
            axes.plot(*at, "o" if level.fmr.value > 0 else "<", color="black", markersize=5,
                      clip_on=False)
            axes.annotate(str(level.level), at, xytext=(5, 4), textcoords="offset points",
                          fontsize=9)
    axes.set(xscale="log", yscale="log", xlim=(left, 100), ylim=(bottom, 100),
             xlabel="FMR, impostors that match (%)",
             ylabel="FNMR, genuine pairs that do not match (%)", title=title)
    for axis in (axes.xaxis, axes.yaxis):
        axis.set_major_formatter(FuncFormatter(lambda value, _: f"{value:g}"))
    axes.grid(True, color="0.9")
    axes.legend(loc="lower left", framealpha=1, edgecolor="white",
                alignment="left",
                title=f"numbers: security levels ({marked}),\nat the left edge with an FMR of 0")
    return figure


def _distribution(trials: Trials, thresholds: tuple[int, ...], title: str) -> Figure:
    """Share of comparisons by score. The scale is linear up to the lowest threshold
    and logarithmic above it, where most of the decisions fall."""
    figure = Figure(figsize=(7, 4.2), layout="constrained")
    axes = figure.subplots()
    linear = thresholds[0]
    bins = np.concatenate([np.linspace(0, linear, 5),
                           np.geomspace(linear, SCORE_SCALE, 33)[1:]])
    for chosen, label, style in (
            (~trials.genuine, "impostor", {"facecolor": "0.8", "edgecolor": "0.5"}),
            (trials.genuine, "genuine", {"facecolor": "none", "edgecolor": "black",
                                         "hatch": "////", "linewidth": 1.2})):
        points = trials.points[chosen]
        axes.hist(points, bins, weights=np.full(len(points), 100 / len(points)),
                  histtype="stepfilled", label=f"{label}, {len(points)} pairs", **style)
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
    axes.set_title(title, pad=18)
    axes.legend(loc="upper right", framealpha=1, edgecolor="white",
                title="dotted: security levels 1 to 7")
    return figure


def write_figures(folder: Path, title: str, trials: Trials, accuracies: dict[str, Accuracy],
                  thresholds: tuple[int, ...]) -> None:
    """det and scores as SVG and PNG. At most two accuracies, by protocol."""
    for name, figure in (("det", _det(accuracies, title)),
                         ("scores", _distribution(trials, thresholds, title))):
        for suffix in (".svg", ".png"):
            save(figure, (folder / name).with_suffix(suffix))
