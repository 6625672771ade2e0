# SPDX-License-Identifier: Apache-2.0
"""One simulated BMC with an SSH server, in a process of its own.

It has its own bus, journal and files, as scripts/sim has them, and the
programs that a small BMC has: BusyBox, journalctl, the tool. No Python.
"""

import ctypes
import json
import os
import pathlib
import shutil
import signal
import socket
import subprocess
import sys

from world import (ROOT, Failure, enter, start_bmc, start_bus, start_journal,
                   start_process, stop_process)

CALLS = "/run/bmcsim.log"
_HOME = pathlib.Path("/run/bmc")
_MS_BIND = 0x1000
# The programs of a BMC's image beside the BusyBox.
_PROGRAMS = ("journalctl", "sudo")
# Who may log in beside root, and may become root.
_OPERATOR = 1000
_APPLETS_UNWANTED = ("journalctl",)
_SHELL = """#!/bin/sh
export DBUS_SYSTEM_BUS_ADDRESS='{address}' DBUS_STARTER_BUS_TYPE=system
exec /bin/sh "$@"
"""


def _bind(source, target):
    libc = ctypes.CDLL(None, use_errno=True)
    if libc.mount(str(source).encode(), str(target).encode(), None, _MS_BIND,
                  None) != 0:
        raise Failure(f"{target}: {os.strerror(ctypes.get_errno())}.")


def _family(pid):
    """The server's own sessions: dropbear processes, not what they run."""
    children = pathlib.Path(f"/proc/{pid}/task/{pid}/children")
    return [int(child) for child in children.read_text().split()]


class Host:
    """The BMC, seen from inside its own process."""

    def __init__(self, settings):
        self.settings = settings
        self.build = pathlib.Path(settings["build"])
        self.simulator = None
        self.server = None
        self.programs = None

    def start(self):
        enter([ROOT, self.build, self.settings["folder"]])
        start_bus()
        start_journal()
        self.simulate(self.settings["scenario"])
        self._furnish()
        self.listen()

    def _furnish(self):
        """Puts a BMC's programs and accounts where the machine has its own."""
        programs = _HOME / "bin"
        programs.mkdir(parents=True)
        for name in _PROGRAMS:
            shutil.copy(shutil.which(name), programs)
        busybox = shutil.which("busybox")
        server = shutil.which("dropbear", path="/usr/sbin:/usr/bin")
        shutil.copy(busybox, programs / "busybox")
        shutil.copy(server, programs / "dropbear")
        applets = subprocess.run([busybox, "--list"], check=True, text=True,
                                 stdout=subprocess.PIPE).stdout.split()
        for applet in applets:
            if not (programs / applet).exists():
                (programs / applet).symlink_to("busybox")
        self.programs = programs
        # Not through the folders above it, which may be root's alone.
        built = _HOME / "tool"
        built.mkdir()
        _bind(self.build / "tool", built)
        self.furnish_tool()
        self._accounts()
        empty = _HOME / "empty"
        empty.mkdir()
        for hidden in ("/usr/local", "/usr/sbin"):
            _bind(empty, hidden)
        _bind(programs, "/usr/bin")

    def furnish_tool(self):
        """Puts the tool where a BMC has it, in place of what is there."""
        tool = self.programs / "zantric"
        tool.unlink(missing_ok=True)
        tool.symlink_to(_HOME / "tool/zantric")
        return True

    def _home(self, name, user):
        """A user's folder; who has the lab's key may log in as the user."""
        home = _HOME / name
        keys = home / ".ssh"
        keys.mkdir(parents=True, mode=0o700)
        (keys / "authorized_keys").write_text(self.settings["key"])
        for path in (home, keys, keys / "authorized_keys"):
            os.chown(path, user, user)
        return home

    def _accounts(self):
        root = self._home("home", 0)
        operator = self._home("operator", _OPERATOR)
        shell = _HOME / "shell"
        shell.write_text(_SHELL.format(
            address=os.environ["DBUS_SYSTEM_BUS_ADDRESS"]))
        shell.chmod(0o755)
        for name, text in (
                ("passwd", f"root:x:0:0:root:{root}:{shell}\n"
                 f"operator:x:{_OPERATOR}:{_OPERATOR}::{operator}:{shell}\n"),
                ("shells", f"{shell}\n"),
                ("sudoers", "operator ALL=(ALL) NOPASSWD: ALL\n")):
            (_HOME / name).write_text(text)
            _bind(_HOME / name, f"/etc/{name}")
        (_HOME / "sudoers").chmod(0o440)

    def simulate(self, scenario):
        """Plays a scenario, in place of the one that is played."""
        if self.simulator is not None:
            stop_process(self.simulator)
        self.simulator = start_bmc(str(self.build / "sim/bmcsim"), [scenario],
                                   CALLS)
        return True

    def listen(self):
        """Starts the SSH server; returns when it listens."""
        self.server = start_process(
            ["dropbear", "-F", "-E", "-s", "-r", self.settings["host_key"],
             "-P", "", "-p", f"127.0.0.1:{self.settings['port']}"],
            "dropbear", stderr=subprocess.PIPE, text=True)
        for line in self.server.stderr:
            if "Not backgrounding" in line:
                # It goes on to write there; nobody reads it any more.
                return True
        raise Failure("dropbear did not start.")

    def silence(self):
        """Ends the SSH server; sessions that are open go on."""
        stop_process(self.server)
        return True

    def vanish(self):
        """Ends the SSH server and its sessions, as a power cut would."""
        self.drop()
        return self.silence()

    def drop(self):
        """Ends the sessions that are open."""
        return self._signal(signal.SIGKILL)

    def freeze(self):
        """Lets the server and its sessions hang."""
        self.server.send_signal(signal.SIGSTOP)
        return self._signal(signal.SIGSTOP)

    def thaw(self):
        """Lets them go on."""
        self.server.send_signal(signal.SIGCONT)
        return self._signal(signal.SIGCONT)

    def _signal(self, number):
        for child in _family(self.server.pid):
            os.kill(child, number)
        return True

    def shell(self, command):
        """Runs a command in the BMC; its status and output."""
        done = subprocess.run(["/bin/sh", "-c", command], text=True,
                              stdin=subprocess.DEVNULL, errors="replace",
                              stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                              check=False)
        return [done.returncode, done.stdout]


def serve(channel, settings):
    """Starts a BMC and does what it is told until the channel is closed."""
    host = Host(settings)
    stream = channel.makefile("rw")
    try:
        host.start()
        answer = {"ready": True}
    except (Failure, OSError, subprocess.SubprocessError) as failure:
        answer = {"failure": str(failure)}
    print(json.dumps(answer), file=stream, flush=True)
    for line in stream:
        name, arguments = json.loads(line)
        try:
            answer = {"value": getattr(host, name)(*arguments)}
        except (Failure, OSError) as failure:
            answer = {"failure": str(failure)}
        print(json.dumps(answer), file=stream, flush=True)


def fork(settings):
    """Starts a BMC in a new process: its number and the channel to it."""
    ours, theirs = socket.socketpair()
    pid = os.fork()
    if pid:
        theirs.close()
        return pid, ours
    try:
        ours.close()
        # Interrupts are for the lab, which closes the channel.
        signal.signal(signal.SIGINT, signal.SIG_IGN)
        serve(theirs, settings)
    finally:
        sys.stdout.flush()
        os._exit(0)
