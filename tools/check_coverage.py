#!/usr/bin/env python3
"""Judges line counts of the library:  tools/check_coverage.py COVERAGE.json   (gcovr --json; scripts/coverage.sh makes it)

Fails when fewer than 95 % of the lines ran, when a line of the load path did not, or when an error text was never thrown.
A line of a template counts as run when any of its instances ran it.
"""
import json
import pathlib
import re
import sys

LEAST_PERCENT = 95

# What runs between the first byte of a file and the caller's objects.
LOAD_PATH = """
mpsys/Connection.cpp mpsys/FileConnection.cpp mpsys/FileStream.cpp mpsys/FrameReceiver.cpp mpsys/IOVec.cpp
mpsys/Message.cpp
zydata/arrays/Array.cpp zydata/tables/Composite.cpp zydata/object/DataPath.cpp zydata/tables/Factories.cpp zydata/tables/Factories.h zydata/message/FileProbe.cpp
zydata/tables/LoadPlace.cpp zydata/arrays/MMapArrayImpl.h zydata/arrays/MMapVarArray.cpp zydata/arrays/MMapVarArrayImpl.h zydata/object/MemoryData.cpp
zydata/tables/Record.cpp zydata/arrays/String.cpp zydata/schema/TypeRegistry.cpp zydata/object/Value.h zydata/arrays/VarArray.cpp zydata/storage/Vector.cpp
zydata/message/serialize.cpp
facade/ConfigTable.cpp facade/DBRoot.cpp facade/DBZydata.cpp facade/DatabaseFile.cpp facade/LayoutTables.cpp
facade/Lookup.cpp facade/Lookup.h facade/MeshOperations.cpp facade/MeshRecord.cpp facade/RowFields.h
""".split()

# Error texts that no test throws, each with the reason.
NOT_REACHED = {
    "can't hold more entries": "needs 2^31 entries",
    "can't hold more than %d rows": "needs 2^31 pins",
    "the schema has too many nodes": "needs 2^32 nodes, which are more than 64 MiB of texts",
    "a text of %zu bytes is too long to be stored": "needs a default value of 4 GiB",
}
THROW = re.compile(r"\bthrow (Util::)?Error\(|\bthrow_\w+\(")


def line_counts(file):
    counts = {}
    for line in file["lines"]:
        if not line.get("gcovr/noncode"):
            counts[line["line_number"]] = max(counts.get(line["line_number"], 0), line["count"])
    return counts


def main():
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    files = {file["file"]: line_counts(file) for file in json.loads(pathlib.Path(sys.argv[1]).read_text())["files"]}
    faults = [f"{name}: no counts; is it on the load path still?" for name in LOAD_PATH if name not in files]
    texts = 0
    for name, counts in sorted(files.items()):
        source = pathlib.Path(name).read_text().splitlines()
        missed = sorted(number for number, count in counts.items() if count == 0)
        percent = 100 * (1 - len(missed) / max(len(counts), 1))
        print(f"{name:40}{len(counts):6} lines {percent:5.1f} %  {' '.join(map(str, missed))}")
        if missed and name in LOAD_PATH:
            faults.append(f"{name}: on the load path, not run: lines {' '.join(map(str, missed))}")
        for number, count in counts.items():
            statement = " ".join(source[number - 1:number + 2])
            if not THROW.search(source[number - 1]) or source[number - 1].startswith(("void", "[[noreturn]]")):
                continue
            texts += 1
            if count == 0 and not any(text in statement for text in NOT_REACHED):
                faults.append(f"{name}:{number}: never thrown: {source[number - 1].strip()}")
    lines = sum(map(len, files.values()))
    run = sum(count > 0 for counts in files.values() for count in counts.values())
    print(f"{lines} lines, {100 * run / lines:.2f} % run; {texts} places that throw")
    if 100 * run / lines < LEAST_PERCENT:
        faults.append(f"fewer than {LEAST_PERCENT} % of the lines ran")
    for fault in faults:
        print(fault, file=sys.stderr)
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
