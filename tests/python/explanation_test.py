"""The program vxm-explain, on all comparisons whose results are known."""
import json
import os
import subprocess
from pathlib import Path

PROGRAM = os.environ["VXM_EXPLAIN"]
KNOWN = Path(__file__).parents[1] / "data/known_answers.txt"


def explain(*arguments: object) -> subprocess.CompletedProcess[str]:
    return subprocess.run([PROGRAM, *map(str, arguments)], capture_output=True, text=True)


def test_score_and_alignment_are_the_library_s(tmp_path: Path) -> None:
    cases = [line.split() for line in KNOWN.read_text().splitlines() if line.startswith("compare ")]
    probe, reference = tmp_path / "probe", tmp_path / "reference"
    passes = {"firstPass": 0, "secondPass": 0}
    for _, _, first, second, score, *expected in cases:
        probe.write_bytes(bytes.fromhex(first))
        reference.write_bytes(bytes.fromhex(second))
        ran = explain(probe, reference, "--json")
        assert ran.returncode == 0, ran.stderr
        told = json.loads(ran.stdout)
        assert told["score"] == int(score)
        for name in passes:
            passes[name] += told[name] is not None
        if told["score"] == 0:
            continue
        found = told["firstPass"]
        seeds = {pair["probe"] for pair in found["pairs"] if pair["seed"]}
        *motion, seed_a, seed_b, overlap = map(int, expected)
        assert [found["rotation"], found["dx"], found["dy"]] == motion
        assert (seeds, told["overlap"]) == ({seed_a, seed_b}, overlap)
        for pair in found["pairs"]:
            assert pair["probe"] < len(told["probe"]["minutiae"])
            assert pair["reference"] < len(told["reference"]["minutiae"])
    assert min(passes.values()) > 10


def test_text_and_faults(fingers: Path, tmp_path: Path) -> None:
    ran = explain(fingers / "001_1.iso", fingers / "001_2.iso")
    assert ran.returncode == 0
    assert "doubled as for every standard record" in ran.stdout.splitlines()[-1]
    (tmp_path / "text").write_text("no template at all")
    for arguments, said in (([fingers / "001_1.iso", fingers / "001_2.vxt"], "different formats"),
                            ([tmp_path / "text"], f"{tmp_path / 'text'}: not a template"),
                            ([tmp_path / "none"], f"{tmp_path / 'none'}: ")):
        ran = explain(*arguments)
        assert (ran.returncode, ran.stdout) == (2, "")
        assert ran.stderr.startswith("vxm-explain: ") and said in ran.stderr
