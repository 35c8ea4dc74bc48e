"""Looks for what makes faults harder to use in a built library.

    hardening.py READELF_OR_OBJDUMP LIBRARY [fortified]

Libraries for Windows (.dll) want objdump, others readelf.
"""

import re
import subprocess
import sys


def output_of(*command: str) -> str:
    return subprocess.run(command, check=True, capture_output=True, text=True).stdout


def on_windows(tool: str, library: str) -> dict[str, bool]:
    dump = output_of(tool, "-p", library)
    return {
        "data without code": "NX_COMPAT" in dump,
        "a base that changes": "DYNAMIC_BASE" in dump,
        "guarded return addresses": "CryptGenRandom" in dump,  # where the guard comes from
    }


def on_elf(tool: str, library: str, fortified: bool) -> dict[str, bool]:
    dump = output_of(tool, "--wide", "-ldr", "--dyn-syms", library)
    stack = re.search(r"GNU_STACK(?:\s+0x\w+){5}\s+(\S+)", dump)
    checked = re.search(r"__\w+(?<!__stack)_chk@", dump) is not None
    return {
        "a stack without code": stack is not None and "E" not in stack.group(1),
        "relocations made read-only": "GNU_RELRO" in dump,
        "all functions bound at load": re.search(r"\(FLAGS(?:_1)?\).*\bNOW\b", dump) is not None,
        "guarded return addresses": "__stack_chk_fail" in dump,
        "no segment both writable and executable": not re.search(r"LOAD.*RWE", dump),
        "checked C library functions": checked or not fortified,
    }


def main() -> int:
    tool, library, *fortified = sys.argv[1:]
    if library.endswith(".dll"):
        found = on_windows(tool, library)
    else:
        found = on_elf(tool, library, bool(fortified))
    missing = [what for what, there in found.items() if not there]
    print(f"{library}: " + (f"lacks {', '.join(missing)}" if missing else "has all of it"))
    return 1 if missing else 0


if __name__ == "__main__":
    sys.exit(main())
