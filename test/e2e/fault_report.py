# SPDX-License-Identifier: Apache-2.0
"""The table of faults and outcomes in docs/reliability.md."""

import fcntl
import os
import pathlib
import re

FILE = pathlib.Path(__file__).resolve().parents[2] / "docs/reliability.md"
#: Set: the file is written, not compared.
REGENERATE = "UPDATE_RELIABILITY"
_WIDTH = 100


def _shown(text):
    """One line of output in a table."""
    if len(text) > _WIDTH:
        text = text[:_WIDTH] + " …"
    return "`" + text.replace("|", "\\|").replace("`", "'") + "`"


def _says(outcome, usual):
    """What a run left for its user about the fault, and where: its last line
    that a run without a fault does not print."""
    if outcome.journal:
        return "journal: " + _shown(outcome.journal)
    lines = [line for line in outcome.out.splitlines()
             if line.strip() and line not in usual.splitlines()]
    return _shown(lines[-1].strip()) if lines else ""


def _status(outcome):
    return "SIGTERM" if outcome.status == -15 else str(outcome.status)


def _rows(step, cells, usual):
    """Faults of a step with the same outcome share a row."""
    shared = {}
    for fault, outcome in cells:
        says = "" if outcome.status == -15 else _says(outcome, usual)
        key = (_status(outcome), says, outcome.why)
        shared.setdefault(key, []).append(fault)
    for (status, says, why), faults in shared.items():
        yield (f"| {step} | {', '.join(faults)} | {status} | {says} "
               f"| {why} |")


def table(results):
    """The lines for [(operation, step, fault, outcome)]."""
    grouped = {}
    for operation, step, fault, outcome in results:
        _, steps = grouped.setdefault(operation.name, (operation, {}))
        steps.setdefault(step, []).append((fault, outcome))
    for operation, steps in grouped.values():
        yield f"### {operation.name}"
        yield ""
        yield "| step | faults | status | says | why that is right |"
        yield "|---|---|---|---|---|"
        for step, cells in steps.items():
            yield from _rows(step, cells, operation.out)
        yield ""


def _section(group):
    return re.compile(f"(<!-- begin {group} -->\n)(.*?)(<!-- end {group} -->)",
                      re.DOTALL)


def settle(group, results):
    """Compares the group's part of the file with the results, or writes it.
    """
    made = (f"{len(results)} cases.\n\n" + "\n".join(table(results)))
    with open(FILE, "r+", encoding="utf-8") as file:
        fcntl.flock(file, fcntl.LOCK_EX)
        text = file.read()
        found = _section(group).search(text)
        assert found, f"{FILE} has no part for {group}"
        if os.environ.get(REGENERATE):
            file.seek(0)
            file.write(text[:found.start(2)] + made + text[found.end(2):])
            file.truncate()
            return
    assert found[2] == made, (
        f"{FILE} tells something else; see there how to make it anew")
