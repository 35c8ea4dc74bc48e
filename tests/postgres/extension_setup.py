"""What the tests of the extension share: servers of their own, made fingers, and the
SQL of docs/large-galleries.md. The build folder is the program's argument."""
import os
import re
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

HERE = Path(__file__).resolve().parent
ROOT = HERE.parents[1]
sys.path[:0] = [str(HERE.parent / "support"), str(ROOT / "bindings/python")]

from private_cluster import Cluster, private_cluster, staged  # noqa: E402

build = Path(sys.argv.pop(1)).resolve()
os.environ["VXMKIT_LIBRARY"] = str(build / "src/libvxmkit.so")
os.environ["VXMRECORDS_LIBRARY"] = str(build / "records/libvxmrecords.so")


def vxm(*arguments: object) -> None:
    subprocess.run([build / "apps/vxm/vxm", *map(str, arguments)], check=True, capture_output=True)


def load(*arguments: object) -> subprocess.CompletedProcess[str]:
    return subprocess.run([sys.executable, "-m", "vxmkit.load", *map(str, arguments)],
                          env={**os.environ, "PYTHONPATH": str(ROOT / "bindings/python")},
                          capture_output=True, text=True, timeout=120)


def documented_blocks() -> dict[str, str]:
    """The SQL in docs/large-galleries.md by the titles in its comments, its parameters in
    psycopg's manner."""
    document = (ROOT / "docs/large-galleries.md").read_text(encoding="utf-8")
    return {title: re.sub(r"\$(\d)", r"%(p\1)s", text)
            for title, text in re.findall(r"^```sql\n-- (.*?):\n(.*?)^```", document, re.M | re.S)}


def documented(title: str, **replaced: str) -> str:
    text = documented_blocks()[title]
    for word, value in replaced.items():
        text = text.replace(word, value)
    return text


def set_up(servers: int, **settings: object) -> tuple[Cluster, Path]:
    """Servers, and a folder of fingers 001_1 to 006_2, until the module's tests end."""
    folder = Path(unittest.enterModuleContext(tempfile.TemporaryDirectory()))
    cluster = unittest.enterModuleContext(private_cluster(*staged(build), servers, **settings))
    vxm("synth", folder, "--fingers", 6, "--impressions", 2, "--seed", 7, "--format", "all")
    vxm("rotate", folder / "001_1.vxt", folder / "turned.vxt")
    return cluster, folder
