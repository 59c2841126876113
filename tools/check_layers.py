#!/usr/bin/env python3
"""Checks that includes point the allowed way, and a few rules about how files begin.

    tools/check_layers.py              check this repository
    tools/check_layers.py --root DIR   check another tree
    tools/check_layers.py --self-test  check the checker

docs/architecture.md explains the layers. A new file of the library needs a place in LAYERS below.
"""
import argparse
import pathlib
import re
import sys
import tempfile

# Folder, layer, file stems. A layer may include itself and every layer above it in this table, save for the exceptions
# below. `FooImpl` belongs to `Foo`.
LAYERS = [
    ("util", "util",
     "Error Assert Bytes HashBase USpan Platform PlatformInstance PlatformReplace Export"),
    ("zydata", "zydata core",
     "Kind TypeName GenericType GenericValue data DataPath Print SharedText Schema SchemaTable DataFactory "
     "TypeRegistry"),
    ("zydata", "zydata containers",
     "Storage MappedFile MMapStorage MMapRegion Vector VectorBase MemoryData Column Value Array MMapArray VarArray "
     "MMapVarArray String Dict SparseArray"),
    ("zydata", "zydata composites",
     "Composite ClassAccess ClassSchema Record Frame Factories BuiltinTypes LoadPlace"),
    ("mpsys", "mpsys",
     "Message Connection FileStream FileConnection FrameReceiver Failure IOVec"),
    ("zydata", "serializer",
     "serialize FileProbe"),
    ("facade", "facade",
     "DBInterface DBZydata DBRoot EntityTable LayoutProxies LayoutTables ConfigTable MeshProxies MeshRecord "
     "DatabaseFile ModelAccess RowFields Lookup PinTable MeshOperations Probe "
     "SafeSave"),
]
ORDER = [layer for _, layer, _ in LAYERS]
STEMS = {(folder, stem): layer for folder, layer, stems in LAYERS for stem in stems.split()}

MPSYS_MAY_INCLUDE = ("zydata/data.h", "zydata/MemoryData.h")  # of what lies between util and mpsys
MODEL_NAMES = "model/ModelTypes.h"  # declares the caller's types without a member: the whole facade may include it
MODEL_USERS = ("facade/ModelAccess.h", "facade/ModelAccess.cpp")  # nothing else in the library knows the types' members

LAYERED = ("util", "zydata", "mpsys", "facade", "model")
PROGRAMS = ("tools", "examples")  # see what is installed
OTHERS = ("tests", "bench")  # see everything
SYSTEM_USERS = re.compile(r"util/Platform\w*\.cpp")
PLAIN_C_HEADERS = ("errno.h", "cxxabi.h")
LIBRARIES = ("CGAL/", "CLI/", "nlohmann/", "unistd.h")  # for programs (is this a terminal?); tests and timed programs may include what they like

PRIVATE_HEADERS = re.compile(r"PRIVATE_HEADERS((?:\s+\w+\.h)+)")
INCLUDE = re.compile(r'\s*#\s*include\s*([<"])([^>"]+)[>"]')
# Comments say how things are. Papers and tickets that led there, and the writer's own disk, mean nothing to a reader.
NOT_FOR_READERS = re.compile(r"\b[Ss]pecificatio[n]\b|\b(?:spec|design|style)\.md\b|\bParts? \d+\.\d|\b[Ii]ssue #?\d"
                             r"|\b[Ss]tep [A-Z]\b|(?<![\w.>)\]}])/(?:home|root|work|Users)/")
TEXT_SUFFIXES = (".h", ".cpp", ".py", ".sh", ".cmake", ".txt", ".md", ".json", ".in")


