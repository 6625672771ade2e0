# SPDX-License-Identifier: Apache-2.0
"""A simulated BMC, seen from the lab."""

import json
import os
import pathlib
import signal
import time

import host
from world import Failure, Patience, Watch

PATIENCE = 60
_DAEMONS = ("python3", "dbus-daemon", "systemd-journald", "bmcsim", "dropbear")


def everything():
    """(number, mount namespace, command line) of all processes."""
    for folder in pathlib.Path("/proc").glob("[0-9]*"):
        try:
            yield (int(folder.name), os.readlink(folder / "ns/mnt"),
                   (folder / "cmdline").read_bytes().decode(errors="replace"))
        except OSError:
            continue  # it has ended meanwhile


def end(pid):
    """Ends a process, and reaps it if it is a child of this one."""
    try:
        os.kill(pid, signal.SIGKILL)
        os.waitpid(pid, 0)
    except (ProcessLookupError, ChildProcessError):
        pass


class Bmc:
    """A simulated BMC, seen from the lab."""

    def __init__(self, name, folder, settings):
        self.name = name
        self.folder = folder
        self.port = settings["port"]
        self.key_line = settings["key_line"]
        self.world = None
        self.pid, self._channel = host.fork(settings)
        self._stream = self._channel.makefile("rw")

    def wait(self):
        """Returns when it has started."""
        self._answer()
        self.world = os.readlink(f"/proc/{self.pid}/ns/mnt")

    def _answer(self):
        line = self._stream.readline()
        if not line:
            raise Failure(f"{self.name} has ended.")
        answer = json.loads(line)
        if "failure" in answer:
            raise Failure(f"{self.name}: {answer['failure']}")
        return answer.get("value")

    def _ask(self, name, *arguments):
        print(json.dumps([name, arguments]), file=self._stream, flush=True)
        return self._answer()

    def play(self, scenario):
        """Plays another scenario (a document)."""
        file = self.folder / "scenario.json"
        file.write_text(json.dumps(scenario))
        return self._ask("simulate", str(file))

    def play_with_fault(self, member, reply):
        """Plays its own scenario with another reply to that method."""
        scenario = json.loads((self.folder / "own.json").read_text())
        scenario["faults"] = [{"member": member, **reply}]
        return self.play(scenario)

    def wait_call(self, member, count=1):
        """Returns when the method was called that often."""
        watch = Watch(self.path(host.CALLS))
        try:
            patience = Patience(PATIENCE)
            while len(self.calls(member)) < count:
                watch.wait(patience)
        finally:
            watch.close()

    def processes(self):
        """Names of the processes in this BMC that the lab did not start."""
        names = [pathlib.PurePath(line.split("\0")[0]).name
                 for _, world, line in everything() if world == self.world]
        return sorted(name for name in names if name not in _DAEMONS)

    def kill_tool(self):
        """Ends the tool here; process numbers are the whole machine's."""
        for pid, world, line in everything():
            if world == self.world and "zantric\0-o\0" in line:
                os.kill(pid, signal.SIGKILL)

    def restore(self):
        """Plays its own scenario anew, with the tool in its place."""
        self._ask("furnish_tool")
        return self._ask("simulate", str(self.folder / "own.json"))

    def listen(self):
        return self._ask("listen")

    def drop(self):
        """Ends the sessions that are open."""
        return self._ask("drop")

    def freeze(self):
        """Lets the SSH server and its sessions hang."""
        return self._ask("freeze")

    def thaw(self):
        """Lets them go on."""
        return self._ask("thaw")

    @staticmethod
    def wait_gone(path):
        """Returns when a file or folder of the BMC is gone."""
        deadline = time.monotonic() + PATIENCE
        while path.exists():
            assert time.monotonic() < deadline, f"{path} is still there"
            os.sched_yield()

    def vanish(self):
        """Ends the SSH server and all its sessions at once."""
        return self._ask("vanish")

    def silence(self):
        return self._ask("silence")

    def shell(self, command):
        """Runs a command in the BMC: its output, which must be wanted."""
        status, out = self._ask("shell", command)
        if status != 0:
            raise Failure(f"{self.name}: {command}: {out}")
        return out

    def path(self, name):
        """A file of the BMC as this machine sees it."""
        return pathlib.Path(f"/proc/{self.pid}/root{name}")

    def calls(self, member=None):
        """The method calls that its services got."""
        lines = self.path(host.CALLS).read_text().split("\n")[:-1]
        return [call for call in map(json.loads, lines)
                if member in (None, call["member"])]

    def close(self):
        self._channel.close()
        self._stream.close()
