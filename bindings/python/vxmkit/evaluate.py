"""Error rates of the library on a folder of templates.

    python3 -m vxmkit.evaluate DIR [--pattern '{finger}_{impression}'] [--out OUTDIR]

Compares every template with every other one, on all cores, and writes into OUTDIR

    results.json  all figures below with 95 % confidence intervals; what was left out
    scores.csv    every comparison
    rates.csv     FMR and FNMR at every threshold
    det, scores   .svg and .png: the DET curve, the distribution of scores

A genuine comparison is of two impressions of one finger. Two protocols are reported:
"all pairs" takes all pairs of different fingers as impostor comparisons, "FVC" only
the first impression of each finger with that of each other.
"""
from __future__ import annotations

import argparse
import csv
import json
import sys
from collections.abc import Sequence
from concurrent.futures import BrokenExecutor
from pathlib import Path

try:
    from .accuracy import Accuracy, Rate, measure
    from .report import write_figures
    from .trials import Trials, run_trials
except ModuleNotFoundError as missing:
    print(f"vxmkit.evaluate: needs numpy, matplotlib and tqdm; no {missing.name} here",
          file=sys.stderr)
    sys.exit(2)
from .constants import SCORE_SCALE, THRESHOLDS, TemplateType
from .errors import LibraryNotFoundError
from .impressions import Fault, FolderError, Impression, of_one_type, read_folder

_TYPES = {"native": TemplateType.NATIVE, "iso": TemplateType.ISO19794_2,
          "ansi": TemplateType.ANSI378}
_FIGURES = {"eer": "EER", "fmr100": "FMR100", "fmr1000": "FMR1000", "zero_fmr": "ZeroFMR"}
DONE, SOME_LEFT_OUT, FAILED, INTERRUPTED = 0, 1, 2, 130


def _options(arguments: Sequence[str] | None) -> argparse.Namespace:
    parser = argparse.ArgumentParser(
        prog="python3 -m vxmkit.evaluate", description=__doc__,
        formatter_class=argparse.RawDescriptionHelpFormatter,
        epilog="Exit codes: 0 done, 1 done without some files that are no templates or have "
               "other names,\n2 error.")
    parser.add_argument("folder", type=Path, metavar="DIR", help="folder of templates")
    parser.add_argument("--pattern", default="{finger}_{impression}",
                        help="what file names without their suffix are made of; * for any other "
                             "text, / for folders (default: %(default)s)")
    parser.add_argument("--type", choices=_TYPES, help="where the folder has several formats")
    parser.add_argument("--protocol", choices=("both", "all", "fvc"), default="both",
                        help="fvc alone saves most of the comparisons (default: %(default)s)")
    parser.add_argument("--out", type=Path, default=Path("evaluation"), metavar="OUTDIR",
                        help="folder for the results (default: %(default)s)")
    parser.add_argument("--title", help="title of the figures (default: folder and type)")
    parser.add_argument("--rounds", type=int, default=1000, metavar="N",
                        help="rounds of the bootstrap (default: %(default)s)")
    parser.add_argument("--seed", type=int, default=1, metavar="N",
                        help="what the bootstrap draws from (default: %(default)s)")
    parser.add_argument("--jobs", type=int, default=0, metavar="N",
                        help="processes (default: one a core)")
    parser.add_argument("--quiet", action="store_true", help="show no progress")
    options = parser.parse_args(arguments)
    if min(options.rounds, options.seed, options.jobs) < 0:
        parser.error("--rounds, --seed and --jobs cannot be negative")
    return options


def _percent(rate: Rate) -> str:
    def digits(share: float) -> str:
        return f"{100 * share:.{2 if share == 0 or share >= 0.001 else 4}f}"

    return f"{digits(rate.value)} ({digits(rate.low)} to {digits(rate.high)})"


def _table(accuracies: dict[str, Accuracy]) -> str:
    """The figures in percent, a column for each protocol."""
    rows = [("", *accuracies),
            ("genuine, impostor pairs", *(f"{each.genuine}, {each.impostor}"
                                          for each in accuracies.values()))]
    for field, name in _FIGURES.items():
        rows.append((name, *(_percent(getattr(each, field)) for each in accuracies.values())))
    for kind in ("fmr", "fnmr"):
        for levels in zip(*(each.levels for each in accuracies.values())):
            rows.append((f"{kind.upper()} at level {levels[0].level}",
                         *(_percent(getattr(level, kind)) for level in levels)))
    return "\n".join(f"{first:<24}" + "".join(f"{cell:<28}" for cell in cells).rstrip()
                     for first, *cells in rows)


