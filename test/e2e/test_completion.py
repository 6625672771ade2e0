# SPDX-License-Identifier: Apache-2.0
"""Completion in a real bash on a real terminal: keys typed, words got."""

import os
import pty
import re
import select
import shlex
import subprocess

import pytest

from documented import OPERATIONS, OPTIONS, SERVICES, TARGETS
from harness import TIMEOUT, Patience, environment, sim_env

COMPLETION = sim_env.ROOT / "completions/zantric"
ADDRESS = "0x8c0000"
TAB = "\t"
INSERT_ALL = "\x1b*"  # readline's insert-completions: every candidate at once
# A command that prints the words it got, completed as the tool is.
PROBE = r"""
probe() { printf 'got'; printf ' <%s>' "$@"; printf '\nend\n'; }
eval "$(complete -p zantric | sed 's/zantric$/probe/')"
"""


class Bash:
    """An interactive bash that has read the completion."""

    def __init__(self, folder):
        (folder / "rc").write_text(
            f". {shlex.quote(str(COMPLETION))}\n{PROBE}")
        programs = os.path.dirname(os.environ["ZANTRIC"])
        self.master, slave = pty.openpty()
        self.process = subprocess.Popen(
            ["bash", "--rcfile", str(folder / "rc"), "-i"], stdin=slave,
            stdout=slave, stderr=slave, start_new_session=True, cwd=folder,
            env=environment({"TERM": "dumb", "INPUTRC": "/dev/null",
                             "HISTFILE": None, "PS1": "> ",
                             "PATH": f"{programs}:{os.environ['PATH']}"}))
        os.close(slave)

    def words(self, line, keys=INSERT_ALL):
        """What the command got after the keys were typed behind the line."""
        os.write(self.master, f"probe {line}{keys}\n".encode())
        seen = b""
        patience = Patience(TIMEOUT, self.process)
        while not (found := re.search(rb"\ngot( <.*)?\r\nend\r\n", seen)):
            step = patience.step()
            assert step, f"no answer to {line!r}, but {seen!r}"
            if not select.select([self.master], [], [], step)[0]:
                continue
            seen += os.read(self.master, 65536)
        return re.findall(r"<([^>]*)>", found[0].decode())

    def offers(self, line):
        """Every candidate for the word that begins behind the line."""
        return self.words(line)[len(shlex.split(line)):]

    def close(self):
        self.process.kill()
        self.process.wait()
        os.close(self.master)


@pytest.fixture
def bash(tmp_path):
    shell = Bash(tmp_path)
    yield shell
    shell.close()


def test_all_options_are_offered(bash):
    assert set(bash.offers("")) == set(OPTIONS)


def test_all_operations_are_offered(bash):
    assert set(bash.offers("-o ")) == set(OPERATIONS)


def test_all_targets_are_offered(bash):
    assert set(bash.offers("-o show -t ")) == set(TARGETS)
    assert set(bash.offers("-o list -t ")) == {"Drives", "Volumes",
                                               "StoragePools"}


def test_all_services_are_offered(bash):
    assert set(bash.offers("-s ")) == set(SERVICES)


@pytest.mark.parametrize("typed,words", [
    ("-o cre", ["-o", "create"]),
    ("-o enab", ["-o", "enableMctp"]),
    ("-s nv", ["-s", "nvmed"]),
    ("-o list -t StorageP", ["-o", "list", "-t", "StoragePools"]),
    ("-o show -t O", ["-o", "show", "-t", "Objects"]),
    ("-a 0x8c0000 -s rsa -o del", ["-a", "0x8c0000", "-s", "rsa", "-o",
                                   "delete"]),
])
def test_a_beginning_is_completed(bash, typed, words):
    assert bash.words(typed, TAB) == words


@pytest.mark.parametrize("typed", [r"-o \#Drive.S", "-o '#Drive.S"])
def test_an_action_arrives_with_its_hash(bash, typed):
    """Unquoted it would begin a comment."""
    assert bash.words(typed, TAB) == ["-o", "#Drive.SecureErase"]


def test_files_are_completed(bash, tmp_path):
    (tmp_path / "volume one.json").touch()
    (tmp_path / "roots").mkdir()
    assert bash.words("-f vol", TAB) == ["-f", "volume one.json"]
    assert bash.words("-f ro", TAB) == ["-f", "roots/"]


def default_server(bmc):
    bmc.simulator = sim_env.start_bmc(
        os.environ["BMCSIM"],
        [str(sim_env.ROOT / "sim/scenarios/default.json")], str(bmc.log))


@pytest.mark.parametrize("target,operation", [
    ("Volumes", "delete"), ("Drives", r"\#Drive.Reset")])
def test_ids_come_from_the_service(bmc, bash, target, operation):
    """The ids of what the operation works on; bash sorts them as text."""
    default_server(bmc)
    listed = bmc.run("-a", ADDRESS, "-s", "rsa", "-o", "list", "-t",
                     target).out
    ids = re.findall(r"ResId (\d+)", listed)
    assert ids
    assert bash.offers(
        f"-a {ADDRESS} -s rsa -o {operation} -r ") == sorted(ids)


def test_no_service_no_ids(bash):
    """Nothing is offered, nothing is printed over the line being typed."""
    assert bash.offers(f"-a {ADDRESS} -s rsa -o delete -r ") == []
