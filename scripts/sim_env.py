#!/usr/bin/python3
"""The private world of the simulator: mounts, a message bus, a journal.

scripts/sim runs a command in it; the end-to-end tests import it. Everything
it makes lives in a mount namespace of the calling process and on memory file
systems in it, so that nothing of it can be left behind.
"""

import ctypes
import os
import pathlib
import select
import signal
import socket
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
PRIVATE = ("/run", "/tmp", "/pstorage", "/sys/bus")
JOURNALD = "/lib/systemd/systemd-journald"
BUS_SOCKET = "/run/dbus/system_bus_socket"
BUS_ADDRESS = "unix:path=" + BUS_SOCKET
START_SECONDS = 20
END_SECONDS = 5

_LIBC = ctypes.CDLL(None, use_errno=True)
# linux/sched.h, sys/mount.h, linux/prctl.h
_CLONE_NEWNS = 0x00020000
_MS_BIND = 0x1000
_MS_REC = 0x4000
_MS_PRIVATE = 1 << 18
_PR_SET_PDEATHSIG = 1
_PR_SET_CHILD_SUBREAPER = 36

_BUS_CONFIG = """<!DOCTYPE busconfig PUBLIC
 "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>system</type>
  <listen>{address}</listen>
  <auth>EXTERNAL</auth>
  <policy context="default">
    <allow user="*"/>
    <allow own="*"/>
    <allow send_destination="*" eavesdrop="true"/>
    <allow send_type="method_call"/>
    <allow eavesdrop="true"/>
  </policy>
</busconfig>
"""

# Nothing of the machine's own journal: no kernel messages, no audit, nothing
# kept on disk; and no rate limit, since a test may write many records.
_JOURNALD_CONFIG = """[Journal]
Storage=volatile
RateLimitIntervalSec=0
ReadKMsg=no
Audit=no
ForwardToSyslog=no
ForwardToKMsg=no
ForwardToConsole=no
ForwardToWall=no
"""


class Failure(Exception):
    """A reason to give up, in one sentence for the user."""


def _call(function, *arguments):
    if function(*arguments) != 0:
        code = ctypes.get_errno()
        raise Failure(f"{function.__name__}{arguments}: {os.strerror(code)}.")


def _mount(source, target, kind, flags=0, data=None):
    _call(_LIBC.mount, source.encode(), str(target).encode(),
          kind.encode() if kind else None, flags,
          data.encode() if data else None)


def _hidden(path):
    """Whether one of the private mounts will hide the path."""
    return any(path.is_relative_to(mount) and str(path) != mount
               for mount in PRIVATE)


def check_tools():
    """Raises Failure with what is missing to build the world."""
    if os.geteuid() != 0:
        raise Failure("The simulator needs root for its mount namespace.")
    for tool in ("dbus-daemon", "busctl", "journalctl"):
        if not any(os.access(os.path.join(folder, tool), os.X_OK)
                   for folder in os.environ.get("PATH", "").split(":")):
            raise Failure(f"The simulator needs {tool}, which is not here.")
    if not os.access(JOURNALD, os.X_OK):
        raise Failure(f"The simulator needs {JOURNALD}, which is not here.")


def enter(keep=()):
    """Moves this process into a mount namespace with the private mounts.

    keep: folders that must stay visible although a mount would hide them,
    such as a source tree below /tmp. The working folder stays as well.
    """
    check_tools()
    try:
        os.makedirs("/pstorage", exist_ok=True)
        _call(_LIBC.unshare, _CLONE_NEWNS)
        _mount("none", "/", None, _MS_REC | _MS_PRIVATE)
    except (OSError, Failure) as error:
        raise Failure(f"No private mount namespace here: {error}") from error
    here = pathlib.Path.cwd()
    kept = {path: os.open(path, os.O_PATH | os.O_DIRECTORY)
            for path in {here, *(pathlib.Path(item).resolve()
                                 for item in keep)} if _hidden(path)}
    for target in PRIVATE:
        _mount("tmpfs", target, "tmpfs", 0,
               "mode=1777" if target == "/tmp" else "mode=755")
    # The BMC's image brings this one along.
    os.makedirs("/pstorage/persist/hdr")
    # Outer folders first, or an inner one would be covered again.
    for path in sorted(kept, key=lambda path: len(path.parts)):
        path.mkdir(parents=True, exist_ok=True)
        _mount(f"/proc/self/fd/{kept[path]}", path, None, _MS_BIND | _MS_REC)
        os.close(kept[path])
    os.chdir(here)


