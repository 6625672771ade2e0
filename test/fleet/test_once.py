# SPDX-License-Identifier: Apache-2.0
"""A change is sent at most once, whatever the connection does."""

import random
import threading

import pytest
from plays import task
from proxies import Cutter

SEED = 20
CONTROLLER = {"service": "rsa", "address": "0x8c0000"}
NO_SHARING = {"ANSIBLE_SSH_ARGS": "-F /dev/null -o ControlMaster=no "
              "-o ControlPath=none -o UserKnownHostsFile={folder}/known_hosts "
              "-o GlobalKnownHostsFile=/dev/null"}


def resets(bmc, number):
    """How often the drive was reset."""
    return len([call for call in bmc.calls("Reset")
                if call["args"] == [0x8c0000, number]])


@pytest.fixture(name="cut")
def fixture_cut(lab):
    """Runs a change through connections that are cut; closes the proxies."""
    made = []

    def make(bmc, after, times, skip=0):
        proxy = Cutter(bmc.port, after, times, skip)
        made.append(proxy)
        lab.trust((proxy.port, bmc.key_line))
        return proxy
    yield make
    for proxy in made:
        proxy.close()


def cut_hosts(lab, cut, chance, times, shared):
    """Twenty hosts, each with a drive of its own, so that its calls count:
    variables, and (BMC, drive, resets before, proxy)."""
    bmcs = list(lab.bmcs.values())
    hosts, counted = {}, {}
    for number in range(20):
        bmc = bmcs[number % len(bmcs)]
        drive = 10 + number // len(bmcs)
        # Where sessions share a connection it carries some 12,000 bytes;
        # where not, the first three carry some 5,000 each.
        proxy = (cut(bmc, chance.randrange(1, 12000), times) if shared else
                 cut(bmc, chance.randrange(1, 6000), times, number % 3))
        name = f"cut{number:02d}"
        hosts[name] = lab.variables(bmc, ansible_port=proxy.port, drive=drive)
        counted[name] = (bmc, drive, resets(bmc, drive), proxy)
    return hosts, counted


@pytest.mark.parametrize("retries, times, shared", [
    (0, 1, True), (3, 1, True), (0, 99, True),
    (0, 1, False), (3, 1, False), (3, 2, False), (0, 99, False)])
def test_a_connection_cut_at_twenty_random_bytes(lab, ansible, cut, retries,
                                                 times, shared):
    chance = random.Random(SEED + times + retries)
    hosts, counted = cut_hosts(lab, cut, chance, times, shared)
    env = {"ANSIBLE_SSH_RETRIES": str(retries), "ANSIBLE_TIMEOUT": "5"}
    if not shared:
        env.update({name: text.format(folder=lab.folder)
                    for name, text in NO_SHARING.items()})
    play = ansible.play([task("reset", operation="#Drive.Reset",
                              resource_id="{{ drive }}", **CONTROLLER)],
                        hosts, env=env, timeout=500)
    for name, (bmc, drive, before, proxy) in counted.items():
        record = play.one(name)
        sent = resets(bmc, drive) - before
        said = (proxy.after, proxy.cuts, record)
        assert sent <= 1, said
        if record.status == "changed":
            assert sent == 1, said
        elif record.status == "unreachable":
            assert sent == 0, said
        else:
            assert record.result["outcome"] == "unknown", said
            assert record.result["msg"].startswith("outcome unknown: "), said
    assert sum(proxy.cuts > 0 for _, _, _, proxy in counted.values()) >= 8


def test_a_lost_change_is_found_again(lab, ansible, cut):
    """The connection is cut while the change is under way; it goes on, and its
    own result is reported."""
    bmc = lab.bmcs["bmc09"]
    bmc.play_with_fault("Reset", {"return": [0], "out": "i",
                                  "delay_ms": 3000})
    killer = threading.Thread(target=lambda: (
        bmc.wait_call("Reset"), bmc.drop()))
    killer.start()
    record = ansible.run(bmc, operation="#Drive.Reset", resource_id=12,
                         **CONTROLLER)
    killer.join()
    assert (record.status, record.result["outcome"]) == ("changed", "done")
    assert resets(bmc, 12) == 1
    bmc.restore()


