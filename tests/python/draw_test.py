"""The pictures hold what vxm-explain and records tell, and faults are named."""
import subprocess
import sys
from pathlib import Path
from xml.etree import ElementTree

import pytest

from vxmkit import records
from vxmkit.explain import ExplainError, explain
from vxmkit.extended_data import Point, RidgeCount, extended_data

TEXT = "{http://www.w3.org/2000/svg}text"


def draw(*arguments: object, **options: object) -> subprocess.CompletedProcess[str]:
    return subprocess.run([sys.executable, "-m", "vxmkit.draw", *map(str, arguments)],
                          capture_output=True, text=True, **options)


@pytest.mark.parametrize("probe, candidate", [
    ("001_1.vxt", None),
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


# Of ISO: a ridge count, a core and a delta with angles, 2 x 2 cells of 4 bits, a vendor's own.
BLOCKS = bytes.fromhex("00010008 01000107" "00020012 014020002840" "01406000684080C0"
                       "00030009 96C804" "0F8A" "01440005 4D")


def test_records(fingers: Path, tmp_path: Path) -> None:
    record = records.read((fingers / "001_1.iso").read_bytes())
    view = record.views[0]
    view.width, view.height, view.extended = 300, 400, BLOCKS
    view.number = view.impression_type = 0
    data = extended_data(view, record.form)
    assert data.ridge_counts == [RidgeCount(0, 1, 7)] and data.others == [(0x144, b"\x4d")]
    assert data.cores == [Point(32, 40, (90,))] and data.deltas == [Point(96, 104, (90, 180, 270))]
    assert data.zonal_quality[0].values.tolist() == [[0, 15], [8, 10]]
    with pytest.raises(records.RecordError, match="too early"):
        view.extended = BLOCKS[:10] + b"\0\x0a" + BLOCKS[12:]
        extended_data(view, record.form)
    view.extended = BLOCKS
    whole, later, text = tmp_path / "whole", tmp_path / "later", tmp_path / "text"
    whole.write_bytes(records.write(record))
    view.extended = b"\0\1\0\3"
    text.write_bytes(records.write(records.convert(record, "xyt").record))
    record.views *= 2
    later.write_bytes(records.write(records.convert(record, "iso-2011", keep_extended=True).record))
    count = len(view.minutiae)
    for arguments, title, more, said in (
            ([whole], f"whole: iso-2005, {count} ", {"core", "delta", "ridges between", "7"}, ""),
            ([later, "--view", "2"], f"later: iso-2011, view 2 of 2, {count} ", set(), "not drawn"),
            ([text, "--from", "xyt", "--from-size", "300x400"], f"text: xyt, {count} ",
             {"of another type"}, ""),
            ([whole, later], "later: ISO 19794-2", set(), "iso-2011 converted to iso-2005")):
        ran = draw(*arguments, "-o", tmp_path / "out.svg")
        assert ran.returncode == 0 and said in ran.stderr, ran.stderr
        texts = ["".join(each.itertext()) for each in ElementTree.parse(tmp_path / "out.svg").iter(TEXT)]
        assert any(each.startswith(title) for each in texts) and more <= set(texts), texts


def test_faults(fingers: Path, tmp_path: Path, monkeypatch: pytest.MonkeyPatch) -> None:
    (tmp_path / "text").write_text("no template at all")
    good = fingers / "001_1.vxt"
    for arguments, said in (
            ([good, "-o", tmp_path / "out.doc"], "the suffix must be one of"),
            ([tmp_path / "text", "-o", tmp_path / "out.svg"], f"{tmp_path / 'text'}: not a temp"),
            ([good, fingers / "001_1.iso", "-o", tmp_path / "out.svg"], "different formats"),
            ([fingers / "001_1.iso", "--view", 2, "-o", tmp_path / "out.svg"], "no view 2: it has 1"),
            ([good, "--from", "xyt", "-o", tmp_path / "out.svg"], "the image height is needed"),
            ([good, "-o", tmp_path / "none/out.svg"], "none/out.svg")):
        ran = draw(*arguments)
        assert ran.returncode == 2
        assert said in ran.stderr and "Traceback" not in ran.stderr
    monkeypatch.delenv("VXM_EXPLAIN")
    monkeypatch.setenv("PATH", str(tmp_path))
    with pytest.raises(ExplainError, match="no program vxm-explain"):
        explain([good])
