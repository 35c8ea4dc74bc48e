"""Error rates of searches in galleries of made or real fingers.

    python3 -m vxmkit.identification DIR [--pattern '{finger}_{impression}'] [--out OUTDIR]

The first impression of each finger is enrolled, every other one is a probe: once
searched in a gallery that has its finger (mated), once in one without it. Each
candidate is compared in fast mode, in normal mode and by the complete comparison of
verification, at every security level. Writes into OUTDIR

    results.json    all figures, with 95 % confidence intervals by a bootstrap over fingers
    figures.csv     the same, one a line
    scores.npy      points of the complete comparisons, shape (probes, enrolled)
    fpir, ranks     .svg and .png: false positives over the size of the gallery, and the
                    share of fingers found at each rank

FPIR is the share of searches without a mate that find anyone, and FNIR the share of
mated ones that do not find the mate: among all that match, or as the one answer, which
is the first that matches. Both are given for galleries of several sizes: the mean over
all galleries of so many of the fingers enrolled. Rank 1 is the share of mated searches
in which nobody scores as high as the mate.
"""
from __future__ import annotations

import argparse
import sys
from collections.abc import Sequence
from pathlib import Path
from typing import Any, NamedTuple

try:
    import numpy as np
    from matplotlib.figure import Figure
    from numpy.typing import NDArray
    from tqdm import tqdm

    from .accuracy import Rate, with_interval
    from .evaluate import add_folder_options, checked_options, gathered, run, title_of
    from .host_program import DONE, LEFT_OUT
    from .pairs import Matrix, as_list
    from .report import LINES, percent, rank_plot, write_figures
    from .results import ResultFolder, rate_json, say, write_csv, write_json
    from .scoring import pair_scores
    from .searches import Searcher
    from .trials import finger_indices
except ModuleNotFoundError as missing:
    print(f"vxmkit.identification: needs numpy, matplotlib and tqdm; no {missing.name} here",
          file=sys.stderr)
    sys.exit(2)
from .constants import SECURITY_LEVELS, THRESHOLDS

Shares = NDArray[np.float64]
Counts = NDArray[np.int64]
MODES = ("fast", "normal", "complete")


class Outcomes(NamedTuple):
    """Of each probe's search at each level, shape (probes, levels): whether the mate
    matches, how many others do, and how many of those come before the mate."""

    mate: NDArray[np.bool_]
    others: Counts
    ahead: Counts


def none_drawn(others: Counts, fingers: int, size: int) -> Shares:
    """The share of all galleries of `size` among `fingers` in which there is none of the
    `others`."""
    left = np.ones(others.shape)
    rest = fingers - others
    # Whoever is enrolled first, second, ... is each time one of those that remain.
    for drawn in range(size):
        left *= np.maximum(rest - drawn, 0) / (fingers - drawn)
    return left


def searched(probes: Sequence[bytes], mates: Sequence[int], searcher: Searcher,
             progress: str) -> Outcomes:
    rows = []
    for probe, mate in tqdm(list(zip(probes, mates)), desc=progress, unit=" searches",
                            disable=None if progress else True):
        row = []
        for found in searcher.matches(probe):
            hit = mate in found
            row.append((hit, len(found) - hit, found.index(mate) if hit else 0))
        rows.append(row)
    told = np.array(rows, dtype=np.int64)
    return Outcomes(told[:, :, 0] > 0, told[:, :, 1], told[:, :, 2])


def compared(points: NDArray[np.int16], mates: Counts, thresholds: Sequence[int]) -> Outcomes:
    """By complete comparisons, of which the best answers a search."""
    own = points[np.arange(len(mates)), mates]
    reached = np.stack([(points >= each).sum(axis=1) for each in thresholds], axis=1)
    mate = own[:, None] >= np.array(thresholds)
    better = (points >= own[:, None]).sum(axis=1) - 1
    return Outcomes(mate, reached - mate, np.where(mate, better[:, None], 0))


class Measured(NamedTuple):
    """By mode and level; where a size of the gallery matters, by that first."""

    fnir_all: dict[str, list[Rate]]
    fnir_first: dict[int, dict[str, list[Rate]]]
    fpir: dict[int, dict[str, list[Rate]]]
    lost: dict[str, list[Rate]]  # mates that only the complete comparison finds
    rank1: dict[int, Rate]


