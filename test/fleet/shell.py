# SPDX-License-Identifier: Apache-2.0
"""Opens a shell, or runs a command, in the lab; see scripts/fleet."""

import os
import subprocess
import sys

from lab import Lab, interrupt_as_exit
from world import ROOT, Failure


def main(words):
    """Runs the words, or a shell, and returns the status."""
    interrupt_as_exit()
    count = int(os.environ.get("FLEET_HOSTS") or 16)
    if not 1 <= count <= 250:
        raise Failure("FLEET_HOSTS is a number from 1 to 250.")
    with Lab(count, os.environ.get("BUILD") or ROOT / "build") as lab:
        environment = lab.environment(
            PS1="(fleet) \\w # ", ANSIBLE_INVENTORY=str(
                lab.folder / "hosts.json"))
        if not words:
            print(f"{count} simulated BMCs, {lab.folder}/hosts.json. Try:\n"
                  "  ansible all -m zantric.fleet.run -a target=Volumes\n"
                  "  ansible-playbook zantric.fleet.inventory", flush=True)
            words = ["bash", "--norc", "-i"]
        return subprocess.run(words, env=environment, check=False).returncode


if __name__ == "__main__":
    try:
        sys.exit(main(sys.argv[1:]))
    except Failure as failure:
        print(f"fleet: {failure}", file=sys.stderr)
        sys.exit(1)
