# SPDX-License-Identifier: Apache-2.0
"""The private world of the simulator: mounts, a message bus, a journal.

scripts/sim runs a command in it; the end-to-end tests and the benchmark import
it.
"""

import ctypes
import os
import pathlib
import select
import shlex
import signal
import socket
import subprocess

from . import mounts
from .failure import Failure
from .mounts import PRIVATE
from .places import POLICY, ROOT

__all__ = ["Failure", "PRIVATE", "ROOT"]

JOURNALD = "/lib/systemd/systemd-journald"
BUS_SOCKET = "/run/dbus/system_bus_socket"
BUS_ADDRESS = "unix:path=" + BUS_SOCKET
START_SECONDS = 20
END_SECONDS = 5

_LIBC = ctypes.CDLL(None, use_errno=True)
_PR_SET_PDEATHSIG = 1  # linux/prctl.h

# As strict as a distribution's system bus: nobody may call anything but what
# a policy file allows. The tool's own policy is loaded as it is shipped;
# the rest is for the simulated services and for looking around with busctl.
_BUS_CONFIG = """<!DOCTYPE busconfig PUBLIC
 "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>system</type>
  <listen>{address}</listen>
  <auth>EXTERNAL</auth>
  <policy context="default">
    <allow user="*"/>
    <deny own="*"/>
    <deny send_type="method_call"/>
    <allow send_type="signal"/>
    <allow send_requested_reply="true" send_type="method_return"/>
    <allow send_requested_reply="true" send_type="error"/>
    <allow receive_type="method_call"/>
    <allow receive_type="method_return"/>
    <allow receive_type="error"/>
    <allow receive_type="signal"/>
    <allow send_destination="org.freedesktop.DBus"
           send_interface="org.freedesktop.DBus"/>
  </policy>
  <policy user="root">
    <allow own="*"/>
    <allow send_interface="org.freedesktop.DBus.Introspectable"/>
    <allow send_interface="org.freedesktop.DBus.Monitoring"/>
    <allow send_interface="org.freedesktop.DBus.Peer"/>
  </policy>
  {included}
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


def check_tools():
    """Raises Failure with what is missing to build the world."""
    for tool in ("dbus-daemon", "busctl", "journalctl"):
        if not any(os.access(os.path.join(folder, tool), os.X_OK)
                   for folder in os.environ.get("PATH", "").split(":")):
            raise Failure(f"The simulator needs {tool}, which is not here.")
    if not os.access(JOURNALD, os.X_OK):
        raise Failure(f"The simulator needs {JOURNALD}, which is not here.")


def enter(keep=()):
    """Moves this process into the private folders; see mounts.enter."""
    check_tools()
    mounts.enter(keep)


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


def _write_bus_config(address, config, policies):
    """What a bus is told: its address, and who may do what on it."""
    config = pathlib.Path(config)
    config.parent.mkdir(parents=True, exist_ok=True)
    config.write_text(_BUS_CONFIG.format(address=address, included="\n  ".join(
        f"<include>{policy}</include>" for policy in policies)))


def start_bus_at(address, config, policies=(POLICY,)):
    """Starts a bus; returns when it listens."""
    _write_bus_config(address, config, policies)
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


def start_broker_at(address, config, policies=(POLICY,)):
    """Starts the other bus that there is; returns when it is ready.

    It takes its socket, as number 3, and its own process id from systemd,
    whose part this is.
    """
    _write_bus_config(address, config, policies)
    path = address.removeprefix("unix:path=")
    with socket.socket(socket.AF_UNIX) as listener:
        listener.bind(path)
        os.chmod(path, 0o666)
        listener.listen()
        return _start_notifying(
            ["bash", "-c", 'exec 3<&"$0"; LISTEN_FDS=1 LISTEN_PID=$$ exec "$@"',
             str(listener.fileno()), "dbus-broker-launch", "--scope=system",
             f"--config-file={config}"],
            "dbus-broker", pass_fds=[listener.fileno()])


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


def _start_notifying(words, what, **options):
    """Starts a helper; returns when it has announced that it is ready."""
    with socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM) as listener:
        # A name that the kernel chooses, and that no file keeps.
        listener.bind("")
        name = "@" + listener.getsockname()[1:].decode()
        process = start_process(
            words, what, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
            env={**os.environ, "NOTIFY_SOCKET": name}, **options)
        while True:
            _wait_readable(listener, process, what)
            if b"READY=1" in listener.recv(4096).split(b"\n"):
                return process


def start_journal():
    """Starts the journal; returns when it is ready."""
    config = pathlib.Path("/run/systemd/journald.conf.d/simulator.conf")
    config.parent.mkdir(parents=True, exist_ok=True)
    config.write_text(_JOURNALD_CONFIG)
    return _start_notifying([JOURNALD], "systemd-journald")


def runnable(program):
    """The words that run a program of the build: what it was built for may be
    another machine, and Meson then names an emulator."""
    return [*shlex.split(os.environ.get("MESON_EXE_WRAPPER", "")), program]


def start_bmc(program, scenarios, log, bus=BUS_ADDRESS):
    """Starts the simulated BMC; returns when it owns all its names.

    Its complaint about a scenario becomes the Failure's text.
    """
    process = start_process(
        [*runnable(program), "--bus", bus, "--log", log, *scenarios], "bmcsim",
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