def _rates(shares: Shares, fingers: NDArray[np.int32], drawn: NDArray[np.int64]) -> list[Rate]:
    """Means over the probes of an array (probes, n), with intervals of the draws of
    fingers."""
    sums = np.zeros((fingers.max() + 1, shares.shape[1]))
    np.add.at(sums, fingers, shares)
    numbers = np.bincount(fingers)
    rounds = (drawn @ sums) / np.maximum(1, drawn @ numbers)[:, None]
    return with_interval(shares.mean(axis=0), rounds)


def measure(outcomes: dict[str, Outcomes], better: Counts, fingers: NDArray[np.int32],
            enrolled: int, sizes: Sequence[int], rounds: int, seed: int) -> Measured:
    """`better` is how many others score as high as each probe's mate, all when the mate
    scores 0."""
    source = np.random.default_rng(seed)
    count = int(fingers.max()) + 1
    drawn = np.array([np.bincount(source.integers(count, size=count), minlength=count)
                      for _ in range(rounds)], dtype=np.int64).reshape(rounds, count)
    others = enrolled - 1

    def by_mode(shares: Any) -> dict[str, list[Rate]]:
        return {mode: _rates(shares(outcomes[mode]), fingers, drawn) for mode in MODES}

    complete = outcomes["complete"].mate
    return Measured(
        by_mode(lambda each: 1.0 - each.mate),
        {size: by_mode(lambda each: 1.0 - each.mate * none_drawn(each.ahead, others, size - 1))
         for size in sizes},
        {size: by_mode(lambda each: 1.0 - none_drawn(each.others, others, size))
         for size in sizes},
        by_mode(lambda each: (complete & ~each.mate).astype(float)),
        {size: _rates(none_drawn(better, others, size - 1)[:, None], fingers, drawn)[0]
         for size in sizes})


def gallery_sizes(enrolled: int) -> list[int]:
    """Powers of 10, and the largest gallery without the mate."""
    return [*(10 ** power for power in range(1, 9) if 10 ** power < enrolled - 1), enrolled - 1]


def _table(measured: Measured) -> str:
    """In percent, of all modes by level: those without an interval are in results.json."""
    def value(rate: Rate) -> str:
        return percent(rate._replace(low=None, high=None))

    lines = ["FPIR by size of the gallery; FNIR among all that match"]
    for mode in MODES:
        lines.append(f"\n{mode:<14}" + "".join(f"{f'level {level}':>10}"
                                               for level in SECURITY_LEVELS))
        for size, by_mode in measured.fpir.items():
            lines.append(f"{f'FPIR, {size}':<14}" + "".join(f"{value(each):>10}"
                                                            for each in by_mode[mode]))
        for name, rates in (("FNIR", measured.fnir_all), ("mates lost", measured.lost)):
            lines.append(f"{name:<14}" + "".join(f"{value(each):>10}" for each in rates[mode]))
    lines.append("\nrank 1, complete: " + ", ".join(
        f"{percent(rate)} of {size}" for size, rate in measured.rank1.items()))
    return "\n".join(lines)


def _as_json(measured: Measured) -> dict[str, Any]:
    def plain(value: Any) -> Any:
        if isinstance(value, Rate):
            return rate_json(value)
        if isinstance(value, dict):
            return {str(key): plain(each) for key, each in value.items()}
        return [plain(each) for each in value]

    return {name: plain(value) for name, value in measured._asdict().items()}


def _rows(measured: Measured) -> list[tuple[Any, ...]]:
    rows: list[tuple[Any, ...]] = []
    for figure in ("fnir_all", "lost"):
        for mode, rates in getattr(measured, figure).items():
            rows += [(figure, mode, "", level, *rate) for level, rate
                     in zip(SECURITY_LEVELS, rates)]
    for figure in ("fnir_first", "fpir"):
        for size, by_mode in getattr(measured, figure).items():
            rows += [(figure, mode, size, level, *rate) for mode, rates in by_mode.items()
                     for level, rate in zip(SECURITY_LEVELS, rates)]
    return rows + [("rank1", "complete", size, "", *rate)
                   for size, rate in measured.rank1.items()]


