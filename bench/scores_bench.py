#!/usr/bin/env python3
"""What a comparison costs through vxmkit.scores beside the library called from C.

    bench/scores_bench.py INTERFACE_BENCH DIR [--rounds N]

INTERFACE_BENCH is the program of that name, DIR a folder of templates of one format.
Both verify the same impostor pairs, in turn and on one core; the median of the ratios of
processor time is what Python adds.
"""
import argparse
import json
import statistics
import subprocess
import sys
import time
from pathlib import Path

import numpy as np

from vxmkit import detect_type
from vxmkit.score_worker import Comparer


def main() -> int:
    parser = argparse.ArgumentParser(description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("program")
    parser.add_argument("folder", type=Path)
    parser.add_argument("--rounds", type=int, default=9)
    options = parser.parse_args()
    files = sorted(file for file in options.folder.iterdir() if file.is_file())
    templates = [file.read_bytes() for file in files]
    fingers = [file.stem.rpartition("_")[0] for file in files]
    probes = np.arange(len(files))
    # As INTERFACE_BENCH pairs them: with the one that is half the folder away.
    candidates = (probes + len(files) // 2) % len(files)
    other = np.array([fingers[i] != fingers[j] for i, j in zip(probes, candidates)])
    probes, candidates = probes[other], candidates[other]
    repeats = max(1, 20000 // len(probes))
    starts = np.cumsum([0, *map(len, templates)])
    comparer = Comparer(detect_type(templates[0]),
                        np.frombuffer(b"".join(templates) + b"\0", dtype=np.uint8), starts,
                        only_thread=True)
    ratios = []
    for _ in range(options.rounds):
        ran = subprocess.run([options.program, f"--data={options.folder}",
                              "--benchmark_filter=verify/.*impostor", "--benchmark_format=json"],
                             capture_output=True, text=True, check=True)
        library = 1e6 / json.loads(ran.stdout)["benchmarks"][0]["items_per_second"]
        begin = time.process_time()
        comparer.compare(np.tile(probes, repeats), np.tile(candidates, repeats))
        python = (time.process_time() - begin) / (repeats * len(probes)) * 1e6
        ratios.append(python / library)
        print(f"library {library:.2f}, scores {python:.2f} microseconds, ratio {ratios[-1]:.3f}")
    print(f"median ratio {statistics.median(ratios):.3f}, {min(ratios):.3f} to {max(ratios):.3f}")
    return 0


if __name__ == "__main__":
    sys.exit(main())
