"""Finger minutiae records of all forms in the field: told apart, checked, read,
converted, written.

    from vxmkit import records

    record = records.read(data)
    print(record.form, record.views[0].minutiae["x"])
    converted = records.convert(record, "iso-2005", resolution=197)
    print(converted.losses)
    data = records.write(converted.record)

The matcher compares ANSI INCITS 378-2004 and ISO/IEC 19794-2:2005 alone, and takes the
later forms for ISO:2005, in which it finds no minutiae or wrong ones; `matchable` gives
what it can compare. Coordinates are pixels, x to the right and y down; resolutions are
pixels per centimetre (197 is 500 dpi); angles count counter-clockwise from the positive
x axis in units of the form (`Form.turn` to a full turn).
"""
from __future__ import annotations

import ctypes
import dataclasses
import enum
from collections.abc import Sequence
from typing import Union

import numpy as np
from numpy.typing import NDArray

from . import record_library as c
from .constants import TemplateType
from .templates import Template, misread, plain_bytes

MINUTIA = np.dtype([("x", np.uint16), ("y", np.uint16), ("angle", np.uint16),
                    ("type", np.uint8), ("quality", np.uint8)])
"""A minutia: type is 0 other, 1 ridge ending, 2 bifurcation; quality 1..100, 0 or 254 not
given, 255 failed."""

MATCHER_RESOLUTION = 197
_USUAL = range(195, 200)  # what makers write for 500 dpi
_TURNS = (180, 180, 180, 256, 256, 256, 64, 360)
_SIZE = 0xFFFF


class Form(enum.IntEnum):
    ANSI_2004 = 1
    ANSI_2009 = 2
    ANSI_2009_AM1 = 3
    ISO_2005 = 4
    ISO_2011 = 5
    ISO_CARD = 6
    ISO_CARD_COMPACT = 7
    XYT = 8

    @property
    def text(self) -> str:
        """Such as "iso-2011"."""
        return self.name.lower().replace("_", "-")

    @property
    def turn(self) -> int:
        """Units of its angles in a full turn."""
        return _TURNS[self - 1]


class Order(enum.IntEnum):
    KEPT = 0
    X = 1
    Y = 2
    ANGLE = 3
    DISTANCE = 4
    """From the centroid."""


class RecordError(ValueError):
    """Bytes that cannot be read, or a form that cannot hold a record. `offset` is where
    in the bytes, `code` the library's negative number."""

    def __init__(self, text: str, offset: int, code: int) -> None:
        super().__init__(text, offset, code)
        self.text = text
        self.offset = offset
        self.code = code

    def __str__(self) -> str:
        return f"{self.text} (at byte {self.offset})"


@dataclasses.dataclass(frozen=True)
class Fault:
    """What does not conform: `view` and `minutia` are indices, None for other fields."""

    offset: int
    text: str
    view: int | None
    minutia: int | None


@dataclasses.dataclass(frozen=True)
class Quality:
    value: int
    vendor: int = 0
    algorithm: int = 0


@dataclasses.dataclass(frozen=True)
class Certification:
    authority: int
    scheme: int


@dataclasses.dataclass
class View:
    """A finger view. `minutiae` is an array of MINUTIA, shape (n,). What a form does not
    have is 0 after reading; `extended` are all blocks as they stand."""

    minutiae: NDArray[np.void]
    width: int = 0
    height: int = 0
    x_resolution: int = MATCHER_RESOLUTION
    y_resolution: int = MATCHER_RESOLUTION
    finger_position: int = 0
    number: int = 0
    impression_type: int = 0
    qualities: Sequence[Quality] = ()
    extended: bytes = b""
    capture_technology: int = 0
    capture_vendor: int = 0
    capture_device: int = 0
    capture_time: bytes = b"\xff" * 9
    minutia_size: int = 6
    ridge_ending_type: int = 0
    certifications: Sequence[Certification] = ()


