#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""What lg2 must refuse to compile, and close neighbours that it must take.

usage: refused.py BUILD_ROOT SOURCE

Each case is compiled with the command that BUILD_ROOT's compilation database
has for SOURCE.
"""

import json
import os
import shlex
import subprocess
import sys

# What follows the message; the first ones have to compile.
TAKEN = ['"A1_B", 1', '"X", text', '"1A", 1', '"MESSAGE_ID", 1',
         '"A", lg2::hex, 1U']
REFUSED = ['"", 1', '"_A", 1', '"a", 1', '"A B", 1', '"MESSAGE", 1',
           '"PRIORITY", 1', '"CODE_FILE", 1', '"CODE_LINE", 1',
           '"CODE_FUNC", 1', '"LOG2_FMTMSG", 1', '"A", "literal"',
           '"A", "LITERAL"', '"A"', '"A", 1, "B"', '1', '"A", 1, 2',
           '"A", lg2::hex, text', '"A", lg2::hex', '"A", other']

PROGRAM = """
#include <phosphor-logging/lg2.hpp>
void run(const char* text, struct Other& other);
void run([[maybe_unused]] const char* text,
         [[maybe_unused]] struct Other& other)
{{
    lg2::error("m", {});
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


def compiles(command, directory, arguments):
    return subprocess.run(
        [*command, "-fsyntax-only", "-x", "c++", "-"], cwd=directory,
        input=PROGRAM.format(arguments), stderr=subprocess.DEVNULL, text=True,
        check=False).returncode == 0


if __name__ == "__main__":
    COMMAND = compile_command(*sys.argv[1:])
    WRONG = [case for case in TAKEN + REFUSED
             if compiles(*COMMAND, case) != (case in TAKEN)]
    sys.exit("\n".join(WRONG) or None)