class Checker:
    def __init__(self, root):
        self.root = root
        self.findings = []
        self.listings = {folder: self.read_if_there(f"{folder}/CMakeLists.txt") for folder in LAYERED}
        self.private_headers = {f"{folder}/{name}" for folder, listing in self.listings.items()
                                for names in PRIVATE_HEADERS.findall(listing) for name in names.split()}

    def read_if_there(self, path):
        return (self.root / path).read_text() if (self.root / path).exists() else ""

    def report(self, path, line, text):
        self.findings.append(f"{path}:{line}: {text}")

    def run(self):
        for path in self.files(LAYERED + PROGRAMS + OTHERS, (".h", ".cpp")):
            self.check_source(path)
        all_folders = LAYERED + PROGRAMS + OTHERS + ("cmake", "docs", "scripts", ".ci")
        for path in self.files(all_folders, TEXT_SUFFIXES) + self.top_files():
            self.check_words(path)
        return self.findings

    def files(self, folders, suffixes):
        found = [path for folder in folders for path in sorted((self.root / folder).rglob("*"))]
        return [path.relative_to(self.root).as_posix() for path in found if path.suffix in suffixes and path.is_file()]

    def top_files(self):
        return [path.name for path in sorted(self.root.glob("*")) if path.suffix in TEXT_SUFFIXES]

    def check_source(self, path):
        folder, name = path.split("/", 1)
        stem, suffix = pathlib.PurePath(name).stem, pathlib.PurePath(name).suffix
        lines = (self.root / path).read_text(encoding="utf-8").splitlines()
        layer = self.layer_of(path)
        if folder in LAYERED:
            self.check_listed(path, folder, name)
            if layer is None:
                self.report(path, 1, "this file has no layer yet: add its stem to LAYERS in tools/check_layers.py")
        if suffix == ".h" and "#pragma once" not in lines:
            self.report(path, 1, "a header without #pragma once")
        matches = [(number, INCLUDE.match(line)) for number, line in enumerate(lines, 1)]
        includes = [(number, match[1] == "<", match[2]) for number, match in matches if match]
        self.check_own_header_first(path, stem, suffix, includes)
        for number, angled, target in includes:
            if angled:
                self.check_system_header(path, folder, number, target)
            else:
                self.check_own_include(path, folder, layer, number, target)

    def check_listed(self, path, folder, name):
        if not re.search(rf"(?<![\w.]){re.escape(name)}(?![\w.])", self.listings[folder]):
            self.report(path, 1, f"not listed in {folder}/CMakeLists.txt")

    def check_own_header_first(self, path, stem, suffix, includes):
        own = str(pathlib.PurePosixPath(path).parent / f"{stem}.h")
        if suffix == ".cpp" and (self.root / own).exists() and (not includes or includes[0][1:] != (False, own)):
            self.report(path, includes[0][0] if includes else 1, f'"{own}" must be the first include')

    def check_system_header(self, path, folder, number, target):
        if folder in OTHERS or SYSTEM_USERS.fullmatch(path) or (folder in PROGRAMS and target.startswith(LIBRARIES)):
            return
        if target not in PLAIN_C_HEADERS and (target.endswith((".h", ".hpp")) or "/" in target):
            self.report(path, number, f"<{target}>: only util/Platform*.cpp may include a system header")

    def check_own_include(self, path, folder, layer, number, target):
        top = target.split("/", 1)[0]
        if top not in LAYERED + PROGRAMS + OTHERS or not (self.root / target).exists():
            self.report(path, number, f'"{target}": includes are written from the repository root')
        elif folder in PROGRAMS and target in self.private_headers:
            self.report(path, number, f'"{target}" is internal: programs include installed headers only')
        elif folder in LAYERED and layer is not None and not self.may_include(path, layer, target):
            self.report(path, number, f'{layer} may not include "{target}"')

    def layer_of(self, path):
        folder, name = path.split("/", 1)
        stem = pathlib.PurePath(name).stem
        return "model" if folder == "model" else STEMS.get((folder, stem.removesuffix("Impl")))

    def may_include(self, path, layer, target):
        other = self.layer_of(target) if target.startswith(LAYERED) else None
        if other == "model":
            return layer == "model" or path in MODEL_USERS or (layer == "facade" and target == MODEL_NAMES)
        if other is None or layer == "model":
            return False
        if layer == "mpsys" and other not in ("util", "mpsys"):
            return target in MPSYS_MAY_INCLUDE
        return ORDER.index(other) <= ORDER.index(layer)

    def check_words(self, path):
        if path == "tools/check_layers.py":
            return
        for number, line in enumerate((self.root / path).read_text(encoding="utf-8").splitlines(), 1):
            if match := NOT_FOR_READERS.search(line):
                self.report(path, number, f"'{match[0]}' means nothing to a reader of this repository")