def _as_json(accuracy: Accuracy) -> dict[str, object]:
    found: dict[str, object] = {"genuine": accuracy.genuine, "impostor": accuracy.impostor}
    for field in _FIGURES:
        found[field] = getattr(accuracy, field)._asdict()
    found["levels"] = [{"level": each.level, "threshold": each.threshold,
                        "fmr": each.fmr._asdict(), "fnmr": each.fnmr._asdict()}
                       for each in accuracy.levels]
    return found


def _write_json(path: Path, options: argparse.Namespace, impressions: Sequence[Impression],
                faults: Sequence[Fault], accuracies: dict[str, Accuracy]) -> None:
    results = {
        "type": impressions[0].type.name,
        "fingers": len({each.finger for each in impressions}),
        "templates": len(impressions),
        "left_out": [{"file": each.path, "reason": each.reason} for each in faults],
        "confidence": {"level": 0.95, "rounds": options.rounds, "seed": options.seed},
        "protocols": {name: _as_json(accuracy) for name, accuracy in accuracies.items()},
    }
    path.write_text(json.dumps(results, indent=2) + "\n", encoding="utf-8")


def _write_scores(path: Path, impressions: Sequence[Impression], trials: Trials) -> None:
    with path.open("w", newline="", encoding="utf-8") as file:
        writer = csv.writer(file, lineterminator="\n")
        writer.writerow(["probe", "candidate", "genuine", "fvc", "score"])
        writer.writerows(
            (impressions[probe].path, impressions[candidate].path, int(genuine), int(fvc),
             points / SCORE_SCALE)
            for probe, candidate, genuine, fvc, points in
            zip(trials.probe, trials.candidate, trials.genuine, trials.fvc, trials.points))


def _write_rates(path: Path, accuracies: dict[str, Accuracy]) -> None:
    with path.open("w", newline="", encoding="utf-8") as file:
        writer = csv.writer(file, lineterminator="\n")
        writer.writerow(["protocol", "threshold", "fmr", "fnmr"])
        for name, accuracy in accuracies.items():
            writer.writerows(
                (name, threshold / SCORE_SCALE, fmr, fnmr)
                for threshold, (fmr, fnmr) in enumerate(zip(*accuracy.rates)))


def _measured(options: argparse.Namespace, trials: Trials,
              thresholds: tuple[int, ...]) -> dict[str, Accuracy]:
    chosen = {}
    if options.protocol != "fvc":
        chosen["all pairs"] = trials
    if options.protocol != "all":
        chosen["FVC"] = trials.of_fvc()
    return {name: measure(each, thresholds, options.rounds, options.seed, not options.quiet)
            for name, each in chosen.items()}


def _require_both_kinds(impressions: Sequence[Impression]) -> None:
    fingers = {each.finger for each in impressions}
    if len(fingers) < 2:
        raise FolderError("templates of at least two fingers are needed; does the pattern fit?")
    if len(fingers) == len(impressions):
        raise FolderError("no finger has two impressions; does the pattern fit?")


def _evaluate(options: argparse.Namespace) -> int:
    impressions, faults = read_folder(options.folder, options.pattern)
    for fault in faults:
        print(f"vxmkit.evaluate: left out {options.folder / fault.path}: {fault.reason}",
              file=sys.stderr)
    impressions = of_one_type(impressions, _TYPES.get(options.type))
    _require_both_kinds(impressions)
    options.out.mkdir(parents=True, exist_ok=True)
    trials = run_trials(impressions, options.protocol == "fvc", options.jobs, not options.quiet)
    thresholds = THRESHOLDS[impressions[0].type]
    accuracies = _measured(options, trials, thresholds)
    _write_json(options.out / "results.json", options, impressions, faults, accuracies)
    _write_scores(options.out / "scores.csv", impressions, trials)
    _write_rates(options.out / "rates.csv", accuracies)
    title = options.title or f"{options.folder.resolve().name}, {impressions[0].type.name}"
    write_figures(options.out, title, trials, accuracies, thresholds)
    print(f"{len(impressions)} templates ({impressions[0].type.name}) of "
          f"{len({each.finger for each in impressions})} fingers, {len(faults)} files left out; "
          f"all in %, 95 % confidence in brackets\n\n{_table(accuracies)}\n\n"
          f"written to {options.out}")
    return SOME_LEFT_OUT if faults else DONE


def main(arguments: Sequence[str] | None = None) -> int:
    options = _options(arguments)
    try:
        return _evaluate(options)
    except (FolderError, LibraryNotFoundError, OSError, ValueError) as error:
        print(f"vxmkit.evaluate: {error}", file=sys.stderr)
        return FAILED
    except BrokenExecutor:
        print("vxmkit.evaluate: a process ended early; is memory short?", file=sys.stderr)
        return FAILED
    except KeyboardInterrupt:
        print("vxmkit.evaluate: interrupted, nothing written", file=sys.stderr)
        return INTERRUPTED


if __name__ == "__main__":
    sys.exit(main())
