"""Writes the templates of the known answers as inputs of the fuzz targets.

    known_inputs.py KNOWN_ANSWERS FOLDER
"""

import sys
from pathlib import Path

# Where a kind of case has its type and its settings: level, retry, fast mode.
FIELDS = {"verify": (0, 1, 2, None), "compare": (0, None, None, None),
          "staged": (0, None, None, 1), "rotate": (None, None, None, None)}
SHORTEST = 16  # hexadecimal digits of a template; other fields are shorter


def fuzz_input(kind: str, fields: list[str]) -> bytes:
    """In the form that fuzz_input.h describes."""
    template_type, level, retry, fast = (
        int(fields[place]) if place is not None else default
        for place, default in zip(FIELDS[kind], (2001, 4, 0, 1)))
    parts = [bytes([template_type - 2001 << 5 | retry << 4 | fast << 3 | level])]
    for field in fields:
        if len(field) >= SHORTEST:
            template = bytes.fromhex(field)
            parts += len(template).to_bytes(2, "big"), template
    return b"".join(parts)


def main() -> None:
    lines = Path(sys.argv[1]).read_text(encoding="utf-8").splitlines()
    folder = Path(sys.argv[2])
    folder.mkdir(parents=True, exist_ok=True)
    for number, line in enumerate(lines, 1):
        if not line.startswith("#"):
            kind, *fields = line.split()
            (folder / f"line{number}").write_bytes(fuzz_input(kind, fields))


if __name__ == "__main__":
    main()
