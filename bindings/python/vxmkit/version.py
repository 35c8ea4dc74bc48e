"""The package's version: of the tree where it runs from one, else as installed."""
from __future__ import annotations

import re
from importlib import metadata
from pathlib import Path


def _version() -> str:
    try:
        text = (Path(__file__).resolve().parents[3] / "CMakeLists.txt").read_text(encoding="utf-8")
    except (OSError, IndexError):
        text = ""
    found = re.search(r"project\(vxmkit VERSION ([\d.]+)", text)
    if found:
        return found.group(1)
    try:
        return metadata.version("vxmkit")
    except metadata.PackageNotFoundError:  # copied by hand
        return "unknown"


__version__ = _version()
