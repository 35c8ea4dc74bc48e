"""Keeps the source tree to its laws: who may include whom, what may not appear
where, and how files are named.

    include_law.py TREE

Prints one line for each breach and fails when there is one. The laws are the
tables at the top; include_law_test.py proves that each of them bites.
"""

import re
import shutil
import subprocess
import sys
from collections.abc import Iterator
from dataclasses import dataclass
from pathlib import Path

C_HEADERS = frozenset("stddef.h stdint.h".split())
# What integer code over plain records can want: nothing here allocates, prints
# or starts threads.
PLAIN_HEADERS = frozenset(
    "algorithm array cstddef cstdint cstdlib cstring limits numeric type_traits utility".split())
# Highway chooses the instructions; it is included once for each set of them.
VECTOR_HEADERS = frozenset("hwy/foreach_target.h hwy/highway.h".split())

FLOATING_POINT = r"\b(?:float|double|long double)\b|\b\d+\.\d*(?:[eE]|\b)|(?<![\w.])\.\d"
ALLOCATION = r"\b(?:malloc|calloc|realloc|free|new)\b|(?<!= )\bdelete\b"
EXCEPTIONS = r"\b(?:throw|try|catch)\b"
IO_AND_THREADS = r"\b(?:printf|fopen|thread_local)\b"
SYSTEM_CONDITIONS = (
    r"^\s*#\s*(?:if|ifdef|ifndef|elif)\b.*\b(?:_?_?WIN(?:32|64)\w*|_MSC_VER|__MINGW\w+|__linux\w*"
    r"|__unix\w*|__APPLE__|__x86_64\w*|__i386\w*|_M_\w+|__aarch64__|__arm\w*|__ARM\w*|__SSE\w*"
    r"|__AVX\w*|__BMI\w*)")


@dataclass(frozen=True)
class Law:
    """What holds for the files below `folder`; the longest matching folder decides."""

    folder: str
    may_include: tuple[str, ...]  # own files, by the beginnings of their paths
    system_headers: frozenset[str] | None = None  # None: any
    never: tuple[tuple[str, str], ...] = ()  # (what it is, pattern)


NO_SYSTEM = ("condition on an OS or CPU", SYSTEM_CONDITIONS)
NO_FLOATS = ("floating point", FLOATING_POINT)
PURE = (NO_SYSTEM, NO_FLOATS, ("allocation", ALLOCATION), ("exceptions", EXCEPTIONS),
        ("input, output or threads", IO_AND_THREADS))
HEADER = "include/vxmkit.h"
RECORDS_HEADER = "records/vxmrecords.h"
# Of the engine, what speaks about templates and not about comparing them.
ENGINE_RECORDS = ("src/engine/workspace.h", "src/engine/records.h", "src/engine/params.h",
                  "src/engine/tables.h", "src/engine/numeric.h")

# Of the tests' helpers, those that know nothing of the inside.
INTERFACE_SUPPORT = ("tests/support/guarded_buffer.h", "tests/support/known_answers.h",
                     "tests/support/made_templates.h", "tests/support/matcher_calls.h",
                     "tests/support/matcher_fixture.h")

LAWS = (
    Law("include/", (), C_HEADERS),
    Law("src/platform/", ("src/platform/", HEADER)),
    Law("src/engine/", ("src/engine/", "src/platform/cpu.h"), PLAIN_HEADERS, PURE),
    Law("src/engine/kernels/", ("src/engine/", "src/platform/cpu.h"),
        PLAIN_HEADERS | VECTOR_HEADERS, PURE),
    Law("src/templates/", ("src/templates/", *ENGINE_RECORDS), None, (NO_SYSTEM, NO_FLOATS)),
    Law("src/matcher/",
        ("src/matcher/", *ENGINE_RECORDS, "src/templates/standard_record.h", "src/platform/",
         HEADER), None, (NO_SYSTEM, NO_FLOATS)),
    Law("src/identify/",
        ("src/identify/", "src/matcher/", "src/engine/", "src/templates/", "src/platform/",
         HEADER), None, (NO_SYSTEM, NO_FLOATS)),
    Law("src/api/", ("src/", HEADER), None, (NO_SYSTEM,)),
    Law("records/", ("records/",), None, (NO_SYSTEM, NO_FLOATS)),
    Law("records/vxmrecords.h", (), C_HEADERS),
    Law("apps/", ("apps/", HEADER, RECORDS_HEADER)),
    Law("apps/explain/", ("apps/", "src/")),
    Law("bindings/", ("bindings/", HEADER, RECORDS_HEADER)),
    Law("bindings/javascript/page/", ("bindings/", "apps/", RECORDS_HEADER)),
    Law("fuzz/", ("fuzz/", "apps/synth/synth.h", HEADER, RECORDS_HEADER)),
    Law("fuzz/fuzz_kernels.cpp", ("fuzz/", "src/engine/kernels/kernels.h")),
    Law("bench/", ("bench/", "src/", "apps/synth/synth.h", HEADER)),
    Law("tests/", ("tests/", "src/", HEADER)),
    Law("tests/cli/", ("apps/", HEADER)),
    Law("tests/records/", ("tests/records/", *INTERFACE_SUPPORT, HEADER, RECORDS_HEADER)),
    Law("tests/api/", ("tests/api/", *INTERFACE_SUPPORT, HEADER)),
    Law("tests/support/", ("tests/support/", "src/", "apps/synth/synth.h", HEADER)),
    Law("tests/install/", (HEADER,)),
)

CODE_SUFFIXES = (".h", ".hpp", ".c", ".cpp")
MADE_FOLDERS = re.compile(r"\..*|build|out|env|fingers|gallery|small|__pycache__|node_modules")
# Names that tools look for, one to a folder.
REPEATED_NAMES = frozenset("CMakeLists.txt README.md Makefile package.json .gitignore .clang-tidy".split())
TEST_STEM = re.compile(r"(.+)_test")