@dataclasses.dataclass
class Record:
    form: Form
    views: list[View]
    vendor: int = 0
    subformat: int = 0
    device: int = 0
    certification: int = 0
    reserved: int = 0


@dataclasses.dataclass(frozen=True)
class Losses:
    """What a converted record no longer holds, counted."""

    minutiae_outside: int = 0
    minutiae_pruned: int = 0
    positions_rounded: int = 0
    angles_rounded: int = 0
    types_dropped: int = 0
    qualities_dropped: int = 0
    extended_dropped: int = 0
    views_dropped: int = 0
    fields_dropped: int = 0

    def __bool__(self) -> bool:
        return any(dataclasses.astuple(self))

    def __str__(self) -> str:
        lost = [f"{count} {name.replace('_', ' ')}"
                for name, count in dataclasses.asdict(self).items() if count]
        return ", ".join(lost) or "nothing lost"


@dataclasses.dataclass(frozen=True)
class Converted:
    record: Record
    losses: Losses


FormLike = Union[Form, int, str]


def form_of(value: FormLike) -> Form:
    """The form of a name such as "iso-2011" or "ISO:2011". ValueError: none."""
    if isinstance(value, str):
        found = c.load().VXR_FormOfName(value.encode())
        if not found:
            raise ValueError(f"no form of record is called {value!r}; there are "
                             f"{', '.join(form.text for form in Form)}")
        return Form(found)
    return Form(value)


def tell_form(data: Template) -> Form | None:
    """The form of a record with a header; None for any other bytes."""
    data = plain_bytes(data, "data")
    found = c.load().VXR_TellForm(data, len(data))
    return Form(found) if found else None


def _known_form(data: bytes, form: FormLike | None) -> Form:
    found = tell_form(data) if form is None else form_of(form)
    if found is None:
        raise RecordError("no record of a known form; those without a header must be named",
                          0, -3)
    return found


def _image(size: tuple[int, int] | None, resolution: int | None) -> c.Image:
    width, height = size or (0, 0)
    for value in (width, height, resolution or 0):
        if not 0 <= value <= _SIZE:
            raise ValueError(f"an image size or a resolution is 0 to {_SIZE}, not {value}")
    return c.Image(width, height, resolution or 0)


def _raise(status: int, fault: c.Fault) -> None:
    if status == -1:
        raise MemoryError("vxmrecords")
    if status != 0:
        raise RecordError(fault.text.decode(), fault.offset, status)


def check(data: Template, form: FormLike | None = None, *,
          size: tuple[int, int] | None = None) -> list[Fault]:
    """All that does not conform, in the order of the fields; empty if it conforms.
    `size` is the image's, for forms without a header."""
    data = plain_bytes(data, "data")
    known = _known_form(data, form)
    capacity = 256
    while True:
        room = (c.Fault * capacity)()
        image = _image(size, None)
        count = c.load().VXR_Check(data, len(data), known, ctypes.byref(image), room, capacity)
        if count < 0:
            raise MemoryError("vxmrecords")
        if count <= capacity:
            break
        capacity = count
    return [Fault(each.offset, each.text.decode(), None if each.view < 0 else each.view,
                  None if each.minutia < 0 else each.minutia) for each in room[:count]]


def _view(from_: c.View) -> View:
    count = from_.minutia_count
    minutiae = np.zeros(count, MINUTIA)
    ctypes.memmove(minutiae.ctypes.data, from_.minutiae, minutiae.nbytes)
    plain = {name: getattr(from_, name) for name in _PLAIN}
    return View(
        minutiae, **plain, capture_time=bytes(from_.capture_time),
        qualities=[Quality(each.value, each.vendor, each.algorithm)
                   for each in from_.qualities[:from_.quality_count]],
        certifications=[Certification(each.authority, each.scheme)
                        for each in from_.certifications[:from_.certification_count]],
        extended=ctypes.string_at(from_.extended, from_.extended_size)
        if from_.extended_size else b"")


