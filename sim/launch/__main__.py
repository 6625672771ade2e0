"""Runs a command, or a shell, beside the simulated BMC; see scripts/sim."""

import ctypes
import os
import pathlib
import signal
import subprocess
import sys

from sim.launch.env import (END_SECONDS, ROOT, Failure, enter, runnable,
                            start_bmc, start_bus, start_journal)

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


def _command(words, build):
    """The command, or an interactive shell that says where it is."""
    if words:
        built = pathlib.Path(words[0]).resolve().is_relative_to(build)
        return [*runnable(words[0]), *words[1:]] if built else words
    os.environ["PS1"] = "(simulator) \\w # "
    return ["bash", "--norc", "-i"]


def main(folder, words):
    """Runs the words as a command in the simulator, from the folder; the exit
    status."""
    os.chdir(folder)
    build = pathlib.Path(os.environ.get("BUILD") or ROOT / "build").resolve()
    scenario = pathlib.Path(os.environ.get("SIM_SCENARIO") or
                            ROOT / "sim/scenarios/default.json").resolve()
    program = build / "sim/bmcsim"
    if not os.access(program, os.X_OK):
        raise Failure(f"There is no {program}: build first, or say where the "
                      "build is with BUILD.")
    if not scenario.is_file():
        raise Failure(f"There is no scenario {scenario}.")
    for number in (signal.SIGINT, signal.SIGTERM, signal.SIGHUP):
        signal.signal(number, _interrupt)
    _LIBC.prctl(_PR_SET_CHILD_SUBREAPER, 1)
    try:
        enter([ROOT, build, scenario.parent])
        start_bus()
        start_journal()
        start_bmc(str(program), [str(scenario)], "/run/bmcsim.log")
        os.environ["PATH"] = f"{build}/tool:{os.environ['PATH']}"
        os.environ["SIM_LOG"] = "/run/bmcsim.log"
        return _run(_command(words, build))
    except Interrupted as interrupted:
        return 128 + interrupted.number
    finally:
        _ignore_interrupts()
        _end_descendants()


if __name__ == "__main__":
    try:
        sys.exit(main(sys.argv[1], sys.argv[2:]))
    except Failure as failure:
        print(f"sim: {failure}", file=sys.stderr)
        sys.exit(1)
