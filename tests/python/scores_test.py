"""Scores of many pairs: the library's own, whatever happens on the way."""
import os
import signal
import subprocess
import sys
import time
from pathlib import Path

import numpy as np
import pytest

import vxmkit
from vxmkit import Matcher, TemplateType, scores
from vxmkit.pairs import Chain, Listed, Triangle


@pytest.fixture(scope="module")
def templates(fingers: Path) -> list[bytes]:
    return [file.read_bytes() for file in sorted(fingers.glob("*.iso"))]


def test_scores(templates: list[bytes], tmp_path: Path) -> None:
    """Here, by processes and into a file: what `verify` answers; then the file is there."""
    with Matcher(TemplateType.ISO19794_2) as matcher:
        expected = np.array([[matcher.verify(probe, candidate).points for candidate in templates]
                             for probe in templates[:20]])
    assert np.array_equal(scores(templates[:20], templates), expected)
    repeated = scores(templates[:20], templates * 4, threads=2, out=tmp_path / "all.npy")
    assert np.array_equal(repeated, np.tile(expected, 4))
    assert np.array_equal(np.load(tmp_path / "all.npy"), repeated)
    assert [file.name for file in tmp_path.iterdir()] == ["all.npy"]
    with pytest.raises(FileExistsError):
        scores(templates, templates, out=tmp_path / "all.npy")
    pairs = np.array([[3, 30], [19, 0], [3, 30]])
    assert scores(templates, templates, pairs).tolist() == expected[pairs[:, 0],
                                                                    pairs[:, 1]].tolist()
    assert scores([], templates).shape == (0, 36)


def test_interrupted_scores_go_on(templates: list[bytes], fingers: Path, tmp_path: Path) -> None:
    """Ctrl-C and the end of the process leave the scores that were made, and nothing runs."""
    program = tmp_path / "host.py"  # without a guard: no process runs it again
    program.write_text(
        "import pathlib, vxmkit\n"
        f"one = [f.read_bytes() for f in sorted(pathlib.Path({str(fingers)!r}).glob('*.iso'))]\n"
        f"vxmkit.scores(one * 12, one * 12, threads=2, out={str(tmp_path / 'out.npy')!r})\n")
    sizes = []
    for number in (signal.SIGINT, signal.SIGKILL):
        ran = subprocess.Popen([sys.executable, program], stderr=subprocess.DEVNULL)
        while (size := sum(file.stat().st_size for file in tmp_path.glob("*.part"))) <= max(
                [200, *sizes]):
            assert ran.poll() is None
            time.sleep(0.01)
        os.kill(ran.pid, number)
        assert ran.wait() == -number
        sizes.append(size)
    part, = tmp_path.glob("*.part")
    with part.open("r+b") as file:  # half a score, and a mark that only the file has
        file.seek(128)
        file.write(b"\x39\x30")
        file.seek(0, os.SEEK_END)
        file.write(b"\1")
    subprocess.run([sys.executable, program], check=True)
    found = np.load(tmp_path / "out.npy")
    assert found[0, 0] == 0x3039
    found[0, 0] = found[0, 36]
    assert np.array_equal(found, np.tile(scores(templates, templates), (12, 12)))


@pytest.mark.parametrize("change, error, said", [
    (lambda all: ([*all, all[0][:-1]], all), vxmkit.DataCorruptedError, r"probes\[36\]"),
    (lambda all: (all, [*all, b"FMR\0 20\0" + bytes(5)] * 7), vxmkit.DataCorruptedError, "2 more"),
    (lambda all: (all[0], all), TypeError, "probes: .* not one bytes"),
    (lambda all: (all, [None]), TypeError, r"candidates\[0\]: .* not NoneType"),
    (lambda all: (all, [b"native"]), ValueError, "NATIVE, ISO19794_2"),
    (lambda all: (all, all, [(0, 36)]), ValueError, r"pairs\[0\] is \(0, 36\)"),
    (lambda all: (all, all, [(0.5, 1)]), TypeError, "pairs"),
    (lambda all: (all, all, [1, 2]), ValueError, r"\(n, 2\)"),
])
def test_faults(templates: list[bytes], change, error: type[Exception], said: str) -> None:
    with pytest.raises(error, match=said):
        scores(*change(templates))


def test_pairs_by_parts() -> None:
    """Any cut of a list gives the same pairs."""
    pairs = Chain(Listed(np.array([[4, 2], [0, 0]])), Triangle(np.array([7, 1, 5, 6])))
    whole = [(4, 2), (0, 0), (7, 1), (7, 5), (7, 6), (1, 5), (1, 6), (5, 6)]
    assert len(pairs) == 8
    for start in range(9):
        for stop in range(start, 9):
            assert list(zip(*pairs.between(start, stop))) == whole[start:stop]