_PLAIN = ("width", "height", "x_resolution", "y_resolution", "finger_position", "number",
          "impression_type", "capture_technology", "capture_vendor", "capture_device",
          "minutia_size", "ridge_ending_type")
_HEADER = ("vendor", "subformat", "device", "certification", "reserved")


def _record(pointer: ctypes._Pointer[c.Record]) -> Record:
    """What it leads to, copied; it is freed."""
    try:
        from_ = pointer.contents
        return Record(Form(from_.form), [_view(each) for each in from_.views[:from_.view_count]],
                      **{name: getattr(from_, name) for name in _HEADER})
    finally:
        c.load().VXR_Free(pointer)


def _whole(value: object, name: str, largest: int) -> int:
    number = int(value)  # type: ignore[call-overload]
    if not 0 <= number <= largest:
        raise ValueError(f"{name}: {value} is not 0 to {largest}")
    return int(number)


def _fill(target: ctypes.Structure, source: object, names: Sequence[str]) -> None:
    sizes = {field[0]: ctypes.sizeof(field[1]) for field in target._fields_}
    for name in names:
        setattr(target, name, _whole(getattr(source, name), name, 256 ** sizes[name] - 1))


def _c_record(record: Record) -> tuple[c.Record, list[object]]:
    """The record as the library takes it, and what must live as long."""
    kept: list[object] = []
    views = (c.View * len(record.views))()
    for target, view in zip(views, record.views):
        _fill(target, view, _PLAIN)
        if len(view.capture_time) != 9:
            raise ValueError("capture_time: 9 bytes are wanted")
        target.capture_time[:] = view.capture_time
        minutiae = np.ascontiguousarray(view.minutiae, MINUTIA)
        qualities = (c.Quality * len(view.qualities))()
        for slot, quality in zip(qualities, view.qualities):
            _fill(slot, quality, ("value", "vendor", "algorithm"))
        certifications = (c.Certification * len(view.certifications))()
        for place, certification in zip(certifications, view.certifications):
            _fill(place, certification, ("authority", "scheme"))
        extended = (ctypes.c_uint8 * len(view.extended)).from_buffer_copy(view.extended)
        target.minutia_count, target.extended_size = len(minutiae), len(extended)
        target.quality_count, target.certification_count = len(qualities), len(certifications)
        target.minutiae = minutiae.ctypes.data_as(ctypes.POINTER(c.Minutia))
        target.qualities = ctypes.cast(qualities, ctypes.POINTER(c.Quality))
        target.certifications = ctypes.cast(certifications, ctypes.POINTER(c.Certification))
        target.extended = ctypes.cast(extended, ctypes.POINTER(ctypes.c_uint8))
        kept += [minutiae, qualities, certifications, extended]
    made = c.Record(form=Form(record.form), view_count=len(views),
                    views=ctypes.cast(views, ctypes.POINTER(c.View)))
    _fill(made, record, _HEADER)
    return made, [*kept, views]


def read(data: Template, form: FormLike | None = None, *, size: tuple[int, int] | None = None,
         resolution: int | None = None) -> Record:
    """The record that bytes hold. `form` must be named for those without a header, of
    which `size` (width, height) and `resolution` are what they do not say; of xyt the
    height is needed. RecordError: its structure is not sound."""
    data = plain_bytes(data, "data")
    pointer, fault = ctypes.POINTER(c.Record)(), c.Fault()
    image = _image(size, resolution)
    _raise(c.load().VXR_Read(data, len(data), _known_form(data, form), ctypes.byref(image),
                             ctypes.byref(pointer), ctypes.byref(fault)), fault)
    return _record(pointer)


