"""Draws templates: why two match, as the engine sees them, or what one holds.

    python3 -m vxmkit.draw TEMPLATE -o one.svg
    python3 -m vxmkit.draw PROBE CANDIDATE -o pair.svg

A circle is a ridge ending, a square a bifurcation, each with its direction and shaded by
its quality, from white (the worst) to black. Native templates show behind the minutiae the
ridge orientation of each block. A record of any form is drawn in its image, with the
directions that stand in it (the engine's are opposite), and cores, deltas, ridge counts and
zonal quality where it has them. Of two templates, those minutiae are numbered and connected
that the best alignment pairs; the others are pale; records of other forms and resolutions
are converted before, which is told. The suffix of the output chooses its format: .svg,
.png or .pdf.
"""
from __future__ import annotations

import argparse
import sys
import tempfile
from collections.abc import Sequence
from pathlib import Path
from typing import Any

try:
    from matplotlib.axes import Axes
    from matplotlib.figure import Figure
    from matplotlib.lines import Line2D
    from matplotlib.patches import ConnectionPatch

    from .figures import save
    from .record_picture import explain_any, is_record, record_view
    from .records import Form, form_of
    from .template_marks import (BLOCK, MARKERS, PALE, draw_extended, draw_minutiae, draw_ridges,
                                 extended_legend, mark)
except ModuleNotFoundError as missing:
    print(f"vxmkit.draw: needs numpy and matplotlib; no {missing.name} here", file=sys.stderr)
    sys.exit(2)
from .explain import ExplainError, explain
from .host_program import DONE, run_program

_SUFFIXES = (".svg", ".png", ".pdf")


def _extent(template: dict[str, Any]) -> tuple[float, float, float, float]:
    """Left, right, top, bottom of what is to be seen: the image, the grid, or all minutiae."""
    if all(template.get("image", (0, 0))):
        return 0, template["image"][0], 0, template["image"][1]
    orientation = template["orientation"]
    if orientation:
        return 0, len(orientation[0]) * BLOCK, 0, len(orientation) * BLOCK
    xs = [each["x"] for each in template["minutiae"]] or [0]
    ys = [each["y"] for each in template["minutiae"]] or [0]
    return min(xs) - BLOCK, max(xs) + BLOCK, min(ys) - BLOCK, max(ys) + BLOCK


def _template(axes: Axes, template: dict[str, Any], strong: set[int]) -> None:
    left, right, top, bottom = _extent(template)
    if template["orientation"]:
        draw_ridges(axes, template["orientation"])
    if "extended" in template:
        draw_extended(axes, template["extended"], template["minutiae"])
    draw_minutiae(axes, template["minutiae"], strong)
    axes.set(xlim=(left, right), ylim=(bottom, top), aspect="equal", xticks=[], yticks=[])
    axes.spines[:].set_visible(True)
    axes.spines[:].set_color("0.8")
    axes.set_title(f"{Path(template['file']).name}: {template['format']}, "
                   f"{len(template['minutiae'])} minutiae", fontsize=10)


def _legend(figure: Figure, templates: Sequence[dict[str, Any]], paired: bool) -> None:
    shaded = any("quality" in each for template in templates for each in template["minutiae"])
    handles = [mark("o", "black", "ridge ending"), mark("s", "black", "bifurcation")]
    if any(each["type"] not in MARKERS for template in templates
           for each in template["minutiae"]):
        handles.append(mark("D", "black", "of another type"))
    if shaded:
        handles.append(mark("o", "white", "lower quality is lighter"))
    if any(template["orientation"] for template in templates):
        handles.append(Line2D([], [], color="0.8", label="ridges"))
    for template in templates:
        handles += extended_legend(template["extended"]) if "extended" in template else []
    if paired:
        handles.append(mark("o", PALE, "without a mate", PALE))
        handles.append(Line2D([], [], color="0.35", linestyle="--", label="seeds"))
    columns = min(len(handles), int(figure.get_figwidth() / 1.4))
    strip = 0.3 * -(-len(handles) // columns) / figure.get_figheight()
    figure.get_layout_engine().set(rect=(0, strip, 1, 1 - strip))
    figure.legend(handles=handles, loc="lower center", ncols=columns, frameon=False,
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
    """A template as `explain` or `record_view` tells it."""
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


def _size_of(text: str) -> tuple[int, int]:
    width, _, height = text.partition("x")
    if not (width.isdecimal() and height.isdecimal()):
        raise argparse.ArgumentTypeError(f"{text!r} is no WIDTHxHEIGHT in pixels")
    return int(width), int(height)


def _form(text: str) -> Form:
    try:
        return form_of(text)
    except ValueError as error:
        raise argparse.ArgumentTypeError(error) from error


def _figure(options: argparse.Namespace) -> Figure:
    if options.candidate is not None:
        with tempfile.TemporaryDirectory() as folder:
            return draw_pair(explain_any([options.probe, options.candidate], Path(folder)))
    data = options.probe.read_bytes()
    if options.form or is_record(data):
        return draw_one(record_view(options.probe, data, options.form, options.size, options.view))
    return draw_one(explain([options.probe]))


def _draw(arguments: Sequence[str] | None) -> int:
    parser = argparse.ArgumentParser(prog="python3 -m vxmkit.draw", description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter,
                                     epilog="Exit codes: 0 done, 2 error, 3 stopped by Ctrl-C.")
    parser.add_argument("probe", type=Path, metavar="TEMPLATE")
    parser.add_argument("candidate", type=Path, nargs="?", metavar="CANDIDATE",
                        help="a second template, to be compared with the first")
    parser.add_argument("-o", "--out", type=Path, required=True, help="picture to write")
    parser.add_argument("--view", type=int, default=1, help="which view of a record, from 1")
    parser.add_argument("--from", dest="form", type=_form, metavar="FORM",
                        help="form of a record without a header: iso-card, iso-card-compact, xyt")
    parser.add_argument("--from-size", dest="size", type=_size_of, metavar="WIDTHxHEIGHT",
                        help="size of its image, without which xyt cannot be read")
    options = parser.parse_args(arguments)
    if options.out.suffix not in _SUFFIXES:
        parser.error(f"{options.out}: the suffix must be one of {', '.join(_SUFFIXES)}")
    save(_figure(options), options.out)
    return DONE


def main(arguments: Sequence[str] | None = None) -> int:
    return run_program("vxmkit.draw", lambda: _draw(arguments), (ExplainError, OSError, ImportError))


if __name__ == "__main__":
    sys.exit(main())
