"""Galleries of the program vxm: what they keep, refuse, and survive.

Run as: test_galleries.py [EMULATOR] VXM
"""
import contextlib
import json
import resource
import sqlite3
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

import test_vxm
from test_vxm import run


class Galleries(unittest.TestCase):
    def setUp(self) -> None:
        holder = tempfile.TemporaryDirectory()
        self.addCleanup(holder.cleanup)
        self.folder = Path(holder.name)
        self.made = self.folder / "made"
        self.gallery = self.folder / "Galerie ü.db"
        run("synth", self.made, "--fingers", 9, "--impressions", 2, "--format", "all")
        done = self.enroll(*sorted(self.made.glob("*_1.*")))
        self.assertEqual((done.returncode, done.stdout),
                         (0, f"{self.gallery}: 27 enrolled, 27 in all\n"))

    def enroll(self, *arguments: object) -> subprocess.CompletedProcess[str]:
        return run("enroll", self.gallery, *arguments)

    def listed(self) -> list[tuple[str, str, str]]:
        done = run("list", self.gallery, "--json")
        self.assertEqual((done.returncode, done.stderr), (0, ""))
        return [(e["id"], e["format"], e["note"]) for e in json.loads(done.stdout)]

    def test_misread_record(self) -> None:
        """It is named, and converted for good by way of files."""
        later, out = self.folder / "001_1.iso", self.folder / "out"
        run("convert", self.made / "001_1.iso", later, "--to", "iso-2011")
        with contextlib.closing(sqlite3.connect(self.gallery)) as database, database:
            database.execute("UPDATE templates SET template = ? WHERE id = '001_1' AND type = 2002",
                             [later.read_bytes()])
        self.assertIn("001_1 (ISO 19794-2): is a record of the form iso-2011",
                      run("check", self.gallery).stdout)
        for command in (["export", self.gallery, out, "001_1"], ["remove", self.gallery, "001_1"],
                        ["enroll", self.gallery, *(out / f"001_1.{kind}" for kind in ("iso", "vxt"))]):
            self.assertEqual(run(*command).returncode, 0, command)
        self.assertIn("26 templates, 0 faults", run("check", self.gallery).stdout)

    def test_keeps_and_searches(self) -> None:
        self.enroll(self.made / "004_2.vxt", "--id", "again", "--note", "left thumb")
        self.assertEqual(self.listed()[-1], ("again", "native", "left thumb"))
        for kind in "vxt", "iso", "ansi":
            probe = self.made / f"007_2.{kind}"
            self.assertIn("match: 007_1, index 6 of", run("identify", probe, self.gallery).stdout)
        probe = self.made / "004_2.vxt"
        report = json.loads(run("identify", probe, self.gallery, "--all", "--json").stdout)
        scores = [json.loads(run("verify", probe, other, "--json").stdout)["score"]
                  for other in (probe, self.made / "004_1.vxt")]
        self.assertEqual([(m["file"], m["score"]) for m in report["matches"]],
                         list(zip(("again", "004_1"), scores)))
        self.assertEqual(report["candidates"], 10)
        done = run("remove", self.gallery, "again", "007_1")
        self.assertEqual(done.stdout, f"{self.gallery}: 4 removed\n")
        self.assertEqual(run("identify", self.made / "007_2.iso", self.gallery).returncode, 1)

    def test_refuses_as_a_whole(self) -> None:
        new, good = self.made / "001_2.vxt", self.made / "001_1.vxt"
        text, other, empty = (self.folder / name for name in ("text", "other.db", "empty.db"))
        text.write_bytes(b"Not a template at all.\n")
        run("enroll", other, self.made / "001_1.iso")
        empty.touch()
        before = self.gallery.read_bytes()
        for message, command in [
            ("001_1: is enrolled already (native)", ("enroll", self.gallery, new, good)),
            ("text: not a template", ("enroll", self.gallery, new, text)),
            ("ü.db: left as it was", ("enroll", self.gallery, new, text)),
            ("second template of the id 001_2 (native)", ("enroll", self.gallery, new, new)),
            ("--id names one", ("enroll", self.gallery, self.made, "--id", "x")),
            ("nowhere: no such file", ("enroll", self.gallery, new, "nowhere")),
            ("nobody: is not enrolled", ("remove", self.gallery, "001_1", "nobody")),
            ("001_1: is not enrolled", ("remove", empty, "001_1")),
            ("file is not a database", ("enroll", text, new)),
            ("cannot be made", ("enroll", self.folder / "no" / "where", new)),
            ("is a folder", ("list", self.folder)),
            ("no such file", ("list", self.folder / "nowhere")),
            ("--threads excludes --all",
             ("identify", new, self.gallery, "--all", "--threads", 2)),
        ]:
            with self.subTest(message=message):
                done = run(*command)
                self.assertEqual((done.returncode, done.stdout), (2, ""))
                self.assertIn(message, done.stderr)
        self.assertEqual(self.gallery.read_bytes(), before)

    def test_survives_an_end_in_the_middle_of_writing(self) -> None:
        more = self.folder / "more"
        run("synth", more, "--fingers", 40, "--impressions", 10)
        before = self.listed()
        limit = self.gallery.stat().st_size + 20000
        journal = Path(f"{self.gallery}-journal")
        # A program that writes beyond the limit is killed, or, if it ignores that
        # signal as the tests themselves do, is told what a full disk would tell.
        for killed in True, False:
            done = subprocess.run(
                test_vxm.program + ["enroll", str(self.gallery), str(more)],
                restore_signals=killed, capture_output=True, text=True, timeout=120,
                preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_FSIZE, (limit, limit)))
            self.assertEqual((done.returncode < 0, done.stdout), (killed, ""))
            self.assertEqual(journal.exists(), killed)
            if not killed:
                self.assertEqual(done.returncode, 2)
                self.assertIn(f"vxm: {self.gallery}: d", done.stderr)  # disk ...
            self.assertEqual(self.listed(), before)
        self.assertEqual(self.enroll(more).stdout, f"{self.gallery}: 400 enrolled, 427 in all\n")


if __name__ == "__main__":
    test_vxm.program = sys.argv[1:]
    unittest.main(argv=sys.argv[:1])
