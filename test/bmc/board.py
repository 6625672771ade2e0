# SPDX-License-Identifier: Apache-2.0
"""The emulated board over SSH, as the end-to-end cases know a BMC.

scripts/bmc says in BMC_SSH how to reach it. The words of that command share one
connection, so each further command costs little.
"""

import json
import os
import pathlib
import shlex
import subprocess
import sys
import time

ROOT = pathlib.Path(__file__).resolve().parents[2]
sys.path[:0] = [str(ROOT), str(ROOT / "test/e2e")]

import harness  # noqa: E402  (the path above leads to it)

# Emulated, and on a machine that is busy.
PATIENCE = 300
SIMULATOR = "zantric-sim"
SCENARIO = "/run/scenario.json"
LOG = "/run/bmcsim/calls"
_SETTINGS = "/etc/default/zantric-sim"
# What a shell reports of a program that a signal ended.
_SIGNALLED = range(129, 193)


def ssh(script):
    """The words that run a shell script on the board."""
    return [*os.environ["BMC_SSH"].split(), "bash -c " + shlex.quote(script)]


def shell(script, data=""):
    """Runs a script to its end, which must be a good one; its output."""
    result = subprocess.run(ssh(script), input=data, capture_output=True,
                            encoding="utf-8", errors="surrogateescape",
                            timeout=PATIENCE, check=False)
    assert result.returncode == 0, (script, result)
    return result.stdout


def holds(condition):
    """Whether a shell's condition holds on the board."""
    return shell(f"if {condition}; then echo yes; fi") == "yes\n"


def write(path, text):
    """Puts a file on the board."""
    shell(f"cat >{shlex.quote(path)}", text)


class Folder(pathlib.PurePosixPath):
    """A place on the board, for cases that write files."""

    def write_text(self, text):
        write(str(self), text)

    def write_bytes(self, data):
        self.write_text(data.decode("utf-8", "surrogateescape"))


class Session(harness.Session):
    """A run on the board that the test talks to while it goes on."""

    def __init__(self, process, note):
        super().__init__(process)
        self._note = note

    def pid(self):
        """The run's process id on the board."""
        return int(shell(f"until [ -s {self._note} ]; do :; done; "
                         f"cat {self._note}"))

    def signal(self, number):
        shell(f"kill -{int(number)} {self.pid()}")

    def patience(self, timeout=PATIENCE):
        """How long it is waited for; what sleeps here is only ssh."""
        return harness.Patience(timeout)

    def read_until(self, text, timeout=PATIENCE, stream="out"):
        return super().read_until(text, timeout, stream)

    def end(self, timeout=PATIENCE):
        result = super().end(max(timeout, PATIENCE))
        if result.status in _SIGNALLED:
            return result._replace(status=128 - result.status)
        return result


class Board(harness.Bmc):
    """The board in one case: its simulated daemons, and runs on it."""

    def __init__(self, folder):
        super().__init__(folder)
        self.folder = Folder("/run/case")
        self._runs = 0
        # Its clock falls behind when the machine is busy.
        shell(f"date -s @{time.time():.0f} >/dev/null; "
              "rm -rf /run/case && mkdir -m 755 /run/case")

    def start(self, scenario, bus=None):
        """Plays a scenario until the case ends."""
        assert bus is None and self.simulator is None
        write(SCENARIO, json.dumps({**scenario, "i2c": None}
                                   if "i2c" in scenario else scenario))
        shell(f"echo SCENARIO={SCENARIO} >{_SETTINGS} && "
              f"systemctl restart {SIMULATOR}")
        self.simulator = SIMULATOR
        return self

    def start_image(self):
        """Plays what the image holds."""
        shell(f"rm -f {_SETTINGS} && systemctl restart {SIMULATOR}")
        self.simulator = SIMULATOR
        return self

    def kill(self):
        """Ends the simulated daemons as nobody should, and forgets them."""
        shell(f"systemctl kill -s KILL {SIMULATOR}; "
              f"systemctl stop {SIMULATOR}; systemctl reset-failed {SIMULATOR}")
        self.simulator = None

    def spawn(self, *arguments, env=None, cwd="/", program="zantric",
              user=None):
        """Starts a run and returns while it goes on."""
        self._runs += 1
        note = f"/run/case/pid{self._runs}"
        settings = {"LC_ALL": "C", "TZ": "UTC", "HOME": "/root", **(env or {})}
        words = ["env", *(f"{name}={value}" for name, value in
                          settings.items() if value is not None),
                 program, *arguments]
        if user is not None:
            words = ["setpriv", f"--reuid={user}", f"--regid={user}",
                     "--clear-groups", *words]
        # The shell stays, for ssh does not tell of a signal, and is quiet.
        script = (f"cd {shlex.quote(str(cwd))}; exec 3>&2 2>/dev/null; "
                  f"(echo $BASHPID >{note}; exec {shlex.join(words)} 2>&3 3>&-"
                  "); exit $?")
        session = Session(subprocess.Popen(
            ssh(script), stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
            stderr=subprocess.PIPE), note)
        self.sessions.append(session)
        return session

    def run(self, *arguments, timeout=PATIENCE, **options):
        """Runs the program to its end."""
        return self.spawn(*arguments, **options).end(timeout)

    def calls(self):
        """All calls so far, in order."""
        lines = shell(f"cat {LOG}").split("\n")
        return [harness.Call(**json.loads(line)) for line in lines[:-1]]

    def wait_call(self, member, count=1, timeout=PATIENCE):
        """Blocks until the member was called that often; that call."""
        mark = shlex.quote(f'"member":"{member}"')
        shell(f"timeout {timeout} grep -qm{count} {mark} "
              f"<(tail --pid=$$ -n +1 -f {LOG})")
        return [call for call in self.calls()
                if call.member == member][count - 1]

    def journal(self):
        """The journal records that this case's runs wrote, in order."""
        if not self.sessions:
            return []
        listing = shell(
            "journalctl --sync; cd /run/case; journalctl -q -o json --all "
            "$(sed s/^/_PID=/ pid*)")
        return [json.loads(line) for line in listing.splitlines()]

    def close(self):
        """Ends the case; the simulator must have worked without complaint."""
        for session in self.sessions:
            if session.process.poll() is None:
                session.signal(9)
                session.end()
        if self.simulator is None:
            return
        told = shell(
            f"run=$(systemctl show -P InvocationID {SIMULATOR}); "
            f"systemctl stop {SIMULATOR}; "
            f"systemctl show -P Result {SIMULATOR}; journalctl --sync; "
            "journalctl -q -o cat _SYSTEMD_INVOCATION_ID=$run")
        assert told == "success\n"
