"""What the figures of this package have in common: they are to be read without
colour, and the same data make the same files."""
from __future__ import annotations

import io
from pathlib import Path

import matplotlib
import matplotlib.figure

from .host_program import replace_file

matplotlib.rcParams.update({
    "svg.hashsalt": "vxmkit",
    "svg.fonttype": "none",
    "font.family": "sans-serif",
    "axes.spines.top": False,
    "axes.spines.right": False,
})


def save(figure: matplotlib.figure.Figure, path: Path) -> None:
    """Writes the format that the path's suffix names, svg, png or pdf; the file is replaced
    as a whole or not at all."""
    stamp = {"Date": None} if path.suffix == ".svg" else None
    picture = io.BytesIO()
    figure.savefig(picture, format=path.suffix[1:], dpi=150, metadata=stamp, facecolor="white")
    replace_file(path, picture.getvalue())
