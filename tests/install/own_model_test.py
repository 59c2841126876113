#!/usr/bin/env python3
"""Builds examples/own_model, a program with object types of its own that takes the library in as a subproject.

Checked: the library alone is built; it installs nothing unless it is asked to, and then the headers that are used; it has
a name of its own; as a static library it serves the program and a project that finds the package; what a ModelAccess.h
lacks is named in a sentence.
"""
import pathlib
import subprocess
import tempfile

from install_test import arguments_of, build_consumer, check, check_soname, run

# What is taken out of the ModelAccess.h, or put in its place, and the sentence that must come.
GAPS = [
    ("make_layer(", "build_layer(", "std::unique_ptr<EM2DLayer> make_layer(const EM2DLayerProxy&)"),
    ("unique_ptr<Board::Slot> make_poly_via", "unique_ptr<Board::Hole> make_poly_via", "unique_ptr<EM2DPolyVia> make_poly"),
    ("EM2DTraceProxy row_of(", "EM2DTraceProxy line_of(", "EM2DTraceProxy row_of(const EM2DTrace&)"),
    ("visit_pins(", "look_at_pins(", "visit_pins(const EM2DCircuit&"),
    ('#include "facade/MeshAccess.h"', '#include "model/SImesh2D.h"', "in rows of MeshEdgeProxy: list(mesh"),
    ('#include "facade/MeshAccess.h"', '#include "model/SImesh2D.h"', "add_via(SImesh2D&, const MeshViaProxy&)"),
    ("wants_shapes(", "takes_shapes(", "bool wants_shapes(const MeshReadInterface&)"),
    ('other<"mode", int>(), ', "", "must have the setting 'mode', which yields and takes exactly one int"),
    ('other<"mode", int>(), ', 'other<"modes", int>(), ', "must have the setting 'mode',"),
    ('other<"mesheps", double>()', 'other<"mesheps", int>()', "must have the setting 'mesheps',"),
    ('other<"casefile", std::string>()', 'other<"casefile", int>()', "must have the setting 'casefile',"),
    ("constexpr auto settings(Settings)", "constexpr auto all(Settings)", "constexpr auto settings(Settings), a tuple"),
    ("std::make_tuple(", 'std::make_tuple(other<"own", int>(), ', "has a setting that no database keeps"),
]


def check_gaps(arguments, source, folder):
    example = source / "examples/own_model"
    good = (example / "facade/ModelAccess.h").read_text()
    (folder / "facade").mkdir()
    for old, new, sentence in GAPS:
        check(good.count(old) > 0, f"the example has no {old}")
        (folder / "facade/ModelAccess.h").write_text(good.replace(old, new))
        command = [arguments.compiler, "-std=c++20", "-fsyntax-only", f"-I{folder}", f"-I{example}", f"-I{source}",
                   "-x", "c++", str(source / "facade/Model.h")]
        found = subprocess.run(command, text=True, stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
        check(found.returncode != 0 and sentence in found.stdout, f"not said: {sentence}\n{found.stdout}")


def build_and_run(arguments, source, build, folder, *options):
    run(arguments.cmake, "-S", source / "examples/own_model", "-B", build, "-G", arguments.generator,
        f"-DCMAKE_CXX_COMPILER={arguments.compiler}", "-DCMAKE_BUILD_TYPE=Debug", "-DCMAKE_CXX_FLAGS_DEBUG=-O0", *options)
    run(arguments.cmake, "--build", build, "--parallel", "2")
    run(build / "board", cwd=folder)


def install(arguments, build, prefix):
    run(arguments.cmake, "--install", build, "--prefix", prefix)
    return {path.relative_to(prefix).as_posix() for path in prefix.rglob("*") if path.is_file()}


def main():
    arguments = arguments_of()
    source = pathlib.Path(arguments.source)
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name).resolve()
        build = folder / "build"
        check_gaps(arguments, source, folder)
        build_and_run(arguments, source, build, folder)
        files = install(arguments, build, folder / "program")
        check(files == {"bin/board"}, f"a subproject installs {files}")

        build_and_run(arguments, source, build, folder, "-DCORVANE_INSTALL=ON")
        files = install(arguments, build, folder / "shared")
        models = {path for path in files if "/model/" in path}
        check(models == {f"include/corvane/model/{name}.h" for name in ("Board", "ModelTypes", "SImesh2D")}, f"{models}")
        check("bin/corvane" not in files and "bin/corvane-mesh" not in files, "programs for another model are built")
        check_soname(arguments, next((folder / "shared").glob("lib*/**/libcorvane-board.so")))

        build_and_run(arguments, source, build, folder, "-DCORVANE_INSTALL=ON", "-DBUILD_SHARED_LIBS=OFF")
        files = install(arguments, build, folder / "static")
        check([path for path in files if path.endswith("libcorvane-board.a")] != [], f"no archive in {files}")
        check([path for path in files if ".so" in path] == [], f"a shared library in {files}")
        build_consumer(arguments, folder / "static", folder / "consumer",
                       f"-DPROGRAMS={source}/examples/own_model/main.cpp")
        run(folder / "consumer" / "main", cwd=folder)
        check("libcorvane" not in run("ldd", folder / "consumer" / "main"), "the consumer is not linked statically")
    print("built, installed and used")


if __name__ == "__main__":
    main()
