"""A folder of templates as impressions of fingers, by the names of its files."""
from __future__ import annotations

import dataclasses
import re
from collections.abc import Iterable, Sequence
from pathlib import Path
from typing import Any

from .constants import TemplateType
from .errors import TemplateTypeError, VxmError
from .matcher import Matcher
from .records import RecordError, matchable, matchable_type
from .template_format import LEAST_MINUTIAE, damage, detect_type, minutia_count


@dataclasses.dataclass(frozen=True)
class Impression:
    """`finger` and `impression` are parts of the file's name, `path` is relative."""

    finger: str
    impression: str
    path: str
    template: bytes
    type: TemplateType
    converted: str = ""  # what was done to the file's bytes to make it, if anything


@dataclasses.dataclass(frozen=True)
class Fault:
    """A file that was left out. `type` is set where the name is one of an impression and
    the file no valid template: a failure to enrol."""

    path: str
    reason: str
    type: TemplateType | None = None


@dataclasses.dataclass(frozen=True)
class Enrolment:
    """How many of the impressions can be used."""

    impressions: Sequence[Impression]
    faults: Sequence[Fault]

    @property
    def failed(self) -> int:
        """Files of the impressions' type, or empty ones, that are no valid templates."""
        kind = self.impressions[0].type
        return sum(each.type is kind for each in self.faults)

    @property
    def too_few(self) -> int:
        """Impressions with too few minutiae to match anything; they are compared, and
        score 0."""
        return sum(minutia_count(each.template) < LEAST_MINUTIAE for each in self.impressions)

    @property
    def rate(self) -> float:
        """The failure-to-enrol rate."""
        return self.failed / (self.failed + len(self.impressions))

    def as_json(self) -> dict[str, Any]:
        converted = [{"file": each.path, "how": each.converted}
                     for each in self.impressions if each.converted]
        return {"converted": converted,
                "failure_to_enrol": {"files": self.failed, "rate": self.rate},
                "too_few_minutiae": self.too_few,
                "left_out": [{"file": each.path, "reason": each.reason} for each in self.faults]}

    def text(self) -> str:
        few = f", {self.too_few} have too few minutiae to match" if self.too_few else ""
        return (f"failure to enrol {100 * self.rate:.2f} % ({self.failed} files){few}; "
                f"{len(self.faults)} files left out")


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


class _Checker:
    """Tells what the library finds wrong with templates, by comparing each with itself."""

    def __init__(self) -> None:
        self._matchers: dict[TemplateType, Matcher] = {}

    def fault_of(self, template: bytes) -> str:
        if not template:
            return "no valid template: the file is empty"
        kind = matchable_type(template)
        if kind not in self._matchers:
            self._matchers[kind] = Matcher(kind)
        try:
            detect_type(template)
            self._matchers[kind].verify(template, template)
        except TemplateTypeError as error:
            return f"no valid template: {error.text}"
        except VxmError as error:
            return f"no valid template: {damage(template) or error.text} ({int(error.code)})"
        return ""

    def close(self) -> None:
        for matcher in self._matchers.values():
            matcher.close()


def read_folder(folder: Path, pattern: str, convert: bool = True,
                ) -> tuple[list[Impression], list[Fault]]:
    """All impressions, by finger and impression, and the files that are none. As many
    levels of folders are read as the pattern has slashes. With `convert`, records of
    other forms and resolutions become such as the library compares. OSError: no such
    folder."""
    expression = name_expression(pattern)
    below = "*/" * pattern.count("/") + "*"
    if not folder.is_dir():
        raise FolderError(f"{folder}: no such folder")
    files = sorted(path for path in folder.glob(below)
                   if path.is_file() and not path.name.startswith("."))
    impressions: list[Impression] = []
    faults = []
    checker = _Checker()
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
        kind, told = matchable_type(template), ""
        try:
            if convert:
                template, told = matchable(template)
        except RecordError as error:
            faults.append(Fault(path, f"no valid template: {error}", kind))
            continue
        key = (found["finger"], found["impression"], kind)
        reason = checker.fault_of(template)
        if reason:
            faults.append(Fault(path, reason, kind))
            continue
        if key in seen:
            faults.append(Fault(path, f"the same finger and impression as {seen[key]}"))
            continue
        seen[key] = path
        impressions.append(Impression(found["finger"], found["impression"], path, template, kind,
                                      told))
    checker.close()
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