def write(record: Record) -> bytes:
    """The bytes of a record in its own form. RecordError: it cannot hold the record.
    ValueError: a number that no field has room for."""
    made, kept = _c_record(record)
    size, fault = ctypes.c_size_t(), c.Fault()
    function = c.load().VXR_Write
    status = function(ctypes.byref(made), None, 0, ctypes.byref(size), ctypes.byref(fault))
    if not size.value:
        _raise(status, fault)
    buffer = ctypes.create_string_buffer(max(size.value, 1))
    _raise(function(ctypes.byref(made), buffer, size.value, ctypes.byref(size),
                    ctypes.byref(fault)), fault)
    del kept
    return buffer.raw[:size.value]


def convert(record: Record, form: FormLike, *, resolution: int | None = None,
            size: tuple[int, int] | None = None, view: int | None = None,
            max_minutiae: int | None = None, order: Order = Order.KEPT,
            descending: bool = False, keep_extended: bool = False) -> Converted:
    """A new record of a form, and what it no longer holds.

    `resolution` scales positions, in x and y; `size` (width, height) is that of the new
    image, by default the old one's, scaled; `view` is the index of the one view to take;
    `max_minutiae` keeps those nearest to the centroid; `keep_extended` keeps extended data
    where neither image nor minutiae change. RecordError: the form cannot hold it."""
    made, kept = _c_record(record)
    width, height = size or (0, 0)
    wanted = c.Conversion(form_of(form), resolution or 0, width, height,
                          -1 if view is None else view, max_minutiae or 0, Order(order),
                          bool(descending), bool(keep_extended))
    pointer, losses, fault = ctypes.POINTER(c.Record)(), c.Losses(), c.Fault()
    _raise(c.load().VXR_Convert(ctypes.byref(made), ctypes.byref(wanted), ctypes.byref(pointer),
                                ctypes.byref(losses), ctypes.byref(fault)), fault)
    del kept
    return Converted(_record(pointer), Losses(*(getattr(losses, field.name)
                                                for field in dataclasses.fields(Losses))))


def matchable_type(template: Template) -> TemplateType:
    """Of what `matchable` gives, if it does."""
    data = plain_bytes(template, "template")
    form = tell_form(data)
    if form is None:
        return TemplateType.ISO19794_2 if data[:4] == b"FMR\0" else TemplateType.NATIVE
    ansi = form.turn == Form.ANSI_2004.turn
    return TemplateType.ANSI378 if ansi else TemplateType.ISO19794_2


def _is_usual(x: int, y: int) -> bool:
    """Whether nothing is to be scaled: also where a resolution is not known."""
    return (x in _USUAL and y in _USUAL) or 0 in (x, y)


def matchable(template: Template) -> tuple[bytes, str]:
    """The template as the matcher compares it, and what was done to it: "" for nothing.

    A record of a later form becomes one of the edition that the matcher compares, one of
    another resolution is scaled to 500 dpi; of several views the first is taken. Native
    templates stay as they are. RecordError: the record cannot be read or converted."""
    data = plain_bytes(template, "template")
    form = tell_form(data)
    if form is None:
        if data[:4] == b"FMR\0":
            raise RecordError("a record of an unknown version", 4, -3)
        return data, ""
    ansi = matchable_type(data) is TemplateType.ANSI378
    target = Form.ANSI_2004 if ansi else Form.ISO_2005
    if form is target and not misread(data):
        at = 20 if form is Form.ANSI_2004 else 18
        x, y = (int.from_bytes(data[place:place + 2], "big") for place in (at, at + 2))
        if _is_usual(x, y):
            return data, ""
    record = read(data, form)
    if not record.views:
        raise RecordError("a record without views", 0, -3)
    first = record.views[0]
    usual = _is_usual(first.x_resolution, first.y_resolution)
    converted = convert(record, target, view=0, keep_extended=True,
                        resolution=None if usual else MATCHER_RESOLUTION)
    told = f"{form.text} converted to {target.text}" if form is not target else form.text
    if not usual:
        told += (f", {first.x_resolution} x {first.y_resolution} pixels per cm scaled to "
                 f"{MATCHER_RESOLUTION}")
    lost = f" ({converted.losses})" if converted.losses else ""
    return write(converted.record), told + lost
