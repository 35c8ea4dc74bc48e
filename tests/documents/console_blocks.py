#!/usr/bin/env python3
"""Runs the console blocks of the documents as a newcomer does: on a clean copy of the
tree, with an empty home, without what was put into /usr/local, and with nothing but
the system's folders in the path. What a command is shown to print, it has to print,
times and rates aside.

    console_blocks.py [DOCUMENT...]

It wants root, and Linux's overlays: all that the commands do to the machine happens in
a layer over its files, in memory, that nobody else sees and that goes with the test. A compiler's
cache is the caller's own (CCACHE_DIR), if there is one.
"""

import os
import re
import subprocess
import sys
import tempfile
import time
from collections.abc import Iterator
from dataclasses import dataclass
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
HOME = "/home/newcomer"
TREE = f"{HOME}/vxmkit"
HOST = '''printf '#include <vxmkit.h>\\nint main(void) { MatcherHandle m; return VXM_Create(&m); }' '''


@dataclass(frozen=True)
class How:
    """How to run the block with a certain first command."""

    folder: str = "."      # below the tree
    before: str = ""       # what the text around it presupposes
    after: str = ""        # what has to work then
    part: bool = False     # the command prints more than is shown
    not_here: str = ""     # why it cannot run


LEVEL = "mkdir -p build/level && cd build/level"
MADE = "mkdir -p build/scores && cd build/scores"
BLOCKS = {
    "README.md": {
        "scripts/demo": How(part=True),
        "vxm enroll people.db fingers/*_1.vxt": How("build/demo"),
        "python3 -m vxmkit.draw fingers/042_2.vxt fingers/042_1.vxt -o pair.png":
            How("build/demo", after="file pair.png | grep PNG"),
        "vxm synth small --fingers 100 --impressions 4 --seed 7 --area 60 --format all":
            How("build/demo"),
        "scripts/setup": How(after="vxm --version"),
        "cc host.c $(pkg-config --cflags --libs vxmkit) -o host":
            How(before=f"cd $(mktemp -d) && {HOST} > host.c", after="./host"),
        "scripts/package windows": How(not_here="CI's section of packages makes the zip"),
        "scripts/package javascript": How(not_here="CI's section of packages makes them"),
        "cl /I vxmkit\\include host.c vxmkit\\lib\\vxmkit.lib":
            How(not_here="Microsoft's compiler; header.cmake has another in its place"),
    },
    "bindings/python/README.md": {
        "python3 -m vxmkit.evaluate fingers --type iso":
            How("build/demo", before="rm -rf evaluation && ln -sf fingers/*.vxt ."),
    },
    "docs/made-fingers.md": {
        "scripts/tables made": How(not_here="takes minutes; the same programs run in tests/python"),
    },
    "docs/tutorial.md": {
        "vxm synth fingers --fingers 30 --impressions 4 --seed 3 --format iso --difficulty easy":
            How(before=LEVEL),
        "python3 -m vxmkit.evaluate fingers --out rates --quiet": How(before=LEVEL),
        "python3 -m vxmkit.identification fingers --out searches --quiet": How(before=LEVEL),
    },
    "docs/galleries.md": {
        'sqlite3 people.db ".backup people-backup.db"':
            How("build/demo", before="rm -f people.db && vxm enroll people.db fingers/*_1.vxt"),
        "vxm export people.db out": How("build/demo", before="rm -rf out new.db"),
        "vxm export people.db out 042_1 043_1": How("build/demo", before="rm -rf out"),
    },
    "docs/hosts.md": {
        "cc search.c $(pkg-config --cflags --libs vxmkit) -o search":
            How(before="cd $(mktemp -d) && awk '/^```c$/ {on = 1; next} /^```/ {on = 0} on' "
                       f"{TREE}/docs/hosts.md > search.c",
                after="./search {0}/042_2.iso {0}/042_1.iso".format(f"{TREE}/build/demo/fingers")),
    },
    "docs/large-galleries.md": {
        "scripts/setup base bench python": How(not_here="it makes two million templates"),
        "python3 -m vxmkit.load fingers 'host=db1 dbname=gallery'":
            How(not_here="a server db1; tests/postgres runs the loader"),
    },
    "docs/scores.md": {
        "vxm synth fingers --fingers 100 --impressions 2 --seed 7 --format all": How(before=MADE),
        "python3 -m vxmkit.evaluate DIR --pattern '{finger}_{impression}' --out results":
            How("build/demo", before="mkdir -p DIR && cp fingers/*.vxt DIR"),
        "python3 -m vxmkit.compare results-a results-b -o both.svg":
            How(before=f"{MADE} && for type in iso ansi; do python3 -m vxmkit.evaluate fingers "
                       "--quiet --type $type --out results-$type; done && "
                       "mv results-iso results-a && mv results-ansi results-b"),
        "scripts/tables levels": How(not_here="takes minutes"),
        "python3 -m vxmkit.identification DIR --out searches":
            How("build/demo", before="mkdir -p DIR && cp fingers/*.vxt DIR"),
    },
}


@dataclass
class Block:
    line: int
    commands: list[tuple[str, str]]  # with what each is shown to print

    @property
    def first(self) -> str:
        return re.sub(r"\s+#.*", "", self.commands[0][0].splitlines()[0])


