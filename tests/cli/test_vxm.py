"""The program vxm from outside: exit codes, messages, JSON and made files.

Run as: test_vxm.py [EMULATOR] VXM
"""
import hashlib
import json
import os
import re
import shutil
import signal
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

program: list[str] = []

# Over all bytes that the makings give; the same on every system.
PLAIN_DIGEST = "d423ea8e3eb7ee356886b9c13057776c630ab7312952b3603c0c7d320011a195"
DIFFICULT_DIGEST = "6998c9520cfba0542d6a3cb7653f372d1fc920357472ca7fa31eddfda01cfcdc"


def run(*arguments: object) -> subprocess.CompletedProcess[str]:
    command = program + [str(a) for a in arguments]
    return subprocess.run(command, capture_output=True, text=True, timeout=120)


class Vxm(unittest.TestCase):
    @classmethod
    def setUpClass(cls) -> None:
        cls.holder = tempfile.TemporaryDirectory()
        cls.folder = Path(cls.holder.name) / "Prüfung 指紋"
        cls.make("made", "--fingers", 12, "--impressions", 2, "--format", "all", "--seed", 5)
        native = cls.file("001_1.vxt").read_bytes()
        ansi = cls.file("001_1.ansi").read_bytes()
        iso = cls.file("001_1.iso").read_bytes()
        for name, data in {
            "empty": b"",
            "text": b"Not a template at all.\n",
            "cut.vxt": native[:-1],
            "none.vxt": native[:1] + b"\0" + native[2:],
            "few.vxt": bytes([0x45, 1, 0x81, 1, 9, 0, 86, 88, 1, 0, 0, 0, 50, 7]),
            "outside.vxt": bytes([0x45, 1, 0x81, 1, 9, 0, 86, 88, 8, 0, 0, 0, 50, 7]),
            "cut.iso": iso[:-1],
            "cut.head": ansi[:20],
            "cut.ansi": ansi[:60],
            "many.ansi": ansi[:29] + b"\xc9" + ansi[30:] + bytes(1300),
            "long.vxt": native + b"more",
            "version.iso": iso[:5] + b"1" + iso[6:],
            "bare.iso": iso[:11] + bytes([iso[11] - 5]) + iso[12:-7] + b"\0\0",
        }.items():
            (cls.folder / name).write_bytes(data)

    @classmethod
    def tearDownClass(cls) -> None:
        cls.holder.cleanup()

    @classmethod
    def make(cls, name: str, *arguments: object) -> Path:
        made = run("synth", cls.folder / name, *arguments)
        assert made.returncode == 0, made.stderr
        return cls.folder / name

    @classmethod
    def file(cls, name: str) -> Path:
        made = cls.folder / "made" / name
        return made if made.exists() else cls.folder / name

    def expect(self, code: int, out: str, err: str, *arguments: object) -> None:
        with self.subTest(arguments=[str(a) for a in arguments]):
            done = run(*arguments)
            self.assertEqual((done.returncode, done.stderr if err == "" else ""), (code, ""))
            self.assertIn(out, done.stdout)
            self.assertIn(err, done.stderr)

    def test_verify(self) -> None:
        f = self.file
        for kind in "vxt", "iso", "ansi":
            self.expect(0, "match, score 0.", "", "verify", f(f"003_1.{kind}"), f(f"003_2.{kind}"))
            self.expect(1, "no match, score 0.0", "", "verify", f(f"003_1.{kind}"), f(f"004_2.{kind}"))
        good = f("001_1.vxt")
        self.expect(4, "not compared", "1 usable", "verify", f("few.vxt"), good)
        for first, second, message in [
            (good, "nowhere", "nowhere: no such file"),
            (self.folder, good, "is a folder"),
            (good, f("empty"), "empty: is empty"),
            (f("text"), good, "text: not a template"),
            (good, f("cut.vxt"), "cut.vxt: not a template"),
            (good, f("001_1.iso"), "001_1.vxt is native, "),
            (f("001_1.ansi"), f("001_1.iso"), "001_1.ansi is ANSI 378, "),
        ]:
            self.expect(2, "", message, "verify", first, second)
        report = json.loads(run("verify", good, good, "--level", 7, "--json").stdout)
        self.assertTrue(report["match"] and 0.064 <= report["score"] <= 0.9999, report)
        self.assertEqual((report["level"], report["format"]), (7, "native"))

    def test_info(self) -> None:
        f = self.file
        self.expect(0, "native", "", "info", f("001_1.vxt"), f("long.vxt"))
        self.expect(0, "image 288 x 352 pixels", "", "info", f("001_1.iso"), f("bare.iso"))
        self.expect(0, "too few minutiae", "", "info", f("few.vxt"))
        for name, message in [
            ("cut.vxt", "bytes where"),
            ("none.vxt", "minutia count 0"),
            ("outside.vxt", "minutia 1 at (32, 0) lies outside"),
            ("cut.iso", "damaged ISO 19794-2 record"),
            ("cut.ansi", "damaged ANSI 378 record"),
            ("many.ansi", "minutia count 201"),
        ]:
            self.expect(2, "", message, "info", f(name))
        done = run("info", "--json", f("few.vxt"), f("text"), f("001_1.ansi"))
        few, text, ansi = json.loads(done.stdout)
        self.assertEqual(done.returncode, 2)
        self.assertEqual(
            {k: v for k, v in few.items() if k != "file"},
            {"valid": True, "format": "native", "size": 14, "minutiae": 1, "usableMinutiae": 1,
             "gridWidth": 1, "gridHeight": 1, "attribute": 9, "matchable": False, "form": "full records, byte map"})
        self.assertFalse(text["valid"])
        self.assertEqual((ansi["imageWidth"], ansi["imageHeight"]), (288, 352))

    def test_convert(self) -> None:
        f, new = self.file, self.folder / "new"
        self.expect(0, "2 written as iso-2011", "lost:", "convert", f("001_1.iso"), f("002_1.iso"),
                    new, "--to", "ISO:2011")
        later, double = new / "001_1.iso", new / "double.ansi"
        self.expect(0, "1 written as ansi-2009", "1 blocks of extended data", "convert",
                    f("001_1.ansi"), double, "--to", "ansi-2009", "--resolution", 394)
        for one, other, how in ((later, "001_2.iso", "iso-2011 to iso-2005"),
                                (double, "001_2.ansi", "394 x 394 pixels per cm to 197")):
            score = run("verify", f(other.replace("_2", "_1")), f(other)).stdout
            self.expect(0, score, how, "verify", one, f(other))
            self.expect(2, "", "convert it by vxm convert", "verify", one, f(other), "--no-convert")
            self.expect(2, "", "convert it by", "rotate", one, self.folder / "turned")
        self.expect(0, "iso-2011, 294 bytes, 1 view, 40 minutiae", "", "info", later, "--check")
        for command in ("verify", f("001_1.iso")), ("enroll", self.folder / "g.db"), ("info",), \
                ("rotate", self.folder / "turned"), ("convert", new / "x", "--to", "iso-2005"):
            files = [f("version.iso"), *command[1:]]
            self.expect(2, "", "unknown version" if command[0] != "convert" else "of a known form",
                        command[0], *(reversed(files) if command[0] == "enroll" else files))
        later.write_bytes(later.read_bytes()[:21] + b"\x0d" + later.read_bytes()[22:])
        report, = json.loads(run("info", later, "--check", "--json").stdout)
        self.assertEqual(report["faults"], [{"offset": 21, "view": 0, "minutia": None,
                                             "text": "month 13 of the capture time"}])
        for message, *arguments in [
            ("is there already", f("001_1.iso"), later, "--to", "iso-2005"),
            ("would lose", f("001_1.iso"), new / "x", "--to", "xyt", "--strict"),
            ("needs the orientation", f("001_1.iso"), new / "x", "--to", "native"),
            ("'iso' is none of ansi-2004", f("001_1.iso"), new / "x", "--to", "iso"),
            ("no WIDTHxHEIGHT", f("001_1.iso"), new / "x", "--to", "xyt", "--size", "9"),
            ("--from names it", f("001_1.vxt"), new / "x", "--to", "xyt"),
            ("ends in its header, at byte 20", f("cut.head"), new / "x", "--to", "xyt"),
        ]:
            self.expect(2, "", message, "convert", *arguments)
            self.assertFalse((new / "x").exists())
        self.expect(4, "1 written as iso-2011", "not converted",
                    "convert", f("001_1.iso"), f("text"), new / "more", "--to", "iso-2011")

    def test_convert_options(self) -> None:
        """Two views at 394 pixels per cm: four minutiae about (40, 42), and one."""
        views = ["07 00 00 04 40280014 1000 40320028 2000 401E0028 3000 40280044 4000 0000",
                 "07 10 00 01 80030004 8000 0000"]
        head = "464D5200 20323000 00000042 0000 0064 0064 018A 018A 02 00"
        (self.folder / "two.iso").write_bytes(bytes.fromhex(head + "".join(views)))
        (self.folder / "one.xyt").write_text("40 80 202 5\n50 60 225\n")
        first = ["40 80 203 0", "50 60 225 0", "30 60 248 0", "40 32 270 0"]
        two, text = self.folder / "two.iso", self.folder / "one.xyt"
        xyt, view = ["--to", "xyt"], ["--view", 1]
        for name, options, expected in (
                (two, [*xyt, *view], {"out": first}),
                (two, [*xyt, "--view", 2], {"out": ["3 96 0 0"]}),
                (two, [*xyt, "--split"], {"out_1.xyt": first, "out_2.xyt": ["3 96 0 0"]}),
                (two, [*xyt, *view, "--resolution", 197],
                 {"out": ["20 40 203 0", "25 30 225 0", "15 30 248 0", "20 16 270 0"]}),
                (two, [*xyt, *view, "--size", "50x41"], {"out": ["40 21 203 0", "30 1 248 0"]}),
                (two, [*xyt, *view, "--max-minutiae", 2], {"out": first[1:3]}),
                (two, [*xyt, *view, "--order", "x"], {"out": [first[i] for i in (2, 0, 3, 1)]}),
                (two, [*xyt, *view, "--order", "y", "--descending"],
                 {"out": [first[i] for i in (3, 1, 2, 0)]}),
                (two, [*xyt, *view, "--order", "angle", "--descending"], {"out": first[::-1]}),
                (two, [*xyt, *view, "--order", "distance"], {"out": [first[i] for i in (1, 2, 0, 3)]}),
                (text, [*xyt, "--from", "xyt", "--from-size", "100x100", "--from-resolution", 394,
                        "--resolution", 197], {"out": ["20 40 202 5", "25 30 225 0"]})):
            out = self.folder / "options"
            out.mkdir()
            self.expect(0, "written as", "" if name == text else "lost", "convert", name,
                        out / "out", *options)
            self.assertEqual({each.name: each.read_text().splitlines() for each in out.iterdir()},
                             expected, options)
            shutil.rmtree(out)
        for message, *options in (("there is no view 3", "--view", 3), ("choose one, or split",),
                                  ("excludes", "--view", 1, "--split"),
                                  ("no whole number", "--max-minutiae", -1),
                                  ("is no WIDTHxHEIGHT", "--size", "0x5")):
            self.expect(2, "", message, "convert", two, self.folder / "none", *xyt, *options)

    def test_rotate(self) -> None:
        turned = self.folder / "turned"
        for name in "001_1.vxt", "001_1.iso", "001_1.ansi", "long.vxt", "bare.iso":
            source = self.file(name)
            mate = self.file("001_2" + source.suffix)
            self.expect(0, "", "", "rotate", source, turned)
            self.expect(1, "no match", "", "verify", turned, mate)
            self.expect(0, "match", "", "verify", turned, mate, "--retry-turned")
            self.expect(0, "", "", "rotate", turned, turned)
            self.expect(0, "match", "", "verify", turned, mate)
        # Turned twice a native template differs at most in how it writes angle 0.
        run("rotate", self.file("long.vxt"), turned)
        self.assertEqual(turned.stat().st_size, self.file("001_1.vxt").stat().st_size)
        self.expect(2, "", "text: not a template", "rotate", self.file("text"), turned)
        self.expect(2, "", "cannot be written", "rotate", self.file("001_1.vxt"), "no/such/place")

    def test_identify(self) -> None:
        probe, made = self.file("007_1.vxt"), self.folder / "made"
        gallery = self.folder / "gallery"
        gallery.mkdir()
        for source in made.glob("*_2.vxt"):
            (gallery / source.name).write_bytes(source.read_bytes())
        (gallery / "zz.txt").write_bytes(b"notes")
        for options in [], ["--threads", 2], ["--normal-mode"], ["--timeout", 60000]:
            self.expect(0, "007_2.vxt, index 6 of 12", "zz.txt: not a template", "identify", probe,
                        gallery, *options)
        run("rotate", probe, self.folder / "upside.vxt")
        self.expect(1, "no match: 12", "", "identify", self.folder / "upside.vxt",
                    *gallery.glob("*.vxt"))
        self.expect(0, "007_2", "", "identify", self.folder / "upside.vxt",
                    *gallery.glob("*.vxt"), "--retry-turned")
        self.expect(0, "007_1.vxt, index 12 of 24", "left out 48 templates", "identify", probe, made)
        # On Windows patterns are the program's to expand.
        for_windows = program[-1].endswith(".exe")
        self.expect(0 if for_windows else 2, "", "" if for_windows else "no such file",
                    "identify", probe, gallery / "00*.vxt")
        self.expect(2, "", "nowhere: no such file", "identify", probe, gallery, "nowhere")
        self.expect(4, "nothing to compare, 1 not", "zz.txt: not a", "identify", probe, gallery / "zz.txt")
        (gallery / "007_2.vxt").unlink()
        done = run("identify", probe, gallery, "--json")
        report = json.loads(done.stdout)
        self.assertEqual(done.returncode, 4)
        self.assertEqual((report["result"], report["file"], report["index"]), ("incomplete", None, -1))
        self.assertEqual((report["compared"], len(report["notCompared"])), (11, 1))
        self.assertGreater(report["candidatesPerSecond"], 0)

    def test_man_page_names_commands_and_options(self) -> None:
        page = (Path(__file__).parents[2] / "apps/vxm/vxm.1").read_text(encoding="utf-8")
        listed = run("--help").stdout.split("Subcommands:\n")[1]
        for command in re.findall(r"^  (\w+)", listed, re.MULTILINE):
            self.assertIn(f".It Cm {command} Ar", page)
            options = re.findall(r"^  --([\w-]+)", run(command, "--help").stdout, re.MULTILINE)
            for option in options if command != "synth" else []:
                self.assertIn(f".It Fl -{option}", page)

    @unittest.skipUnless(hasattr(os, "mkfifo"), "needs named pipes")
    def test_interrupt(self) -> None:
        if len(program) > 1:
            self.skipTest("signals do not pass the emulator")
        pipe = self.folder / "pipe"
        os.mkfifo(pipe)
        search = subprocess.Popen(program + ["identify", str(pipe), str(self.folder / "made")],
                                  stderr=subprocess.PIPE, text=True)
        with open(pipe, "wb"):  # waits until the program has come to reading it
            search.send_signal(signal.SIGINT)
        _, said = search.communicate(timeout=60)
        self.assertEqual((search.returncode, said[:12]), (3, "vxm: aborted"))

    def test_made_bytes(self) -> None:
        plain = [["--format", "all"], ["--form", "full-codes", "--turned"],
                 ["--form", "short-codes", "--rotation", -77], ["--form", "short-bytes", "--area", 50]]
        difficult = [["--format", "all", "--difficulty", name] for name in ("easy", "medium", "hard")]
        for makings, expected in ((plain, PLAIN_DIGEST), (difficult, DIFFICULT_DIGEST)):
            digest = hashlib.sha256()
            for making in makings:
                folder = self.make(f"digest {'-'.join(map(str, making))}", "--fingers", 40, "--seed",
                                   18446744073709551615, *making)
                for path in sorted(folder.iterdir()):
                    digest.update(path.name.encode() + path.read_bytes())
            self.assertEqual(digest.hexdigest(), expected)
        self.expect(2, "", "'eesy' is none of easy|hard|medium|plain", "synth", self.folder / "x",
                    "--difficulty", "eesy")
        self.expect(2, "", "cannot be made", "synth", self.file("001_1.vxt"))


if __name__ == "__main__":
    program = sys.argv[1:]
    unittest.main(argv=sys.argv[:1])
