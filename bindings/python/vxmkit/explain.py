"""Runs vxm-explain, the program that tells what the engine makes of templates.

In this order: the file that the environment variable VXM_EXPLAIN names, the program
beside this module, where a wheel has it, the one in the path.
"""
from __future__ import annotations

import json
import os
import shutil
import subprocess
from collections.abc import Sequence
from pathlib import Path
from typing import Any

VARIABLE = "VXM_EXPLAIN"


class ExplainError(Exception):
    """The program is missing, or refused the templates; the text says why."""


def _program() -> str:
    if VARIABLE in os.environ:
        return os.environ[VARIABLE]
    beside = shutil.which("vxm-explain", path=str(Path(__file__).parent))
    found = beside or shutil.which("vxm-explain")
    if found is None:
        raise ExplainError(f"no program vxm-explain in the path; {VARIABLE} may name its file")
    return found


def explain(files: Sequence[Path]) -> dict[str, Any]:
    """What `vxm-explain FILE [FILE] --json` prints, for one template or two."""
    program = _program()
    try:
        ran = subprocess.run([program, "--json", "--", *map(str, files)], capture_output=True)
    except OSError as error:
        raise ExplainError(f"{program}: {error.strerror}") from error
    if ran.returncode != 0:
        said = ran.stderr.decode(errors="replace").strip()
        raise ExplainError(said or f"{program}: exit code {ran.returncode}")
    told: dict[str, Any] = json.loads(ran.stdout)
    return told
