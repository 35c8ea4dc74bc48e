"""What docs/tutorial.md shows runs from its beginning to its end."""
import os
import re
import shlex
import subprocess
import sys
from pathlib import Path
from typing import Any

import pytest

PAGE = Path(__file__).parents[2] / "docs/tutorial.md"


def test_page(tmp_path: Path, monkeypatch: pytest.MonkeyPatch) -> None:
    monkeypatch.chdir(tmp_path)
    names: dict[str, Any] = {}
    for language, text in re.findall(r"```(console|python)\n(.*?)```", PAGE.read_text("utf-8"),
                                     re.DOTALL):
        if language == "python":
            exec(text, names)
            continue
        for line in text.splitlines():
            command = shlex.split(line.removeprefix("$ "))
            programs = {"vxm": os.environ["VXM_PROGRAM"], "python3": sys.executable}
            subprocess.run([programs[command[0]], *command[1:]], check=True)
    assert names["points"].shape == (30, 30)
    rates = [each["fnmr"]["value"] for each in names["levels"]]
    assert rates == sorted(rates) and names["chosen"] in range(1, 8)
    assert names["missed"]["value"] >= rates[0]
