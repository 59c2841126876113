#!/usr/bin/env python3
"""One line per board:  scripts/demo_table.py FOLDER...  (with import.json and mesh.json, as the tool has written them)"""
import json
import pathlib
import sys

ROWS = {"vertices": "em2dvertex", "traces": "em2dtrace", "vias": "em2dvia", "shapes": "em2dshape", "nets": "emnet"}
OF_IMPORT = [*ROWS, "bytes", "seconds", "read back"]
OF_MESH = ["triangles", "least angle", "worst area", "seconds", "read back"]


def report(path):
    text = path.read_text() if path.is_file() else ""
    return json.loads(text) if text.strip() else None


def result(content):
    return "equal" if content["verified"] else "DIFFERENT"


def import_cells(content):
    if content is None:
        return ["-"] * (len(OF_IMPORT) - 1) + ["FAILED"]
    rows = [str(content["rows"][table]) for table in ROWS.values()]
    return [*rows, str(content["bytes"]), f"{sum(content['seconds'].values()):.3f}", result(content)]


def mesh_cells(content):
    if content is None:
        return ["-"] * (len(OF_MESH) - 1) + ["FAILED"]
    worst = max((layer["relative_difference"] for layer in content["layers"]), default=0)
    return [str(content["elements"]["meshface"]), f"{content['smallest_angle_deg']:.2f}", f"{100 * worst:.3f} %",
            f"{sum(content['seconds'].values()):.2f}", result(content)]


folders = [pathlib.Path(name) for name in sys.argv[1:]]
table = [["board", *OF_IMPORT, *OF_MESH]]
for folder in folders:
    table.append([folder.name, *import_cells(report(folder / "import.json")), *mesh_cells(report(folder / "mesh.json"))])
widths = [max(len(row[i]) for row in table) for i in range(len(table[0]))]
for row in table:
    print(row[0].ljust(widths[0]), *(cell.rjust(width) for cell, width in zip(row[1:], widths[1:])), sep="  ")
