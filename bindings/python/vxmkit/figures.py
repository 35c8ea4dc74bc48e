"""What the figures of this package have in common: they are to be read without
colour, and the same data make the same files."""
from __future__ import annotations

from pathlib import Path

import matplotlib
import matplotlib.figure

matplotlib.rcParams.update({
    "svg.hashsalt": "vxmkit",
    "svg.fonttype": "none",
    "font.family": "sans-serif",
    "axes.spines.top": False,
    "axes.spines.right": False,
})


def save(figure: matplotlib.figure.Figure, path: Path) -> None:
    """Writes the format that the path's suffix names: svg, png or pdf."""
    stamp = {"Date": None} if path.suffix == ".svg" else None
    figure.savefig(path, dpi=150, metadata=stamp, facecolor="white")
