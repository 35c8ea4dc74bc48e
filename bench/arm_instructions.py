#!/usr/bin/env python3
"""How many instructions a comparison takes on 64-bit ARM, by the portable loops and by
those for NEON: both libraries are built and run by qemu, which counts.

    scripts/setup base aarch64 && bench/arm_instructions.py

Prints a table. Counts say nothing sure about time; only a machine can tell that.
"""
import re
import subprocess
import sys
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent
WORK = ROOT / "build/instructions"
FORMS = {"portable": "OFF", "NEON": "ON"}
LOADS = {"verification, genuine": "genuine", "verification, impostors": "impostor",
         "search, fast mode": "fast", "search, normal mode": "normal"}


def build(form: str) -> None:
    folder = WORK / form
    subprocess.run(["cmake", "-G", "Ninja", "-S", ROOT, "-B", folder,
                    f"--toolchain={ROOT}/cmake/toolchains/linux_aarch64.cmake",
                    "-DCMAKE_BUILD_TYPE=Release", f"-DVXM_VECTORS={FORMS[form]}",
                    "-DVXM_BUILD_APPS=OFF", "-DVXM_BUILD_TESTS=OFF", "-DVXM_POSTGRES=OFF",
                    "-DVXM_BUILD_BENCH=ON"], check=True, stdout=subprocess.DEVNULL)
    subprocess.run(["cmake", "--build", folder, "--target", "comparisons"], check=True,
                   stdout=subprocess.DEVNULL)


def executed(form: str, kind: str, load: str, repeats: int) -> tuple[int, int, str]:
    """Instructions of all repeats and the rest of the program; comparisons of one repeat;
    the answers."""
    ran = subprocess.run(["qemu-aarch64", "-L", "/usr/aarch64-linux-gnu", "-plugin",
                          WORK / "counter.so", WORK / form / "bench/comparisons", kind, load,
                          str(repeats)], check=True, capture_output=True, text=True)
    counted = re.search(r"instructions: (\d+)", ran.stderr)
    assert counted, ran.stderr
    comparisons, answers = ran.stdout.split()
    return int(counted[1]), int(comparisons), answers


def thousands(form: str, kind: str, load: str) -> tuple[float, str]:
    """Of a comparison: what a second repeat adds."""
    (once, comparisons, _), (twice, _, answers) = (executed(form, kind, load, repeats)
                                                   for repeats in (1, 2))
    return (twice - once) / comparisons / 1000, answers


def main() -> int:
    if len(sys.argv) > 1:
        print(__doc__)
        return 0 if sys.argv[1] in ("-h", "--help") else 2
    WORK.mkdir(parents=True, exist_ok=True)
    subprocess.run(["cc", "-O2", "-shared", "-fPIC", ROOT / "bench/instruction_counter.c", "-o",
                    WORK / "counter.so"], check=True)
    for form in FORMS:
        build(form)
    print("| Thousands of instructions | Portable | NEON | Ratio |\n| --- | --- | --- | --- |")
    for kind, name in (("iso", "ISO"), ("native", "native")):
        for title, load in LOADS.items():
            (portable, answers), (neon, same) = (thousands(form, kind, load) for form in FORMS)
            if answers != same:
                sys.exit(f"arm_instructions: {kind}, {load}: answers {answers} and {same}")
            print(f"| {title}, {name} | {portable:.0f} | {neon:.0f} | {portable / neon:.1f} |",
                  flush=True)
    return 0


if __name__ == "__main__":
    sys.exit(main())
