"""Made fingers for the tests, by the program that VXM_PROGRAM names."""
import os
import subprocess
from pathlib import Path

import pytest


def synth(folder: Path, *arguments: str) -> Path:
    subprocess.run([os.environ["VXM_PROGRAM"], "synth", folder, "--seed", "5", *arguments],
                   check=True)
    return folder


@pytest.fixture(scope="session")
def fingers(tmp_path_factory: pytest.TempPathFactory) -> Path:
    """12 fingers with 3 impressions each, in all three formats."""
    return synth(tmp_path_factory.mktemp("fingers"), "--fingers", "12", "--impressions", "3",
                 "--format", "all")