def _fpir_figure(measured: Measured, title: str) -> Figure:
    """FPIR over the size of the gallery; black for fast mode, grey for the complete
    comparison."""
    figure = Figure(figsize=(6, 4.6), layout="constrained")
    axes = figure.subplots()
    for mode, (line, color) in zip(("fast", "complete"), LINES):
        for at, level in enumerate(SECURITY_LEVELS):
            curve = [(size, 100 * by_mode[mode][at].value)
                     for size, by_mode in measured.fpir.items() if by_mode[mode][at].value > 0]
            if curve:
                axes.plot(*zip(*curve), line, color=color, marker=".",
                          label=mode if at == 0 else None)
                axes.annotate(str(level), curve[-1], color=color, fontsize=9,
                              xytext=(5 if mode == "fast" else 14, -3),
                              textcoords="offset points")
    axes.set(xscale="log", yscale="log", xlabel="candidates",
             ylabel="searches without a mate that match (%)", title=title)
    axes.grid(True, color="0.9")
    axes.legend(loc="upper left", framealpha=1, edgecolor="white",
                title="numbers: security levels")
    return figure


def _identify(options: argparse.Namespace) -> int:
    impressions, enrolment = gathered(options, "vxmkit.identification")
    finger = finger_indices(impressions)
    first = np.diff(finger, prepend=-1) != 0
    gallery = [each.template for each, enrolled in zip(impressions, first) if enrolled]
    if len(gallery) < 3:
        raise ValueError("templates of at least three fingers are needed")
    chosen = np.flatnonzero(~first)
    if options.probes and options.probes < len(chosen):
        chosen = chosen[np.linspace(0, len(chosen) - 1, options.probes).astype(int)]
    probes = [impressions[index].template for index in chosen]
    mates = finger[chosen].astype(np.int64)
    kind, progress = impressions[0].type, not options.quiet
    folder = ResultFolder(options.out, "results.json", options.force)
    points = pair_scores(probes + gallery, Matrix(len(probes), len(gallery)),
                         (len(probes), len(gallery)), offset=len(probes), threads=options.jobs,
                         out=folder.part / "scores.npy", rename=False, progress=progress)
    thresholds = THRESHOLDS[kind]
    outcomes = {"complete": compared(points, mates, thresholds)}
    for mode in MODES[:2]:
        searcher = Searcher(gallery, kind, mode == "fast")
        outcomes[mode] = searched(probes, as_list(mates), searcher,
                                  f"{mode} mode" if progress else "")
        searcher.close()
    own = points[np.arange(len(mates)), mates][:, None]
    better = np.where(own[:, 0] > 0, (points >= own).sum(axis=1) - 1, len(gallery) - 1)
    sizes = gallery_sizes(len(gallery))
    measured = measure(outcomes, better, finger[chosen], len(gallery), sizes, options.rounds,
                       options.seed)
    found = np.bincount(better[own[:, 0] > 0], minlength=len(gallery))
    curve = np.cumsum(found) / len(better)
    title = title_of(options, impressions)
    write_json(folder.part / "results.json", {
        "title": title, "type": kind.name, "enrolled": len(gallery), "probes": len(probes),
        **enrolment.as_json(),
        "confidence": {"level": 0.95, "rounds": options.rounds, "seed": options.seed}
        if options.rounds else None, **_as_json(measured), "ranks": np.round(curve, 6).tolist()})
    write_csv(folder.part / "figures.csv",
              ["figure", "mode", "candidates", "level", "value", "low", "high"], _rows(measured))
    write_figures(folder.part, {"fpir": _fpir_figure(measured, title),
                                "ranks": rank_plot({f"{len(gallery)} fingers": curve}, title)})
    folder.finish(points)
    say(f"{len(gallery)} fingers enrolled, {len(probes)} probes ({kind.name}); "
        f"{enrolment.text()}; all in %\n\n{_table(measured)}\n\nwritten to {options.out}")
    return LEFT_OUT if enrolment.faults else DONE


def main(arguments: Sequence[str] | None = None) -> int:
    parser = argparse.ArgumentParser(
        prog="python3 -m vxmkit.identification", description=__doc__,
        formatter_class=argparse.RawDescriptionHelpFormatter,
        epilog="Exit codes: 0 done, 2 error, 3 stopped by Ctrl-C, 4 done without some files that "
               "are no templates\nor have other names.")
    add_folder_options(parser, Path("identification"))
    parser.add_argument("--probes", type=int, default=0, metavar="N",
                        help="at most so many, spread over all (default: all)")
    return run("vxmkit.identification", lambda: checked_options(parser, arguments),
               _identify)


if __name__ == "__main__":
    sys.exit(main())
