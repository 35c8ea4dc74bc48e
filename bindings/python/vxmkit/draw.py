"""Draws templates as the engine sees them.

    python3 -m vxmkit.draw TEMPLATE -o one.svg
    python3 -m vxmkit.draw PROBE CANDIDATE -o pair.svg

A circle is a ridge ending, a square a bifurcation, each with its direction. Native
templates show the quality of a minutia by its shade, from white (0) to black (127),
and behind the minutiae the ridge orientation of each block. Of two templates, those
minutiae are numbered and connected that the best alignment pairs; the others are
pale. The suffix of the output chooses its format: .svg, .png or .pdf.
"""
from __future__ import annotations

import argparse
import sys
from collections.abc import Sequence
from pathlib import Path
from typing import Any

try:
    from matplotlib.axes import Axes
    from matplotlib.collections import LineCollection
    from matplotlib.figure import Figure
    from matplotlib.lines import Line2D
    from matplotlib.patches import ConnectionPatch

    from .figures import save
except ModuleNotFoundError as missing:
    print(f"vxmkit.draw: needs matplotlib; no {missing.name} here", file=sys.stderr)
    sys.exit(2)
from math import cos, radians, sin

from .explain import ExplainError, explain
from .host_program import DONE, run_program

BLOCK = 16  # pixels
_TAIL = 13  # length of a minutia's direction, pixels
_MARKERS = {0: "o", 1: "s"}  # by type; any other type is drawn as a diamond
_PALE = "0.6"
_SUFFIXES = (".svg", ".png", ".pdf")


def _ridges(axes: Axes, orientation: list[list[float | None]]) -> None:
    """A line along the ridges in the middle of each block that has any."""
    half = 0.38 * BLOCK
    lines = []
    for row, blocks in enumerate(orientation):
        for column, degrees in enumerate(blocks):
            if degrees is None:
                continue
            x, y = (column + 0.5) * BLOCK, (row + 0.5) * BLOCK
            dx, dy = half * cos(radians(degrees)), half * sin(radians(degrees))
            lines.append([(x - dx, y - dy), (x + dx, y + dy)])
    axes.add_collection(LineCollection(lines, colors="0.8", linewidths=1, zorder=1))


def _minutiae(axes: Axes, minutiae: list[dict[str, Any]], strong: set[int]) -> None:
    """Those that are not strong are pale."""
    for index, each in enumerate(minutiae):
        color = "black" if index in strong else _PALE
        shade = 1 - each.get("quality", 127) / 127
        fill = str(shade if index in strong else 0.6 + 0.4 * shade)
        way = radians(each["direction"])
        x, y = each["x"], each["y"]
        axes.plot([x, x + _TAIL * cos(way)], [y, y + _TAIL * sin(way)], color=color,
                  linewidth=1.3, zorder=2)
        axes.plot(x, y, _MARKERS.get(each["type"], "D"), color=color, markerfacecolor=fill,
                  markersize=5, zorder=3)


def _extent(template: dict[str, Any]) -> tuple[float, float, float, float]:
    """Left, right, top, bottom of what is to be seen: the grid, or all minutiae."""
    orientation = template["orientation"]
    if orientation:
        return 0, len(orientation[0]) * BLOCK, 0, len(orientation) * BLOCK
    xs = [each["x"] for each in template["minutiae"]] or [0]
    ys = [each["y"] for each in template["minutiae"]] or [0]
    return min(xs) - BLOCK, max(xs) + BLOCK, min(ys) - BLOCK, max(ys) + BLOCK


def _template(axes: Axes, template: dict[str, Any], strong: set[int]) -> None:
    left, right, top, bottom = _extent(template)
    if template["orientation"]:
        _ridges(axes, template["orientation"])
    _minutiae(axes, template["minutiae"], strong)
    axes.set(xlim=(left, right), ylim=(bottom, top), aspect="equal", xticks=[], yticks=[])
    axes.spines[:].set_visible(True)
    axes.spines[:].set_color("0.8")
    axes.set_title(f"{Path(template['file']).name}: {template['format']}, "
                   f"{len(template['minutiae'])} minutiae", fontsize=10)


def _legend(figure: Figure, templates: Sequence[dict[str, Any]], paired: bool) -> None:
    def mark(marker: str, fill: str, label: str, color: str = "black") -> Line2D:
        return Line2D([], [], marker=marker, color=color, markerfacecolor=fill, linestyle="",
                      markersize=5, label=label)

    native = any("quality" in each for template in templates for each in template["minutiae"])
    handles = [mark("o", "black", "ridge ending"), mark("s", "black", "bifurcation")]
    if any(each["type"] not in _MARKERS for template in templates
           for each in template["minutiae"]):
        handles.append(mark("D", "black", "of another type"))
    if native:
        handles.append(mark("o", "white", "lower quality is lighter"))
        handles.append(Line2D([], [], color="0.8", label="ridges"))
    if paired:
        handles.append(mark("o", _PALE, "without a mate", _PALE))
        handles.append(Line2D([], [], color="0.35", linestyle="--", label="seeds"))
    strip = 0.3 / figure.get_figheight()
    figure.get_layout_engine().set(rect=(0, strip, 1, 1 - strip))
    figure.legend(handles=handles, loc="lower center", ncols=len(handles), frameon=False,
                  fontsize=8, handletextpad=0.4, columnspacing=1.2)


