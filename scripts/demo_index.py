#!/usr/bin/env python3
"""Writes a page with the pictures of all boards:  scripts/demo_index.py FOLDER

FOLDER has one folder a board. The page shows small bitmaps where rsvg-convert is there to make them, and leads to the
pictures themselves.
"""
import html
import pathlib
import shutil
import subprocess
import sys
import urllib.parse

PAGE = """<!doctype html>
<html lang="en">
<meta charset="utf-8">
<title>Boards and meshes</title>
<style>
body {{ font: 16px/1.4 system-ui, sans-serif; margin: 2rem; background: #fff; color: #222 }}
section {{ margin-bottom: 2rem }}
figure {{ display: inline-block; margin: 0 1rem 1rem 0; vertical-align: top }}
img {{ width: 480px; border: 1px solid #ccc; display: block }}
</style>
<h1>Boards and meshes</h1>
{sections}
</html>
"""


def thumbnail(picture):
    """A small bitmap beside the picture, or None."""
    small = picture.with_suffix(".png")
    command = ["rsvg-convert", "--width", "480", "-o", str(small), str(picture)]
    if shutil.which(command[0]) is None or subprocess.run(command, stderr=subprocess.DEVNULL, check=False).returncode:
        return None
    return small


def figure(root, picture):
    small = thumbnail(picture)
    address = urllib.parse.quote(picture.relative_to(root).as_posix())
    size = f"{picture.stat().st_size / 1e6:.1f} MB"
    shown = f'<img alt="" src="{urllib.parse.quote(small.relative_to(root).as_posix())}">' if small else ""
    return f'<figure><a href="{address}">{shown}{html.escape(picture.stem)}</a> ({size})</figure>'


def section(root, folder):
    figures = [figure(root, picture) for name in ("layout.svg", "mesh.svg") if (picture := folder / name).is_file()]
    return f"<section><h2>{html.escape(folder.name)}</h2>{''.join(figures) or 'No picture.'}</section>"


top = pathlib.Path(sys.argv[1])
folders = sorted(path for path in top.iterdir() if path.is_dir())
(top / "index.html").write_text(PAGE.format(sections="\n".join(section(top, folder) for folder in folders)))
