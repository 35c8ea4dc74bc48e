"""The evaluation: its figures against their definitions, and the command."""
import csv
import json
import shutil
import subprocess
import sys
from pathlib import Path

import numpy as np
import pytest

from vxmkit import Matcher, TemplateType, THRESHOLDS
from vxmkit.accuracy import measure
from vxmkit.impressions import Impression, name_expression
from vxmkit.trials import Trials, run_trials

LEVELS = THRESHOLDS[TemplateType.NATIVE]


def made_trials() -> Trials:
    """8 fingers x 3 impressions with random scores that overlap."""
    finger = np.repeat(np.arange(8), 3)
    probe, candidate = np.triu_indices(24, 1)
    genuine = finger[probe] == finger[candidate]
    source = np.random.default_rng(3)
    points = np.where(genuine, source.integers(0, 900, len(probe)),
                      source.integers(0, 300, len(probe)))
    first = np.arange(24) % 3 == 0
    return Trials(probe, candidate, finger[probe], finger[candidate], points,
                  genuine | first[probe] & first[candidate])


@pytest.mark.parametrize("trials", [made_trials(), made_trials().of_fvc()])
def test_figures_by_their_definitions(trials: Trials) -> None:
    genuine, impostor = trials.points[trials.genuine], trials.points[~trials.genuine]
    fmr = [np.mean(impostor >= threshold) for threshold in range(10001)]
    fnmr = [np.mean(genuine < threshold) for threshold in range(10001)]
    found = measure(trials, LEVELS, rounds=200)
    assert (found.genuine, found.impostor) == (24, 252 if len(trials.fvc) > 100 else 28)
    for rate, limit in ((found.fmr100, 0.01), (found.fmr1000, 0.001), (found.zero_fmr, 0)):
        assert rate.value == min(miss for false, miss in zip(fmr, fnmr) if false <= limit)
    nearest = min(range(10001), key=lambda at: abs(fmr[at] - fnmr[at]))
    assert found.eer.value == pytest.approx((fmr[nearest] + fnmr[nearest]) / 2)
    for level, threshold in zip(found.levels, LEVELS):
        assert level.fmr.value == pytest.approx(fmr[threshold])
        assert level.fnmr.value == pytest.approx(fnmr[threshold])
        assert level.fnmr.low < level.fnmr.value < level.fnmr.high
    assert found.eer.low < found.eer.value < found.eer.high


def test_interval_counts_fingers() -> None:
    """One bad finger of eight: drawn 0 to 3 or so times in eight, whatever the number
    of its comparisons."""
    trials = made_trials()
    bad = trials.genuine & (trials.probe_finger == 0)
    trials.points[:] = np.where(trials.genuine & ~bad, 9000, 0)
    level = measure(trials, LEVELS).levels[0]
    assert level.fnmr == (1 / 8, 0, 3 / 8)
    assert level.fmr == (0, 0, 0)


@pytest.mark.parametrize("pattern, name, parts", [
    ("{finger}_{impression}", "12_a_3", ("12_a", "3")),
    ("{finger}_{impression}", "12", None),
    ("s*/{impression}.{finger}", "s1/2.thumb", ("thumb", "2")),
    ("s*/{impression}.{finger}", "s1/2/thumb", None),
])
def test_patterns(pattern: str, name: str, parts: tuple[str, str] | None) -> None:
    found = name_expression(pattern).fullmatch(name)
    assert (found and (found["finger"], found["impression"])) == parts


def test_trials(fingers: Path) -> None:
    """Each pair once, with the score of the library, however many processes."""
    impressions = [Impression(file.stem[:3], file.stem[4:], file.name, file.read_bytes(),
                              TemplateType.NATIVE) for file in sorted(fingers.glob("00[1-4]*.vxt"))]
    both, fvc = (run_trials(impressions, only, jobs, progress=False)
                 for only, jobs in ((False, 2), (True, 1)))
    assert list(zip(both.probe, both.candidate)) == list(zip(*np.triu_indices(12, 1)))
    assert (both.genuine.sum(), len(fvc.points), fvc.fvc.all()) == (12, 12 + 6, True)
    assert np.array_equal(both.of_fvc().points, fvc.points)
    with Matcher() as matcher:
        for probe, candidate, points in zip(both.probe, both.candidate, both.points):
            assert points == matcher.verify(impressions[probe].template,
                                            impressions[candidate].template).points


def evaluate(*arguments: object) -> subprocess.CompletedProcess[str]:
    return subprocess.run([sys.executable, "-m", "vxmkit.evaluate", "--quiet",
                           *map(str, arguments)], capture_output=True, text=True)


def test_command_leaves_bad_files_out(fingers: Path, tmp_path: Path) -> None:
    folder = tmp_path / "some bad"
    shutil.copytree(fingers, folder)
    cut = (folder / "001_1.vxt").read_bytes()[:-1]
    (folder / "001_1.vxt").write_bytes(cut)
    (folder / "notes.txt").write_text("no template")
    shutil.copy(folder / "002_1.vxt", folder / "002_1.bin")
    ran = evaluate(folder, "--type", "native", "--out", tmp_path / "out")
    assert ran.returncode == 1
    results = json.loads((tmp_path / "out/results.json").read_text())
    assert (results["fingers"], results["templates"]) == (12, 35)
    assert [fault["file"] for fault in results["left_out"]] == [
        "001_1.vxt", "002_1.vxt", "notes.txt"]
    for fault in results["left_out"]:
        assert f"left out {folder / fault['file']}: {fault['reason']}" in ran.stderr
    protocol = results["protocols"]["all pairs"]
    with open(tmp_path / "out/scores.csv", newline="") as file:
        rows = list(csv.DictReader(file))
    assert len(rows) == protocol["genuine"] + protocol["impostor"] == 35 * 34 / 2
    genuine = [float(row["score"]) for row in rows if row["genuine"] == "1"]
    level = protocol["levels"][6]
    assert level["fnmr"]["value"] == pytest.approx(np.mean(np.array(genuine) < 0.064))
    for name, head in (("det", b"\x89PNG"), ("scores", b"\x89PNG")):
        assert (tmp_path / "out" / f"{name}.png").read_bytes().startswith(head)
        assert b"<svg" in (tmp_path / "out" / f"{name}.svg").read_bytes()


@pytest.mark.parametrize("arguments, said", [
    (["nowhere"], "nowhere: no such folder"),
    (["."], "choose one by --type"),
    ([".", "--type", "iso", "--pattern", "{finger}"], "needs {finger} and {impression}"),
    ([".", "--type", "iso", "--pattern", "{finger}0{impression}*_1"], "at least two fingers"),
    ([".", "--pattern", "{finger}-{impression}"], "no usable template"),
    ([".", "--type", "iso", "--out", "001_1.iso"], "001_1.iso"),
])
def test_command_refuses(fingers: Path, monkeypatch: pytest.MonkeyPatch,
                         arguments: list[str], said: str) -> None:
    monkeypatch.chdir(fingers)
    ran = evaluate(*arguments)
    assert ran.returncode == 2
    assert said in ran.stderr and "Traceback" not in ran.stderr
