#!/usr/bin/env python3
"""Shows that every check on the load path matters: takes one away at a time and runs the tests until one fails.

    tools/remove_checks.py [--list] [--jobs N] [NUMBER...]

In a copy of the sources in build/checks every check gets a number: an `if` that leads to a throw, to the answer false or
around a throw, a call of a function named check_... as a statement of its own, and each operand of a condition that is
put together with && or ||, be it that of such an `if`, a result or what a variable gets. An environment variable
switches one of them off, so one build does for all. Checks whose loss no test notices are tried again under AddressSanitizer and
UBSan; the exit status is 1 when some are left. A hang counts as a failure. Takes about an hour on two cores.
"""
import argparse
import concurrent.futures
import os
import pathlib
import re
import shutil
import subprocess
import sys
import time

from check_coverage import LOAD_PATH

ROOT = pathlib.Path(__file__).resolve().parent.parent
WORK = ROOT / "build" / "checks"
FILES = LOAD_PATH + """zydata/arrays/ArrayImpl.h zydata/arrays/VarArrayImpl.h zydata/arrays/VarArray.h zydata/keyed/Dict.h zydata/keyed/DictImpl.h
zydata/keyed/SparseArrayImpl.h zydata/schema/SchemaTable.cpp zydata/schema/Schema.cpp zydata/tables/ClassSchema.cpp zydata/tables/Frame.cpp util/Bytes.h
util/Bytes.cpp util/HashBase.h facade/PinTable.cpp facade/Probe.cpp""".split()
# Checks against more entries than memory holds: counted, not tried.
TOO_LARGE = re.compile(r"kMostFrames|size\(\).*numeric_limits<")
SWITCH = """#pragma once
#include <cstdlib>
inline bool corvane_check_removed(int number) {
  static const int removed = [] {
    const char* text = std::getenv("CORVANE_REMOVED_CHECK");
    return text == nullptr ? -1 : std::atoi(text);
  }();
  return number == removed;
}
"""
LITERAL = re.compile(r'//[^\n]*|/\*.*?\*/|"(?:\\.|[^"\\\n])*"|(?<![0-9a-fA-F])\'(?:\\.|[^\'\\\n])+\'', re.S)
IF = re.compile(r"\bif\s*\(")
LEADS_TO = re.compile(r"\s*(?:\{\s*)?(?:throw\b|throw_\w+\(|return (?:false|fault\())")
LEADS_AROUND = re.compile(r"\s*return\b[^;{}]*;\s*(?:throw\b|throw_\w+\()")
DECLARES = re.compile(r"\s*(?:const )?auto\b")
RESULT = re.compile(r"\breturn\b(?=\s)|(?<!\bconcept) \w+ =(?=\s)|[\])] =(?=\s)")
CALL = re.compile(r"(?:(?:\w+(?:\(\))?(?:\.|->|::))*)check_\w+\(")


def without_literals(text):
    return LITERAL.sub(lambda match: re.sub(r"[^\n]", " ", match.group()), text)


def closing(text, start):
    """The place of the parenthesis that closes the one at `start`."""
    depth = 0
    for place in range(start, len(text)):
        depth += {"(": 1, ")": -1}.get(text[place], 0)
        if depth == 0:
            return place
    raise ValueError("unbalanced parentheses")


def outermost(plain, start, end, words):
    """The places of any of `words` between `start` and `end`, not counting those in parentheses."""
    depth, found = 0, []
    for place in range(start, end):
        depth += {"(": 1, "[": 1, "{": 1, ")": -1, "]": -1, "}": -1}.get(plain[place], 0)
        if depth < 0:
            return found
        if depth == 0 and plain.startswith(words, place, end):
            found.append(place)
    return found


def find_operands(text, plain, start, end):
    """Insertions that let one operand of the condition in text[start:end] do nothing, and those within operands."""
    start, end = end - len(text[start:end].lstrip()), start + len(text[start:end].rstrip())
    if plain[start] == "(" and closing(plain, start) == end - 1:
        yield from find_operands(text, plain, start + 1, end - 1)
        return
    choices = [place for place in outermost(plain, start, end, ("?", ":")) if "::" not in plain[place - 1:place + 2]]
    if choices:
        for first, last in zip([start] + [place + 1 for place in choices], choices + [end]):
            yield from find_operands(text, plain, first, last)
        return
    for operator, replacement in (("||", ") && !corvane_check_removed({}))"), ("&&", ") || corvane_check_removed({}))")):
        places = outermost(plain, start, end, (operator,))
        for first, last in zip([start] + [place + 2 for place in places], places + [end]) if places else ():
            first, last = last - len(text[first:last].lstrip()), first + len(text[first:last].rstrip())
            yield first, "((", first, last, replacement, last
            yield from find_operands(text, plain, first, last)
        if places:
            return


