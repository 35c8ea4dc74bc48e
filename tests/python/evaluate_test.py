"""The evaluation: its figures against their definitions, and the command."""
import csv
import json
import os
import shutil
import signal
import subprocess
import sys
import time
from pathlib import Path

import numpy as np
import pytest

from vxmkit import Matcher, TemplateType, THRESHOLDS
from vxmkit.accuracy import (Rate, empty_counts, equal_error_rate, error_rates, fnmr_at_fmr,
                             measure, nearest_error_rate)
from vxmkit.impressions import Impression, name_expression
from vxmkit.trials import Trials, count_scores, match_characteristic, protocol_pairs, run_trials

LEVELS = THRESHOLDS[TemplateType.NATIVE]


def counts(*scores: int) -> np.ndarray:
    return empty_counts() + np.bincount(scores, minlength=10001)


@pytest.mark.parametrize("genuine, impostor, eer, nearest, at_100, zero", [
    # Ties: at 5 both rates are 1/2, for a score of the threshold matches.
    ([3, 5], [2, 5], 1 / 2, 1 / 2, 1, 1),
    ([7, 8], [1, 2], 0, 0, 0, 0),
    ([4, 4], [4, 4], 1 / 2, 1 / 2, 1, 1),
    # FNMR 1/10 above 5, FMR 1/4 at 7 and 0 at 8.
    ([5, 8, 8, 8, 8, 8, 8, 8, 8, 8], [1, 6, 6, 7], 0.05, 0.05, 1 / 10, 1 / 10),
    # Nearest (1/2, 2/5) at 6; the least sum where they cross is after it (0, 3/5).
    ([4, 5, 6, 7, 7], [1, 6], 0.3, 0.45, 3 / 5, 3 / 5),
    ([3, 5], [], *4 * [np.nan]),
    ([], [3, 5], *4 * [np.nan]),
])
def test_definitions(genuine: list[int], impostor: list[int], eer: float, nearest: float,
                     at_100: float, zero: float) -> None:
    """Worked out by hand."""
    rates = error_rates(counts(*genuine), counts(*impostor))
    assert (equal_error_rate(rates), nearest_error_rate(rates), fnmr_at_fmr(rates, 0.01),
            fnmr_at_fmr(rates, 0)) == pytest.approx((eer, nearest, at_100, zero), nan_ok=True)
    assert rates.fmr[0] == pytest.approx(1 if impostor else np.nan, nan_ok=True)
    assert rates.fnmr[10000] == pytest.approx(1 if genuine else np.nan, nan_ok=True)


def made_trials(finger: list[int], score) -> Trials:
    pairs = protocol_pairs(np.array(finger), False)
    points = [score(i, j) for i, j in zip(*pairs.between(0, len(pairs)))]
    return Trials(np.array(finger), np.diff(finger, prepend=-1) != 0, pairs,
                  np.array(points, dtype=np.int16), False)


def test_bootstrap_by_its_definition() -> None:
    """What is counted in parts, without the impostors that score 0, is what whole fingers
    drawn with replacement give."""
    source = np.random.default_rng(3)
    trials = made_trials([0, 0, 1, 1, 1, 2, 3, 3], lambda i, j: source.integers(0, 3))
    samples = count_scores(trials, 20, 5, progress=False)
    again = np.random.default_rng(5)
    probe, candidate = trials.pairs.between(0, len(trials.pairs))
    a, b = trials.finger[probe], trials.finger[candidate]
    first = (a == b) | trials.first[probe] & trials.first[candidate]
    for row in range(20):
        times = np.bincount(again.integers(4, size=4), minlength=4)
        for name, chosen in (("all pairs", a >= 0), ("FVC", first)):
            for score in range(3):
                at = chosen & (trials.points == score)
                drawn = samples[name].drawn_genuine[row], samples[name].drawn_impostor[row]
                assert drawn[0][score] == times[a[at & (a == b)]].sum()
                assert drawn[1][score] == (times[a] * times[b])[at & (a != b)].sum()
    assert samples["FVC"].impostor.sum() == 6 and samples["all pairs"].impostor.sum() == 23


