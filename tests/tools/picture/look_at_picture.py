#!/usr/bin/env python3
"""What a reader of an SVG picture sees, as JSON.

    look_at_picture.py PICTURE.svg PICTURE.png X,Y...

The PNG is the same picture, drawn by whoever draws SVG. For each X,Y, which are millimetres of the board, the answer
has the colour there as #rrggbb.
"""
import json
import re
import struct
import sys
import xml.etree.ElementTree
import zlib

SVG = "{http://www.w3.org/2000/svg}"


def read_png(path):
    """Width, bytes per pixel and the lines of an eight-bit picture."""
    data = open(path, "rb").read()
    width, height, depth, colours, _, _, interlace = struct.unpack(">IIBBBBB", data[16:29])
    assert depth == 8 and colours in (2, 6) and not interlace
    size = 3 if colours == 2 else 4
    packed, at = b"", 8
    while at < len(data):
        length, kind = struct.unpack(">I4s", data[at:at + 8])
        if kind == b"IDAT":
            packed += data[at + 8:at + 8 + length]
        at += length + 12
    raw, lines, above = zlib.decompress(packed), [], bytearray(width * size)
    for y in range(height):
        start = y * (width * size + 1)
        above = unfiltered(raw[start], bytearray(raw[start + 1:start + 1 + width * size]), above, size)
        lines.append(above)
    return width, size, lines


def unfiltered(kind, line, above, size):
    for i in range(len(line)) if kind else ():
        left = line[i - size] if i >= size else 0
        corner = above[i - size] if i >= size else 0
        line[i] = (line[i] + (left, above[i], (left + above[i]) // 2, paeth(left, above[i], corner))[kind - 1]) & 255
    return line


def paeth(left, above, corner):
    guess = left + above - corner
    return min((abs(guess - left), 0, left), (abs(guess - above), 1, above), (abs(guess - corner), 2, corner))[2]


def colours_at(root, png, points):
    width, size, lines = read_png(png)
    drawing = root.find(f".//{SVG}g[@id='drawing']").get("transform")
    x0, y0, scale = map(float, re.fullmatch(r"translate\((\S+) (\S+)\) scale\((\S+)\)", drawing).groups())
    answer = {}
    for point in points:
        x, y = (float(word) * 1000 * scale for word in point.split(","))
        pixel = int(x0 + x) * size
        answer[point] = "#" + lines[int(y0 + y)][pixel:pixel + 3].hex()
    return answer


def main():
    root = xml.etree.ElementTree.parse(sys.argv[1]).getroot()
    groups = [group for group in root.iter(SVG + "g") if group.get("id")]
    title = lambda element: element.findtext(SVG + "title")
    print(json.dumps({
        "width": int(root.get("width")), "height": int(root.get("height")), "title": title(root),
        "texts": [text.text for text in root.iter(SVG + "text")],
        "layers": [title(group) for group in groups if group.get("id").startswith("layer-")],
        # What a viewer shows at the pointer, in the order of drawing.
        "paths": [title(path) for path in root.iter(SVG + "path") if title(path) is not None],
        "circles": [title(circle) for circle in root.iter(SVG + "circle") if title(circle) is not None],
        "nets": [title(group) for group in root.iter(SVG + "g") if title(group) is not None and not group.get("id")],
        "segments": sum(path.get("d").count("m") for group in root.iter(SVG + "g") if group.get("fill") == "none"
                        and not group.get("id") for path in group.iter(SVG + "path")),
        "longest": max([len(path.get("d")) for path in root.iter(SVG + "path")]),
        "colours": colours_at(root, sys.argv[2], sys.argv[3:]) if len(sys.argv) > 3 else {},
    }))


main()
