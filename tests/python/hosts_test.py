"""What docs/hosts.md shows: its programs run, and its declarations for other
languages are those of the header."""
import os
import re
import subprocess
import sys
from pathlib import Path

import pytest

TREE = Path(__file__).parents[2]
PAGE = (TREE / "docs/hosts.md").read_text(encoding="utf-8")
HEADER = (TREE / "include/vxmkit.h").read_text(encoding="utf-8")
LIBRARY = Path(os.environ["VXMKIT_LIBRARY"])

# By the parameter's type in C; where a name is added, of that parameter alone.
CSHARP = {
    "MatcherHandle": "IntPtr", "MatcherHandle*": "out IntPtr", "int": "int",
    "unsigned int": "uint", "int*": "out int", "float*": "out float", "void*": "byte[]",
    "const int* value": "ref int", "const int* templateSizes": "int[]", "char*": "byte[]",
    "const char*": "IntPtr", "unsigned char*": "byte[]", "const unsigned char*": "byte[]",
    "const unsigned char* const*": "IntPtr[]", "VXM_ComString*": "out IntPtr",
}
JAVA = {
    "MatcherHandle": "Pointer", "MatcherHandle*": "PointerByReference", "int": "int",
    "unsigned int": "int", "int*": "IntByReference", "float*": "FloatByReference",
    "void*": "byte[]", "const int* value": "IntByReference", "const int* templateSizes": "int[]",
    "char*": "byte[]", "const char*": "String", "unsigned char*": "byte[]",
    "const unsigned char*": "byte[]", "const unsigned char* const*": "Pointer[]",
    "VXM_ComString*": "PointerByReference",
}


def programs(language: str) -> list[str]:
    return re.findall(rf"```{language}\n(.*?)```", PAGE, re.DOTALL)


def declared(text: str, before: str) -> dict[str, list[str]]:
    return {name: [" ".join(each.split()) for each in parameters.split(",")]
            for name, parameters in re.findall(rf"{before} (VXM_\w+)\(([^)]*)\);", text)}


@pytest.mark.parametrize("language, before, types", [
    ("csharp", "public static extern int", CSHARP), ("java", "    int", JAVA)])
def test_declarations(language: str, before: str, types: dict[str, str]) -> None:
    expected = {}
    for name, parameters in declared(HEADER, "VXM_API int VXM_CALL").items():
        split = [parameter.rpartition(" ") for parameter in parameters]
        expected[name] = [f"{types.get(' '.join((kind, called))) or types[kind]} {called}"
                          for kind, _, called in split]
    assert len(expected) == 19
    assert declared(programs(language)[0], before) == expected


@pytest.mark.parametrize("language, compiler, flags", [
    ("c", "cc", ["-std=c99", "-xc"]), ("cpp", "c++", ["-std=c++17", "-xc++"])])
def test_compiled_programs(fingers: Path, tmp_path: Path, language: str, compiler: str,
                           flags: list[str]) -> None:
    text, = programs(language)
    subprocess.run([compiler, *flags, "-Wall", "-Wextra", "-Werror", "-", "-xnone",
                    f"-I{TREE}/include", LIBRARY, f"-Wl,-rpath,{LIBRARY.parent}",
                    "-o", tmp_path / "host"],
                   input=text, text=True, check=True)
    for candidate, code in ("001_2.iso", 0), ("002_2.iso", 1):
        ran = subprocess.run([tmp_path / "host", fingers / "001_1.iso", fingers / candidate])
        assert ran.returncode == code


def test_processes(fingers: Path, tmp_path: Path) -> None:
    text, = programs("python")
    (tmp_path / "gallery").symlink_to(fingers)
    (tmp_path / "probe.iso").write_bytes((fingers / "007_1.iso").read_bytes())
    (tmp_path / "host.py").write_text(text)
    ran = subprocess.run([sys.executable, "host.py"], cwd=tmp_path, capture_output=True, text=True,
                         check=True)
    assert "gallery/007_" in ran.stdout