@pytest.mark.parametrize("retries", ["0", "3"])
def test_a_bmc_that_vanishes_in_a_change(lab, ansible, retries):
    bmc = lab.bmcs["bmc08"]
    bmc.play_with_fault("DeleteVolume", {"silent": True})
    before = len(bmc.calls("DeleteVolume"))
    killer = threading.Thread(target=lambda: (
        bmc.wait_call("DeleteVolume", before + 1), bmc.vanish()))
    killer.start()
    record = ansible.run(bmc, operation="delete", resource_id=402,
                         env={"ANSIBLE_SSH_RETRIES": retries}, **CONTROLLER)
    killer.join()
    bmc.listen()
    assert (record.status, record.result["outcome"]) == ("failed", "unknown")
    assert "outcome unknown: the connection was lost" in record.result["msg"]
    assert "zantric -o show -a 0x8c0000 -s rsa -t Volumes" in (
        record.result["msg"])
    assert len(bmc.calls("DeleteVolume")) == before + 1
    bmc.restore()


def test_a_bmc_that_was_restarted_in_a_change(lab, ansible):
    """What it kept in memory is gone: nobody knows what became of it."""
    bmc = lab.bmcs["bmc08"]
    bmc.play_with_fault("Reset", {"silent": True})
    before = len(bmc.calls("Reset"))

    def restart():
        bmc.wait_call("Reset", before + 1)
        bmc.kill_tool()
        bmc.shell("rm -rf /run/zantric-*")
        bmc.drop()
    killer = threading.Thread(target=restart)
    killer.start()
    record = ansible.run(bmc, operation="#Drive.Reset", resource_id=12,
                         **CONTROLLER)
    killer.join()
    assert (record.status, record.result["outcome"]) == ("failed", "unknown")
    assert len(bmc.calls("Reset")) == before + 1
    bmc.restore()


def test_a_bmc_that_falls_silent_is_noticed(lab, ansible):
    """No connection is closed; nothing comes any more."""
    bmc = lab.bmcs["bmc10"]
    bmc.play_with_fault("Reset", {"silent": True})
    before = len(bmc.calls("Reset"))
    killer = threading.Thread(target=lambda: (
        bmc.wait_call("Reset", before + 1), bmc.freeze()))
    killer.start()
    record = ansible.run(bmc, operation="#Drive.Reset", resource_id=12,
                         env={"ANSIBLE_TIMEOUT": "2"}, **CONTROLLER)
    killer.join()
    bmc.thaw()
    assert (record.status, record.result["outcome"]) == ("failed", "unknown")
    assert len(bmc.calls("Reset")) == before + 1
    bmc.restore()


def test_an_abandoned_change_cleans_up_after_itself(lab, ansible):
    """What the control node leaves behind belongs to a process that ends it.
    """
    bmc = lab.bmcs["bmc09"]
    bmc.play_with_fault("Reset", {"return": [0], "out": "i",
                                  "delay_ms": 1000})
    before = len(bmc.calls("Reset"))
    # Those of runs that were cut off before.
    there = set(bmc.path("/run").glob("zantric-*"))
    killer = threading.Thread(target=lambda: (
        bmc.wait_call("Reset", before + 1), bmc.vanish()))
    killer.start()
    record = ansible.run(bmc, operation="#Drive.Reset", resource_id=12,
                         **CONTROLLER)
    killer.join()
    assert record.result["outcome"] == "unknown"
    folder, = set(bmc.path("/run").glob("zantric-*")) - there
    janitor = (folder / "janitor").read_text().strip()
    # Its time is ten minutes; what it does then is seen at once.
    bmc.shell(f"kill $(cat /proc/{janitor}/task/{janitor}/children)")
    bmc.wait_gone(folder)
    bmc.listen()
    bmc.restore()
