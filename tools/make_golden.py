#!/usr/bin/env python3
"""Makes the golden files of the tests from the description of the bytes in docs/file-format.md, without the library.

    tools/make_golden.py DIR           write the golden files into DIR
    tools/make_golden.py --check DIR   compare the files in DIR with what would be written

db.zydat is the small example of docs/file-format.md; full.zydat has rows in every table and values that are easily
lost on the way; corvane2d.zydat has a mesh with elements of every kind. tests/format/GoldenFileTest.cpp makes the three
through the library. kinds.zydat is no database: it has one object of each kind, and the other files called kinds... are
those that its mapped objects refer to. structures.zydat has the kinds that need a program's own structure.
tests/format/KindsTest.cpp makes them through the library.
"""
import argparse
import hashlib
import pathlib
import struct
import sys

SMALL_SHA256 = "dbfae3636bd5b0126e01e08ab3d49561cba44b65dc35d524e262cd7409f52171"

KIND_TABLE = 0x40008
KIND_RECORD = 0x10
KIND_NUMBERS = 0x1001  # a column of numbers with a default
KIND_TEXTS = 0x401
KIND_LISTS = 0x5
KIND_TEXT = 0x400
KIND_VALUE = 0

UNTYPED = "ZyData::UntypedClass"
TEXT = "const char*"
PACK = {"bool": "?", "short": "h", "unsigned char": "B", "char": "c", "int": "i", "unsigned int": "I", "long": "i",
        "float": "f", "double": "d"}
WITHOUT_COUNT = (KIND_VALUE, 0x1000, KIND_RECORD, 0x8, 0x1008, KIND_TABLE, 0x40000, 0x40010, 0x41008)


def enumeration(name):
    PACK[f"Mesh2DPlat::{name}"] = "i"
    return f"Mesh2DPlat::{name}"


NET_TYPE = enumeration("EM2DNetProxy::eType")
SHAPE_TYPE = enumeration("EM2DShapeProxy::eType")
POLY_TYPE = enumeration("EM2DPolyViaProxy::ePolyType")

SETTINGS = (
    [(name, "double") for name in
     "thetamin simplifyAngle maxEdgeLen minEdgeLen smallHoleThreshold alignAbsorb calcPrecision compPrecision "
     "calcPrecision2 geomPrecision mesheps calcPrecisionFor1AndT refdistance".split()]
    + [(name, "int") for name in "customCpuNum mode ppid".split()]
    + [(name, TEXT) for name in "option resourceFile runTimeErrorFile winContentFile casefile".split()])

# Table, row structure, columns: a number's type, TEXT, or a list of a number's type.
TABLES = [
    ("emnet", "EM2DNetProxy", [("id", "int"), ("type", NET_TYPE), ("name", TEXT)]),
    ("em2dvertex", "EM2DVertexProxy",
     [("id", "int"), ("name", TEXT), ("x", "double"), ("y", "double"), ("z", "double"), ("type", "int"),
      ("layer", TEXT), ("uplayer", TEXT), ("lowlayer", TEXT), ("options", "int")]),
    ("em2dlayer", "EM2DLayerProxy", [("id", "int"), ("name", TEXT), ("z", "double")]),
    ("em2dsignal", "EM2DSignalProxy", [("id", "int"), ("name", TEXT), ("z", "double"), ("patch", "int")]),
    ("em2dshape", "EM2DShapeProxy",
     [("name", TEXT), ("layer", "int"), ("net", "int"), ("type", SHAPE_TYPE), ("option", "int"),
      ("vertexs", ["double"])]),
    ("em2dvia", "EM2DViaProxy",
     [("name", TEXT), ("net", "int"), ("startver", "int"), ("endver", "int"), ("r", "double")]),
    ("em2dpolyvia", "EM2DPolyViaProxy",
     [("name", TEXT), ("net", "int"), ("startver", "int"), ("endver", "int"), ("polytype", POLY_TYPE),
      ("coord", ["double"])]),
    ("em2dtrace", "EM2DTraceProxy",
     [("name", TEXT), ("net", "int"), ("startver", "int"), ("endver", "int"), ("option", "int")]),
    ("em2dpin", "EM2DPin", [("name", TEXT)]),
    ("em2dcircuit", "EM2DCircuitProxy", [("name", TEXT), ("pin", ["int"]), ("emver", ["int"]), ("option", "int")]),
]

