# SPDX-License-Identifier: Apache-2.0
"""Runs a command, or a shell, beside the simulated BMC; see scripts/sim."""

import argparse
import ctypes
import os
import pathlib
import signal
import subprocess
import sys

from . import places, shell
from .env import (END_SECONDS, Failure, enter, runnable, start_bmc, start_bus,
                  start_journal)

_LIBC = ctypes.CDLL(None, use_errno=True)
_PR_SET_CHILD_SUBREAPER = 36  # linux/prctl.h


def _descendants():
    found = pathlib.Path(f"/proc/self/task/{os.getpid()}/children")
    return [int(word) for word in found.read_text().split()]


def _end_descendants():
    """Ends whatever the command left running: as the reaper of orphans this
    process is the parent of all of it."""
    while children := _descendants():
        for child in children:
            try:
                os.kill(child, signal.SIGKILL)
            except ProcessLookupError:
                pass
        for child in children:
            try:
                os.waitpid(child, 0)
            except ChildProcessError:
                pass


class Interrupted(Exception):
    """A signal asks the simulator to end."""

    def __init__(self, number):
        super().__init__(number)
        self.number = number


def _interrupt(number, _frame):
    raise Interrupted(number)


def _ignore_interrupts():
    for number in (signal.SIGINT, signal.SIGTERM, signal.SIGHUP):
        signal.signal(number, signal.SIG_IGN)


def _run(command):
    """Runs the command in the foreground; its status as a shell shows it."""
    try:
        process = subprocess.Popen(command, close_fds=False)
    except FileNotFoundError as error:
        raise Failure(f"There is no command {command[0]}; --help tells how "
                      "to name one.") from error
    except OSError as error:
        raise Failure(f"{command[0]}: {error.strerror}.") from error
    try:
        status = process.wait()
    except Interrupted as interrupted:
        status = _end_command(process, interrupted.number)
    return 128 - status if status < 0 else status


def _end_command(process, number):
    """Hands a signal on to the command and waits a moment for its end."""
    _ignore_interrupts()
    process.send_signal(number)
    try:
        process.wait(END_SECONDS)
    except subprocess.TimeoutExpired:
        process.kill()
        process.wait()
    return -number


class _Parser(argparse.ArgumentParser):
    """One whose complaint is one sentence."""

    def error(self, message):
        raise Failure(f"{message}; --help tells what there is.")


def _parse(name, words):
    parser = _Parser(prog=name, allow_abbrev=False, description=(
        "Runs a command, or a shell, on a simulated BMC. It needs no root; "
        "what it leaves in /run, /tmp and /pstorage ends with it."))
    parser.add_argument("-s", "--scenario", metavar="SCENARIO",
                        default=os.environ.get("SIM_SCENARIO") or "default",
                        help="what is simulated: a name of --list or a file "
                             "(default: $SIM_SCENARIO, else default)")
    parser.add_argument("--list", action="store_true",
                        help="tell the scenarios that come along")
    parser.add_argument("--demo", action="store_true",
                        help="show every operation of the tool")
    parser.add_argument("command", nargs=argparse.REMAINDER, metavar="COMMAND",
                        help="a command and its arguments (default: a shell)")
    return parser.parse_args(words)


def _command(words, name):
    """The command, or an interactive shell that says where it is."""
    if not words:
        return shell.command(name)
    built = pathlib.Path(words[0]).resolve().is_relative_to(places.BUILD)
    return [*runnable(words[0]), *words[1:]] if built else words


def _check(scenario):
    if not os.access(places.PROGRAM, os.X_OK):
        raise Failure(f"There is no {places.PROGRAM}: {places.MISSING}.")
    if not scenario.is_file():
        raise Failure(f"There is no scenario {scenario}; --list tells the "
                      "names of those that come along.")


def _play(scenario, words):
    """Runs the words beside the simulated BMC; the exit status."""
    for number in (signal.SIGINT, signal.SIGTERM, signal.SIGHUP):
        signal.signal(number, _interrupt)
    _LIBC.prctl(_PR_SET_CHILD_SUBREAPER, 1)
    try:
        enter([places.ROOT, places.BUILD, scenario.parent])
        start_bus()
        start_journal()
        start_bmc(str(places.PROGRAM), [str(scenario)], "/run/bmcsim.log")
        os.environ["PATH"] = ":".join(
            [*map(str, places.TOOLS), os.environ["PATH"]])
        os.environ["SIM_LOG"] = "/run/bmcsim.log"
        return _run(_command(words, scenario.stem))
    except Interrupted as interrupted:
        return 128 + interrupted.number
    finally:
        _ignore_interrupts()
        _end_descendants()


def main(name, folder, words):
    """Does what the words of the command line say, in the folder; the exit
    status."""
    os.chdir(folder)
    options = _parse(name, words)
    if options.list:
        print(*places.scenarios(), sep="\n")
        return 0
    scenario = places.scenario(options.scenario)
    _check(scenario)
    return _play(scenario,
                 [str(places.DEMO)] if options.demo else options.command)


if __name__ == "__main__":
    try:
        sys.exit(main(sys.argv[1], sys.argv[2], sys.argv[3:]))
    except Failure as failure:
        print(f"{sys.argv[1]}: {failure}", file=sys.stderr)
        sys.exit(1)
