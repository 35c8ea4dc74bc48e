"""A folder of templates as impressions of fingers, by the names of its files."""
from __future__ import annotations

import dataclasses
import re
from collections.abc import Iterable
from pathlib import Path

from .constants import TemplateType
from .errors import VxmError
from .matcher import Matcher
from .template_format import detect_type


@dataclasses.dataclass(frozen=True)
class Impression:
    """`finger` and `impression` are parts of the file's name, `path` is relative."""

    finger: str
    impression: str
    path: str
    template: bytes
    type: TemplateType


@dataclasses.dataclass(frozen=True)
class Fault:
    """A file that was left out."""

    path: str
    reason: str


class FolderError(Exception):
    """Nothing in the folder can be used; the text says why."""


def name_expression(pattern: str) -> re.Pattern[str]:
    """The expression for a path without its suffix: {finger} and {impression} stand
    for any text, * for what does not matter. ValueError: not one of each."""
    parts = re.split(r"({finger}|{impression}|\*)", pattern)
    if parts.count("{finger}") != 1 or parts.count("{impression}") != 1:
        raise ValueError(f"the pattern {pattern!r} needs {{finger}} and {{impression}}, once each")
    meanings = {"{finger}": "(?P<finger>[^/]+)", "{impression}": "(?P<impression>[^/]+)",
                "*": "[^/]*"}
    return re.compile("".join(meanings.get(part) or re.escape(part) for part in parts))


def natural_order(text: str) -> list[tuple[bool, int, str]]:
    """A sort key by which 2 comes before 10."""
    return [(part.isdigit(), int(part) if part.isdigit() else 0, part)
            for part in re.split(r"([0-9]+)", text)]


def _fault_of(template: bytes) -> str:
    """What the library finds wrong with a template, by comparing it with itself."""
    try:
        with Matcher(detect_type(template)) as matcher:
            matcher.verify(template, template)
    except VxmError as error:
        return f"no valid template: {error.text} ({int(error.code)})"
    return ""


def read_folder(folder: Path, pattern: str) -> tuple[list[Impression], list[Fault]]:
    """All impressions, by finger and impression, and the files that are none. As many
    levels of folders are read as the pattern has slashes. OSError: no such folder."""
    expression = name_expression(pattern)
    below = "*/" * pattern.count("/") + "*"
    if not folder.is_dir():
        raise FolderError(f"{folder}: no such folder")
    files = sorted(path for path in folder.glob(below)
                   if path.is_file() and not path.name.startswith("."))
    impressions: list[Impression] = []
    faults = []
    seen: dict[tuple[str, str, TemplateType], str] = {}
    for file in files:
        path = file.relative_to(folder).as_posix()
        found = expression.fullmatch(path[:len(path) - len(file.suffix)])
        if not found:
            faults.append(Fault(path, f"its name does not fit the pattern {pattern}"))
            continue
        try:
            template = file.read_bytes()
        except OSError as error:
            faults.append(Fault(path, f"cannot be read: {error.strerror}"))
            continue
        kind = detect_type(template)
        key = (found["finger"], found["impression"], kind)
        reason = _fault_of(template)
        if not reason and key in seen:
            reason = f"the same finger and impression as {seen[key]}"
        if reason:
            faults.append(Fault(path, reason))
            continue
        seen[key] = path
        impressions.append(Impression(found["finger"], found["impression"], path, template, kind))
    impressions.sort(key=lambda each: (natural_order(each.finger), natural_order(each.impression)))
    return impressions, faults


def of_one_type(impressions: Iterable[Impression], wanted: TemplateType | None,
                ) -> list[Impression]:
    """Those of the wanted type, or all when they are of one. FolderError: they are of
    several and none is wanted, or none is left."""
    counts: dict[TemplateType, int] = {}
    impressions = list(impressions)
    for each in impressions:
        counts[each.type] = counts.get(each.type, 0) + 1
    if wanted is None and len(counts) > 1:
        listed = ", ".join(f"{kind.name} {count}" for kind, count in sorted(counts.items()))
        raise FolderError(f"templates of several formats ({listed}): choose one by --type")
    left = [each for each in impressions if wanted in (None, each.type)]
    if not left:
        raise FolderError("no usable template" if wanted is None else
                          f"no usable template of type {wanted.name}")
    return left
