# SPDX-License-Identifier: Apache-2.0
"""Runs the real program against the simulated BMC and tells what happened."""

import ctypes
import json
import os
import pathlib
import select
import signal
import struct
import subprocess
import time
from typing import Any, NamedTuple

from sim.launch import env as sim_env

TIMEOUT = 20
# Handed on to the programs under test; all else is set to the same for all.
_PASSED_ON = ("PATH", "LD_LIBRARY_PATH", "ASAN_OPTIONS", "LSAN_OPTIONS",
              "UBSAN_OPTIONS", "LLVM_PROFILE_FILE", "DBUS_SYSTEM_BUS_ADDRESS",
              "DBUS_STARTER_BUS_TYPE", "DBUS_STARTER_ADDRESS")
IN_MODIFY = 2
IN_OPEN = 32


class Call(NamedTuple):
    """A method call that a simulated service got."""

    destination: str
    path: str
    interface: str
    member: str
    signature: str
    args: list


class Result(NamedTuple):
    """How a run ended; status is negative after a signal."""

    out: str
    err: str
    status: int


def _text(data):
    # Byte for byte: bytes that are no UTF-8 survive as lone surrogates.
    return data.decode("utf-8", "surrogateescape")


def environment(extra=None):
    """What a program under test sees of the environment."""
    kept = {name: os.environ[name] for name in _PASSED_ON
            if name in os.environ}
    kept.update({"LC_ALL": "C", "TZ": "UTC", "HOME": "/root"})
    kept.update(extra or {})
    return {name: value for name, value in kept.items() if value is not None}


class Watch:
    """Waits for something to happen to a file, by inotify."""

    def __init__(self, path, event=IN_MODIFY):
        libc = ctypes.CDLL(None, use_errno=True)
        self.descriptor = libc.inotify_init1(os.O_CLOEXEC | os.O_NONBLOCK)
        assert self.descriptor >= 0
        added = libc.inotify_add_watch(self.descriptor, os.fsencode(path),
                                       event)
        assert added >= 0, os.strerror(ctypes.get_errno())

    def wait(self, deadline):
        """Returns after the event; fails when the deadline passes."""
        left = max(0, deadline - time.monotonic())
        ready, _, _ = select.select([self.descriptor], [], [], left)
        assert ready, "the awaited event never came"
        os.read(self.descriptor, 65536)

    def close(self):
        os.close(self.descriptor)


class Session:
    """A run that the test talks to while it goes on."""

    def __init__(self, process):
        self.process = process
        self._seen = {"out": b"", "err": b""}

    def signal(self, number):
        self.process.send_signal(number)

    def read_until(self, text, timeout=TIMEOUT, stream="out"):
        """Everything the program has written so far, once the text is in it."""
        deadline = time.monotonic() + timeout
        pipes = {"out": self.process.stdout, "err": self.process.stderr}
        descriptor = pipes[stream].fileno()
        while text.encode() not in self._seen[stream]:
            left = max(0, deadline - time.monotonic())
            ready, _, _ = select.select([descriptor], [], [], left)
            data = os.read(descriptor, 65536) if ready else b""
            assert data, f"{text!r} never came, but {self._seen!r}"
            self._seen[stream] += data
        return _text(self._seen[stream])

    def end(self, timeout=TIMEOUT):
        """Waits for the end of the run."""
        try:
            out, err = self.process.communicate(timeout=timeout)
        except subprocess.TimeoutExpired:
            self.process.kill()
            out, err = self.process.communicate()
            raise AssertionError(
                f"no end after {timeout} s; wrote {self._seen}, {out!r}, "
                f"{err!r}") from None
        return Result(_text(self._seen["out"] + out),
                      _text(self._seen["err"] + err), self.process.returncode)


class OwnBus:
    """A bus that a case can do without."""

    def __init__(self, folder, start=sim_env.start_bus_at, **options):
        self.address = f"unix:path={folder}/bus"
        self.environment = sim_env.bus_environment(self.address)
        self._daemon = start(self.address, f"{folder}/bus.conf", **options)

    def kill(self):
        self._daemon.kill()
        self._daemon.wait()


class Bmc:
    """A simulated BMC for one case, and the runs of the program on it."""

    def __init__(self, folder):
        self.folder = pathlib.Path(folder)
        self.log = self.folder / "calls"
        self.log.touch()
        self.simulator = None
        self.sessions = []

    def start(self, scenario, bus=sim_env.BUS_ADDRESS):
        """Plays a scenario (a document) until the case ends."""
        assert self.simulator is None
        file = self.folder / "scenario.json"
        file.write_text(json.dumps(scenario))
        self.simulator = sim_env.start_bmc(os.environ["BMCSIM"], [str(file)],
                                           str(self.log), bus)
        return self

    def spawn(self, *arguments, env=None, cwd=None, program=None):
        """Starts a run and returns while it goes on."""
        process = subprocess.Popen(
            [program or os.environ["ZANTRIC"], *arguments],
            stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
            stderr=subprocess.PIPE, env=environment(env), cwd=cwd)
        session = Session(process)
        self.sessions.append(session)
        return session

    def run(self, *arguments, timeout=TIMEOUT, **options):
        """Runs the program to its end."""
        return self.spawn(*arguments, **options).end(timeout)

    def calls(self):
        """All calls so far, in order."""
        lines = self.log.read_text().split("\n")
        # The last piece is empty, or a line that is still being written.
        return [Call(**json.loads(line)) for line in lines[:-1]]

    def wait_call(self, member, count=1, timeout=TIMEOUT):
        """Blocks until the member was called that often; that call."""
        deadline = time.monotonic() + timeout
        watch = Watch(self.log)
        try:
            while True:
                found = [call for call in self.calls()
                         if call.member == member]
                if len(found) >= count:
                    return found[count - 1]
                watch.wait(deadline)
        finally:
            watch.close()

    def journal(self) -> list[dict[str, Any]]:
        """The journal records that this case's runs wrote, in order."""
        subprocess.run(["journalctl", "--sync"], check=True)
        matches = [f"_PID={session.process.pid}" for session in self.sessions]
        if not matches:
            return []
        listing = subprocess.run(
            ["journalctl", "-o", "json", "--all", *matches], check=True,
            stdout=subprocess.PIPE).stdout
        return [json.loads(line) for line in listing.splitlines()]

    def messages(self):
        """The journal records as (priority, message)."""
        return [(int(record["PRIORITY"]), record["MESSAGE"])
                for record in self.journal()]

    def close(self):
        """Ends the case; the simulator must have worked without complaint."""
        for session in self.sessions:
            if session.process.poll() is None:
                session.signal(signal.SIGKILL)
                session.end()
        if self.simulator is None:
            return
        self.simulator.terminate()
        _, err = self.simulator.communicate(timeout=TIMEOUT)
        assert (self.simulator.returncode, _text(err)) == (0, "")


def routing_table(*endpoints):
    """An MCTP routing table's bytes from (endpoint id, address) pairs."""
    return list(b"".join(struct.pack("<BBHI", eid, 0, 0, address)
                         for eid, address in endpoints))
