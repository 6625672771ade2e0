# SPDX-License-Identifier: Apache-2.0
"""The shell on the simulated BMC: its prompt, completion and manual."""

import os
import pathlib

from .mounts import PRIVATE
from .places import COMPLETION, PAGES

_FOLDER = pathlib.Path("/run/bmcsim-shell")
_GREETING = """\
This is the simulated BMC "{name}". Its tool is zantric: TAB completes its
words, "man zantric" is its manual, and the file $SIM_LOG has each call that a
service got.
{private} are the simulator's own and end with it; all other
folders are the machine's. "exit" ends it."""


def _pages():
    """Lets man find the pages of a source tree."""
    for page in PAGES:
        section = _FOLDER / f"man/man{page.suffix[1:]}"
        section.mkdir(parents=True, exist_ok=True)
        (section / page.name).symlink_to(page)
    if PAGES:
        os.environ["MANPATH"] = f"{_FOLDER}/man:"


def command(name):
    """The words that start it. name: the scenario's, for the prompt."""
    _FOLDER.mkdir()
    _pages()
    greeting = _GREETING.format(
        name=name, private=", ".join(PRIVATE[:-1]) + " and " + PRIVATE[-1])
    start = _FOLDER / "rc"
    start.write_text(f"PS1='(simulated BMC: {name}) \\w # '\n"
                     f". {COMPLETION}\n"
                     f"cat >&2 <<'END'\n{greeting}\nEND\n")
    return ["bash", "--rcfile", str(start), "-i"]
