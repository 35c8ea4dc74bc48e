"""Error rates of the library on a folder of templates.

    python3 -m vxmkit.evaluate DIR [--pattern '{finger}_{impression}'] [--out OUTDIR]

Compares every template with every other one, on all cores, and writes into OUTDIR

    results.json   all figures below with 95 % confidence intervals; what was left out
    figures.csv    the same figures, one a line
    rates.csv      FMR and FNMR at every threshold
    scores.csv     every comparison, up to a million of them
    scores.npy     the points of every comparison, in the order of scores.csv;
    templates.csv  the files in their order: each is compared with each later one
    genuine.txt, impostor.txt    each score and how often it came, parted by a blank
    det, roc, scores, ranks      .svg and .png: DET and ROC curves, the distribution of
                   scores, the share of fingers found at each rank

A genuine comparison is of two impressions of one finger. Two protocols are reported:
"all pairs" takes all pairs of different fingers as impostor comparisons, "FVC" only
the first impression of each finger with that of each other.

What was compared before an interruption is kept in OUTDIR.part, and the same command
goes on there. `python3 -m vxmkit.compare` shows several results on one picture.
"""
from __future__ import annotations

import argparse
import sys
from collections.abc import Callable, Mapping, Sequence
from pathlib import Path
from typing import Any

try:
    import numpy as np

    from .accuracy import Accuracy, measure
    from .report import det, distribution, percent, rank_plot, roc, write_figures
    from .results import (FIGURES, ExistsError, ResultFolder, accuracy_json, say, write_csv,
                          write_json, write_rates, write_scores, write_two_columns)
    from .score_worker import WorkerError
    from .trials import count_scores, match_characteristic, run_trials
except ModuleNotFoundError as missing:
    print(f"vxmkit.evaluate: needs numpy, matplotlib and tqdm; no {missing.name} here",
          file=sys.stderr)
    sys.exit(2)
from .constants import THRESHOLDS, TemplateType
from .errors import LibraryNotFoundError
from .host_program import DONE, LEFT_OUT, run_program
from .impressions import Enrolment, FolderError, Impression, of_one_type, read_folder

_TYPES = {"native": TemplateType.NATIVE, "iso": TemplateType.ISO19794_2,
          "ansi": TemplateType.ANSI378}
_MOST_SCORES = 1_000_000  # that are listed as text


def _options(arguments: Sequence[str] | None) -> argparse.Namespace:
    parser = argparse.ArgumentParser(
        prog="python3 -m vxmkit.evaluate", description=__doc__,
        formatter_class=argparse.RawDescriptionHelpFormatter,
        epilog="Exit codes: 0 done, 2 error, 3 stopped by Ctrl-C, 4 done without some files that "
               "are no templates\nor have other names.")
    add_folder_options(parser, Path("evaluation"))
    parser.add_argument("--protocol", choices=("both", "all", "fvc"), default="both",
                        help="fvc alone saves most of the comparisons (default: %(default)s)")
    parser.add_argument("--every-score", action="store_true",
                        help="write scores.csv however many there are")
    return checked_options(parser, arguments)


def add_folder_options(parser: argparse.ArgumentParser, out: Path) -> None:
    """Those of all programs that measure a folder of templates."""
    parser.add_argument("folder", type=Path, metavar="DIR", help="folder of templates")
    parser.add_argument("--pattern", default="{finger}_{impression}",
                        help="what file names without their suffix are made of; * for any other "
                             "text, / for folders (default: %(default)s)")
    parser.add_argument("--type", choices=_TYPES, help="where the folder has several formats")
    parser.add_argument("--out", type=Path, default=out, metavar="OUTDIR",
                        help="folder for the results (default: %(default)s)")
    parser.add_argument("--force", action="store_true", help="replace results that are there")
    parser.add_argument("--title", help="title of the figures (default: folder and type)")
    parser.add_argument("--rounds", type=int, default=1000, metavar="N",
                        help="rounds of the bootstrap, 0 for no intervals (default: %(default)s)")
    parser.add_argument("--seed", type=int, default=1, metavar="N",
                        help="what the bootstrap draws from (default: %(default)s)")
    parser.add_argument("--jobs", type=int, metavar="N", help="processes (default: one a core)")
    parser.add_argument("--no-convert", action="store_true",
                        help="leave out records of other forms and take all resolutions as they "
                             "are, instead of converting them")
    parser.add_argument("--quiet", action="store_true", help="show no progress")


def checked_options(parser: argparse.ArgumentParser,
                    arguments: Sequence[str] | None) -> argparse.Namespace:
    options = parser.parse_args(arguments)
    if min(options.rounds, options.seed) < 0:
        parser.error("--rounds and --seed cannot be negative")
    if options.jobs is not None and options.jobs < 1:
        parser.error("--jobs must be 1 or more")
    return options


