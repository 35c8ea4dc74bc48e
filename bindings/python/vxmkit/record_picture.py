"""Records as pictures want them: in the image's own pixels, every view of every form."""
from __future__ import annotations

import sys
from collections.abc import Sequence
from pathlib import Path
from typing import Any

from .explain import ExplainError, explain
from .extended_data import ExtendedData, extended_data
from .records import Form, Record, RecordError, matchable, tell_form
from .records import read as read_record

_TYPES = {1: 0, 2: 1}  # as the engine numbers them; others are of another type


def is_record(data: bytes) -> bool:
    return data[:4] == b"FMR\0"


def _minutia(each: Any, form: Form) -> dict[str, Any]:
    told = {"x": int(each["x"]), "y": int(each["y"]), "type": _TYPES.get(int(each["type"]), 2),
            "direction": -int(each["angle"]) * 360 / form.turn}
    if 1 <= each["quality"] <= 100:
        told["quality"] = int(each["quality"]) * 1.27
    return told


def _extended(record: Record, number: int, path: Path) -> ExtendedData:
    try:
        return extended_data(record.views[number - 1], record.form)
    except RecordError as error:
        print(f"vxmkit.draw: {path}: extended data are not drawn: {error.text}", file=sys.stderr)
        return ExtendedData()


def record_view(path: Path, data: bytes, form: Form | None, size: tuple[int, int] | None,
                number: int) -> dict[str, Any]:
    """A view, from 1, as a template like those that `explain` tells, with the size of its
    image and its extended data. ExplainError: it cannot be read, or has no such view."""
    try:
        record = read_record(data, form, size=size)
    except ValueError as error:
        raise ExplainError(f"{path}: {error}") from error
    if not 1 <= number <= len(record.views):
        raise ExplainError(f"{path}: there is no view {number}: it has {len(record.views)}")
    view = record.views[number - 1]
    views = f", view {number} of {len(record.views)}" if len(record.views) > 1 else ""
    return {"file": str(path), "format": record.form.text + views, "orientation": None,
            "minutiae": [_minutia(each, record.form) for each in view.minutiae],
            "image": (view.width, view.height), "extended": _extended(record, number, path)}


def explain_any(files: Sequence[Path], folder: Path) -> dict[str, Any]:
    """As `explain` does, records of other forms and resolutions converted, which is told,
    into files in the folder."""
    named = []
    for number, path in enumerate(files):
        data = path.read_bytes()
        try:
            converted, done = matchable(data) if tell_form(data) else (data, "")
        except RecordError as error:
            raise ExplainError(f"{path}: {error}") from error
        named.append(folder / str(number) if done else path)
        if done:
            print(f"vxmkit.draw: {path}: {done}", file=sys.stderr)
            named[-1].write_bytes(converted)
    told = explain(named)
    for path, side in zip(files, ("probe", "reference")):
        told[side]["file"] = str(path)
    return told
