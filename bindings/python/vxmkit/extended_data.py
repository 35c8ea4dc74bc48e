"""The blocks of extended data of a record: ridge counts, cores and deltas, zonal
quality, and vendors' own.

    from vxmkit import records
    from vxmkit.extended_data import extended_data

    record = records.read(data)
    for core in extended_data(record.views[0], record.form).cores:
        print(core.x, core.y, core.degrees)
"""
from __future__ import annotations

import dataclasses

import numpy as np
from numpy.typing import NDArray

from .records import Form, RecordError, View

_RIDGE_COUNTS, _CORES_AND_DELTAS, _ZONAL_QUALITY = 1, 2, 3
_NO_NEIGHBOUR = 255


@dataclasses.dataclass(frozen=True)
class RidgeCount:
    """Of the ridges between two minutiae, given by their indices from 0."""

    first: int
    second: int
    count: int


@dataclasses.dataclass(frozen=True)
class Point:
    """A core with at most one angle, or a delta with none or three; pixels, and degrees
    counter-clockwise from the positive x axis."""

    x: int
    y: int
    degrees: tuple[float, ...]


@dataclasses.dataclass(frozen=True)
class ZonalQuality:
    """Of cells of width x height pixels, `values` by row and column, 0 to `best`."""

    width: int
    height: int
    best: int
    values: NDArray[np.uint8]


@dataclasses.dataclass
class ExtendedData:
    ridge_counts: list[RidgeCount] = dataclasses.field(default_factory=list)
    cores: list[Point] = dataclasses.field(default_factory=list)
    deltas: list[Point] = dataclasses.field(default_factory=list)
    zonal_quality: list[ZonalQuality] = dataclasses.field(default_factory=list)
    others: list[tuple[int, bytes]] = dataclasses.field(default_factory=list)
    """Type and data of blocks of other types."""


class _Block:
    """Fields one after the other; `at` counts from the start of all extended data."""

    def __init__(self, data: bytes, at: int) -> None:
        self.data, self.at, self.begin = data, 0, at

    def take(self, size: int = 1) -> int:
        if self.at + size > len(self.data):
            raise RecordError("a block of extended data ends too early", self.begin + self.at, -3)
        self.at += size
        return int.from_bytes(self.data[self.at - size:self.at], "big")

    def left(self) -> int:
        return len(self.data) - self.at


def _ridge_counts(block: _Block, minutiae: int) -> list[RidgeCount]:
    """Makers count from 0 or from 1: from 0 where a 0 stands. 255 is no neighbour."""
    block.take()  # how they were counted
    found = []
    while block.left() >= 3:
        found.append((block.take(), block.take(), block.take()))
    first = 0 if any(0 in each[:2] for each in found) else 1
    return [RidgeCount(a - first, b - first, count) for a, b, count in found
            if a - first < minutiae and b - first < minutiae and _NO_NEIGHBOUR not in (a, b)]


def _points(block: _Block, angles: int, turn: int) -> list[Point]:
    """ANSI says once for all points whether they have angles, ISO of each."""
    head = block.take()
    found = []
    for _ in range(head & 15):
        kind_and_x, y = block.take(2), block.take(2) & 0x3FFF
        given = angles if 1 in (kind_and_x >> 14, head >> 6) else 0
        degrees = tuple(block.take() * 360 / turn for _ in range(given))
        found.append(Point(kind_and_x & 0x3FFF, y, degrees))
    return found


def _zonal_quality(block: _Block, view: View) -> ZonalQuality:
    width, height, depth = block.take(), block.take(), block.take()
    if not (width and height and 1 <= depth <= 8):
        raise RecordError("cells of zonal quality without a size", block.begin, -3)
    columns, rows = -(-view.width // width), -(-view.height // height)
    bits = np.unpackbits(np.frombuffer(block.data[3:], np.uint8))
    if len(bits) < rows * columns * depth:
        raise RecordError("a block of extended data ends too early", block.begin, -3)
    cells = bits[:rows * columns * depth].reshape(rows, columns, depth)
    values = cells @ (1 << np.arange(depth)[::-1])
    return ZonalQuality(width, height, (1 << depth) - 1, values.astype(np.uint8))


def extended_data(view: View, form: Form) -> ExtendedData:
    """The blocks of a view of a record of that form. RecordError, its offset counted
    from the first block: one that does not parse."""
    found = ExtendedData()
    at = 0
    while at < len(view.extended):
        kind, size = (int.from_bytes(view.extended[place:place + 2], "big")
                      for place in (at, at + 2))
        if size < 4 or at + size > len(view.extended):
            raise RecordError(f"a block of extended data of {size} bytes", at, -3)
        block = _Block(view.extended[at + 4:at + size], at + 4)
        if kind == _RIDGE_COUNTS:
            found.ridge_counts += _ridge_counts(block, len(view.minutiae))
        elif kind == _CORES_AND_DELTAS:
            found.cores += _points(block, 1, form.turn)
            found.deltas += _points(block, 3, form.turn)
        elif kind == _ZONAL_QUALITY:
            found.zonal_quality.append(_zonal_quality(block, view))
        else:
            found.others.append((kind, block.data))
        at += size
    return found