def _die_with_parent():
    _LIBC.prctl(_PR_SET_PDEATHSIG, signal.SIGKILL)


def _wait_readable(readable, process, what):
    """Waits until a descriptor is readable; ends when the process does."""
    ended = os.pidfd_open(process.pid)
    try:
        ready, _, _ = select.select([readable, ended], [], [], START_SECONDS)
    finally:
        os.close(ended)
    if readable not in ready:
        raise Failure(f"{what} did not start.")


def start_process(arguments, what, **options):
    """Starts a helper that dies with this process, apart from its terminal.
    """
    try:
        return subprocess.Popen(
            arguments, stdin=subprocess.DEVNULL, start_new_session=True,
            preexec_fn=_die_with_parent, **options)
    except OSError as error:
        raise Failure(f"{what} did not start: {error}.") from error


def stop_process(process):
    """Ends a helper and waits for it."""
    if process.poll() is None:
        process.terminate()
        try:
            process.wait(END_SECONDS)
        except subprocess.TimeoutExpired:
            process.kill()
    process.wait()


def start_bus_at(address, config):
    """Starts a bus; returns when it listens."""
    config = pathlib.Path(config)
    config.parent.mkdir(parents=True, exist_ok=True)
    config.write_text(_BUS_CONFIG.format(address=address))
    reader, writer = os.pipe()
    try:
        process = start_process(
            ["dbus-daemon", "--nofork", "--nopidfile", "--nosyslog",
             f"--config-file={config}", f"--print-address={writer}"],
            "dbus-daemon", pass_fds=[writer], stdout=subprocess.DEVNULL,
            stderr=subprocess.DEVNULL)
        os.close(writer)
        _wait_readable(reader, process, "dbus-daemon")
        if not os.read(reader, 4096):
            raise Failure("dbus-daemon did not start.")
    finally:
        os.close(reader)
    return process


def start_bus():
    """Starts the system bus; returns when it listens."""
    process = start_bus_at(BUS_ADDRESS, "/run/dbus/simulator.conf")
    os.environ.update(bus_environment(BUS_ADDRESS))
    return process


def bus_environment(address):
    """What leads a program to a bus as its system bus."""
    return {"DBUS_SYSTEM_BUS_ADDRESS": address,
            "DBUS_STARTER_BUS_TYPE": "system",
            "DBUS_STARTER_ADDRESS": address}


def start_journal():
    """Starts the journal; returns when it has announced that it is ready."""
    config = pathlib.Path("/run/systemd/journald.conf.d/simulator.conf")
    config.parent.mkdir(parents=True, exist_ok=True)
    config.write_text(_JOURNALD_CONFIG)
    notify = "/run/systemd/simulator-notify"
    with socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM) as listener:
        listener.bind(notify)
        process = start_process(
            [JOURNALD], "systemd-journald", stdout=subprocess.DEVNULL,
            stderr=subprocess.DEVNULL,
            env={**os.environ, "NOTIFY_SOCKET": notify})
        while True:
            _wait_readable(listener, process, "systemd-journald")
            if b"READY=1" in listener.recv(4096).split(b"\n"):
                return process


def start_bmc(program, scenarios, log, bus=BUS_ADDRESS):
    """Starts the simulated BMC; returns when it owns all its names.

    Its complaint about a scenario becomes the Failure's text.
    """
    process = start_process(
        [program, "--bus", bus, "--log", log, *scenarios], "bmcsim",
        stdout=subprocess.PIPE, stderr=subprocess.PIPE)
    try:
        _wait_readable(process.stdout, process, "bmcsim")
    except Failure:
        stop_process(process)
        raise Failure(process.stderr.read().decode().strip()
                      or "bmcsim did not start.") from None
    if process.stdout.readline() != b"ready\n":
        stop_process(process)
        raise Failure(process.stderr.read().decode().strip())
    return process


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


def _command(words):
    """The command, or an interactive shell that says where it is."""
    if words:
        return words
    os.environ["PS1"] = "(simulator) \\w # "
    return ["bash", "--norc", "-i"]


def main(words):
    """Runs the words as a command in the simulator; the exit status."""
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
        return _run(_command(words))
    except Interrupted as interrupted:
        return 128 + interrupted.number
    finally:
        _ignore_interrupts()
        _end_descendants()


if __name__ == "__main__":
    try:
        sys.exit(main(sys.argv[1:]))
    except Failure as failure:
        print(f"sim: {failure}", file=sys.stderr)
        sys.exit(1)
