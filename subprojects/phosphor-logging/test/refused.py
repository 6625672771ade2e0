#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""What lg2 must refuse to compile, and close neighbours that it must take.

usage: refused.py BUILD_ROOT SOURCE

Each case is compiled with the command that BUILD_ROOT's compilation database
has for SOURCE. A refusal counts only with the text that belongs to its rule.
"""

import json
import os
import shlex
import subprocess
import sys
import tempfile

NAME = "non-constexpr function"
LITERAL = "Found header_str as value"
FLAG = "Prohibited flag found for value type."
CONFLICT = "Conflicting flags found for value type."
TYPE = "Unsupported type for logging value."
NO_NAME = "Found value without expected header field."
NO_VALUE = "Found header field without expected data."

# Statement and the text of its refusal; None where it has to compile.
CASES = [
    ('lg2::error("m", "A1_B", number);', None),
    ('lg2::error("m", "X", number);', None),
    ('lg2::error("m", "1A", number);', None),
    ('lg2::error("m", "", number);', NAME),
    ('lg2::error("m", "_A", number);', NAME),
    ('lg2::error("m", "a", number);', NAME),
    ('lg2::error("m", "A B", number);', NAME),
    ('lg2::error("m", "A-B", number);', NAME),
    ('lg2::error("m", "MESSAGE", number);', NAME),
    ('lg2::error("m", "PRIORITY", number);', NAME),
    ('lg2::error("m", "CODE_FILE", number);', NAME),
    ('lg2::error("m", "CODE_LINE", number);', NAME),
    ('lg2::error("m", "CODE_FUNC", number);', NAME),
    ('lg2::error("m", "LOG2_FMTMSG", number);', NAME),
    ('lg2::error("m", "MESSAGE_ID", number);', None),
    ('lg2::error("m", "A", pointer);', None),
    ('lg2::error("m", "A", "literal");', NAME),
    ('lg2::error("m", "A", "LITERAL");', LITERAL),
    ('lg2::error("m", "A", lg2::str, "LITERAL");', LITERAL),
    ('lg2::error("m", "A", array);', ""),
    ('lg2::error("m", "A");', NO_VALUE),
    ('lg2::error("m", "A", number, "B");', NO_VALUE),
    ('lg2::error("m", number);', NO_NAME),
    ('lg2::error("m", "A", number, number);', NO_NAME),
    ('lg2::error("m", pointer, number);', NO_NAME),
    ('lg2::error("m", "A", lg2::hex | lg2::field8, number);', None),
    ('lg2::error("m", "A", lg2::hex | lg2::bin, number);', CONFLICT),
    ('lg2::error("m", "A", lg2::hex | lg2::dec, number);', CONFLICT),
    ('lg2::error("m", "A", lg2::field8 | lg2::field16, number);', CONFLICT),
    ('lg2::error("m", "A", lg2::str, number);', FLAG),
    ('lg2::error("m", "A", lg2::floating, number);', FLAG),
    ('lg2::error("m", "A", lg2::unsigned_val, number);', FLAG),
    ('lg2::error("m", "A", lg2::signed_val, 1U);', FLAG),
    ('lg2::error("m", "A", lg2::hex, true);', FLAG),
    ('lg2::error("m", "A", lg2::hex, 1.5);', FLAG),
    ('lg2::error("m", "A", lg2::hex, pointer);', FLAG),
    ('lg2::error("m", "A", lg2::hex, error);', FLAG),
    ('lg2::error("m", "A", lg2::hex, address);', None),
    ('lg2::error("m", "A", lg2::dec, address);', FLAG),
    ('lg2::error("m", "A", lg2::field8, address);', FLAG),
    ('lg2::error("m", "A", other);', TYPE),
    ('lg2::error("m", "A", Kind::one);', TYPE),
    ('lg2::error(std::string("m"));', ""),
    ('lg2::error();', ""),
]

HEADER = """
#include <phosphor-logging/lg2.hpp>
#include <stdexcept>
#include <string>
"""

PROGRAM = """
struct Other {{}};
enum class Kind {{ one }};
[[maybe_unused]] static const char array[] = "array";
void run(int number, const char* pointer, void* address, Other other,
         const std::runtime_error& error);
void run([[maybe_unused]] int number, [[maybe_unused]] const char* pointer,
         [[maybe_unused]] void* address, [[maybe_unused]] Other other,
         [[maybe_unused]] const std::runtime_error& error)
{{
    {}
}}
"""


def compile_command(build_root, source):
    """The compiler and its options for one source, without in- and output."""
    with open(os.path.join(build_root, "compile_commands.json"),
              encoding="utf-8") as database:
        entries = json.load(database)
    for entry in entries:
        path = os.path.join(entry["directory"], entry["file"])
        if os.path.realpath(path) == os.path.realpath(source):
            words = shlex.split(entry["command"])
            return words[:words.index("-MD")], entry["directory"]
    sys.exit(f"no command for {source} in {build_root}")


def precompile(command, directory, folder):
    """What all cases include, compiled once; the header to include."""
    header = os.path.join(folder, "all.hpp")
    with open(header, "w", encoding="utf-8") as out:
        out.write(HEADER)
    subprocess.run(command + ["-x", "c++-header", header, "-o",
                              header + ".gch"], cwd=directory, check=True)
    return header


def verdict(command, directory, header, statement, refusal):
    """What is wrong with the compiler's answer; empty where it is right."""
    run = subprocess.run(
        command + ["-fdiagnostics-color=never", "-fsyntax-only", "-include",
                   header, "-x", "c++", "-"], cwd=directory,
        input=PROGRAM.format(statement), capture_output=True, text=True,
        env={**os.environ, "LC_ALL": "C"}, check=False)
    if refusal is None:
        return "" if run.returncode == 0 else run.stderr
    if run.returncode == 0:
        return "compiles\n"
    # g++ puts the word in quotes, clang does not.
    return "" if refusal in run.stderr.replace("'", "") else run.stderr


def main():
    command, directory = compile_command(sys.argv[1], sys.argv[2])
    failures = 0
    with tempfile.TemporaryDirectory() as folder:
        header = precompile(command, directory, folder)
        for statement, refusal in CASES:
            problem = verdict(command, directory, header, statement, refusal)
            if problem:
                failures += 1
                print(f"{statement}\n    expected: {refusal}\n    {problem}")
    print(f"{len(CASES)} cases, {failures} failures")
    sys.exit(1 if failures else 0)


if __name__ == "__main__":
    main()