# A folder of the library with all below it. What the laws allow may not lead from one
# of them back to it.
ROOM = re.compile(r"src/[^/]+/")

INCLUDE = re.compile(r'^\s*#\s*include\s*([<"])([^>"]+)[>"]', re.MULTILINE)
COMMENT_OR_TEXT = re.compile(
    r'//[^\n]*|/\*.*?\*/|R"(\w*)\(.*?\)\1"|"(?:\\.|[^"\\\n])*"|(?<![0-9A-Fa-f])\'(?:\\.|[^\'\\\n])\'',
    re.DOTALL)


def files_below(tree: Path) -> Iterator[str]:
    """The paths of the tree's own files, relative and with slashes: those that git
    tracks, or, where the tree is no checkout, all but what is made in it."""
    if (tree / ".git").exists() and shutil.which("git"):
        listed = subprocess.run(["git", "-C", tree, "ls-files", "-z"], capture_output=True, text=True)
        if listed.returncode == 0:  # it refuses checkouts of other users
            yield from (path for path in listed.stdout.split("\0")
                        if path and (tree / path).exists())
            return
    pending = [tree]
    while pending:
        for entry in sorted(pending.pop().iterdir()):
            if entry.is_dir():
                if not MADE_FOLDERS.fullmatch(entry.name):
                    pending.append(entry)
            else:
                yield entry.relative_to(tree).as_posix()


def code_alone(text: str) -> str:
    """The text without comments and literals, line numbers kept."""
    return COMMENT_OR_TEXT.sub(lambda match: "\n" * match.group().count("\n") + " ", text)


def law_of(path: str) -> Law | None:
    laws = [law for law in LAWS if path.startswith(law.folder)]
    return max(laws, key=lambda law: len(law.folder), default=None)


def included_files(path: str, text: str, files: list[str]) -> Iterator[tuple[re.Match[str], list[str]]]:
    """Each include with the files of the tree that it could mean."""
    neighbours = path.rpartition("/")[0]
    for match in INCLUDE.finditer(text):
        name = match.group(2)
        # Names are unique, so the end of a path is enough to know the file.
        own = [file for file in files if f"/{file}".endswith(f"/{name}")]
        if f"{neighbours}/{name}" in own:
            own = [f"{neighbours}/{name}"]
        yield match, own


def include_breaches(path: str, text: str, law: Law, files: list[str]) -> Iterator[str]:
    for match, own in included_files(path, text, files):
        bracket, name = match.groups()
        where = f"{path}:{text.count(chr(10), 0, match.start(2)) + 1}"
        if len(own) == 1:
            if not own[0].startswith(law.may_include):
                yield f"{where}: {law.folder} may not include {own[0]}"
        elif own:
            yield f"{where}: \"{name}\" could be any of {', '.join(own)}"
        elif bracket == '"':
            yield f"{where}: no file of the tree is \"{name}\""
        elif law.system_headers is not None and name not in law.system_headers:
            yield f"{where}: {law.folder} may not include <{name}>"


def circles(arrows: dict[str, dict[str, str]]) -> Iterator[str]:
    """Names the include that closes a circle of rooms, for each circle met."""
    finished: set[str] = set()

    def walk(room: str, way: tuple[str, ...]) -> Iterator[str]:
        for target, where in sorted(arrows.get(room, {}).items()):
            if target in way:
                circle = (*way[way.index(target):], target)
                yield f"{where}: leads round: {' -> '.join(circle)}"
            elif target not in finished:
                yield from walk(target, (*way, target))
        finished.add(room)

    for room in sorted(arrows):
        if room not in finished:
            yield from walk(room, (room,))


def content_breaches(path: str, text: str, law: Law) -> Iterator[str]:
    for number, line in enumerate(code_alone(text).split("\n"), 1):
        for what, pattern in law.never:
            if re.search(pattern, line):
                yield f"{path}:{number}: {law.folder} is to have no {what}: {line.strip()}"


def name_breaches(files: list[str]) -> Iterator[str]:
    seen: dict[str, str] = {}
    for path in files:
        name = path.rpartition("/")[2]
        if name in REPEATED_NAMES:
            continue
        if name.lower() in seen:
            yield f"{path}: has the name of {seen[name.lower()]}"
        seen.setdefault(name.lower(), path)
    stems = {Path(path).stem for path in files}
    for path in files:
        tested = TEST_STEM.fullmatch(Path(path).stem)
        if tested and tested.group(1) not in stems:
            yield f"{path}: nothing in the tree has the stem {tested.group(1)}"


def breaches(tree: Path) -> Iterator[str]:
    files = list(files_below(tree))
    arrows: dict[str, dict[str, str]] = {}  # room -> room that it includes -> where
    yield from name_breaches(files)
    for path in files:
        if not path.endswith(CODE_SUFFIXES):
            continue
        law = law_of(path)
        if law is None:
            yield f"{path}: code in a folder that has no law"
            continue
        text = (tree / path).read_text(encoding="utf-8")
        yield from include_breaches(path, text, law, files)
        yield from content_breaches(path, text, law)
        for _, own in included_files(path, text, files):
            rooms = [found.group() for found in map(ROOM.match, [path, *own]) if found]
            allowed = own and own[0].startswith(law.may_include)
            if allowed and len(rooms) == 2 and rooms[0] != rooms[1]:
                arrows.setdefault(rooms[0], {}).setdefault(rooms[1], path)
    yield from circles(arrows)


def main() -> int:
    found = list(breaches(Path(sys.argv[1])))
    print("\n".join(found) or "the tree keeps its laws")
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
