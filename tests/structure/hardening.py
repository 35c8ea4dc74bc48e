"""Looks for what makes faults harder to use in a built library for ELF systems.

    hardening.py READELF LIBRARY [fortified]
"""

import re
import subprocess
import sys


def main() -> int:
    tool, library, *fortified = sys.argv[1:]
    dump = subprocess.run((tool, "--wide", "-ldr", "--dyn-syms", library), check=True,
                          capture_output=True, text=True).stdout
    stack = re.search(r"GNU_STACK(?:\s+0x\w+){5}\s+(\S+)", dump)
    found = {
        "a stack without code": stack is not None and "E" not in stack.group(1),
        "relocations made read-only": "GNU_RELRO" in dump,
        "all functions bound at load": re.search(r"\(FLAGS(?:_1)?\).*\bNOW\b", dump) is not None,
        "guarded return addresses": "__stack_chk_fail" in dump,
        "no segment both writable and executable": not re.search(r"LOAD.*RWE", dump),
    }
    if fortified:
        found["checked C library functions"] = re.search(r"__\w+(?<!__stack)_chk@", dump) is not None
    missing = [what for what, there in found.items() if not there]
    print(f"{library}: " + (f"lacks {', '.join(missing)}" if missing else ", ".join(found)))
    return 1 if missing else 0


if __name__ == "__main__":
    sys.exit(main())