NUMBERED = [("id", "int")]
POLYGONS = ("MeshPolygonProxy", NUMBERED + [("orientation", "int"), ("leftpoly", "int"), ("rightpoly", "int"),
                                            ("meshlayer", "int"), ("layer", "int"), ("net", TEXT), ("node", ["int"]),
                                            ("edge", ["int"])])
MESH_TABLES = [
    ("meshlayer", "MeshLayerProxy", NUMBERED + [("layer", TEXT)]),
    ("meshmetal", "MeshMetalProxy", NUMBERED + [("layer", "int"), ("name", TEXT), ("polygon", ["int"])]),
    ("meshmedium", "MeshMediumProxy",
     NUMBERED + [("layer", "int"), ("upmetal", "int"), ("lowmetal", "int"), ("meshnode", ["int"])]),
    ("mashape", "MAShapeProxy",
     NUMBERED + [("type", "int"), ("metal", "int"), ("width", "double"), ("length", "double"), ("upnode", ["int"]),
                 ("lownode", ["int"])]),
    ("specialvoid", "SpecialVoidProxy",
     NUMBERED + [("layerid", "int"), ("layer", "int"), ("net", TEXT), ("vertex", ["double"])]),
    ("viamesh", "ViaMeshProxy", [("via", TEXT), ("meshid", ["int"])]),
    ("meshvia", "MeshViaProxy",
     NUMBERED + [("name", TEXT), ("planeid", "int"), ("x", "double"), ("y", "double"), ("layer", "int"),
                 ("ratio", "double"), ("radius", "double")]),
    ("emmeshvertex", "EMMeshVertexProxy",
     NUMBERED + [("name", TEXT), ("x", "double"), ("y", "double"), ("nodelayer", "int"), ("connlayer", "int"),
                 ("plane", TEXT), ("upplane", TEXT), ("lowplane", TEXT)]),
    next(table for table in TABLES if table[0] == "em2dshape"),
    ("meshnode", "MeshNodeProxy",
     NUMBERED + [("x", "double"), ("y", "double"), ("layer", "int"), ("metalface", ["int"]), ("mediumface", ["int"])]),
    ("meshedge", "MeshEdgeProxy",
     NUMBERED + [("meshlayer", "int"), ("layer", "int"), ("startnode", "int"), ("endnode", "int"),
                 ("leftface", "int"), ("rightface", "int"), ("coedge", ["int"])]),
    ("meshface", "MeshFaceProxy",
     NUMBERED + [("meshlayer", "int"), ("layer", "int"), ("mediumpoly", "int"), ("node", ["int"]), ("edge", ["int"])]),
    ("meshpolygon", *POLYGONS),
    ("negpolymesh", *POLYGONS),  # only where there are any
]

NAN = struct.unpack("<d", struct.pack("<Q", 0x7FF8000000C0FFEE))[0]
INFINITY = float("inf")
LONG_NAME = b"long" * 75

SMALL = {"emnet": [(7, 2, b"GND")], "em2dlayer": [(1, b"L1", 0.5)]}

FULL = {
    "simeshconfig": [0.25, -0.0, INFINITY, -INFINITY, 5e-324, 1.7976931348623157e308, 1e-6, 1e-9, 0.1, -1.5, 2.0, 3.0,
                     4.0, 8, -1, -2147483648, b"fast", b"", b"a\0b", LONG_NAME, b"case.txt"],
    "emnet": [(1, 2, b"GND"), (2, 77, b""), (-7, -3, b"A\0B")],
    "em2dvertex": [(10, b"v0", -0.0, 1.5, 0.0, 0, b"TOP", b"", LONG_NAME, 5),
                   (11, b"", INFINITY, -INFINITY, NAN, -1, b"", b"TOP", b"", -2147483648)],
    "em2dlayer": [(0, b"TOP", 0.0), (-5, LONG_NAME, -0.035), (2147483647, b"", -0.0)],
    "em2dsignal": [(1, b"S1", 0.5, -5), (2, b"S2", -0.0, -1)],
    "em2dshape": [(b"outline", 0, 1, 1, 3, [0.0, 0.0, 10.0, 0.0, 10.0, -0.0]), (b"", -5, -7, 99, -1, []),
                  (b"dot", 0, 2, 0, 0, [NAN, 5e-324])],
    "em2dvia": [(b"via", 1, 10, 11, 0.3), (b"", -7, 11, 10, -0.0)],
    "em2dpolyvia": [(b"slot", 2, 11, 10, 1, [1.0, 2.0, 3.0, 4.0]), (b"none", 1, 10, 10, -9, [])],
    "em2dtrace": [(b"t", 1, 10, 11, 11), (b"", 2, 11, 10, 10)],
    "em2dpin": [(b"1",), (b"2",), (b"",)],
    "em2dcircuit": [(b"U1", [0, 1, 0], [10, 11, 11], 4), (b"", [1, 2], [10, 10], 0), (b"U3", [], [], -4)],
}

