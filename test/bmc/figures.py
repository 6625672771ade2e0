# SPDX-License-Identifier: Apache-2.0
"""What a run costs on the emulated board, as ratios; see scripts/bmc."""

import json
import os
import pathlib
import shlex
import statistics
import subprocess
import sys

from board import ROOT, SIMULATOR, shell, ssh

sys.path.insert(0, str(ROOT / "bench"))

import cases  # noqa: E402  (the path above leads to it)

ROUNDS = 10
WARM_UP = 1
DEVICE = ["-o", "attest", "-a", hex(cases.ADDRESS)]
MODULE = "/usr/lib/arm-linux-gnueabihf/zantric/zantric-attest.so"


def put(program, path):
    """Copies a program to the board."""
    subprocess.run(ssh(f"cat >{path} && chmod 755 {path}"), check=True,
                   input=pathlib.Path(program).read_bytes())


def logged(command):
    """The calls of a command as words for the floor program."""
    shell(f"systemctl restart {SIMULATOR} && {command} >/dev/null")
    calls = [json.loads(line)
             for line in shell("cat /run/bmcsim/calls").splitlines()]
    return cases.floor_words(calls)


def measured(commands):
    """(nanoseconds, kB) of each command: medians of its runs."""
    words = " -- ".join(shlex.join(words) for words in commands.values())
    runs = [[] for _ in commands]
    for line in shell(f"/run/rounds {ROUNDS + WARM_UP} {words}").splitlines():
        place, elapsed, memory, status = map(int, line.split())
        assert status == 0, (list(commands)[place], status)
        runs[place].append((elapsed, memory))
    return {name: tuple(statistics.median(column)
                        for column in zip(*runs[place][WARM_UP:]))
            for place, name in enumerate(commands)}


def main():
    put(os.environ["FLOOR"], "/run/floor")
    put(os.environ["ROUNDS"], "/run/rounds")
    shell(f"rm -f /etc/default/{SIMULATOR}; systemctl restart {SIMULATOR}")
    commands = {
        "start of a process: `true`": ["/bin/true"],
        "start: `zantric -h`": ["zantric", "-h"],
        **{"one call: " + name.replace("zantric", "`zantric`"): words
           for name, words in cases.competitors({"zantric": "zantric"},
                                                "/run/floor").items()
           if "jq" not in name},  # the board has none
        "whole listing: floor": ["/run/floor", *logged("zantric")],
        "whole listing: `zantric`": ["zantric"],
        "`attest`": ["zantric", *DEVICE],
    }
    result = measured(commands)
    base = {"start": result["start of a process: `true`"],
            "one call": result["one call: floor"],
            "whole listing": result["whole listing: floor"]}
    print("| run | time | against its floor | peak memory, kB |")
    print("|---|--:|--:|--:|")
    true = base["start"][0]
    for name, (elapsed, memory) in result.items():
        floor = base.get(name.split(":")[0].split(" of ")[0])
        ratio = f"{elapsed / floor[0]:.2f}" if floor else ""
        print(f"| {name} | {elapsed / true:.2f} | {ratio} | {memory:.0f} |")
    print(shell("stat -c '%n %s' $(command -v zantric) " + MODULE), end="")
    print(shell("dpkg-query -W -f '${Package} ${Installed-Size} kB\\n' "
                "zantric zantric-sim"), end="")


main()
