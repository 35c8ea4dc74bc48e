"""The tables of measured figures in docs/; `scripts/tables` starts it."""
from __future__ import annotations

import functools
import json
import re
import shutil
import subprocess
import sys
from collections.abc import Iterable
from pathlib import Path
from typing import Any

import numpy as np

import vxmkit
from vxmkit import THRESHOLDS
from vxmkit.accuracy import Rate
from vxmkit.report import percent
from vxmkit.results import FIGURES
from vxmkit.template_format import minutia_count

FORMATS = {"native": "Native", "iso": "ISO", "ansi": "ANSI"}
MADE = ("easy", "medium", "hard")


def run(*command: object) -> str:
    return subprocess.run([str(each) for each in command], check=True, text=True,
                          stdout=subprocess.PIPE).stdout


def fingers(name: str, *options: object) -> Path:
    folder = Path(name)
    if not folder.exists():
        part = folder.with_name(f"{name}.part")
        shutil.rmtree(part, ignore_errors=True)
        run("vxm", "synth", part, "--seed", 7, *options)
        part.rename(folder)
    return folder


def results(module: str, folder: Path, out: str, *options: object) -> dict[str, Any]:
    file = Path(out, "results.json")
    if not file.exists():
        run(sys.executable, "-m", f"vxmkit.{module}", folder, "--out", out, *options)
    told: dict[str, Any] = json.loads(file.read_text(encoding="utf-8"))
    return told


def show(head: Iterable[str], rows: Iterable[Iterable[object]]) -> None:
    head = list(head)
    for row in (head, ["---"] * len(head), *rows):
        print("|", " | ".join(map(str, row)), "|")
    print()


def rate(told: dict[str, float]) -> str:
    return percent(Rate(**told))


def plain(told: dict[str, float]) -> str:
    return percent(Rate(told["value"], None, None))


def small() -> Path:
    return fingers("small", "--fingers", 100, "--impressions", 4, "--area", 60, "--format", "all")


def levels() -> None:
    formats = {"native": "Native", "iso": "ISO 19794-2", "ansi": "ANSI 378"}
    measured = [results("evaluate", small(), f"small-{kind}", "--type", kind, "--title",
                        f"100 made fingers, {name}")["protocols"]["all pairs"]
                for kind, name in formats.items()]
    show(["", *formats.values()],
         [[name, *(rate(each[field]) for each in measured)] for field, name in FIGURES.items()])
    show(["Level", *(f"{name} {kind}".removeprefix("" if kind == "FMR" else f"{name} ")
                     for name in FORMATS.values() for kind in ("FMR", "FNMR"))],
         [[level + 1, *(plain(each["levels"][level][kind]) for each in measured
                        for kind in ("fmr", "fnmr"))] for level in range(7)])


def order() -> None:
    rows = []
    for kind in ("native", "iso"):
        suffix = {"native": "vxt", "iso": "iso"}[kind]
        files = sorted(small().glob(f"*.{suffix}"))
        templates = [file.read_bytes() for file in files]
        pairs = np.array([(i, j) for i, a in enumerate(files) for j, b in enumerate(files)
                          if i < j and a.stem.split("_")[0] == b.stem.split("_")[0]])
        there, back = (vxmkit.scores(templates, templates, each).astype(int)
                       for each in (pairs, pairs[:, ::-1]))
        least = THRESHOLDS[vxmkit.detect_type(templates[0])][3]
        apart = np.abs(there - back)
        rows.append([FORMATS[kind], (apart == 0).sum(), f"{np.median(apart) / 10000:.4f}",
                     f"{apart.max() / 10000:.4f}", ((there >= least) != (back >= least)).sum(),
                     f"{100 * (there < least).mean():.1f}",
                     f"{100 * (np.maximum(there, back) < least).mean():.1f}"])
    show(["", "Equal", "Median difference", "Largest", "Another decision at level 4",
          "FNMR, one way", "the better"], rows)


def searches() -> None:
    rows = []
    for kind in ("iso", "native"):
        for difficulty in MADE:
            name = f"{difficulty}-{kind}"
            folder = fingers(f"gallery-{name}", "--fingers", 1000, "--impressions", 2, "--format",
                             kind, "--difficulty", difficulty)
            told = results("identification", folder, f"searches-{name}", "--probes", 200)
            rows += [[f"{difficulty}, {'ISO' if kind == 'iso' else kind}", mode,
                      *(plain(told["fpir"][size][mode][3]) for size in ("10", "100", "999")),
                      rate(told["fnir_all"][mode][3]), plain(told["lost"][mode][3]),
                      plain(told["rank1"]["999"]) if mode == "complete" else ""]
                     for mode in ("fast", "normal", "complete")]
    show(["Fingers", "Mode", "FPIR, 10", "100", "999", "FNIR", "Lost", "Rank 1 of 999"], rows)


def scores_at(out: str, kind: str, shares: list[float]) -> str:
    points, counts = np.loadtxt(Path(out, f"{kind}.txt")).T
    every = np.repeat(np.rint(points * 10000), counts.astype(int))
    return ", ".join(f"{int(each)}" for each in np.percentile(every, shares))


@functools.cache
def second_stage() -> dict[tuple[str, ...], str]:
    lines = run("stage_shares", *MADE).splitlines()
    found = [re.fullmatch(r"(.*), (.*), (.*): .*, (.*) % in fast and (.*) % in normal mode", line)
             for line in lines]
    return {each.group(1, 2, 3): f"{each[4]}, {each[5]}" for each in found if each}


def made() -> None:
    for kind in ("iso", "native"):
        columns = []
        for name in MADE:
            folder = fingers(name, "--fingers", 100, "--impressions", 8, "--format", "all",
                             "--difficulty", name)
            out = f"{name}-{kind}"
            told = results("evaluate", folder, out, "--type", kind)["protocols"]["all pairs"]
            suffix = "vxt" if kind == "native" else kind
            minutiae = [minutia_count(file.read_bytes()) for file in folder.glob(f"*.{suffix}")]
            columns.append({
                "minutiae: mean, deviation": f"{np.mean(minutiae):.1f}, {np.std(minutiae):.1f}",
                "EER": rate(told["eer"]), "FMR100": rate(told["fmr100"]),
                "FMR1000": rate(told["fmr1000"]),
                "FNMR at level 4": rate(told["levels"][3]["fnmr"]),
                "FMR at level 1": rate(told["levels"][0]["fmr"]),
                "genuine scores at 10, 25, 50, 75, 90 %":
                    scores_at(out, "genuine", [10, 25, 50, 75, 90]),
                "impostor scores at 50, 90, 99, 99.9 %":
                    scores_at(out, "impostor", [50, 90, 99, 99.9])})
        for name, column in zip(MADE, columns):
            column["genuine in the second stage, fast and normal"] = \
                second_stage()[name, kind, "genuine"]
            column["impostors there"] = second_stage()[name, kind, "impostor"]
        show([FORMATS[kind], *map(str.capitalize, MADE)],
             [[field, *(column[field] for column in columns)] for field in columns[0]])


if __name__ == "__main__":
    {each.__name__: each for each in (levels, order, searches, made)}[sys.argv[1]]()