TINY = 5e-324
MESH = {
    "meshlayer": [(0, b"F.Cu"), (1, b"")],
    "meshmetal": [(0, 3, b"GND", [0, 1, -1]), (1, 4, b"", [])],
    "meshmedium": [(0, 3, 0, -1, [2, 1, 0])],
    "mashape": [(0, 7, 1, 0.25, -0.0, [1], [])],
    "specialvoid": [(0, 0, 3, b"VCC", [0.0, TINY, 1e300, -1.0])],
    "viamesh": [(b"z", []), (b"a", [3, -1])],
    "meshvia": [(0, b'via "a"', 5, 1.0, 2.0, 3, 0.5, 0.25), (1, b"", -5, 1.0, 2.0, 3, 0.0, 0.0),
                (2, b'via "a"', 5, 9.0, 9.0, 9, 9.0, 9.0)],
    "emmeshvertex": [(0, b"U1.3", 1.5, -2.5, 0, 1, b"GND", b"", b"F.Cu")],
    "meshnode": [(0, 0.0, 0.0, 3, [], []), (77, 0.5, -TINY, 3, [1], []), (2, 1.0, -2 * TINY, 3, [2, 2], [])],
    "meshedge": [(0, 0, 3, 0, 1, 0, -1, [0, 2147483647]), (1, 0, 3, 1, 2, 0, -1, [1, 2147483647]),
                 (2, 0, 3, -2147483648, 0, 0, -1, [2, 2147483647])],
    "meshface": [(0, 0, 3, 0, [0, 1, 2], [2, 1, 0]), (1, 1, 4, -1, [], [])],
    "meshpolygon": [(0, -1, 0, 1, 0, 3, b"GND", [0, 1, 2], [0, 1, 2])],
    "negpolymesh": [(0, 1, -1, -1, 0, 3, b"one", [2, 1], [0]), (1, 1, -1, -1, 0, 3, b"two", [2, 1], [0])],
}


def pack(type_name, values):
    return struct.pack(f"<{len(values)}{PACK[type_name]}", *values)


class Message:
    def __init__(self):
        self.nodes = bytearray()
        self.parameters = bytearray()
        self.pool = bytearray()
        self.offsets = {}
        self.frames = []

    def text(self, text):
        if text not in self.offsets:
            self.offsets[text] = len(self.pool)
            self.pool += text.encode() + b"\0"
        return self.offsets[text]

    def node(self, name, type_name, kind, fields=0, text=""):
        identity = 0xCBF29CE484222325
        for byte in type_name.encode():
            identity = (identity ^ byte) * 0x100000001B3 % 2**64
        texts = [self.text(name), self.text(""), self.text(type_name)]
        self.nodes += struct.pack("<6IQB7x", *texts, kind, fields, 0, identity, 0)
        if kind == KIND_TEXT:
            self.parameters += struct.pack("<Q", 0)
        elif kind not in WITHOUT_COUNT:
            self.parameters += struct.pack("<QI", 0, kind & 0x100DFFF)
        self.parameters += struct.pack("<I", len(text)) + text.encode()

    def numbers(self, type_name, values):
        self.frames.append(pack(type_name, values))

    def runs(self, lengths):
        ends = [0]
        for length in lengths:
            ends.append(ends[-1] + length)
        self.numbers("int", ends)

    def column(self, name, column_type, values):
        if column_type == TEXT:
            self.node(name, TEXT, KIND_TEXTS)
            self.runs(map(len, values))
            self.frames.append(b"".join(values))
        elif isinstance(column_type, list):
            self.node(name, column_type[0], KIND_LISTS)
            self.runs(map(len, values))
            self.numbers(column_type[0], [value for run in values for value in run])
        else:
            self.node(name, column_type, KIND_NUMBERS)
            self.numbers(column_type, values)

    def table(self, name, structure, columns, rows):
        self.node(name, f"Mesh2DPlat::{structure}", KIND_TABLE, len(columns))
        self.frames.append(struct.pack("<Q", len(rows)))
        for place, (column, column_type) in enumerate(columns):
            self.column(column, column_type, [row[place] for row in rows])

    def settings(self, values):
        self.node("simeshconfig", UNTYPED, KIND_RECORD, len(SETTINGS))
        for (name, value_type), value in zip(SETTINGS, values):
            self.node(name, value_type, KIND_TEXT if value_type == TEXT else KIND_VALUE)
            self.frames.append(value if value_type == TEXT else struct.pack(f"<{PACK[value_type]}", value))

    def bytes(self):
        frames = [self.nodes, self.parameters, self.pool] + self.frames
        sizes = struct.pack(f"<{len(frames)}Q", *map(len, frames))
        return struct.pack("<III", len(frames), 0, 1) + sizes + b"".join(frames)


