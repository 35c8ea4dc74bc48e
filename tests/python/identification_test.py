"""Error rates of searches: what a search finds, and how galleries are averaged."""
import json
import subprocess
import sys
from math import comb
from pathlib import Path

import numpy as np
import pytest

from vxmkit import Matcher, TemplateType
from vxmkit.identification import MODES, Outcomes, compared, measure, none_drawn
from vxmkit.searches import Searcher


def test_none_drawn() -> None:
    """By the binomials: galleries of 3 among 7 with 0 to 7 of a kind."""
    expected = [comb(7 - kind, 3) / comb(7, 3) for kind in range(8)]
    assert none_drawn(np.arange(8), 7, 3) == pytest.approx(expected)


@pytest.mark.parametrize("fast", [True, False])
def test_searches(fingers: Path, fast: bool) -> None:
    """At each level those that match alone, in the order of a search of the whole gallery."""
    files = sorted(fingers.glob("*_1.iso")) * 30  # more than a block
    gallery = [file.read_bytes() for file in files]
    probe = (fingers / "003_2.iso").read_bytes()
    searcher = Searcher(gallery, TemplateType.ISO19794_2, fast)
    found = searcher.matches(probe)
    searcher.close()
    for level, indices in enumerate(found, 1):
        with Matcher(TemplateType.ISO19794_2, security_level=level, fast_mode=fast) as matcher:
            alone = {number for number in range(12)
                     if matcher.identify(probe, [gallery[number]]) is not None}
            assert sorted(indices) == [each for each in range(360) if each % 12 in alone]
            assert matcher.identify(probe, gallery) == indices[0] and 2 in alone


def test_rates_by_hand() -> None:
    """Two searches among four: one finds its mate behind one other, one nothing."""
    found = Outcomes(np.array([[True], [False]]), np.array([[1], [0]]), np.array([[1], [0]]))
    points = np.array([[90, 75, 70, 0], [0, 0, 10, 80]], dtype=np.int16)
    best = compared(points, np.array([1, 2]), [75])
    assert [each.tolist() for each in best] == [[[True], [False]], [[1], [1]], [[1], [0]]]
    told = measure({"fast": found, "normal": found, "complete": best}, np.array([1, 3]),
                   np.array([0, 1], dtype=np.int32), 4, [2], 0, 1)
    for mode in MODES:
        assert told.fnir_all[mode][0].value == 1 / 2
        # The other one is enrolled beside the mate in one gallery of three.
        assert told.fnir_first[2][mode][0].value == pytest.approx(1 - 2 / 3 / 2)
        found_anyone = 2 / 3 / 2 if mode != "complete" else 2 / 3
        assert told.fpir[2][mode][0].value == pytest.approx(found_anyone)
    assert told.rank1[2] == (pytest.approx(1 / 3), None, None)
    assert told.lost["fast"][0].value == 0


def test_command(fingers: Path, tmp_path: Path) -> None:
    out = tmp_path / "out"
    ran = subprocess.run([sys.executable, "-m", "vxmkit.identification", fingers, "--type",
                          "native", "--out", out, "--quiet", "--probes", "10"],
                         capture_output=True, text=True, check=True)
    assert "12 fingers enrolled, 10 probes (NATIVE)" in ran.stdout
    results = json.loads((out / "results.json").read_text())
    assert np.load(out / "scores.npy").shape == (10, 12)
    assert set(results["fpir"]) == {"10", "11"} and (out / "fpir.png").exists()
