#!/usr/bin/env python3
# vesk postprocessor. Licensed under the Apache License, Version 2.0.
#
# Checks the host program's shape (cli/) against the rules it keeps:
#  - floors: a file includes from its own floor or the floors below it,
#    never from one above. Bottom to top: the loose helpers in cli/ itself
#    (parallel, clock, the library's output, the demo document), input/
#    (reading inputs into a Config), adjust/ (changing the Config's results
#    before the library prepares them), escape/, model/, history/,
#    output/, then app.{hpp,cpp} and main.cpp;
#  - no source file longer than 600 lines, and no function longer than 80,
#    unless the comment right above it says why ("... is long because ...");
#  - the tests mirror the sources: tests/cli/<folder>/<name>_test.cpp tests
#    cli/<folder>/<name>.{hpp,cpp}, but for the suites that run the whole
#    program, listed below.
#
#   host_shape_check.py REPO      check REPO's cli/ and tests/cli/
#   host_shape_check.py --self-test
#
# Prints one line per finding and exits 1 when there is any.
import os
import re
import sys
import tempfile

FLOORS = ["", "input", "adjust", "escape", "model", "history", "output"]
TOP = {"app.cpp", "app.hpp", "main.cpp"}
MAX_FILE_LINES = 600
MAX_FUNCTION_LINES = 80
WHOLE_PROGRAM_SUITES = {
    "app_report_test.cpp",        # the reports of whole runs
    "memory_soak_test.cpp",       # many runs in one process
    "baseline_app_test.cpp",      # --baseline through the program
    "baseline_sequence_test.cpp",  # a series of runs
    "importers_test.cpp",         # every importer through import_input
    "merge_similar_app_test.cpp",  # --merge-similar through the program
}
INCLUDE = re.compile(r'^#include "cli/([^"]+)"')


def floor_of(relative):
    """The floor of a path below cli/: its index in FLOORS, or len(FLOORS)
    for the program's own top files."""
    parts = relative.split("/")
    if len(parts) == 1:
        return len(FLOORS) if parts[0] in TOP else 0
    return FLOORS.index(parts[0]) if parts[0] in FLOORS else None


def functions(lines):
    """(start, length, signature) of each function defined at column 0."""
    found = []
    for end, line in enumerate(lines):
        if line != "}":
            continue
        start = end - 1
        while start >= 0 and not (lines[start] and lines[start][0] not in " /#}"):
            start -= 1
        if start < 0 or re.match(r"^(namespace|class|struct|enum|union|extern)\b",
                                 lines[start]):
            continue
        found.append((start, end - start + 1, lines[start]))
    return found


def says_why(lines, start):
    """Whether the comment right above line `start` (for the file, its
    opening comment) says why it is long."""
    comment = []
    if start == 0:
        i = 0
        while i < len(lines) and lines[i].startswith("//"):
            comment.append(lines[i])
            i += 1
    else:
        i = start - 1
        while i >= 0 and lines[i].startswith("//"):
            comment.append(lines[i])
            i -= 1
    return "is long because" in " ".join(comment)


def check(repo):
    findings = []
    cli = os.path.join(repo, "cli")
    for folder, _, names in os.walk(cli):
        for name in sorted(names):
            if not name.endswith((".cpp", ".hpp")):
                continue
            path = os.path.join(folder, name)
            relative = os.path.relpath(path, cli)
            floor = floor_of(relative)
            if floor is None:
                findings.append(f"cli/{relative}: in a folder that is no floor")
                continue
            lines = open(path, encoding="utf-8").read().split("\n")
            for number, line in enumerate(lines, 1):
                match = INCLUDE.match(line)
                if not match:
                    continue
                target = floor_of(match.group(1))
                if target is None or target > floor:
                    findings.append(f"cli/{relative}:{number}: includes "
                                    f"cli/{match.group(1)} from a floor above")
            if len(lines) - 1 > MAX_FILE_LINES and not says_why(lines, 0):
                findings.append(f"cli/{relative}: {len(lines) - 1} lines")
            for start, length, signature in functions(lines):
                if length > MAX_FUNCTION_LINES and not says_why(lines, start):
                    findings.append(f"cli/{relative}:{start + 1}: a function of "
                                    f"{length} lines: {signature.strip()}")
    tests = os.path.join(repo, "tests", "cli")
    for folder, _, names in os.walk(tests):
        for name in sorted(names):
            if not name.endswith("_test.cpp") or name in WHOLE_PROGRAM_SUITES:
                continue
            relative = os.path.relpath(os.path.join(folder, name), tests)
            base = relative[: -len("_test.cpp")]
            if not any(os.path.exists(os.path.join(cli, base + ending))
                       for ending in (".cpp", ".hpp")):
                findings.append(f"tests/cli/{relative}: tests no cli/{base}")
    return findings


def self_test():
    """A small tree with one case of each finding, and one without."""
    with tempfile.TemporaryDirectory() as repo:
        def write(relative, text):
            path = os.path.join(repo, relative)
            os.makedirs(os.path.dirname(path), exist_ok=True)
            with open(path, "w", encoding="utf-8") as out:
                out.write(text)
        long_body = "void f() {\n" + "  x();\n" * 85 + "}\n"
        write("cli/model/m.cpp", '#include "cli/output/w.hpp"\n' + long_body)
        write("cli/output/w.hpp", '#include "cli/model/m.hpp"\n')
        # Long, and saying why: no finding.
        write("cli/history/h.cpp", "// This file is long because it must "
              "be.\n// f is long because it must be.\n" + long_body
              + "int x;\n" * 600)
        write("cli/output/big.cpp", "int x;\n" * 601)
        write("cli/input/i.cpp", '#include "cli/app.hpp"\n')
        write("cli/app.cpp", '#include "cli/output/w.hpp"\n')
        write("cli/stray/s.cpp", "\n")
        write("tests/cli/output/w_test.cpp", "\n")
        write("tests/cli/output/gone_test.cpp", "\n")
        got = check(repo)
    want = [
        "cli/output/big.cpp: 601 lines",
        "cli/input/i.cpp:1: includes cli/app.hpp from a floor above",
        "cli/model/m.cpp:1: includes cli/output/w.hpp from a floor above",
        "cli/model/m.cpp:2: a function of 87 lines: void f() {",
        "cli/stray/s.cpp: in a folder that is no floor",
        "tests/cli/output/gone_test.cpp: tests no cli/output/gone",
    ]
    if sorted(got) != sorted(want):
        print("self-test: expected", *sorted(want), "found", *sorted(got),
              sep="\n  ")
        return 1
    print("self-test: every finding found")
    return 0


if __name__ == "__main__":
    if sys.argv[1:] == ["--self-test"]:
        sys.exit(self_test())
    if len(sys.argv) != 2:
        sys.exit("usage: host_shape_check.py REPO | --self-test")
    problems = check(sys.argv[1])
    for line in problems:
        print(line)
    print(f"host shape: {len(problems)} finding(s)")
    sys.exit(1 if problems else 0)
