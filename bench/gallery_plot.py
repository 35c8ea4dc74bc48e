#!/usr/bin/python3
"""Draws how fast galleries of 1,000 to 1,000,000 templates are searched.

    bench/gallery_plot.py INTERFACE_BENCH -o PICTURE [--gallery N] [--rounds N]

INTERFACE_BENCH is the program of that name. Each template lies in memory of its own; what
is measured is a fast search by one thread, and, for comparison, the same templates where
they are in the cache. The best of the rounds counts, since a busy machine only slows. The
first run makes the templates, which takes minutes and some 1.3 GB under build/gallery.
"""
import argparse
import json
import subprocess
import sys
from pathlib import Path

import matplotlib

matplotlib.use("Agg")
import matplotlib.pyplot as plt  # noqa: E402

FORMATS = {"native": "native", "iso": "ISO 19794-2"}


def measure(program: Path, gallery: int) -> dict[tuple[str, str, int], float]:
    """Candidates a second by format, cold or warm, and size."""
    done = subprocess.run(
        [program, "--fingers=3", f"--gallery={gallery}", "--benchmark_format=json",
         f"--benchmark_filter=gallery/({'|'.join(FORMATS)})/.*/one_thread"],
        check=True, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
    rates = {}
    for run in json.loads(done.stdout)["benchmarks"]:
        if run.get("error_occurred"):
            sys.exit(f"gallery_plot: {run['name']}: {run['error_message']}")
        _, kind, state, _, size, _ = run["name"].split("/")
        rates[kind, state, int(size)] = run["items_per_second"]
    return rates


def main() -> int:
    parser = argparse.ArgumentParser(description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("program", type=Path)
    parser.add_argument("-o", "--output", type=Path, required=True)
    parser.add_argument("--gallery", type=int, default=1000000, help="the largest, default 1000000")
    parser.add_argument("--rounds", type=int, default=3)
    options = parser.parse_args()
    rates = {}
    for _ in range(options.rounds):
        for key, rate in measure(options.program.resolve(), options.gallery).items():
            rates[key] = max(rate, rates.get(key, 0.0))
    sizes = sorted({size for _, _, size in rates})
    figure, axes = plt.subplots(figsize=(7, 4))
    for kind, label in FORMATS.items():
        cold = [rates[kind, "cold", size] for size in sizes]
        line, = axes.plot(sizes, cold, marker="o", label=label)
        axes.plot(sizes, [rates[kind, "warm", size] for size in sizes], linestyle="--",
                  color=line.get_color(), label=f"{label}, in the cache")
        for size, rate in zip(sizes, cold):
            print(f"{kind:7}{size:9} templates: {rate:9.0f} a second, "
                  f"in the cache {rates[kind, 'warm', size]:9.0f}")
    axes.set_xscale("log")
    axes.set_ylim(bottom=0)
    axes.set_xlabel("templates in the gallery, each in memory of its own")
    axes.set_ylabel("candidates a second, one thread, fast mode")
    axes.yaxis.set_major_formatter(lambda rate, _: f"{rate:,.0f}")
    axes.legend()
    axes.grid(alpha=0.3)
    figure.tight_layout()
    figure.savefig(options.output, dpi=110)
    return 0


if __name__ == "__main__":
    sys.exit(main())
