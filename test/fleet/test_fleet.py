# SPDX-License-Identifier: Apache-2.0
"""Sixty-four BMCs, three of them dead; and what an inventory costs."""

import json
import os
import re
import subprocess
import time
from typing import NamedTuple

import pytest
from plays import Ansible
from lab import Lab, free_port
from world import ROOT

DEAD = ("bmc07", "bmc33", "bmc64")
# How many BMCs, and how often each is measured.
ROUNDS = {1: 5, 4: 5, 16: 3, 64: 3}
CPU_BOUND = 1.6


@pytest.fixture(scope="module", name="large")
def fixture_large():
    """A lab of its own: the other has ended or goes on beside it."""
    with Lab(64, os.environ.get("BUILD") or ROOT / "build", forks=32) as made:
        yield made


def variables(lab, names):
    """These BMCs' inventory."""
    return {name: lab.variables(lab.bmcs[name]) for name in names}


def first(lab, count):
    return variables(lab, sorted(lab.bmcs)[:count])


def test_sixty_four_with_three_dead(large, tmp_path):
    hosts = first(large, 64)
    for name in DEAD:
        hosts[name]["ansible_port"] = free_port()
    play = Ansible(large).playbook(
        "zantric.fleet.inventory", "-e", f"output={tmp_path}",
        inventory=hosts, timeout=500)
    assert play.status != 0
    assert f"3 of 64 BMCs: {', '.join(DEAD)}" in play.out
    found = json.loads((tmp_path / "inventory.json").read_text())["hosts"]
    assert len(found) == 64
    for name, host in found.items():
        if name in DEAD:
            assert host["problem"] == "unreachable"
            continue
        assert "problem" not in host
        inventory = host["inventory"]
        assert [len(inventory[kind]) for kind in
                ("devices", "drives", "volumes", "errors")] == [14, 32, 5, 0]
        number = int(name[3:])
        serials = {row["document"]["SerialNumber"][-3:]
                   for row in inventory["drives"]}
        assert serials == {f"-{number:02d}"}
        assert len(host["health"]["failed_drives"]) == (number % 3 == 0)
        assert len(host["health"]["degraded_volumes"]) == (number % 4 == 0)
        assert bool(host["health"]["links_down"]) == (number % 5 != 0)
    page = (tmp_path / "inventory.html").read_text()
    assert page.count("<summary>bmc") == 61
    assert page.count(">unreachable<") == 3
    # Nothing of it is anywhere else.
    assert not re.findall(r"(?:src|href|url)\s*[=(]", page)


class Cost(NamedTuple):
    """What a command took."""

    seconds: float
    cpu: float     # of the control node, its ssh included, in seconds
    memory: float  # of its largest process, in MiB
    out: str


def timed(lab, command, inventory, *words):
    """What a command costs with no connection open before it."""
    folder = lab.folder / "cost"
    folder.mkdir(exist_ok=True)
    file = folder / "hosts.json"
    file.write_text(json.dumps({"all": {"hosts": inventory}}))
    subprocess.run(["rm", "-rf", lab.folder / "cp"], check=True)
    (lab.folder / "cp").mkdir(mode=0o700)
    start = time.monotonic()
    with open(folder / "out", "w+", encoding="utf-8") as out:
        process = subprocess.Popen(
            [*command, "-i", str(file), *words], cwd=folder, stdout=out,
            env=lab.environment(), stdin=subprocess.DEVNULL,
            stderr=subprocess.STDOUT)
        _, process.returncode, usage = os.wait4(process.pid, 0)
        seconds = time.monotonic() - start
        out.seek(0)
        assert process.returncode == 0, out.read()
        return Cost(seconds, usage.ru_utime + usage.ru_stime,
                    usage.ru_maxrss / 1024, out.read())


RAW = ("ansible", "all", "-m", "raw", "-a", "zantric")
INVENTORY = ("ansible-playbook", "zantric.fleet.inventory")


def best(costs):
    """The least time and the least CPU time, each of all runs."""
    return (min(cost.seconds for cost in costs),
            min(cost.cpu for cost in costs))


def test_what_an_inventory_costs(large):
    """Both in turn; for the table of the docs. The BMCs run on the same cores
    here, so what is bounded closely is the control node's own work."""
    lines = []
    for size, rounds in ROUNDS.items():
        hosts = first(large, size)
        pairs = [(timed(large, INVENTORY, hosts), timed(large, RAW, hosts))
                 for _ in range(rounds)]
        told = timed(large, INVENTORY, hosts, "-vvv").out
        (mine, mine_cpu), (raw, raw_cpu) = map(best, zip(*pairs))
        lines.append((size, mine, raw, mine / raw, mine_cpu / raw_cpu,
                      told.count("SSH: EXEC ssh") / size, pairs[0][0].memory))
    print("\n\n| BMCs | inventory | raw | time | CPU of the control node | "
          "sessions per BMC | memory |\n|---|---|---|---|---|---|---|")
    for size, mine, raw, time_ratio, cpu_ratio, sessions, memory in lines:
        print(f"| {size} | {mine:.1f} s | {raw:.1f} s | x {time_ratio:.2f} | "
              f"x {cpu_ratio:.2f} | {sessions:.0f} | {memory:.0f} MiB |")
    assert all(line[5] == 1 for line in lines)
    assert all(line[4] <= CPU_BOUND for line in lines), lines
