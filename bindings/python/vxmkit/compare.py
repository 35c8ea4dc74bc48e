"""Results of several evaluations on one picture: formats, versions, difficulties.

    python3 -m vxmkit.compare RESULTS RESULTS [...] -o both.svg

RESULTS are up to four folders that `python3 -m vxmkit.evaluate` wrote. Draws their DET
curves and prints their figures side by side. A name may be given: NAME=FOLDER.
"""
from __future__ import annotations

import argparse
import sys
from collections.abc import Sequence
from pathlib import Path
from typing import Any

try:
    import numpy as np

    from .accuracy import Accuracy, ErrorRates, LevelRates, Rate
    from .figures import save
    from .report import LINES, det, percent
    from .results import FIGURES, read_results, say
except ModuleNotFoundError as missing:
    print(f"vxmkit.compare: needs numpy, matplotlib and tqdm; no {missing.name} here",
          file=sys.stderr)
    sys.exit(2)
from .host_program import DONE, run_program


def _accuracy(told: dict[str, Any], curves: list[tuple[float, float]]) -> Accuracy:
    fmr, fnmr = np.array(curves).T
    levels = tuple(LevelRates(each["level"], each["threshold"], Rate(**each["fmr"]),
                              Rate(**each["fnmr"])) for each in told["levels"])
    eer, nearest, fmr100, fmr1000, zero_fmr = (Rate(**told[field]) for field in FIGURES)
    return Accuracy(told["genuine"], told["impostor"], ErrorRates(fmr, fnmr), eer, nearest,
                    fmr100, fmr1000, zero_fmr, levels)


def _run(text: str, protocol: str | None) -> tuple[str, str, Accuracy]:
    """A name, the protocol, and the figures of a folder of results."""
    name, _, folder = text.rpartition("=")
    results, rates = read_results(Path(folder))
    chosen = protocol or next(iter(rates))
    if chosen not in rates:
        raise ValueError(f"{folder}: no results of the protocol {chosen!r}")
    return (name or str(results.get("title") or folder), chosen,
            _accuracy(results["protocols"][chosen], rates[chosen]))


def _table(runs: dict[str, Accuracy]) -> str:
    rows = [("", list(runs)), *(
        (name, [percent(getattr(each, field)) for each in runs.values()])
        for field, name in FIGURES.items())]
    for kind in ("fmr", "fnmr"):
        for levels in zip(*(each.levels for each in runs.values())):
            rows.append((f"{kind.upper()} at level {levels[0].level}",
                         [percent(getattr(level, kind)) for level in levels]))
    widths = [2 + max(len(row[1][column]) for row in rows) for column in range(len(runs))]
    return "\n".join((f"{first:<18}" + "".join(f"{cell:<{width}}" for cell, width
                                                in zip(cells, widths))).rstrip()
                     for first, cells in rows)


def _compare(arguments: Sequence[str] | None) -> int:
    parser = argparse.ArgumentParser(
        prog="python3 -m vxmkit.compare", description=__doc__,
        formatter_class=argparse.RawDescriptionHelpFormatter,
        epilog="Exit codes: 0 done, 2 error.")
    parser.add_argument("results", nargs="+", metavar="RESULTS")
    parser.add_argument("-o", "--out", type=Path, required=True, metavar="PICTURE",
                        help=".svg, .png or .pdf")
    parser.add_argument("--protocol", help="'all pairs' or 'FVC' (default: the first in each)")
    parser.add_argument("--title", default="", help="title of the picture")
    options = parser.parse_args(arguments)
    if not 2 <= len(options.results) <= len(LINES):
        parser.error(f"2 to {len(LINES)} folders of results can be compared")
    if options.out.suffix not in (".svg", ".png", ".pdf"):
        parser.error("the picture's suffix must be one of .svg, .png, .pdf")
    runs: dict[str, Accuracy] = {}
    for text in options.results:
        name, _, accuracy = _run(text, options.protocol)
        if name in runs:
            raise ValueError(f"two results are called {name!r}: name them by NAME=FOLDER")
        runs[name] = accuracy
    save(det(runs, options.title), options.out)
    say(_table(runs))
    return DONE


def main(arguments: Sequence[str] | None = None) -> int:
    return run_program("vxmkit.compare", lambda: _compare(arguments), (OSError, ValueError))


if __name__ == "__main__":
    sys.exit(main())
