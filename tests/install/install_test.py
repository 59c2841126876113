#!/usr/bin/env python3
"""Installs the built library into an empty folder, moves that folder, and uses it as a stranger would.

Checked: a small project finds the package, builds and runs; every installed header compiles; the tool runs; the library
has its versioned name, needs nothing but the standard library, and shows nothing but what is marked for export.
"""
import argparse
import pathlib
import re
import subprocess
import sys
import tempfile

NEEDED = re.compile(r"(libstdc\+\+|libm|libgcc_s|libc|ld-linux-[\w-]+)\.so\.\d+")
# A mangled name: what kind of entity (tables, type information, thunks, guards, local statics), then its outermost
# namespace. `St` and its kin are std: template instantiations that the linker merges with the user's own.
ENTITY = r"_Z(?:G[VR]|Z|T[VTISC]|T[hv]n?\d+_(?:n?\d+_)?)*(?:N[VKRO]*)?"
NAMESPACES = "(?:4Util|6ZyData|5MPSys|10Mesh2DPlat)"
OURS = re.compile(ENTITY + NAMESPACES)
STANDARD = re.compile(ENTITY + "(?:S[tabsiod]|9__gnu_cxx)")
HIDDEN = re.compile(ENTITY + f"(?:4Util(?:8Platform|8platform|8IoBuffer)|{NAMESPACES}12_GLOBAL__N_)")
DECLARED = re.compile(r"^\s*(?:struct|class|enum(?: class)?) +(?:CORVANE_API +)?(\w+)\b(?! *;)", re.M)
PROMISED = ("4Util5Error", "10Mesh2DPlat8DBZydata", "10Mesh2DPlat11DBInterface", "6ZyData7DataObj")


def run(*command, cwd=None):
    """What a command prints. One that fails ends the test, with its own last words at the end of the output."""
    words = [str(part) for part in command]
    print("+", *words, flush=True)
    result = subprocess.run(words, text=True, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, cwd=cwd)
    if result.returncode != 0:
        sys.exit(f"exit status {result.returncode}: {' '.join(words)}\n{result.stdout}")
    return result.stdout


def check(condition, text):
    if not condition:
        sys.exit(f"install test: {text}")


def arguments_of(*names, options=()):
    parser = argparse.ArgumentParser()
    for name in ("source", "cmake", "generator", "compiler", "readelf", "soname") + names:
        parser.add_argument(f"--{name}", required=True)
    parser.add_argument("--flags", default="", help="compiler flags that the library was built with")
    for name in options:
        parser.add_argument(f"--{name}", action="store_true")
    return parser.parse_args()


def build_consumer(arguments, prefix, build, *options):
    run(arguments.cmake, "-S", pathlib.Path(__file__).parent / "consumer", "-B", build, "-G", arguments.generator,
        f"-DCMAKE_PREFIX_PATH={prefix}", f"-DCMAKE_CXX_COMPILER={arguments.compiler}",
        f"-DCMAKE_CXX_FLAGS={arguments.flags}", "-DCMAKE_BUILD_TYPE=Release", *options)
    run(arguments.cmake, "--build", build)


def check_soname(arguments, library):
    dynamic = run(arguments.readelf, "-d", library)
    check(f"Library soname: [{arguments.soname}]" in dynamic, f"the soname is not {arguments.soname}")
    return dynamic


def install_and_move(arguments, folder):
    staged, moved = folder / "staged", folder / "moved here"
    run(arguments.cmake, "--install", arguments.build, "--prefix", staged)
    staged.rename(moved)
    return moved


def check_headers(prefix):
    names = {str(path.relative_to(prefix)) for path in prefix.glob("include/**/*") if path.is_file()}
    for name in ("facade/DBZydata.h", "facade/DBInterface.h", "model/EM2D.h", "zydata/object/data.h", "util/Error.h"):
        check(f"include/corvane/{name}" in names, f"{name} is not installed")
    check(not any("Platform" in name for name in names), "the platform layer's header is installed")
    check(not list(prefix.rglob("*.a")), "an archive is installed")


def private_types(prefix, sources):
    """Names of types that only headers declare which are not installed."""
    include = prefix / "include" / "corvane"
    installed = "\n".join(path.read_text() for path in include.rglob("*.h"))
    headers = [path for folder in ("util", "zydata", "mpsys", "facade") for path in (sources / folder).rglob("*.h")]
    private = [path for path in headers if not (include / path.relative_to(sources)).exists()]
    names = {name for path in private for name in DECLARED.findall(path.read_text())}
    return sorted(name for name in names if not re.search(rf"\b{name}\b", installed))


def build_and_run_consumer(arguments, prefix, folder):
    build = folder / "consumer"
    include = prefix / "include" / "corvane"
    headers = sorted(path.relative_to(include).as_posix() for path in include.rglob("*.h"))
    every_header = folder / "every_header.cpp"
    every_header.write_text("".join(f'#include "{header}"\n' for header in headers))
    examples = pathlib.Path(arguments.source) / "examples"
    build_consumer(arguments, prefix, build, f"-DALL_HEADERS={every_header}",
                   f"-DPROGRAMS={examples}/quickstart.cpp;{examples}/own_data.cpp")
    libraries = run("ldd", build / "own_data")
    check(str(prefix) in libraries, f"the consumer does not use the moved library:\n{libraries}")
    for program, words in (("quickstart", "T1 ends at x = 2.5"), ("own_data", "up to 70.25 degrees")):
        check(words in run(build / program, cwd=folder), f"{program} does not say: {words}")


def check_library(arguments, library, private):
    dynamic = check_soname(arguments, library)
    if arguments.instrumented:
        return
    others = [name for name in re.findall(r"Shared library: \[(.*)\]", dynamic) if not NEEDED.fullmatch(name)]
    check(not others, f"the library needs more than the standard library: {others}")
    names = [line.split()[-1] for line in run(arguments.nm, "-D", "--defined-only", library).splitlines()]
    foreign = [name for name in names if not OURS.match(name) and not STANDARD.match(name)]
    check(not foreign, "exported, but in none of our namespaces:\n  " + "\n  ".join(foreign))
    internal = [name for name in names if HIDDEN.match(name)]
    check(not internal, "internals are exported:\n  " + "\n  ".join(internal))
    mangled = [f"{len(name)}{name}" for name in private]
    check(len(mangled) > 20, f"of the private headers' types only these are known: {private}")
    rows = [name for name in names if any(part in name for part in mangled)]
    check(not rows, "of types of private headers is exported:\n  " + "\n  ".join(rows))
    for promised in PROMISED:
        check(any(promised in name for name in names), f"nothing of {promised} is exported")
    print(f"{len(names)} symbols exported")


def main():
    arguments = arguments_of("build", "nm", options=("instrumented", "with-tool"))
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name).resolve()
        prefix = install_and_move(arguments, folder)
        check_headers(prefix)
        library = next(prefix.glob("lib*/**/libcorvane.so"), None)
        check(library is not None, "libcorvane.so is not installed")
        check_library(arguments, library, private_types(prefix, pathlib.Path(__file__).resolve().parents[2]))
        build_and_run_consumer(arguments, prefix, folder)
        if arguments.with_tool:
            run(prefix / "bin" / "corvane", "info", folder / "boards" / "demo.zydat")
    print("installed, moved and used")


if __name__ == "__main__":
    main()
