#!/usr/bin/env python3
"""What the program vxm answers where something is not as it should be: a table of
commands with their exit codes, which are those of the man page, and damaged galleries
and senseless arguments at random.

Run as: test_answers.py [--runs N] [EMULATOR] VXM
"""
import os
import random
import re
import shlex
import signal
import sqlite3
import subprocess
import sys
import tempfile
import time
import unittest
from pathlib import Path

PAGE = (Path(__file__).parents[2] / "apps/vxm/vxm.1").read_text(encoding="utf-8")
CODES = set(map(int, re.findall(r"^\.It (\d)$", PAGE, re.MULTILINE)))
DEEP = "/".join([" ".join(["a folder with a long name"] * 4)] * 4)  # more than Windows takes at once

# Exit code, what is on standard output and on standard error, the command, run one after
# the other. Those with galleries are left out of a build without them; "> full" and
# "> closed" say where the output goes, and "< file" where the input comes from.
ROWS = r"""
0 | match: 007_1, index 6      | left out 18 templates   | identify 7.vxt g.db
1 | no match: 9 candidates     |                         | identify 1.vxt without.db
0 | match: g.db:007_1          |                         | identify 7.vxt without.db g.db made/001_1.vxt
0 | match: 007_1               |                         | identify 7.vxt holder
0 | 	holder/g.db:007_1        |                         | identify 7.vxt holder g.db --all
4 | none of the 7 compared     | row.db:002_1: not a tem | identify 1.vxt row.db
4 | 1 of the 7 compared match, | row.db:002_1: not a tem | identify 7.vxt row.db --all
4 | nothing to compare         | empty.db: is empty      | identify 7.vxt empty.db
4 | none of the 9 compared m   | only.db:x: is ISO 19794 | identify 1.vxt without.db only.db
4 | none of the 9 compared m   | few.vxt: has too few mi | identify 1.vxt without.db few.vxt
4 | nothing to compare         | few.vxt: has too few mi | identify few.vxt g.db
4 | "incomplete"               | and 3 more              | identify 1.vxt bad without.db --json
2 |                            | file is not a database  | identify 7.vxt head.db
2 |                            | without the mark of a g | identify 7.vxt mark.db
2 |                            | is damaged: it counts 2 | identify 1.vxt fewer.db
2 |                            | of something else       | identify 7.vxt other.db
2 |                            | of something else       | identify 7.vxt g.db other.db
2 |                            | no such file            | identify 7.vxt g.db nowhere
3 | timeout: 0 of              |                         | identify 7.vxt TIMES50 --timeout 1
0 | 007_1.vxt, index 0 of 1    |                         | identify 7.vxt DEEP
0 | match, score               |                         | verify 7.vxt g.db:007_1
0 | (ANSI 378                  |                         | verify g.db:007_1 g.db:007_1
0 | match, score               |                         | verify - g.db:007_1 < 7.vxt
4 | not compared               | few.vxt: has too few mi | verify 7.vxt few.vxt
2 |                            | g.db:ID is one of its   | verify 7.vxt g.db
2 |                            | nobody is not enrolled  | verify 7.vxt g.db:nobody
0 | gallery, 9 ANSI 378, 9 ISO |                         | info g.db
2 |                            | /dev/zero: too large    | info /dev/zero
0 | g.db: 27 templates, 0 faul |                         | check g.db
2 | 002_1 (native): not a temp |                         | check row.db
2 | "templates": 0             |                         | check mark.db --json
0 | x\n\t\x1by	native	         |                         | list odd.db
4 | 002_1                      | row.db: 002_1: not a te | list row.db
0 | 3 exported                 |                         | export g.db out 001_1
4 | 0 exported                 | is there already (--for | export g.db out 001_1
0 | 1 exported                 |                         | export odd.db out
2 |                            | few.vxt: has too few mi | enroll new.db few.vxt 7.vxt
0 | 1 enrolled, 1 in all       | warning: few.vxt        | enroll few.db few.vxt --unmatchable
2 |                            | an id cannot be empty   | enroll new.db 7.vxt --id ''
2 |                            | 002_1: is enrolled alre | enroll g.db made/002_1.vxt made/002_2.vxt
0 | 1 enrolled, 1 skipped, 28  | skipped: 002_1          | enroll g.db made/002_1.vxt made/002_2.vxt --skip
0 | 0 enrolled, 2 replaced, 28 |                         | enroll g.db made/002_1.vxt made/002_2.vxt --replace
0 | 1 removed                  |                         | remove g.db 002_2 002_2
2 |                            | left as it was, for it  | rotate 7.vxt g.db
0 |                            |                         | rotate 7.vxt turned.vxt
2 |                            | nearest is 'enroll'     | enrol g.db 7.vxt
2 |                            | nearest is --level      | verify --levle 4 7.vxt 7.vxt
2 |                            | --level= has no value   | verify --level= 7.vxt 7.vxt
2 |                            | '08' is no whole number | verify --level 08 7.vxt 7.vxt
2 |                            | to 18446744073709551615 | synth x --seed 18446744073709551616
2 |                            | none of all|ansi|iso    | synth x --format bmp
2 |                            | cannot be written: No s | list g.db > full
2 |                            | cannot be written: No s | identify 7.vxt g.db --all > full
2 |                            | cannot be written       | --help > full
2 |                            | cannot be written       | --version > full
2 |                            | cannot be written       | list g.db --json > closed
"""