def _size(templates: Sequence[dict[str, Any]]) -> tuple[float, float]:
    """Of a figure with all templates at one scale, in inches: 75 pixels to the inch
    unless that makes it large."""
    extents = [_extent(each) for each in templates]
    width = sum(right - left for left, right, _, _ in extents)
    height = max(bottom - top for _, _, top, bottom in extents)
    scale = min(1 / 75, 16 / width, 14 / height)
    return max(6.0, width * scale), max(3.0, height * scale) + 1.0


def draw_one(template: dict[str, Any]) -> Figure:
    """A template as `explain` tells it."""
    figure = Figure(figsize=_size([template]), layout="constrained")
    _template(figure.subplots(), template, set(range(len(template["minutiae"]))))
    _legend(figure, [template], paired=False)
    return figure


def _connect(figure: Figure, left: Axes, right: Axes, told: dict[str, Any]) -> None:
    """Numbers the mates and draws a line between them, dashed for the two seeds."""
    for number, pair in enumerate(told["firstPass"]["pairs"], 1):
        ends = []
        for axes, side in ((left, "probe"), (right, "reference")):
            minutia = told[side]["minutiae"][pair[side]]
            ends.append((minutia["x"], minutia["y"]))
            axes.annotate(str(number), ends[-1], xytext=(-3, 5), textcoords="offset points",
                          fontsize=7, ha="right", zorder=4)
        figure.add_artist(ConnectionPatch(
            ends[0], ends[1], "data", "data", axesA=left, axesB=right, color="0.35",
            linewidth=1.1 if pair["seed"] else 0.5, linestyle="--" if pair["seed"] else "-",
            alpha=0.9 if pair["seed"] else 0.6))


def _story(told: dict[str, Any]) -> str:
    """The comparison in two lines."""
    first = told["firstPass"]
    score = f"score {told['score'] / 10000:.4f}"
    if first is None:
        return f"{score}\nno alignment found"
    blocks = first["orientation"]
    ridges = (f", ridges agree in {blocks['agreeingBlocks']} of {blocks['overlapBlocks']} blocks"
              if blocks else "")
    turn = (first["rotation"] + 180) % 360 - 180
    return (f"{score}: {len(first['pairs'])} pairs{ridges}\n"
            f"probe turned by {turn}°, shifted by ({first['dx']}, {first['dy']}) pixels")


def draw_pair(told: dict[str, Any]) -> Figure:
    """Two templates and their comparison as `explain` tells it."""
    templates = [told["probe"], told["reference"]]
    widths = [right - left for left, right, _, _ in map(_extent, templates)]
    figure = Figure(figsize=_size(templates), layout="constrained")
    left, right = figure.subplots(1, 2, width_ratios=widths)
    pairs = told["firstPass"]["pairs"] if told["firstPass"] else []
    for axes, side in ((left, "probe"), (right, "reference")):
        _template(axes, told[side], {pair[side] for pair in pairs})
    if pairs:
        _connect(figure, left, right, told)
    figure.suptitle(_story(told), fontsize=10)
    _legend(figure, templates, paired=True)
    return figure


def _draw(arguments: Sequence[str] | None) -> int:
    parser = argparse.ArgumentParser(prog="python3 -m vxmkit.draw", description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter,
                                     epilog="Exit codes: 0 done, 2 error, 3 stopped by Ctrl-C.")
    parser.add_argument("probe", type=Path, metavar="TEMPLATE")
    parser.add_argument("candidate", type=Path, nargs="?", metavar="CANDIDATE",
                        help="a second template, to be compared with the first")
    parser.add_argument("-o", "--out", type=Path, required=True, help="picture to write")
    options = parser.parse_args(arguments)
    if options.out.suffix not in _SUFFIXES:
        parser.error(f"{options.out}: the suffix must be one of {', '.join(_SUFFIXES)}")
    if options.candidate is None:
        figure = draw_one(explain([options.probe]))
    else:
        figure = draw_pair(explain([options.probe, options.candidate]))
    save(figure, options.out)
    return DONE


def main(arguments: Sequence[str] | None = None) -> int:
    return run_program("vxmkit.draw", lambda: _draw(arguments), (ExplainError, OSError))


if __name__ == "__main__":
    sys.exit(main())