def gathered(options: argparse.Namespace, program: str) -> tuple[list[Impression], Enrolment]:
    """The impressions of the folder, of one type and of several fingers. What is left out
    is named on standard error."""
    found, faults = read_folder(options.folder, options.pattern, not options.no_convert)
    for fault in faults:
        print(f"{program}: left out {options.folder / fault.path}: {fault.reason}",
              file=sys.stderr)
    impressions = of_one_type(found, _TYPES.get(options.type))
    converted = [each for each in impressions if each.converted]
    if converted:
        print(f"{program}: {len(converted)} records were converted, such as "
              f"{converted[0].path}: {converted[0].converted}", file=sys.stderr)
    fingers = {each.finger for each in impressions}
    if len(fingers) < 2:
        raise FolderError("templates of at least two fingers are needed; does the pattern fit?")
    if len(fingers) == len(impressions):
        raise FolderError("no finger has two impressions; does the pattern fit?")
    return impressions, Enrolment(impressions, faults)


def title_of(options: argparse.Namespace, impressions: Sequence[Impression]) -> str:
    return options.title or f"{options.folder.resolve().name}, {impressions[0].type.name}"


def run(program: str, parse: Callable[[], argparse.Namespace],
        work: Callable[[argparse.Namespace], int]) -> int:
    """Turns what ends a program early into a message and an exit code."""
    def body() -> int:
        options = parse()
        try:
            return work(options)
        except KeyboardInterrupt:
            raise KeyboardInterrupt(f"interrupted; what was compared is kept in {options.out}.part, "
                                    "and the same command goes on") from None
    return run_program(program, body, (ExistsError, FolderError, LibraryNotFoundError, OSError,
                                       ValueError, WorkerError))


def _table(accuracies: Mapping[str, Accuracy]) -> str:
    """The figures in percent, a column for each protocol."""
    rows = [("", *accuracies),
            ("genuine, impostor pairs", *(f"{each.genuine}, {each.impostor}"
                                          for each in accuracies.values()))]
    for field, name in FIGURES.items():
        rows.append((name, *(percent(getattr(each, field)) for each in accuracies.values())))
    for kind in ("fmr", "fnmr"):
        for levels in zip(*(each.levels for each in accuracies.values())):
            rows.append((f"{kind.upper()} at level {levels[0].level}",
                         *(percent(getattr(level, kind)) for level in levels)))
    return "\n".join(f"{first:<24}" + "".join(f"{cell:<28}" for cell in cells).rstrip()
                     for first, *cells in rows)


def _figure_rows(accuracies: Mapping[str, Accuracy]) -> list[tuple[Any, ...]]:
    rows: list[tuple[Any, ...]] = []
    for protocol, accuracy in accuracies.items():
        rows += [(protocol, field, "", *getattr(accuracy, field)) for field in FIGURES]
        for level in accuracy.levels:
            rows += [(protocol, "fmr", level.level, *level.fmr),
                     (protocol, "fnmr", level.level, *level.fnmr)]
    return rows


def _evaluate(options: argparse.Namespace) -> int:
    impressions, enrolment = gathered(options, "vxmkit.evaluate")
    folder = ResultFolder(options.out, "results.json", options.force)
    part, progress = folder.part, not options.quiet
    trials = run_trials(impressions, options.protocol == "fvc", options.jobs, progress,
                        part / "scores.npy")
    thresholds = THRESHOLDS[impressions[0].type]
    samples = count_scores(trials, options.rounds, options.seed, progress)
    if options.protocol == "all":
        del samples["FVC"]
    accuracies = {name: measure(each, thresholds) for name, each in samples.items()}
    counts = next(iter(samples.values()))
    title = title_of(options, impressions)
    figures = {"det": det(accuracies, title), "roc": roc(accuracies, title),
               "scores": distribution(counts.genuine, counts.impostor, thresholds, title)}
    results: dict[str, Any] = {
        "title": title,
        "type": impressions[0].type.name,
        "fingers": len({each.finger for each in impressions}),
        "templates": len(impressions),
        **enrolment.as_json(),
        "confidence": {"level": 0.95, "rounds": options.rounds, "seed": options.seed}
        if options.rounds else None,
        "protocols": {name: accuracy_json(accuracy) for name, accuracy in accuracies.items()},
    }
    if not trials.fvc_only:
        ranks = match_characteristic(trials)
        results["ranks"] = np.round(ranks, 6).tolist()
        figures["ranks"] = rank_plot({f"{len(ranks)} fingers": ranks}, title)
    write_json(part / "results.json", results)
    write_csv(part / "figures.csv", ["protocol", "figure", "level", "value", "low", "high"],
              _figure_rows(accuracies))
    write_rates(part / "rates.csv", accuracies)
    write_csv(part / "templates.csv", ["file", "finger", "impression"],
              ((each.path, each.finger, each.impression) for each in impressions))
    if options.every_score or len(trials.pairs) <= _MOST_SCORES:
        write_scores(part / "scores.csv", impressions, trials)
    write_two_columns(part / "genuine.txt", counts.genuine)
    write_two_columns(part / "impostor.txt", counts.impostor)
    write_figures(part, figures)
    folder.finish(trials.points)
    say(f"{len(impressions)} templates ({impressions[0].type.name}) of {results['fingers']} "
        f"fingers; {enrolment.text()}; all in %, "
        f"{'95 % confidence in brackets' if options.rounds else 'without confidence intervals'}"
        f"\n\n{_table(accuracies)}\n\nwritten to {options.out}")
    return LEFT_OUT if enrolment.faults else DONE


def main(arguments: Sequence[str] | None = None) -> int:
    return run("vxmkit.evaluate", lambda: _options(arguments), _evaluate)


if __name__ == "__main__":
    sys.exit(main())
