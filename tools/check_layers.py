#!/usr/bin/env python3
"""Checks that includes point the allowed way, and a few rules about how files begin.

    tools/check_layers.py              check this repository
    tools/check_layers.py --root DIR   check another tree
    tools/check_layers.py --self-test  check the checker

docs/architecture.md explains the layers. A file's folder says what it may include: itself and the folders before it in
FOLDERS. A new folder needs a line there; a new file needs none.
"""
import argparse
import pathlib
import re
import sys
import tempfile

FOLDERS = """
util
zydata/schema
zydata/object
zydata/storage
zydata/arrays
zydata/keyed
zydata/tables
mpsys
zydata/message
facade
tools/corvane/support
tools/corvane/board
tools/corvane/layout
tools/mesher
tools/corvane/picture
tools/corvane/verbs
tools/corvane
""".split()
ONLY = {"mpsys": ("util", "zydata/object", "mpsys")}  # where less than all folders before it will do
ENDS = ("tools/mesher",)  # nobody else includes these

MODEL_NAMES = "model/ModelTypes.h"  # declares the caller's types without a member: the whole facade may include it
MODEL_USERS = ("facade/ModelAccess.h", "facade/MeshAccess.h")  # nothing else in the library knows the types' members

OWN_MODEL = "examples/own_model/"  # an include root of its own; its ModelAccess.h is compiled with the library

LIBRARY = ("util", "zydata", "mpsys", "facade", "model")
PROGRAMS = ("tools", "examples")  # see what is installed
OTHERS = ("tests", "bench")  # see everything
SYSTEM_USERS = re.compile(r"util/Platform\w*\.cpp|tools/corvane/support/PendingFolder\.cpp")
PLAIN_C_HEADERS = ("errno.h", "cxxabi.h")
LIBRARIES = ("CGAL/", "CLI/", "nlohmann/", "unistd.h")  # for programs (is this a terminal?)

PRIVATE_HEADERS = re.compile(r"PRIVATE_HEADERS((?:\s+\w+\.h)+)")
INCLUDE = re.compile(r'\s*#\s*include\s*([<"])([^>"]+)[>"]')


def folder_of(path):
    return path.rsplit("/", 1)[0]


class Checker:
    def __init__(self, root):
        self.root = root
        self.findings = []
        self.listings = {folder_of(path): (root / path).read_text() for path in self.files(LIBRARY, (".txt",))}
        self.private_headers = {f"{folder}/{name}" for folder, listing in self.listings.items()
                                for names in PRIVATE_HEADERS.findall(listing) for name in names.split()}

    def report(self, path, line, text):
        self.findings.append(f"{path}:{line}: {text}")

    def run(self):
        for path in self.files(LIBRARY + PROGRAMS + OTHERS, (".h", ".cpp")):
            self.check_source(path)
        return self.findings

    def files(self, folders, suffixes):
        found = [path for folder in folders for path in sorted((self.root / folder).rglob("*"))]
        return [path.relative_to(self.root).as_posix() for path in found if path.suffix in suffixes and path.is_file()]

    def check_source(self, path):
        top, folder = path.split("/", 1)[0], folder_of(path)
        stem, suffix = pathlib.PurePath(path).stem, pathlib.PurePath(path).suffix
        lines = (self.root / path).read_text(encoding="utf-8").splitlines()
        if top in LIBRARY:
            self.check_listed(path, folder)
        if top in LIBRARY + ("tools",) and folder not in FOLDERS + ["model"]:
            self.report(path, 1, f"{folder} has no place yet: add it to FOLDERS in tools/check_layers.py")
        if suffix == ".h" and "#pragma once" not in lines:
            self.report(path, 1, "a header without #pragma once")
        matches = [(number, INCLUDE.match(line)) for number, line in enumerate(lines, 1)]
        includes = [(number, match[1] == "<", match[2]) for number, match in matches if match]
        self.check_own_header_first(path, stem, suffix, includes)
        for number, angled, target in includes:
            if angled:
                self.check_system_header(path, top, number, target)
            else:
                self.check_own_include(path, top, number, target)

    def check_listed(self, path, folder):
        name = pathlib.PurePath(path).name
        if not re.search(rf"(?<![\w.]){re.escape(name)}(?![\w.])", self.listings.get(folder, "")):
            self.report(path, 1, f"not listed in {folder}/CMakeLists.txt")

    def check_own_header_first(self, path, stem, suffix, includes):
        own = f"{folder_of(path)}/{stem}.h"
        if suffix == ".cpp" and (self.root / own).exists() and (not includes or includes[0][1:] != (False, own)):
            self.report(path, includes[0][0] if includes else 1, f'"{own}" must be the first include')

    def check_system_header(self, path, top, number, target):
        if top in OTHERS or SYSTEM_USERS.fullmatch(path) or (top in PROGRAMS and target.startswith(LIBRARIES)):
            return
        if target not in PLAIN_C_HEADERS and (target.endswith((".h", ".hpp")) or "/" in target):
            self.report(path, number, f"<{target}>: only util/Platform*.cpp may include a system header")

    def check_own_include(self, path, top, number, target):
        folder = folder_of(path)
        own_header = path.startswith(OWN_MODEL) and (self.root / OWN_MODEL / target).exists()
        if own_header or path == OWN_MODEL + "facade/ModelAccess.h":
            return
        if target.split("/", 1)[0] not in LIBRARY + PROGRAMS + OTHERS or not (self.root / target).exists():
            self.report(path, number, f'"{target}": includes are written from the repository root')
        elif top in PROGRAMS and target in self.private_headers:
            self.report(path, number, f'"{target}" is internal: programs include installed headers only')
        elif top in LIBRARY + ("tools",) and not self.may_include(path, folder, target):
            self.report(path, number, f'{folder} may not include "{target}"')

    def may_include(self, path, folder, target):
        other = folder_of(target)
        if other == "model":
            return folder == "model" or folder.startswith("tools") or path in MODEL_USERS or (
                folder == "facade" and target == MODEL_NAMES)
        if folder == "model" or folder not in FOLDERS or other not in FOLDERS:
            return False
        if other in ENDS and other != folder:
            return False
        return other in ONLY.get(folder, FOLDERS[:FOLDERS.index(folder) + 1])


