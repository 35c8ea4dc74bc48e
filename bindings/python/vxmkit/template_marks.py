"""What is drawn of a template on axes whose unit is a pixel, y down."""
from __future__ import annotations

from math import cos, radians, sin
from typing import Any

from matplotlib.axes import Axes
from matplotlib.collections import LineCollection
from matplotlib.lines import Line2D

from .extended_data import ExtendedData

BLOCK = 16  # pixels
TAIL = 13  # length of a direction, pixels
MARKERS = {0: "o", 1: "s"}  # by type; any other type is drawn as a diamond
PALE = "0.6"
CORE, DELTA = "P", "^"


def mark(marker: str, fill: str, label: str, color: str = "black") -> Line2D:
    """An entry of a legend."""
    return Line2D([], [], marker=marker, color=color, markerfacecolor=fill, linestyle="",
                  markersize=5, label=label)


def draw_ridges(axes: Axes, orientation: list[list[float | None]]) -> None:
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


def draw_minutiae(axes: Axes, minutiae: list[dict[str, Any]], strong: set[int]) -> None:
    """Those that are not strong are pale."""
    for index, each in enumerate(minutiae):
        color = "black" if index in strong else PALE
        shade = 1 - each.get("quality", 127) / 127
        fill = str(shade if index in strong else 0.6 + 0.4 * shade)
        way = radians(each["direction"])
        x, y = each["x"], each["y"]
        axes.plot([x, x + TAIL * cos(way)], [y, y + TAIL * sin(way)], color=color,
                  linewidth=1.3, zorder=2)
        axes.plot(x, y, MARKERS.get(each["type"], "D"), color=color, markerfacecolor=fill,
                  markersize=5, zorder=3)


def draw_extended(axes: Axes, data: ExtendedData, minutiae: list[dict[str, Any]]) -> None:
    """Zonal quality as grey cells, the better the lighter; ridge counts as numbers on lines
    between minutiae; cores and deltas with their directions."""
    for zones in data.zonal_quality:
        rows, columns = zones.values.shape
        axes.imshow(zones.values, cmap="gray", vmin=-zones.best, vmax=zones.best, zorder=0,
                    extent=(0, columns * zones.width, rows * zones.height, 0),
                    interpolation="nearest")
    for each in data.ridge_counts:
        (x0, y0), (x1, y1) = ((minutiae[i]["x"], minutiae[i]["y"]) for i in (each.first, each.second))
        axes.plot([x0, x1], [y0, y1], color="0.5", linestyle=":", linewidth=0.6, zorder=1)
        axes.annotate(str(each.count), ((x0 + x1) / 2, (y0 + y1) / 2), fontsize=5, color="0.3",
                      ha="center", va="center", zorder=4)
    for marker, points in ((CORE, data.cores), (DELTA, data.deltas)):
        for point in points:
            for degrees in map(radians, point.degrees):
                axes.plot([point.x, point.x + 2 * TAIL * cos(degrees)],
                          [point.y, point.y - 2 * TAIL * sin(degrees)], color="black",
                          linewidth=0.9, zorder=2)
            axes.plot(point.x, point.y, marker, color="black", markerfacecolor="white",
                      markersize=9, zorder=3)


def extended_legend(data: ExtendedData) -> list[Line2D]:
    """Entries of what of it is there."""
    handles = []
    if data.cores:
        handles.append(mark(CORE, "white", "core"))
    if data.deltas:
        handles.append(mark(DELTA, "white", "delta"))
    if data.ridge_counts:
        handles.append(Line2D([], [], color="0.5", linestyle=":", label="ridges between"))
    if data.zonal_quality:
        handles.append(mark("s", "0.75", "better cells are lighter", "0.5"))
    return handles