# Path, content, and what must be reported (nothing for a clean file).
SELF_TEST = [
    ("util/CMakeLists.txt", "Error.h Error.cpp Platform.cpp Bytes.h Stray.h", None),
    ("zydata/CMakeLists.txt", "data.h data.cpp Schema.h Array.h serialize.h PRIVATE_HEADERS ArrayImpl.h", None),
    ("mpsys/CMakeLists.txt", "Message.h IOVec.h", None),
    ("facade/CMakeLists.txt", "DBInterface.h DBRoot.h ModelAccess.h", None),
    ("model/CMakeLists.txt", "ModelTypes.h EM2D.h", None),
    ("util/Error.h", "#pragma once\n#include <string>\n", None),
    ("util/Error.cpp", '#include "util/Error.h"\n\n#include <unistd.h>\n', "util/Error.cpp:3: <unistd.h>: only"),
    ("util/Platform.cpp", "#include <sys/mman.h>\n", None),
    ("util/Bytes.h", "#include <string>\n", "util/Bytes.h:1: a header without #pragma once"),
    ("util/Stray.h", "#pragma once\n", "util/Stray.h:1: this file has no layer yet"),
    ("util/Assert.h", "#pragma once\n", "util/Assert.h:1: not listed in util/CMakeLists.txt"),
    ("zydata/data.h", '#pragma once\n#include "util/Error.h"\n', None),
    ("zydata/data.cpp", '#include <string>\n#include "zydata/data.h"\n', '.cpp:1: "zydata/data.h" must be the first'),
    ("zydata/Schema.h", '#pragma once\n#include "zydata/Array.h"\n', 'h:2: zydata core may not include "zydata/A'),
    ("zydata/Array.h", '#pragma once\n#include "data.h"\n', 'Array.h:2: "data.h": includes are written from'),
    ("zydata/ArrayImpl.h", '#pragma once\n#include "zydata/Array.h"\n', None),
    ("zydata/serialize.h", '#pragma once\n#include "mpsys/Message.h"\n', None),
    ("mpsys/Message.h", '#pragma once\n#include "zydata/data.h"\n', None),
    ("mpsys/IOVec.h", '#pragma once\n#include "zydata/Schema.h"\n', 'IOVec.h:2: mpsys may not include "zydata/S'),
    ("facade/DBInterface.h", '#pragma once\n#include "model/ModelTypes.h"\n', None),
    ("facade/ModelAccess.h", '#pragma once\n#include "model/EM2D.h"\n', None),
    ("facade/DBRoot.h", '#pragma once\n#include "model/EM2D.h"\n', 'DBRoot.h:2: facade may not include "model/EM'),
    ("model/ModelTypes.h", '#pragma once\n#include "util/Error.h"\n', 'ModelTypes.h:2: model may not include "util/E'),
    ("model/EM2D.h", "#pragma once\n// ordinary work/home and a/b issue of a day\n", None),
    ("tools/corvane/main.cpp", '#include <CLI/CLI.hpp>\n#include "zydata/ArrayImpl.h"\n', 'ArrayImpl.h" is internal'),
    ("tests/ATest.cpp", '#include <sys/wait.h>\n// as issue 12 asks\n', "tests/ATest.cpp:2: 'issue 1' means nothing"),
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