# Path, content, and what must be reported (nothing for a clean file).
SELF_TEST = [
    ("util/CMakeLists.txt", "Error.h Error.cpp Platform.cpp Bytes.h", None),
    ("zydata/schema/CMakeLists.txt", "Schema.h", None),
    ("zydata/object/CMakeLists.txt", "data.h data.cpp", None),
    ("zydata/arrays/CMakeLists.txt", "Array.h PRIVATE_HEADERS ArrayImpl.h", None),
    ("zydata/message/CMakeLists.txt", "serialize.h", None),
    ("zydata/attic/CMakeLists.txt", "Stray.h", None),
    ("mpsys/CMakeLists.txt", "Message.h IOVec.h", None),
    ("facade/CMakeLists.txt", "DBInterface.h DBRoot.h ModelAccess.h", None),
    ("model/CMakeLists.txt", "ModelTypes.h EM2D.h", None),
    ("util/Error.h", "#pragma once\n#include <string>\n", None),
    ("util/Error.cpp", '#include "util/Error.h"\n\n#include <unistd.h>\n', "util/Error.cpp:3: <unistd.h>: only"),
    ("util/Platform.cpp", "#include <sys/mman.h>\n", None),
    ("util/Bytes.h", "#include <string>\n", "util/Bytes.h:1: a header without #pragma once"),
    ("util/Assert.h", "#pragma once\n", "util/Assert.h:1: not listed in util/CMakeLists.txt"),
    ("zydata/attic/Stray.h", "#pragma once\n", "Stray.h:1: zydata/attic has no place yet"),
    ("zydata/object/data.h", '#pragma once\n#include "util/Error.h"\n', None),
    ("zydata/object/data.cpp", '#include <string>\n#include "zydata/object/data.h"\n',
     '.cpp:1: "zydata/object/data.h" must be the first'),
    ("zydata/schema/Schema.h", '#pragma once\n#include "zydata/arrays/Array.h"\n',
     'h:2: zydata/schema may not include "zydata/arrays/A'),
    ("zydata/arrays/Array.h", '#pragma once\n#include "data.h"\n', 'Array.h:2: "data.h": includes are written from'),
    ("zydata/arrays/ArrayImpl.h", '#pragma once\n#include "zydata/arrays/Array.h"\n', None),
    ("zydata/message/serialize.h", '#pragma once\n#include "mpsys/Message.h"\n', None),
    ("mpsys/Message.h", '#pragma once\n#include "zydata/object/data.h"\n', None),
    ("mpsys/IOVec.h", '#pragma once\n#include "zydata/schema/Schema.h"\n', 'mpsys may not include "zydata/schema/S'),
    ("facade/DBInterface.h", '#pragma once\n#include "model/ModelTypes.h"\n', None),
    ("facade/ModelAccess.h", '#pragma once\n#include "model/EM2D.h"\n', None),
    ("facade/DBRoot.h", '#pragma once\n#include "model/EM2D.h"\n', 'DBRoot.h:2: facade may not include "model/EM'),
    ("model/ModelTypes.h", '#pragma once\n#include "util/Error.h"\n', 'ModelTypes.h:2: model may not include "util/E'),
    ("model/EM2D.h", "#pragma once\n", None),
    ("tools/corvane/main.cpp", '#include <CLI/CLI.hpp>\n#include "zydata/arrays/ArrayImpl.h"\n', 'Impl.h" is internal'),
    ("tools/mesher/Mesher.h", '#pragma once\n#include "tools/corvane/layout/Layout.h"\n', None),
    ("tools/corvane/layout/Layout.h", '#pragma once\n#include "tools/corvane/verbs/Info.h"\n',
     'tools/corvane/layout may not include "tools/corvane/verbs/Info.h"'),
    ("tools/corvane/verbs/Info.h", '#pragma once\n#include "tools/mesher/Mesher.h"\n',
     'tools/corvane/verbs may not include "tools/mesher/Mesher.h"'),
    ("tests/ATest.cpp", "#include <sys/wait.h>\n", None),
]


def self_test():
    with tempfile.TemporaryDirectory() as name:
        root = pathlib.Path(name)
        for path, content, _ in SELF_TEST:
            (root / path).parent.mkdir(parents=True, exist_ok=True)
            (root / path).write_text(content)
        findings = Checker(root).run()
    wanted = [text for _, _, text in SELF_TEST if text]
    missing = [text for text in wanted if not any(text in finding for finding in findings)]
    extra = [finding for finding in findings if not any(text in finding for text in wanted)]
    return [f"not reported: {text}" for text in missing] + [f"wrongly reported: {text}" for text in extra]


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--root", type=pathlib.Path, default=pathlib.Path(__file__).resolve().parent.parent)
    parser.add_argument("--self-test", action="store_true")
    arguments = parser.parse_args()
    findings = self_test() if arguments.self_test else Checker(arguments.root).run()
    print("\n".join(findings) if findings else "layers: nothing found")
    return 1 if findings else 0


if __name__ == "__main__":
    sys.exit(main())
