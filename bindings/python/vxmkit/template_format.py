"""What the first bytes of a template tell: its format, and how long it is."""
from __future__ import annotations

from .constants import TemplateType
from .templates import Template, template_bytes

# The data block that a turned standard record carries behind its minutiae.
ATTRIBUTE_BLOCK = 7

# With fewer a template scores 0 with every other one.
LEAST_MINUTIAE = 4


def _word(data: bytes, offset: int) -> int:
    return int.from_bytes(data[offset:offset + 2].ljust(2, b"\0"), "big")


def detect_type(template: Template) -> TemplateType:
    """The format that a template claims to be of. Any bytes that are no standard
    record are taken for a native template, valid or not. TypeError: no bytes."""
    template = template_bytes(template, "template")
    if template[:4] != b"FMR\0":
        return TemplateType.NATIVE
    # The 2-byte record length of ANSI stands where ISO has the upper, zero half of
    # its 4-byte one.
    return TemplateType.ANSI378 if _word(template, 8) else TemplateType.ISO19794_2


def body_size(template: bytes) -> int:
    """Bytes up to the end of the map (native) or of the first view's last minutia."""
    head = template[:30].ljust(30, b"\0")
    kind = detect_type(template)
    if kind is not TemplateType.NATIVE:
        before = 28 if kind is TemplateType.ISO19794_2 else 30
        return before + 6 * head[before - 1]
    blocks = (head[2] & 63) * (head[3] & 63)
    return 8 + head[1] * (head[0] & 7) + (blocks if head[2] & 0x80 else (blocks + 1) // 2)


def minutia_count(template: bytes) -> int:
    """How many minutiae a template says that it has."""
    offset = {TemplateType.NATIVE: 1, TemplateType.ISO19794_2: 27,
              TemplateType.ANSI378: 29}[detect_type(template)]
    return template[offset] if len(template) > offset else 0


def damage(template: bytes) -> str:
    """What is wrong with the sizes in an invalid template, or nothing that shows there."""
    kind, size = detect_type(template), len(template)
    head = {TemplateType.NATIVE: 8, TemplateType.ISO19794_2: 28, TemplateType.ANSI378: 30}[kind]
    if size < head:
        return f"it has {size} bytes, fewer than its header"
    if kind is TemplateType.NATIVE and template[0] not in (0x44, 0x45):
        return "it begins as no known format"
    if size < body_size(template):
        return (f"it has {size} bytes, and {body_size(template)} are needed for "
                f"{minutia_count(template)} minutiae")
    stated = (int.from_bytes(template[8:12], "big") if kind is TemplateType.ISO19794_2
              else _word(template, 8))
    if kind is not TemplateType.NATIVE and stated != size:
        return f"it has {size} bytes, and its header says {stated}"
    return ""