program: list[str] = []
runs = 150


def run(folder: Path, words: list[str], **options: object) -> subprocess.CompletedProcess[str]:
    options = {"stdin": subprocess.DEVNULL, "stdout": subprocess.PIPE, **options}
    return subprocess.run(program + words, cwd=folder, stderr=subprocess.PIPE, text=True,
                          errors="replace", timeout=120, **options)


class Answers(unittest.TestCase):
    def setUp(self) -> None:
        holder = tempfile.TemporaryDirectory()
        self.addCleanup(holder.cleanup)
        self.folder = Path(holder.name)
        self.galleries = "enroll" in self.vxm("--help").stdout
        self.windows = program[-1].endswith(".exe")
        self.vxm("synth made --fingers 9 --impressions 2 --format all")
        seven = (self.folder / "made/007_1.vxt").read_bytes()
        one = bytes([0x45, 1, 0x81, 1, 9, 0, 86, 88, 1, 0, 0, 0, 50, 7])
        (self.folder / "7.vxt").write_bytes((self.folder / "made/007_2.vxt").read_bytes())
        (self.folder / "1.vxt").write_bytes((self.folder / "made/001_2.vxt").read_bytes())
        (self.folder / "few.vxt").write_bytes(one)
        deep = self.folder / DEEP
        deep.mkdir(parents=True)
        (deep / "007_1.vxt").write_bytes(seven)
        (self.folder / "bad").mkdir()
        for number in range(8):
            (self.folder / f"bad/{number}").write_bytes(b"no template")
        if self.galleries:
            self.make_galleries()

    def make_galleries(self) -> None:
        firsts = " ".join(f"made/{path.name}" for path in sorted(self.folder.glob("made/*_1.*")))
        self.vxm(f"enroll g.db {firsts}")
        self.vxm("enroll only.db made/001_1.iso --id x")
        self.vxm("enroll odd.db 7.vxt --id 'x\n\t\x1by'")
        good = (self.folder / "g.db").read_bytes()
        (self.folder / "holder").mkdir()
        fewer = bytearray(good)  # one in a leaf of the table that nobody finds any more
        leaf = next(at for at in range(4096, len(good), 4096) if good[at] == 13 and good[at + 4] > 1)
        fewer[leaf + 4] -= 1
        for name, content in (("fewer.db", fewer), ("head.db", b"X" + good[1:]), ("empty.db", b""), ("holder/g.db", good),
                              ("mark.db", good[:68] + b"\0" + good[69:]),
                              ("row.db", good), ("without.db", good)):
            (self.folder / name).write_bytes(content)
        for name, statement in (
                ("row.db", "UPDATE templates SET template = x'00' WHERE id = '002_1' AND type = 2001"),
                ("row.db", "DELETE FROM templates WHERE id = '001_1'"),
                ("without.db", "UPDATE templates SET id = id || 'b', template = (SELECT template FROM "
                 "templates AS o WHERE id = '002_1' AND o.type = templates.type) WHERE id = '001_1'"),
                ("without.db", "UPDATE templates SET template = (SELECT template FROM templates AS o "
                 "WHERE id = '002_1' AND o.type = templates.type) WHERE id = '007_1'"),
                ("other.db", "CREATE TABLE other (a)")):
            base = sqlite3.connect(self.folder / name)
            base.execute(statement)
            base.commit()
            base.close()

    def vxm(self, line: str, **options: object) -> subprocess.CompletedProcess[str]:
        line = line.replace("DEEP", f"'{DEEP}'").replace("TIMES50", "made " * 50)
        return run(self.folder, shlex.split(line), **options)

    def redirected(self, line: str) -> subprocess.CompletedProcess[str]:
        line, way = re.match(r"(.*?)(?: ([<>] \w\S*))?$", line).groups()
        if way is None:
            return self.vxm(line)
        if way == "> closed":
            return self.vxm(line, preexec_fn=lambda: os.close(1))
        name = "/dev/full" if way == "> full" else self.folder / way[2:]
        with open(name, "wb" if way[0] == ">" else "rb") as stream:
            return self.vxm(line, **{"stdout" if way[0] == ">" else "stdin": stream})

    def test_table(self) -> None:
        seen = set()
        for row in ROWS.strip().splitlines():
            code, out, err, line = (cell.strip(" ") for cell in row.split(" | "))
            needs_posix = " > " in line or "/dev/" in line
            if (".db" in line and not self.galleries) or (needs_posix and self.windows):
                continue
            with self.subTest(line):
                done = self.redirected(line)
                self.assertEqual(done.returncode, int(code), done)
                self.assertIn(out, done.stdout or "")
                self.assertIn(err, done.stderr)
                self.assertEqual(code == "1", "no match" in (done.stdout or ""))
                seen.add(done.returncode)
        self.assertLessEqual(seen, CODES)
        self.assertEqual(seen, CODES if self.galleries else seen)
        self.assertEqual([p.name for p in self.folder.rglob(".vxm-*")], [])
        if self.galleries and not self.windows:
            self.assertEqual((self.folder / "g.db").stat().st_mode & 0o777, 0o600)

    @unittest.skipIf(sys.platform == "win32", "needs limits and signals")
    def test_nothing_half_written(self) -> None:
        if self.windows:
            self.skipTest("limits and signals do not pass the emulator")
        import resource
        before = (self.folder / "7.vxt").read_bytes()
        done = self.vxm("rotate 7.vxt 7.vxt", restore_signals=False, preexec_fn=lambda:
                        resource.setrlimit(resource.RLIMIT_FSIZE, (100, 100)))
        self.assertEqual((done.returncode, (self.folder / "7.vxt").read_bytes()), (2, before))
        making = subprocess.Popen(program + ["synth", "big", "--fingers", "100000"], cwd=self.folder,
                                  stderr=subprocess.DEVNULL)
        while not list(self.folder.glob(".vxm-*/*")):
            time.sleep(0.01)
        making.send_signal(signal.SIGINT)
        self.assertEqual(making.wait(60), 3)
        self.assertEqual([*self.folder.glob(".vxm-*"), *self.folder.glob("big")], [])

    def test_damaged_galleries_and_senseless_arguments(self) -> None:
        good = (self.folder / ("without.db" if self.galleries else "7.vxt")).read_bytes()
        commands = ["identify 1.vxt m.db", "identify 1.vxt m.db --all --json", "list m.db", "info m.db",
                    "check m.db --json", "verify 7.vxt m.db:007_1", "enroll m.db made/003_2.iso",
                    "remove m.db 003_1", "export m.db out --force", "rotate 1.vxt m.db"]
        words = ("verify identify enroll list remove info rotate synth export check completion --level "
                 "--timeout --threads --normal-mode --all --json --id --note --skip --replace --force "
                 "--unmatchable --retry-turned --seed --format --fingers --impressions --help --version "
                 "--level=4 --id= -- - -x 1 7 8 -1 abc iso bash 99999999999999999999 1.vxt 7.vxt few.vxt "
                 "m.db g.db m.db:007_1 m.db: :x made nowhere out out/x").split() + ["", "ü\n"]
        random.seed(runs)
        counts = dict.fromkeys(CODES, 0)
        for number in range(runs):
            damaged = bytearray(good)
            for _ in range(random.choice([0, 1, 1, 2, 8])):
                end = random.choice([110, 200, len(good)])
                damaged[random.randrange(end)] = random.choice([0, 1, 255, random.randrange(256)])
            if random.random() < 0.1:
                del damaged[random.randrange(len(good)):]
            (self.folder / "m.db").write_bytes(damaged)
            line = (shlex.split(random.choice(commands)) if random.random() < 0.6 else
                    random.choices(words[:11], k=1) + random.choices(words, k=random.randrange(7)))
            done = run(self.folder, line)
            self.assertIn(done.returncode, CODES, (number, line, done.stderr))
            self.assertEqual(done.returncode == 1,
                             bool(re.search(r'^no match|"no match"|"match": false', done.stdout, re.M)),
                             (number, line, done))
            counts[done.returncode] += 1
        print(f"{runs} runs by exit code: {counts}", file=sys.stderr)


if __name__ == "__main__":
    program = [str(Path(word).resolve()) if Path(word).exists() else word for word in sys.argv[1:]]
    if program[0] == "--runs":
        runs, program = int(program[1]), program[2:]
    unittest.main(argv=sys.argv[:1])
