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
# Seconds asleep after which nothing is going to come any more.
IDLE = 4
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


def _signs(process):
    """What a process and its children do: whether they sleep, and how often
    they have gone to sleep so far."""
    folder = pathlib.Path(f"/proc/{process}")
    try:
        status = dict(line.split(":\t", 1) for line in
                      (folder / "status").read_text().splitlines())
        children = (folder / f"task/{process}/children").read_text().split()
    except (FileNotFoundError, ProcessLookupError):
        return []
    own = (status["State"][0], status["voluntary_ctxt_switches"])
    return [own] + [sign for child in children for sign in _signs(child)]


class Patience:
    """How long to wait for something: some seconds, but not while everybody
    sleeps who could make it happen."""

    def __init__(self, timeout, *processes):
        self.processes = [process.pid for process in processes if process]
        self.end = time.monotonic() + timeout
        self.idle, self.signs = 0, None

    def step(self):
        """Seconds until one should ask again; 0 when it is over."""
        now = time.monotonic()
        signs = [sign for process in self.processes
                 for sign in _signs(process)]
        if not signs or signs != self.signs or not {"R", "D"}.isdisjoint(
                dict(signs)):
            self.idle, self.signs = now + IDLE, signs
        return 0.2 if now < min(self.end, self.idle) else 0


class Watch:
    """Waits for something to happen to a file, by inotify."""

    def __init__(self, path, event=IN_MODIFY):
        libc = ctypes.CDLL(None, use_errno=True)
        self.descriptor = libc.inotify_init1(os.O_CLOEXEC | os.O_NONBLOCK)
        assert self.descriptor >= 0
        added = libc.inotify_add_watch(self.descriptor, os.fsencode(path),
                                       event)
        assert added >= 0, os.strerror(ctypes.get_errno())

    def wait(self, patience):
        """Returns after the event; fails when there is no patience left."""
        while step := patience.step():
            if select.select([self.descriptor], [], [], step)[0]:
                os.read(self.descriptor, 65536)
                return
        raise AssertionError("the awaited event never came")

    def close(self):
        os.close(self.descriptor)


class Session:
    """A run that the test talks to while it goes on."""

    def __init__(self, process, simulator=None):
        self.process = process
        self.simulator = simulator
        self._seen = {"out": b"", "err": b""}

    def signal(self, number):
        self.process.send_signal(number)

    def read_until(self, text, timeout=TIMEOUT, stream="out"):
        """Everything the program has written so far, once the text is in it."""
        patience = self.patience(timeout)
        pipes = {"out": self.process.stdout, "err": self.process.stderr}
        descriptor = pipes[stream].fileno()
        while text.encode() not in self._seen[stream]:
            step = patience.step()
            ready, _, _ = select.select([descriptor], [], [], step)
            if step and not ready:
                continue
            data = os.read(descriptor, 65536) if ready else b""
            assert data, f"{text!r} never came, but {self._seen!r}"
            self._seen[stream] += data
        return _text(self._seen[stream])

    def patience(self, timeout=TIMEOUT):
        """How long this run is waited for."""
        return Patience(timeout, self.process, self.simulator)

    def end(self, timeout=TIMEOUT):
        """Waits for the end of the run."""
        patience = self.patience(timeout)
        while step := patience.step():
            try:
                out, err = self.process.communicate(timeout=step)
            except subprocess.TimeoutExpired:
                continue
            return Result(_text(self._seen["out"] + out),
                          _text(self._seen["err"] + err),
                          self.process.returncode)
        self.process.kill()
        out, err = self.process.communicate()
        raise AssertionError(
            f"no end after {timeout} s, or of its sleep; wrote {self._seen}, "
            f"{out!r}, {err!r}")


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
        session = Session(process, self.simulator)
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
        patience = Patience(timeout, self.simulator,
                            *(session.process for session in self.sessions))
        watch = Watch(self.log)
        try:
            while True:
                found = [call for call in self.calls()
                         if call.member == member]
                if len(found) >= count:
                    return found[count - 1]
                watch.wait(patience)
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