def find_checks(text):
    """Insertions (place, text before, end, text after) in `text`, with {} for a number."""
    plain = without_literals(text)
    for match in RESULT.finditer(plain):
        ends = outermost(plain, match.end(), len(plain), (";",))
        if ends:
            yield from find_operands(text, plain, match.end(), ends[0])
    for match in IF.finditer(plain):
        start, end = match.end() - 1, closing(plain, match.end() - 1)
        if ";" in plain[start:end] or DECLARES.match(plain, start + 1):
            continue
        if LEADS_TO.match(plain, end + 1) or LEADS_AROUND.match(plain, end + 1):
            yield from find_operands(text, plain, start + 1, end)
        if LEADS_TO.match(plain, end + 1):
            yield start, "((", start + 1, end, ") && !corvane_check_removed({}))", end + 1
        elif LEADS_AROUND.match(plain, end + 1):
            yield start, "((", start + 1, end, ") || corvane_check_removed({}))", end + 1
    for match in CALL.finditer(plain):
        end = closing(plain, match.end() - 1)
        if plain[:match.start()].rstrip()[-1:] in set(";{})") and plain[end + 1:end + 2] == ";":
            yield match.start(), "if (!corvane_check_removed({})) ", match.start(), end + 1, "", end + 1


def number_checks():
    """Writes the copy of the sources. Answers with the checks: file, line, text."""
    source = WORK / "source"
    shutil.rmtree(source, ignore_errors=True)
    listed = subprocess.run(["git", "ls-files", "-z"], cwd=ROOT, check=True, capture_output=True, text=True).stdout
    for name in filter(None, listed.split("\0")):
        (source / name).parent.mkdir(parents=True, exist_ok=True)
        shutil.copy2(ROOT / name, source / name)
    (source / "removed_checks.h").write_text(SWITCH)
    checks = []
    for name in FILES:
        text = (ROOT / name).read_text()
        edits = []
        for start, before, inner, end, after, rest in sorted(find_checks(text)):
            number = len(checks)
            checks.append((name, text.count("\n", 0, start) + 1, " ".join(text[start:rest].split())))
            edits += [(start, inner, before.format(number)), (end, rest, after.format(number))]
        for start, end, replacement in sorted(edits, reverse=True):
            text = text[:start] + replacement + text[end:]
        (source / name).write_text(text)
    return checks


def build(sanitized):
    folder = WORK / ("sanitized" if sanitized else "plain")
    flags = f"-O1 -D_GLIBCXX_ASSERTIONS -include {WORK}/source/removed_checks.h" + ("" if sanitized else " -DNDEBUG")
    options = {"CMAKE_BUILD_TYPE": "Debug", "CMAKE_CXX_FLAGS": flags, "CMAKE_CXX_FLAGS_DEBUG": "-g1",
               "CORVANE_BUILD_TOOLS": "OFF", "CORVANE_BUILD_EXAMPLES": "OFF", "CORVANE_BUILD_BENCHMARKS": "OFF",
               "CORVANE_SANITIZE": "address,undefined" if sanitized else ""}
    settings = [f"-D{name}={value}" for name, value in options.items()]
    subprocess.run(["cmake", "-G", "Ninja", "-S", WORK / "source", "-B", folder, *settings], check=True)
    subprocess.run(["cmake", "--build", folder], check=True)
    return sorted(folder.glob("bin/*_test")) + sorted(folder.glob("bin/*_fuzz"))


def passes(program, number, seconds):
    environment = dict(os.environ, CORVANE_REMOVED_CHECK=str(number), GTEST_BRIEF="1", GTEST_FAIL_FAST="1",
                       ASAN_OPTIONS="allocator_may_return_null=1:detect_stack_use_after_return=0")
    command = [program]
    if program.name.endswith("_fuzz"):
        command.append(ROOT / "tests/fuzz/corpus" / program.name.removesuffix("_fuzz"))
    try:
        return subprocess.run(command, env=environment, timeout=seconds, cwd=program.parent, stdin=subprocess.DEVNULL,
                              stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL).returncode == 0
    except subprocess.TimeoutExpired:
        return False


def survivors(numbers, sanitized, jobs):
    programs = build(sanitized)
    times = {}
    for program in programs:
        start = time.monotonic()
        if not passes(program, -1, 600):
            sys.exit(f"{program.name} fails with all checks in their places")
        times[program] = time.monotonic() - start
    programs.sort(key=times.get)
    def survives(number):
        left = all(passes(program, number, 20 + 10 * times[program]) for program in programs)
        print(f"check {number}: {'NOT NOTICED' if left else 'noticed'}", flush=True)
        return left
    with concurrent.futures.ThreadPoolExecutor(jobs) as pool:
        return [number for number, left in zip(numbers, pool.map(survives, numbers)) if left]


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--list", action="store_true", help="only list the checks")
    parser.add_argument("--jobs", type=int, default=os.cpu_count())
    parser.add_argument("numbers", nargs="*", type=int)
    arguments = parser.parse_args()
    checks = number_checks()
    if arguments.list:
        for number, (name, line, text) in enumerate(checks):
            print(f"{number:4} {name}:{line}: {text}")
        return 0
    too_large = [number for number, (_, _, text) in enumerate(checks) if TOO_LARGE.search(text)]
    numbers = arguments.numbers or [number for number in range(len(checks)) if number not in too_large]
    left = survivors(numbers, False, arguments.jobs)
    if left:
        left = survivors(left, True, arguments.jobs)
    for number in left:
        print("{}:{}: no test notices its loss: {}".format(*checks[number]))
    print(f"{len(checks)} checks in {len(FILES)} files; {len(too_large)} want 2^31 entries and were not tried; "
          f"{len(left)} of {len(numbers)} that no test notices")
    return 1 if left else 0


if __name__ == "__main__":
    sys.exit(main())