def database(name, content):
    message = Message()
    message.node(name, UNTYPED, KIND_RECORD, 1 + len(TABLES))
    message.settings(content.get("simeshconfig", [b"" if kind == TEXT else 0 for _, kind in SETTINGS]))
    for table, structure, columns in TABLES:
        message.table(table, structure, columns, content.get(table, []))
    return message.bytes()


def mesh(content):
    message = Message()
    message.node("mesh2d", UNTYPED, KIND_RECORD, len(MESH_TABLES))
    for table, structure, columns in MESH_TABLES:
        message.table(table, structure, columns, content.get(table, []))
    return message.bytes()


def text_hash(key):
    result = 0
    for byte in key:
        mixed = (byte ^ 0xCBF29CE484222325) * 0x100000001B3 + (result << 6) + (result >> 2) + 0x9E3779B9
        result ^= mixed % 2**64
    return result


def index_hash(index):
    return (index % 2**32 * 0x9E3779B97F4A7C15 % 2**64) >> 32


class HashTable:
    """Eight buckets, which is enough here. An entry goes to the head of its chain; a removed one stays in its place."""

    def __init__(self):
        self.buckets = [-1] * 8
        self.entries = []  # [first word, value, next]

    def insert(self, hashed, word, value):
        self.entries.append([word, value, self.buckets[hashed % 8]])
        self.buckets[hashed % 8] = len(self.entries) - 1

    def remove(self, hashed, place):
        if self.buckets[hashed % 8] == place:
            self.buckets[hashed % 8] = self.entries[place][2]
        else:
            before = next(entry for entry in self.entries if entry[2] == place)
            before[2] = self.entries[place][2]
        self.entries[place][2] = -2

    def frames(self, layout):
        return [struct.pack("<8i", *self.buckets), b"".join(struct.pack(layout, *entry) for entry in self.entries)]


def mapped_view(file_name, element_size, default):
    """The three frames of a mapped array that shows its whole file."""
    return [file_name.encode(), struct.pack("<IIQ", 0, 0xFFFFFFFF, element_size),
            struct.pack("<QQ", 0, 2**64 - 1) + default.ljust(8, b"\0")]


