"""Holds the lists of exported functions against each other: those that the header
declares, those that the export list lets out, and those that the built library
really has. A library for Windows may also need nothing but what Windows has.

    exported_names.py TREE NM_OR_OBJDUMP LIBRARY

Libraries for Windows (.dll) want objdump, others nm.
"""

import re
import subprocess
import sys
from pathlib import Path

# Of each library: how many names, its header, what one looks like there, its list.
LIBRARIES = {
    "vxmkit": (19, "include/vxmkit.h", r"^VXM_API int VXM_CALL (\w+)\(", "src/exports.map"),
    "vxmrecords": (8, "records/vxmrecords.h", r"^VXR_API .*VXR_CALL (\w+)\(",
                   "records/vxmrecords.map"),
}
WINDOWS_LIBRARIES = {"advapi32.dll", "kernel32.dll", "msvcrt.dll", "oleaut32.dll", "user32.dll"}


def matches(file: Path, pattern: str) -> list[str]:
    return re.findall(pattern, file.read_text(encoding="utf-8"), re.MULTILINE)


def output_of(*command: str) -> str:
    return subprocess.run(command, check=True, capture_output=True, text=True).stdout


def main() -> int:
    tree, tool, library = Path(sys.argv[1]), sys.argv[2], sys.argv[3]
    count, header, declaration, export_list = LIBRARIES[
        Path(library).name.split(".")[0].removeprefix("lib")]
    right = True
    if library.endswith(".dll"):
        dump = output_of(tool, "-p", library)
        exported = re.findall(r"^\t\[ *\d+\] (\S+)$", dump, re.MULTILINE)
        needed = {name.lower() for name in re.findall(r"DLL Name: (\S+)", dump)}
        if not needed or needed - WINDOWS_LIBRARIES:
            print(f"{library}: needs {sorted(needed - WINDOWS_LIBRARIES) or 'nothing at all'}")
            right = False
    else:
        symbols = output_of(tool, "-D", "--defined-only", library)
        exported = [line.split()[-1] for line in symbols.splitlines()]
    lists = {
        header: matches(tree / header, declaration),
        export_list: matches(tree / export_list, r"^\s*(\w+);"),
        library: exported,
    }
    declared = sorted(lists[header])
    for place, names in lists.items():
        if len(names) != count:
            print(f"{place}: {len(names)} names, not {count}")
            right = False
        if sorted(names) != declared:
            print(f"{place}: differs from the header by "
                  f"{sorted(set(names) ^ set(declared)) or 'repeated names'}")
            right = False
    if right:
        print(f"{count} names, the same in {', '.join(lists)}")
    return 0 if right else 1


if __name__ == "__main__":
    sys.exit(main())
