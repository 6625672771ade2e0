# SPDX-License-Identifier: Apache-2.0
"""scripts/sim: a command in the simulator, and nothing left behind."""

import os
import pathlib
import re
import select
import signal
import subprocess

import pytest

from harness import TIMEOUT, Session, environment, sim_env

SCRIPT = str(sim_env.ROOT / "scripts/sim")
BUILD = str(pathlib.Path(os.environ.get("BMCSIM", "/x/y")).parents[1])
# Prints the processes of its simulator, then waits for ever.
WAIT = "echo $$ $(pgrep -P $PPID); exec sleep infinity"


def start(*words, **more):
    """Starts the script; more goes into its environment."""
    env = environment({"BUILD": BUILD, **more})
    for name in list(env):
        if name.startswith("DBUS_"):
            del env[name]
    return Session(subprocess.Popen(
        [SCRIPT, *words], stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
        stderr=subprocess.PIPE, env=env, cwd="/"))


def run(*words, **more):
    return start(*words, **more).end()


def gone(pid):
    """Whether a process has ended; one that is dying may be waited for."""
    try:
        handle = os.pidfd_open(pid)
    except ProcessLookupError:
        return True
    os.close(handle)
    return False


def test_the_exit_status_is_the_commands():
    """Also for one that a signal ends, as a shell shows it."""
    assert run("true") == ("", "", 0)
    assert run("sh", "-c", "exit 42") == ("", "", 42)
    assert run("sh", "-c", "kill -9 $$") == ("", "", 137)


def test_the_default_server_is_there():
    """The program is found by its name, from any folder."""
    result = run("zantric", "-o", "list", "-t", "Drives")
    heads = [line for line in result.out.splitlines() if "Drives" in line]
    assert heads == ["rsa: 16 Drives", "lsa: 8 Drives", "nvmed: 8 Drives"]
    assert (result.err, result.status) == ("", 0)


def test_the_folders_are_private():
    """What a command writes to them is nowhere else."""
    for folder in sim_env.PRIVATE:
        mark = f"{folder}/left-{os.getpid()}"
        assert run("touch", mark) == ("", "", 0)
        assert not os.path.exists(mark)


def test_a_command_that_leaves_a_process_behind():
    """It ends with the simulator."""
    result = run("sh", "-c", "sleep infinity > /dev/null 2>&1 & echo $!")
    assert result.status == 0
    assert gone(int(result.out))


@pytest.mark.parametrize("number", [
    signal.SIGINT, signal.SIGTERM, signal.SIGHUP])
def test_a_signal_ends_everything(number):
    """The command and all daemons; the status tells the signal."""
    session = start("sh", "-c", WAIT)
    words = session.read_until("\n").split()
    assert len(words) >= 4, words
    session.signal(number)
    result = session.end()
    assert (result.err, result.status) == ("", 128 + number)
    assert all(gone(int(word)) for word in words)


def test_a_killed_script_takes_its_daemons_along():
    """Even without a chance to clean up."""
    session = start("sh", "-c", WAIT)
    words = session.read_until("\n").split()
    daemons = [os.pidfd_open(int(word)) for word in words[1:]
               if word != words[0]]
    assert len(daemons) >= 3
    session.signal(signal.SIGKILL)
    for daemon in daemons:
        # A process descriptor becomes readable when its process has ended.
        assert select.select([daemon], [], [], TIMEOUT)[0]
        os.close(daemon)


@pytest.mark.parametrize("more, complaint", [
    ({"BUILD": "/none"}, "There is no /none/sim/bmcsim: build first, or say "
     "where the build is with BUILD."),
    ({"SIM_SCENARIO": "/none.json"}, "There is no scenario /none.json; --list "
     "tells the names of those that come along."),
])
def test_what_is_missing_is_told_in_one_sentence(more, complaint):
    """And nothing is started."""
    assert run("true", **more) == ("", f"sim: {complaint}\n", 1)


@pytest.mark.parametrize("words, complaint", [
    (["none"], "There is no command none; --help tells how to name one."),
    (["/"], "/: Permission denied."),
    (["-o", "list"], "unrecognized arguments: -o; --help tells what there "
     "is."),
    (["--scenario"], "argument -s/--scenario: expected one argument; --help "
     "tells what there is."),
    (["-s", "none", "true"], "There is no scenario /none; --list tells the "
     "names of those that come along."),
])
def test_a_wrong_word_gets_one_sentence(words, complaint):
    """With what to do about it."""
    assert run(*words) == ("", f"sim: {complaint}\n", 1)


def test_the_help():
    """It names each option; nothing is started for it."""
    result = run("--help", BUILD="/none")
    assert (result.err, result.status) == ("", 0)
    for option in ("--scenario", "--list", "--demo", "COMMAND"):
        assert option in result.out


def test_the_words_of_the_command_are_its_own():
    """Also those that the script knows."""
    assert run("echo", "--help", "-s", "x") == ("--help -s x\n", "", 0)


def test_a_bad_scenario_is_told(tmp_path):
    """In the simulator's own words; a folder below /tmp stays visible."""
    scenario = tmp_path / "x.json"
    scenario.write_text('{"services": 5}')
    assert run("true", SIM_SCENARIO=str(scenario)) == (
        "", "sim: bmcsim: /services: must be an object\n", 1)


# One event whose record journald reads when its writer has long ended.
LATE = """kill -STOP "$0" && zantric -o event -p 'senState=18;slot=4'
kill -CONT "$0"; journalctl --sync; """


def test_the_manuals_command_finds_what_a_run_that_ended_wrote():
    """journald cannot tell the name of a process that is gone."""
    page = (sim_env.ROOT / "man/zantric.8").read_text().replace("\\-", "-")
    command, = re.findall(r'is in the journal, as "(journalctl [^"]*)"', page)
    script = 'sh -c "$1" "$(pgrep -P $PPID systemd-journal)" 2>&1'
    out, err, status = run("sh", "-c", script, "sh", LATE + command)
    assert out.splitlines() == [
        "PCIe %1 overtemperature has transitioned to critical from a less "
        "severe state.",
        "Gen temperature event succeeded: slot=4, prio=2, evt=HRLKDCA0017M"]
    assert (err, status) == ("", 0)


def test_the_demo():
    """Each of its attestations with all its records, from the first on."""
    out, err, status = run("--demo")
    assert (err, status) == ("", 0)
    parts = [part.rstrip("\n").split("\n\n")[0].split("\n")
             for part in out.split("\nIn the journal:\n")[1:]]
    assert [(part[0].strip(), part[-1].strip()) for part in parts] == [
        ("SPDM Lib initialized", "SPDM Lib uninitialized")] * 3
