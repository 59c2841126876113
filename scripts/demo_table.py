#!/usr/bin/env python3
"""One line per import:  scripts/demo_table.py REPORT...  (what corvane import --json wrote)"""
import json
import pathlib
import sys

COLUMNS = {"vertices": "em2dvertex", "traces": "em2dtrace", "vias": "em2dvia", "shapes": "em2dshape", "nets": "emnet"}


def line(path):
    text = path.read_text()
    if not text.strip():
        return [path.stem] + ["-"] * len(COLUMNS) + ["-", "-", "FAILED"]
    report = json.loads(text)
    seconds = sum(report["seconds"].values())
    rows = [str(report["rows"][table]) for table in COLUMNS.values()]
    return [path.stem, *rows, str(report["bytes"]), f"{seconds:.3f}", "equal" if report["verified"] else "DIFFERENT"]


table = [["board", *COLUMNS, "bytes", "seconds", "read back"]] + [line(pathlib.Path(name)) for name in sys.argv[1:]]
widths = [max(len(row[i]) for row in table) for i in range(len(table[0]))]
for row in table:
    print(row[0].ljust(widths[0]), *(cell.rjust(width) for cell, width in zip(row[1:], widths[1:])), sep="  ")
