"""The files of an evaluation, in a folder that appears as a whole or not at all."""
from __future__ import annotations

import csv
import json
import os
import shutil
import sys
from collections.abc import Iterable, Mapping, Sequence
from pathlib import Path
from typing import Any

import numpy as np
from numpy.typing import NDArray

from .accuracy import Accuracy, Counts, Rate
from .constants import SCORE_SCALE
from .impressions import Impression
from .pairs import as_list
from .trials import Trials

FIGURES = {"eer": "EER", "eer_nearest": "EER, nearest", "fmr100": "FMR100",
           "fmr1000": "FMR1000", "zero_fmr": "ZeroFMR"}


class ExistsError(Exception):
    """There is something where the results are to be; the text says what."""


class ResultFolder:
    """Results are made in a folder beside, OUT.part, which stays when they are not
    finished, with the scores that are there; `finish` gives it its name."""

    def __init__(self, out: Path, mark: str, force: bool) -> None:
        whole = Path(os.path.abspath(out))
        self.out, self.part = whole, whole.with_name(whole.name + ".part")
        if out.exists() or out.is_symlink():
            if not out.is_dir() or (any(out.iterdir()) and not (out / mark).exists()):
                raise ExistsError(f"{out}: exists and is no folder of results")
            if any(out.iterdir()) and not force:
                raise ExistsError(f"{out}: has results already; --force replaces them")
        self.part.mkdir(parents=True, exist_ok=True)

    def finish(self, points: NDArray[np.int16]) -> None:
        """With the file that the points are mapped from, which nobody may use any more: it
        becomes scores.npy."""
        if isinstance(points, np.memmap):
            file = Path(str(points.filename))
            getattr(points, "_mmap").close()  # Windows renames no mapped file
            os.replace(file, self.part / "scores.npy")
        for stale in self.part.glob("*.part"):
            stale.unlink()
        for file in self.part.iterdir():
            with file.open("rb") as opened:
                os.fsync(opened.fileno())
        if self.out.exists():
            old = self.out.with_name(self.out.name + ".old")
            os.replace(self.out, old)
            os.replace(self.part, self.out)
            shutil.rmtree(old)
        else:
            os.replace(self.part, self.out)


def say(text: str) -> None:
    """Prints, or raises OSError when that fails."""
    print(text)
    sys.stdout.flush()


def rate_json(rate: Rate) -> dict[str, float | None]:
    return rate._asdict()


def accuracy_json(accuracy: Accuracy) -> dict[str, Any]:
    found: dict[str, Any] = {"genuine": accuracy.genuine, "impostor": accuracy.impostor}
    for field in FIGURES:
        found[field] = rate_json(getattr(accuracy, field))
    found["levels"] = [{"level": each.level, "threshold": each.threshold,
                        "fmr": rate_json(each.fmr), "fnmr": rate_json(each.fnmr)}
                       for each in accuracy.levels]
    return found


def write_json(path: Path, value: Any) -> None:
    path.write_text(json.dumps(value, indent=2) + "\n", encoding="utf-8")


def write_csv(path: Path, head: Sequence[str], rows: Iterable[Sequence[Any]]) -> None:
    with path.open("w", newline="", encoding="utf-8") as file:
        writer = csv.writer(file, lineterminator="\n")
        writer.writerow(head)
        writer.writerows(rows)


def write_scores(path: Path, impressions: Sequence[Impression], trials: Trials) -> None:
    names = [each.path for each in impressions]
    write_csv(path, ["probe", "candidate", "genuine", "fvc", "score"], (
        (names[probe], names[candidate], int(genuine),
         int(genuine or (trials.first[probe] and trials.first[candidate])), points / SCORE_SCALE)
        for part in trials.parts()
        for probe, candidate, genuine, points in zip(
            as_list(part.probe), as_list(part.candidate), as_list(trials.genuine(part)),
            as_list(part.points))))


def write_rates(path: Path, accuracies: Mapping[str, Accuracy]) -> None:
    write_csv(path, ["protocol", "threshold", "fmr", "fnmr"], (
        (name, threshold / SCORE_SCALE, fmr, fnmr)
        for name, accuracy in accuracies.items()
        for threshold, (fmr, fnmr) in enumerate(zip(*accuracy.rates))))


def write_two_columns(path: Path, counts: Counts) -> None:
    """A score and the number of comparisons that have it, parted by a blank, a line for
    each score that occurs: the histogram input of PyEER."""
    path.write_text("".join(f"{points / SCORE_SCALE:g} {count}\n"
                            for points, count in enumerate(as_list(counts)) if count),
                    encoding="ascii")


def read_results(folder: Path) -> tuple[dict[str, Any], dict[str, list[tuple[float, float]]]]:
    """What `write_json` and `write_rates` wrote: results, and FMR and FNMR by threshold for
    each protocol. ValueError: another file."""
    try:
        results = json.loads((folder / "results.json").read_text(encoding="utf-8"))
        rates: dict[str, list[tuple[float, float]]] = {name: [] for name in results["protocols"]}
        with (folder / "rates.csv").open(newline="", encoding="utf-8") as file:
            for row in csv.DictReader(file):
                rates[row["protocol"]].append((float(row["fmr"]), float(row["fnmr"])))
    except (KeyError, TypeError, ValueError) as error:
        raise ValueError(f"{folder}: no results of an evaluation ({error})") from error
    return results, rates
