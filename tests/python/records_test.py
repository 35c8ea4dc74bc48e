"""Records in Python: the same answers as the library's, arrays of numpy, named faults."""
from pathlib import Path

import numpy as np
import pytest

from vxmkit import Matcher, TemplateType, TemplateTypeError, records
from vxmkit.impressions import read_folder
from vxmkit.records import Form, Order

# Two minutiae at 500 dpi, the second a bifurcation on the last pixel of 300 x 400.
ISO = bytes.fromhex("464D5200 20323000 0000002F 0123 012C 0190 00C5 00C5 01 00 07 02 50 02"
                    "400A0014403C 812B018FFF64 0005 0144 0005 4D".replace(" ", ""))
LATER = [Form.ANSI_2009, Form.ANSI_2009_AM1, Form.ISO_2011]


def test_reads_and_writes_every_form() -> None:
    record = records.read(ISO)
    view = record.views[0]
    assert (record.form, record.device, view.width, view.qualities) == (
        Form.ISO_2005, 0x123, 300, [records.Quality(0x50)])
    assert view.minutiae["x"].tolist() == [10, 299] and view.extended.hex() == "014400054d"
    assert records.write(record) == ISO and records.check(ISO) == []
    for form in Form:
        converted = records.convert(record, form.text, keep_extended=True).record
        data = records.write(converted)
        assert records.tell_form(data) == (form if form <= Form.ISO_2011 else None)
        again = records.read(data, form, size=(300, 400))
        np.testing.assert_array_equal(again.views[0].minutiae, converted.views[0].minutiae)


def test_converts_as_asked() -> None:
    record = records.read(ISO)
    turned = records.convert(record, Form.ANSI_2009, resolution=394, order=Order.X,
                             descending=True)
    assert turned.record.views[0].minutiae.tolist() == [(598, 798, 179, 2, 100),
                                                        (20, 40, 45, 1, 60)]
    assert turned.losses == records.Losses(extended_dropped=1)
    assert str(turned.losses) == "1 extended dropped"
    few = records.convert(record, "iso-2005", max_minutiae=1, size=(20, 21))
    assert few.losses == records.Losses(minutiae_outside=1, extended_dropped=1)


def test_names_faults() -> None:
    fault, = records.check(ISO[:28] + b"\xc0" + ISO[29:])
    assert (fault.offset, fault.view, fault.minutia) == (28, 0, 0)
    crowd = records.Record(Form.ISO_2005, [records.View(np.zeros(255, records.MINUTIA), 1, 1)])
    crowd.views[0].minutiae["x"] = 5
    crowd.views[0].minutiae["type"] = 3
    assert len(records.check(records.write(crowd))) == 510
    for call in (lambda: records.read(b"no record"), lambda: records.read(ISO[:40]),
                 lambda: records.read(b"1 2 3", "xyt"), lambda: records.convert(crowd, "iso-2005", view=1)):
        with pytest.raises(records.RecordError, match="byte"):
            call()
    crowd.views[0].width = 70000
    for wrong in (lambda: records.write(crowd), lambda: records.form_of("native")):
        with pytest.raises(ValueError):
            wrong()


@pytest.mark.parametrize("name, kind", [("001_1.iso", TemplateType.ISO19794_2),
                                        ("001_1.ansi", TemplateType.ANSI378)])
def test_matcher_refuses_later_forms(fingers: Path, name: str, kind: TemplateType) -> None:
    data = (fingers / name).read_bytes()
    record = records.read(data)
    with Matcher(kind) as matcher:
        points = matcher.verify(data, data).points
        for form in LATER:
            later = records.write(records.convert(record, form, keep_extended=True).record)
            with pytest.raises(TemplateTypeError, match="convert"):
                matcher.verify(later, data)
            back, told = records.matchable(later)
            assert form.text in told
            if form.turn == record.form.turn:
                assert back == data and matcher.verify(back, data).points == points
        for version in (b" 10\0", b" 20 ", b"036\0"):
            with pytest.raises(TemplateTypeError, match="unknown version"):
                matcher.verify(data, data[:4] + version + data[8:])
        double = records.convert(record, record.form, resolution=394).record
        scaled, told = records.matchable(records.write(double))
        assert "394" in told and matcher.verify(scaled, data).points == points
        double.views[0].x_resolution = double.views[0].y_resolution = 0  # not known: kept
        later = records.write(records.convert(double, "iso-2011").record)
        assert "scaled" not in records.matchable(later)[1]
        assert records.matchable(data) == (data, "")


def test_folders_take_every_form(fingers: Path, tmp_path: Path) -> None:
    record = records.read((fingers / "001_1.iso").read_bytes())
    (tmp_path / "1_1").write_bytes((fingers / "001_1.iso").read_bytes())
    (tmp_path / "1_2").write_bytes(records.write(records.convert(record, "iso-2011").record))
    (tmp_path / "1_3").write_bytes(b"FMR\0 10\0" + bytes(40))
    taken, faults = read_folder(tmp_path, "{finger}_{impression}")
    assert [each.converted[:8] for each in taken] == ["", "iso-2011"]
    assert [each.path for each in faults] == ["1_3"]
    assert len(read_folder(tmp_path, "{finger}_{impression}", convert=False)[1]) == 2
