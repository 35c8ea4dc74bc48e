"""Holds the lists of exported functions against each other: those that the header
declares, those that the export list lets out, and those that the built library
really has.

    exported_names.py TREE NM LIBRARY
"""

import re
import subprocess
import sys
from pathlib import Path

COUNT = 19


def matches(file: Path, pattern: str) -> list[str]:
    return re.findall(pattern, file.read_text(encoding="utf-8"), re.MULTILINE)


def main() -> int:
    tree, nm, library = Path(sys.argv[1]), sys.argv[2], sys.argv[3]
    symbols = subprocess.run([nm, "-D", "--defined-only", library], check=True,
                             capture_output=True, text=True).stdout
    lists = {
        "include/vxmkit.h": matches(tree / "include/vxmkit.h", r"^VXM_API int VXM_CALL (\w+)\("),
        "src/exports.map": matches(tree / "src/exports.map", r"^\s*(\w+);"),
        library: [line.split()[-1] for line in symbols.splitlines()],
    }
    right = True
    declared = sorted(lists["include/vxmkit.h"])
    for place, names in lists.items():
        if len(names) != COUNT:
            print(f"{place}: {len(names)} names, not {COUNT}")
            right = False
        if sorted(names) != declared:
            print(f"{place}: differs from the header by "
                  f"{sorted(set(names) ^ set(declared)) or 'repeated names'}")
            right = False
    if right:
        print(f"{COUNT} names, the same in {', '.join(lists)}")
    return 0 if right else 1


if __name__ == "__main__":
    sys.exit(main())
