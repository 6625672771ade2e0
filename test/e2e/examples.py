# SPDX-License-Identifier: Apache-2.0
"""The examples of the manual pages, the README and the docs.

An example is a block of code that begins with "$ ", the prompt: command lines,
each with what it prints. "..." stands for any number of lines, "…" for the rest
of one. Dates and milliseconds are whatever they are. What is simulated is told
by a comment "scenario: NAME" above it, and holds until the next such comment.
"""

import re
import textwrap
from typing import NamedTuple

from harness import sim_env

_PLACES = ("README.md", "SECURITY.md", "docs/*.md", "sim/*.md", "man/*.[18]")
_SCENARIO = re.compile(r"^(?:<!-- |\.\\\" )scenario: (\S+)")
_DATE = r"[A-Z][a-z]{2} [A-Z][a-z]{2} [ \d]\d \d\d:\d\d:\d\d \d{4}"


class Example(NamedTuple):
    """A block: where it is, what is simulated, and (command, output) pairs."""

    place: str
    scenario: str
    steps: list


def _steps(block):
    pieces = re.split(r"^\$ (.*)\n", block, flags=re.MULTILINE)
    return list(zip(pieces[1::2], pieces[2::2]))


def _page_blocks(lines):
    """Blocks of a manual page: (line number, text)."""
    start = None
    for number, line in enumerate(lines, 1):
        if line == ".EX":
            start = number
        elif line == ".EE":
            text = "".join(f"{line}\n" for line in lines[start:number - 1])
            for escape, plain in ((r"\-", "-"), (r"\&", ""), (r"\e", "\\")):
                text = text.replace(escape, plain)
            yield start, text


def _markdown_blocks(lines):
    """Indented blocks: (line number, text)."""
    block = []
    for number, line in enumerate([*lines, "end"], 1):
        if line.startswith("    ") or (block and not line):
            block.append(line)
        elif block:
            text = textwrap.dedent("\n".join(block)).strip("\n") + "\n"
            yield number - len(block), text
            block = []


def _scenario_at(lines, number):
    found = [match[1] for line in lines[:number]
             if (match := _SCENARIO.match(line))]
    return found[-1] if found else "default"


def collect():
    """All examples."""
    for pattern in _PLACES:
        for path in sorted(sim_env.ROOT.glob(pattern)):
            lines = path.read_text().splitlines()
            blocks = (_markdown_blocks if path.suffix == ".md"
                      else _page_blocks)(lines)
            for number, text in blocks:
                if text.startswith("$ "):
                    yield Example(f"{path.name}:{number}",
                                  _scenario_at(lines, number), _steps(text))


def _line(text):
    """A line's pattern."""
    pattern = re.escape(text).replace("…", ".*")
    pattern = re.sub(_DATE.replace(" ", r"\\ "), lambda _: _DATE, pattern)
    return re.sub(r"takes\\ \d+ms", r"takes \\d+ms", pattern)


def matches(expected, printed):
    """Whether that was printed, as a terminal shows it."""
    pattern = "".join(r"(?:.*\n)*?" if line.strip() == "..."
                      else _line(line) + r"\n"
                      for line in expected.splitlines())
    printed = re.sub(r"\x1b\[[AK]", "", printed).replace("\r", "")
    if printed and not printed.endswith("\n"):
        printed += "\n"
    return re.fullmatch(pattern, printed) is not None
