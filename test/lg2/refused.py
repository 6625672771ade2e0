#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""What lg2 must refuse to compile, and close neighbours that it must take.

usage: refused.py BUILD_ROOT SOURCE

The compiler is called as BUILD_ROOT's compilation database has it for SOURCE:
once for all names, each on a line that it can complain about, and once for each
value, about which it complains where it is used.
"""

import json
import os
import shlex
import subprocess
import sys

# What follows the message.
TAKEN = ['"A1_B", 1', '"X", text', '"1A", 1', '"MESSAGE_ID", 1',
         '"A", lg2::hex, 1U']
NAMES = ['"", 1', '"_A", 1', '"a", 1', '"A B", 1', '"MESSAGE", 1',
         '"PRIORITY", 1', '"CODE_FILE", 1', '"CODE_LINE", 1',
         '"CODE_FUNC", 1', '"LOG2_FMTMSG", 1', '"A", "literal"']
VALUES = ['"A", "LITERAL"', '"A"', '"A", 1, "B"', '1', '"A", 1, 2',
          '"A", lg2::hex, text', '"A", lg2::hex', '"A", other']

PROGRAM = """
#include <phosphor-logging/lg2.hpp>
void run(const char* text, struct Other& other);
void run([[maybe_unused]] const char* text,
         [[maybe_unused]] struct Other& other)
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


def complaints(command, directory, cases):
    """What the compiler says of these cases."""
    lines = [f'#line {number} "case"\n    lg2::error("m", {case});'
             for number, case in enumerate(cases, 1)]
    return subprocess.run(
        [*command, "-fdiagnostics-color=never", "-fsyntax-only", "-x", "c++",
         "-"],
        cwd=directory, input=PROGRAM.format("\n".join(lines)),
        stderr=subprocess.PIPE, text=True, check=False).stderr


def wrong(command, directory):
    """Those with which the compiler does otherwise than it has to."""
    said = complaints(command, directory, TAKEN + NAMES)
    for number, case in enumerate(TAKEN + NAMES, 1):
        if (f"case:{number}:" in said) != (case in NAMES):
            yield case
    for case in VALUES:
        if "error: " not in complaints(command, directory, [case]):
            yield case


if __name__ == "__main__":
    sys.exit("\n".join(wrong(*compile_command(*sys.argv[1:]))) or None)