def test_interval_counts_fingers() -> None:
    """One bad finger of eight: drawn 0 to 3 or so times in eight, whatever the number
    of its comparisons."""
    trials = made_trials(sorted([*range(8)] * 3),
                         lambda i, j: 9000 if i // 3 == j // 3 != 0 else 0)
    for rounds, fnmr, fmr in ((1000, (1 / 8, 0, 3 / 8), (0, 0, 0)),
                              (0, (1 / 8, None, None), (0, None, None))):
        found = measure(count_scores(trials, rounds, 1, False)["all pairs"], LEVELS)
        assert (found.levels[0].fnmr, found.levels[0].fmr) == (Rate(*fnmr), Rate(*fmr))


def test_ranks_by_hand() -> None:
    """Impressions 1, 3, 5 are sought among 0, 2, 4: the first is found at once, the second
    behind a tie, the third never for a score of 0."""
    scores = {(0, 1): 50, (1, 2): 49, (2, 3): 30, (0, 3): 30, (1, 4): 9, (0, 5): 1}
    trials = made_trials([0, 0, 1, 1, 2, 2], lambda i, j: scores.get((i, j), 0))
    assert match_characteristic(trials).tolist() == [1 / 3, 2 / 3, 2 / 3]


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
    """Each pair once, with the score of the library; FVC's are those among all."""
    impressions = [Impression(file.stem[:3], file.stem[4:], file.name, file.read_bytes(),
                              TemplateType.NATIVE) for file in sorted(fingers.glob("00[1-4]*.vxt"))]
    both, fvc = (run_trials(impressions, only, progress=False) for only in (False, True))
    pairs = list(zip(*both.pairs.between(0, 66)))
    assert pairs == list(zip(*np.triu_indices(12, 1)))
    with Matcher() as matcher:
        expected = {(i, j): matcher.verify(impressions[i].template, impressions[j].template).points
                    for i, j in pairs}
    assert both.points.tolist() == list(expected.values())
    assert fvc.points.tolist() == [expected[pair] for pair in zip(*fvc.pairs.between(0, 18))]
    assert [sample.impostor.sum() for sample in count_scores(fvc, 0, 1, False).values()] == [6]


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
    ran = evaluate(folder, "--type", "native", "--out", tmp_path / "out", "--rounds", 0)
    assert ran.returncode == 4
    results = json.loads((tmp_path / "out/results.json").read_text())
    assert (results["fingers"], results["templates"], results["confidence"]) == (12, 35, None)
    assert results["failure_to_enrol"] == {"files": 1, "rate": 1 / 36}
    assert [fault["file"] for fault in results["left_out"]] == [
        "001_1.vxt", "002_1.vxt", "notes.txt"]
    for fault in results["left_out"]:
        assert f"left out {folder / fault['file']}: {fault['reason']}" in ran.stderr
    assert f"it has {len(cut)} bytes, and {len(cut) + 1} are needed" in ran.stderr
    assert "failure to enrol 2.78 % (1 files)" in ran.stdout and " (0.00 to" not in ran.stdout
    protocol = results["protocols"]["all pairs"]
    with open(tmp_path / "out/scores.csv", newline="") as file:
        rows = list(csv.DictReader(file))
    points = np.load(tmp_path / "out/scores.npy")
    assert len(rows) == protocol["genuine"] + protocol["impostor"] == 35 * 34 / 2
    assert [float(row["score"]) for row in rows] == (points / 10000).tolist()
    genuine = [float(row["score"]) for row in rows if row["genuine"] == "1"]
    listed = np.loadtxt(tmp_path / "out/genuine.txt")
    assert sorted(genuine) == np.repeat(listed[:, 0], listed[:, 1].astype(int)).tolist()
    level = protocol["levels"][6]
    assert level["fnmr"]["value"] == pytest.approx(np.mean(np.array(genuine) < 0.064))
    for name in ("det", "roc", "scores", "ranks"):
        assert (tmp_path / "out" / f"{name}.png").read_bytes().startswith(b"\x89PNG")
        assert b"<svg" in (tmp_path / "out" / f"{name}.svg").read_bytes()
    assert not (tmp_path / "out.part").exists()
    both = [sys.executable, "-m", "vxmkit.compare", f"first={tmp_path / 'out'}",
            f"second={tmp_path / 'out'}", "-o", tmp_path / "both.svg"]
    compared = subprocess.run(both, capture_output=True, text=True, check=True)
    assert f"{'FNMR at level 7':<18}" in compared.stdout
    assert "second: EER" in (tmp_path / "both.svg").read_text()


@pytest.mark.parametrize("arguments, said", [
    (["nowhere"], "nowhere: no such folder"),
    (["."], "choose one by --type"),
    ([".", "--type", "iso", "--pattern", "{finger}"], "needs {finger} and {impression}"),
    ([".", "--type", "iso", "--pattern", "{finger}0{impression}*_1"], "at least two fingers"),
    ([".", "--pattern", "{finger}-{impression}"], "no usable template"),
    ([".", "--type", "iso", "--out", "001_1.iso"], "001_1.iso: exists and is no folder"),
    ([".", "--type", "iso", "--out", "."], "is no folder of results"),
])
def test_command_refuses(fingers: Path, monkeypatch: pytest.MonkeyPatch,
                         arguments: list[str], said: str) -> None:
    monkeypatch.chdir(fingers)
    ran = evaluate(*arguments)
    assert ran.returncode == 2
    assert said in ran.stderr and "Traceback" not in ran.stderr


def test_results_are_whole(fingers: Path, tmp_path: Path) -> None:
    """Results that are there stay, an interrupted run goes on, a full disk is an error."""
    out = tmp_path / "out"
    command = [sys.executable, "-m", "vxmkit.evaluate", fingers, "--type", "iso", "--out", out,
               "--quiet"]
    ran = subprocess.Popen(command, stderr=subprocess.PIPE, text=True)
    while not list(tmp_path.glob("out.part/*")):
        time.sleep(0.005)
    os.kill(ran.pid, signal.SIGINT)
    assert "out.part, and the same command goes on" in ran.communicate()[1]
    assert ran.returncode == 3 and not out.exists()
    with open("/dev/full", "w") as full:
        failed = subprocess.run(command, stdout=full, stderr=subprocess.PIPE, text=True)
    assert failed.returncode == 2 and "No space left" in failed.stderr
    before = {file.name: file.read_bytes() for file in out.iterdir()}
    refused = evaluate(fingers, "--type", "iso", "--out", out)
    assert refused.returncode == 2 and "--force replaces them" in refused.stderr
    assert before == {file.name: file.read_bytes() for file in out.iterdir()}
    assert evaluate(fingers, "--type", "iso", "--out", out, "--force").returncode == 0
    assert before == {file.name: file.read_bytes() for file in out.iterdir()}
    assert [each.name for each in tmp_path.iterdir()] == ["out"]