def kinds():
    """One object of each kind, and the files that its mapped ones refer to."""
    files = {"kinds.mapped": pack("int", [1, 2]), "kinds.defaults": pack("double", [0.25, -1, 0.25]),
             "kinds.offsets": pack("int", [0, 2, 2, 3]), "kinds.values": pack("unsigned int", [1, 2, 3]),
             "kinds.column": pack("float", [0.5, 1.5])}
    sparse = HashTable()
    for index, value in [(5, 50), (1000000, -1), (7, 70)]:
        sparse.insert(index_hash(index), index, value)
    sparse.remove(index_hash(5), 0)
    keys = [b"pin", b"", b"a"]
    dictionary = HashTable()
    for place, value in enumerate([1.5, -2.0, 0.25]):
        dictionary.insert(text_hash(keys[place]), sum(len(key) + 1 for key in keys[:place]), value)
    dictionary.remove(text_hash(b""), 1)
    whole = struct.pack("<iIQ", 0, 0, 2**64 - 1)
    columns = [("id", "int", KIND_NUMBERS), ("links", "int", KIND_LISTS), ("column", "float", 0x1021, "kinds.column")]
    nodes = [  # name, type, kind, frames, text
        ("value", "int", KIND_VALUE, [pack("int", [-3])]),
        ("factor", "double", 0x1000, [pack("double", [2.5])], "0.5"),
        ("array", "short", 0x1, [pack("short", [1, -2, 3])]),
        ("defaults", "unsigned char", KIND_NUMBERS, [bytes([7, 0, 255])], "7"),
        ("sparse", "int", 0x3, sparse.frames("<3i") + [whole]),
        ("thin", "float", 0x1002, [b"", b"", whole], "1.5"),
        ("faint", "bool", 0x1003, [b"", b"", struct.pack("<iIQ", 10, 0, 5)], "1"),
        ("run", "long", 0x4, [pack("long", [1, 2])]),
        ("runs", "char", KIND_LISTS, [pack("int", [0, 2, 2, 5]), b"abxyz"]),
        ("mapped", "int", 0x21, mapped_view("kinds.mapped", 4, b""), "kinds.mapped"),
        ("mapped defaults", "double", 0x1021, mapped_view("kinds.defaults", 8, pack("double", [0.25])),
         "kinds.defaults"),
        ("mapped runs", "unsigned int", 0x40, [struct.pack("<Q", number) for number in (0, 4, 0, 3)], "kinds"),
        ("dictionary", "double", 0x200, dictionary.frames("<i4xdi4x") + [b"pin\0\0a\0"]),
        ("text", TEXT, KIND_TEXT, [b"some text"]),
        ("texts", TEXT, KIND_TEXTS, [pack("int", [0, 3, 3, 8]), b"onethree"]),
        ("searchable", TEXT, 0x4401, [struct.pack("<QQQ", 0, 2**64 - 1, 0), pack("int", [0, 1, 2, 3]), b"xyx"]),
    ]
    message = Message()
    message.node("kinds", UNTYPED, KIND_RECORD, len(nodes) + 2)
    for name, type_name, kind, frames, *text in nodes:
        message.node(name, type_name, kind, 0, *text)
        message.frames += frames
    message.node("record", UNTYPED, KIND_RECORD, 1)
    message.node("inner", "int", KIND_VALUE)
    message.node("frame", UNTYPED, 0x8, len(columns))
    for name, type_name, kind, *text in columns:
        message.node(name, type_name, kind, 0, *text)
    message.frames += [pack("int", [5]), struct.pack("<Q", 2), pack("int", [1, 2]), pack("int", [0, 1, 1]),
                       pack("int", [7])] + mapped_view("kinds.column", 4, b"")
    files["kinds.zydat"] = message.bytes()
    return files


POINT = [("id", "int", "7"), ("x", "float", "")]  # member, type, default value
STRUCTURED = [("object", "TestObjects::Point", 0x40000), ("objects", "TestObjects::Point", 0x40001),
              ("point", "TestObjects::Point", 0x40010), ("points", "TestObjects::Point", KIND_TABLE),
              ("bound", "TestObjects::Point", 0x41008), ("unbound", UNTYPED, 0x1008)]


def structures():
    """One object of each kind that a structure can have, and a table that could get a default."""
    message = Message()
    message.node("structures", UNTYPED, KIND_RECORD, len(STRUCTURED))
    for name, type_name, kind in STRUCTURED:
        fields = POINT if kind & (KIND_RECORD | 0x8) else []
        message.node(name, type_name, kind, len(fields))
        for field, field_type, default in fields:
            message.node(field, field_type, 0x1000 if kind & KIND_RECORD else KIND_NUMBERS, 0, default)
    message.frames += [struct.pack("<if", 1, 0.5), struct.pack("<ifif", 2, -1, 3, 1e30)]
    message.frames += [pack("int", [4]), pack("float", [0.25])]
    for rows in (2, 1, 0):
        message.frames += [struct.pack("<Q", rows), pack("int", range(5, 5 + rows)), pack("float", [0.125] * rows)]
    return message.bytes()


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--check", action="store_true")
    parser.add_argument("folder", type=pathlib.Path)
    arguments = parser.parse_args()
    files = {"db.zydat": database("db", SMALL), "full.zydat": database("full", FULL),
             "corvane2d.zydat": mesh(MESH), "structures.zydat": structures(), **kinds()}
    if hashlib.sha256(files["db.zydat"]).hexdigest() != SMALL_SHA256:
        sys.exit("the small example has not the documented SHA-256")
    for name, content in files.items():
        path = arguments.folder / name
        if not arguments.check:
            path.write_bytes(content)
        elif path.read_bytes() != content:
            sys.exit(f"{path} is not what this script writes")


if __name__ == "__main__":
    main()
