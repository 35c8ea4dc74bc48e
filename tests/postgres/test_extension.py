"""The extension of PostgreSQL in servers of its own: its regression tests, a gallery
over several servers as docs/large-galleries.md builds it, the loader, and faults.

Run as: test_extension.py BUILD_FOLDER
"""
import os
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

import psycopg

HERE = Path(__file__).resolve().parent
ROOT = HERE.parents[1]
sys.path.insert(0, str(HERE.parent / "support"))

from private_cluster import Cluster, configured, private_cluster  # noqa: E402

build = Path(sys.argv.pop(1)).resolve()
cluster: Cluster
folder: Path


def vxm(*arguments: object) -> None:
    subprocess.run([build / "apps/vxm/vxm", *map(str, arguments)], check=True,
                   stdout=subprocess.DEVNULL)


def load(*arguments: object) -> subprocess.CompletedProcess[str]:
    return subprocess.run([sys.executable, "-m", "vxmkit.load", *map(str, arguments)],
                          env={**os.environ, "PYTHONPATH": str(ROOT / "bindings/python")},
                          capture_output=True, text=True, timeout=120)


def new_database(name: str, server: int = 0) -> str:
    with cluster.connect(server) as session:
        session.execute(f"CREATE DATABASE {name}")
    with cluster.connect(server, name) as session:
        session.execute("CREATE EXTENSION vxmkit")
    return cluster.dsn(server, name)


def setUpModule() -> None:
    global cluster, folder
    folder = Path(unittest.enterModuleContext(tempfile.TemporaryDirectory()))
    cluster = unittest.enterModuleContext(private_cluster(build, 3))
    vxm("synth", folder / "fingers", "--fingers", 6, "--impressions", 2, "--seed", 7,
        "--format", "all")


class Regression(unittest.TestCase):
    def test_regression(self) -> None:
        vxm("rotate", folder / "fingers/001_1.vxt", folder / "fingers/turned.vxt")
        loaded = load(folder / "fingers", new_database("regress"), "--table", "fingers")
        self.assertEqual(loaded.returncode, 0, loaded.stderr)
        upgrade = configured("--sharedir").relative_to("/") / "extension/vxmkit--1.0--test.sql"
        (cluster.folder / "stage" / upgrade).write_text(
            "CREATE FUNCTION vxm_test() RETURNS integer LANGUAGE sql AS 'SELECT 1';\n")
        run = subprocess.run(
            [configured("--pgxs").parent.parent / "test/regress/pg_regress", "--use-existing",
             f"--inputdir={HERE}", f"--outputdir={folder}", f"--bindir={configured('--bindir')}",
             f"--host={cluster.folder}", "--port=5432", "--user=postgres", "--dbname=regress",
             "vxmkit"], capture_output=True, text=True)
        differences = folder / "regression.diffs"
        self.assertEqual(run.returncode, 0,
                         differences.read_text() if differences.exists() else run.stdout + run.stderr)


if __name__ == "__main__":
    unittest.main()
