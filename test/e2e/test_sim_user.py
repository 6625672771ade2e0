# SPDX-License-Identifier: Apache-2.0
"""scripts/sim for a user without root, and what its shell offers."""

import os
import pty
import select
import subprocess

import pytest

from harness import TIMEOUT, Patience, environment
from test_sim_script import BUILD, SCRIPT

# Nobody, or root without its powers where only root may read the tree.
NOBODY = ["setpriv", "--reuid=65534", "--regid=65534", "--clear-groups"]
POWERLESS = ["setpriv", "--bounding-set=-all", "--inh-caps=-all"]
FORBID = "echo 0 > /proc/sys/user/max_user_namespaces; exec "
FORBIDDEN = (
    "sim: This machine lets its users make no namespaces (No space left on "
    "device): run it as root, or let root allow them, as with sysctl "
    "user.max_user_namespaces=10000.\n")


def alone():
    """An environment of a user, with no bus in it."""
    kept = environment({"BUILD": BUILD, "HOME": "/nonexistent",
                        "TERM": "dumb"})
    return {name: value for name, value in kept.items()
            if not name.startswith("DBUS_")}


def as_user():
    """The words that give up root."""
    readable = subprocess.run([*NOBODY, "test", "-x", SCRIPT], check=False)
    return NOBODY if readable.returncode == 0 else POWERLESS


def run(*words):
    done = subprocess.run([*as_user(), *words], env=alone(), cwd="/",
                          stdin=subprocess.DEVNULL, capture_output=True,
                          text=True, timeout=TIMEOUT, check=False)
    return done.stdout, done.stderr, done.returncode


def test_a_user_is_root_in_it():
    """As the tool's bus policy wants it; in truth it stays who it was."""
    assert run(SCRIPT, "id", "-u") == ("0\n", "", 0)


def test_every_service_answers_a_user():
    """Bus, journal and services are there for it."""
    out, err, status = run(
        SCRIPT, "sh", "-c", "zantric -o list -t Volumes; zantric -o event -p "
        "'senState=18;slot=4' && journalctl --sync && journalctl -q -o cat | "
        "grep ^Gen")
    assert out.startswith("rsa: 3 Volumes\n  boot, ResId 400, RAID1, ")
    assert out.endswith("\nGen temperature event succeeded: slot=4, prio=2, "
                        "evt=HRLKDCA0017M\n")
    assert (err, status) == ("", 0)


@pytest.mark.parametrize("words", [[], as_user()])
def test_no_folder_is_made_on_the_machine(words):
    """One simulator within another, whose machine has no /pstorage."""
    done = subprocess.run(
        [*words, SCRIPT, "sh", "-c", "umount /pstorage && rmdir /pstorage && "
         f"{SCRIPT} ls /pstorage && ls -d /pstorage"], env=alone(), cwd="/",
        capture_output=True, text=True, timeout=TIMEOUT, check=False)
    assert (done.stdout, done.returncode) == ("persist\n", 2)


def test_all_else_of_the_machine_is_in_sight():
    """But for the private folders it is what the machine has."""
    out, _, status = run(SCRIPT, "ls", "-A", "/")
    assert status == 0
    assert set(out.split("\n")) >= set(os.listdir("/"))


def test_without_namespaces_one_sentence_tells_how_to_go_on():
    """Where the machine allows none, as some do."""
    forbid = FORBID + " ".join([*POWERLESS, SCRIPT, "true"])
    assert run("unshare", "-Ur", "sh", "-c", forbid) == ("", FORBIDDEN, 1)


class Shell:
    """The interactive shell on a terminal."""

    def __init__(self):
        self.master, slave = pty.openpty()
        self.process = subprocess.Popen(
            [*as_user(), SCRIPT], stdin=slave, stdout=slave, stderr=slave,
            env=alone(), cwd="/", start_new_session=True)
        os.close(slave)
        self.greeting = self.until("# ")

    def until(self, text):
        """What the terminal shows up to the text."""
        seen = b""
        patience = Patience(TIMEOUT, self.process)
        while not seen.endswith(text.encode()):
            step = patience.step()
            assert step, f"{text!r} never came, but {seen!r}"
            if not select.select([self.master], [], [], step)[0]:
                continue
            seen += os.read(self.master, 65536)
        return seen.decode().replace("\r", "")

    def type(self, line):
        """What a line that is typed brings, prompt and all."""
        os.write(self.master, f"{line}\n".encode())
        return self.until("# ")

    def close(self):
        os.write(self.master, b"exit 0\n")
        status = self.process.wait(TIMEOUT)
        os.close(self.master)
        return status


@pytest.fixture
def shell():
    started = Shell()
    yield started
    assert started.close() == 0


def test_the_shell_says_where_one_is(shell):
    """And which folders are its own."""
    assert '"default"' in shell.greeting
    assert ("\n/run, /tmp, /pstorage and /sys/bus are the simulator's own"
            in shell.greeting)
    assert shell.greeting.endswith("\n(simulated BMC: default) / # ")


def test_the_shell_completes(shell):
    """TAB makes a whole word of three letters."""
    assert "\nDevice address not specified\n" in shell.type(
        "zantric -o att\t")


@pytest.mark.parametrize("page, name", [
    ("zantric", "zantric - list, change, update and attest"),
    ("zantric-sim", "zantric-sim - "),
])
def test_the_shell_has_the_manual(shell, page, name):
    """Of the tool and of itself."""
    shown = shell.type(f"MANPAGER=cat MANWIDTH=200 man {page}")
    assert name in shown.replace("  - ", " - ")
