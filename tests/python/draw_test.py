"""The pictures hold what vxm-explain tells, and faults are named."""
import subprocess
import sys
from pathlib import Path
from xml.etree import ElementTree

import pytest

from vxmkit.explain import ExplainError, explain

TEXT = "{http://www.w3.org/2000/svg}text"


def draw(*arguments: object, **options: object) -> subprocess.CompletedProcess[str]:
    return subprocess.run([sys.executable, "-m", "vxmkit.draw", *map(str, arguments)],
                          capture_output=True, text=True, **options)


@pytest.mark.parametrize("probe, candidate", [
    ("001_1.vxt", None), ("001_1.iso", None),
    ("001_1.vxt", "001_2.vxt"), ("001_1.ansi", "001_2.ansi"), ("001_1.vxt", "002_1.vxt")])
def test_pictures(fingers: Path, tmp_path: Path, probe: str, candidate: str | None) -> None:
    files = [fingers / name for name in (probe, candidate) if name]
    picture = tmp_path / "out.svg"
    ran = draw(*files, "-o", picture)
    assert ran.returncode == 0, ran.stderr
    texts = ["".join(each.itertext()) for each in ElementTree.parse(picture).iter(TEXT)]
    told = explain(files)
    templates = [told["probe"], told["reference"]] if candidate else [told]
    for file, template in zip(files, templates):
        assert any(text.startswith(f"{file.name}: {template['format']}, "
                                   f"{len(template['minutiae'])} ") for text in texts)
    if candidate:
        assert any(text.startswith(f"score {told['score'] / 10000:.4f}") for text in texts)
        pairs = told["firstPass"]["pairs"] if told["firstPass"] else []
        numbers = [int(text) for text in texts if text.isdigit()]
        assert sorted(numbers) == sorted(2 * [*range(1, len(pairs) + 1)])


def test_faults(fingers: Path, tmp_path: Path, monkeypatch: pytest.MonkeyPatch) -> None:
    (tmp_path / "text").write_text("no template at all")
    good = fingers / "001_1.vxt"
    for arguments, said in (
            ([good, "-o", tmp_path / "out.doc"], "the suffix must be one of"),
            ([tmp_path / "text", "-o", tmp_path / "out.svg"], f"{tmp_path / 'text'}: not a temp"),
            ([good, fingers / "001_1.iso", "-o", tmp_path / "out.svg"], "different formats"),
            ([good, "-o", tmp_path / "none/out.svg"], "none/out.svg")):
        ran = draw(*arguments)
        assert ran.returncode == 2
        assert said in ran.stderr and "Traceback" not in ran.stderr
    monkeypatch.delenv("VXM_EXPLAIN")
    monkeypatch.setenv("PATH", str(tmp_path))
    with pytest.raises(ExplainError, match="no program vxm-explain"):
        explain([good])