def blocks_of(text: str) -> Iterator[Block]:
    for match in re.finditer(r"^```console\n(.*?)^```$", text, re.DOTALL | re.MULTILINE):
        block = Block(text.count("\n", 0, match.start()) + 1, [])
        prompt = match.group(1)[0]
        for line in match.group(1).splitlines():
            if prompt == "$" and line.startswith("> "):  # the command goes on
                block.commands[-1] = (f"{block.commands[-1][0]}\n{line[2:]}", "")
                continue
            command = re.match(r"[$>] (.*)", line)
            # A script that shows its commands is followed by an empty line.
            if command and not (block.commands and block.commands[-1][1].startswith("\n")):
                block.commands.append((command.group(1), ""))
            else:
                name, shown = block.commands[-1]
                block.commands[-1] = (name, shown + line + "\n")
        yield block


def comparable(text: str) -> str:
    text = re.sub(r"\b\d+\.\d+ s\b", "N s", text)
    return re.sub(r"\b\d+ (candidates/s)", r"N \1", text).strip()


class Shell:
    """A shell of the newcomer's, which keeps folder and settings from command to
    command."""

    def __init__(self) -> None:
        self.process = subprocess.Popen(["bash"], stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                                        stderr=subprocess.STDOUT, text=True)

    def run(self, command: str) -> tuple[int, str]:
        assert self.process.stdin and self.process.stdout
        self.process.stdin.write(f"{{ {command}\n}} </dev/null\ncode=$?; echo; echo @@@$code\n")
        self.process.stdin.flush()
        said = []
        for line in self.process.stdout:
            if line.startswith("@@@"):
                return int(line[3:]), "".join(said)
            said.append(line)
        return -1, "".join(said) + "(the shell has ended)"


def run_block(shell: Shell, block: Block, how: How) -> Iterator[str]:
    """What went wrong."""
    steps = [(f"cd {TREE}/{how.folder}", ""), (how.before, ""), *block.commands, (how.after, "")]
    for command, shown in steps:
        if not command:
            continue
        code, said = shell.run(command)
        if code != 0 and not (code == 1 and comparable(shown).startswith("no match")):
            yield f"{command}: exit code {code}\n{said[-3000:]}"
            return
        wanted, got = comparable(shown), comparable(said)
        if wanted and not (wanted in got if how.part else wanted == got):
            yield f"{command}: printed\n{got[-3000:]}\nand not, as shown,\n{wanted}"


def run_documents(names: list[str]) -> int:
    shell = Shell()
    faults = 0
    for name in names:
        table = dict(BLOCKS.get(name, {}))
        for block in blocks_of((Path(TREE) / name).read_text(encoding="utf-8")):
            how = table.pop(block.first, How())
            begin = time.monotonic()
            wrong = [] if how.not_here else list(run_block(shell, block, how))
            result = "FAILED" if wrong else f"not run: {how.not_here}" if how.not_here else "ok"
            print(f"{name}:{block.line}: {block.first}: {result}, "
                  f"{time.monotonic() - begin:.0f} s", *wrong, sep="\n", flush=True)
            faults += len(wrong)
        for first in table:
            print(f"{name}: no block begins with {first}")
            faults += 1
    return faults


def enter_layer() -> None:
    """Goes, in a space of mounts of its own, to a layer over this machine."""
    def run(*command: object) -> None:
        subprocess.run([str(each) for each in command], check=True)

    with tempfile.TemporaryFile() as copy:
        listed = subprocess.run(["git", "-C", ROOT, "ls-files", "-z"], check=True,
                                capture_output=True).stdout
        subprocess.run(["tar", "-C", ROOT, "--null", "-T", "-", "-c"], input=listed, stdout=copy,
                       check=True)
        place = Path("/mnt")
        run("mount", "-t", "tmpfs", "-o", "mode=755", "layer", place)
        for folder in ("upper", "work", "machine", "empty"):
            (place / folder).mkdir()
        machine = place / "machine"
        run("mount", "-t", "overlay", "-o",
            f"lowerdir=/,upperdir={place}/upper,workdir={place}/work", "layer", machine)
        for folder in ("proc", "sys", "dev"):
            run("mount", "--rbind", f"/{folder}", machine / folder)
        for folder in ("usr/local", "home", "tmp"):
            run("mount", "-t", "tmpfs", "-o", "mode=1777" if folder == "tmp" else "mode=755",
                "layer", machine / folder)
        if cache := os.environ.get("CCACHE_DIR"):
            (machine / cache.lstrip("/")).mkdir(parents=True, exist_ok=True)
            run("mount", "--bind", cache, machine / cache.lstrip("/"))
        (machine / TREE.lstrip("/")).mkdir(parents=True)
        copy.seek(0)
        subprocess.run(["tar", "-C", machine / TREE.lstrip("/"), "-x", "--no-same-owner"],
                       stdin=copy, check=True)
    os.chroot(machine)
    os.chdir(TREE)
    kept = {name: value for name, value in os.environ.items()
            if name.startswith("CCACHE_") or name.endswith("_COMPILER_LAUNCHER")}
    os.environ.clear()
    kept.update({"CCACHE_BASEDIR": TREE} if "CCACHE_DIR" in kept else {})
    os.environ.update(kept, HOME=HOME, LANG="C.UTF-8", USER="root", TERM="dumb",
                      DEBIAN_FRONTEND="noninteractive",
                      PATH="/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin")


def main() -> int:
    if "--inside" not in sys.argv:
        return subprocess.run(["unshare", "--mount", sys.executable, "-B", __file__, "--inside",
                               *sys.argv[1:]]).returncode
    names = sys.argv[2:] or ["README.md", "bindings/python/README.md",
                             *sorted(f"docs/{page.name}" for page in (ROOT / "docs").glob("*.md"))]
    enter_layer()
    return 1 if run_documents(names) else 0


if __name__ == "__main__":
    sys.exit(main())
