#!/usr/bin/env python3
"""The demo's table, line by line:  scripts/demo_table.py --header | FOLDER

FOLDER has import.json and mesh.json, as the tool has written them.
"""
import json
import pathlib
import sys

WIDTH = 100
COLUMNS = [("traces", 7), ("vias", 6), ("shapes", 7), ("MB", 6), ("import s", 8), ("triangles", 9), ("angle", 6),
           ("area off", 8), ("mesh s", 7), ("equal", 6)]
NAME = WIDTH - sum(width + 1 for _, width in COLUMNS)


def report(path):
    text = path.read_text() if path.is_file() else ""
    return json.loads(text) if text.strip() else None


def import_cells(content):
    if content is None:
        return ["-"] * 5
    rows = [str(content["rows"][table]) for table in ("em2dtrace", "em2dvia", "em2dshape")]
    return [*rows, f"{content['bytes'] / 1e6:.2f}", f"{sum(content['seconds'].values()):.2f}"]


def mesh_cells(content):
    if content is None:
        return ["-"] * 4
    worst = max((layer["relative_difference"] for layer in content["layers"]), default=0)
    return [str(content["elements"]["meshface"]), f"{content['smallest_angle_deg']:.1f}", f"{100 * worst:.3f}%",
            f"{sum(content['seconds'].values()):.1f}"]


def verdict(contents):
    if None in contents:
        return "FAILED"
    return "yes" if all(content["verified"] for content in contents) else "NO"


def line(name, cells):
    short = name if len(name) <= NAME else name[: NAME - 2] + ".."
    return short.ljust(NAME) + "".join(f" {cell:>{width}}" for cell, (_, width) in zip(cells, COLUMNS))


if sys.argv[1:] == ["--header"]:
    print(line("board", [title for title, _ in COLUMNS]))
    print("-" * WIDTH)
else:
    folder = pathlib.Path(sys.argv[1])
    contents = [report(folder / "import.json"), report(folder / "mesh.json")]
    print(line(folder.name, [*import_cells(contents[0]), *mesh_cells(contents[1]), verdict(contents)]))
