# SPDX-License-Identifier: Apache-2.0
"""Draws the README's picture: the inventory's page of a fleet, as a browser
shows it. One BMC is dead, one has the marker file, one a foreign device."""

import json
import os
import subprocess
import sys

from lab import Lab
from variants import models
from world import ROOT, Failure

ROOTS = "/run/bmcsim/roots"
DEAD, MARKED, FOREIGN = "bmc07", "bmc05", "bmc10"


def prepare(bmc):
    """Lets a BMC have only endpoints that answer."""
    scenario = json.loads((bmc.folder / "own.json").read_text())
    for _, model in models(scenario, "mctp"):
        model["endpoints"] = [endpoint for endpoint in model["endpoints"]
                              if "spdm" in endpoint]
        if bmc.name == FOREIGN:
            model["endpoints"][1]["spdm"]["slots"] = [
                {"slot": 0, "defect": "foreign-root"}]
    bmc.play(scenario)


def draw(lab, picture):
    """Reads the fleet and draws its page."""
    for bmc in lab.bmcs.values():
        prepare(bmc)
    lab.bmcs[DEAD].silence()
    lab.bmcs[MARKED].shell("touch /tmp/ignore_cert_check")
    # It ends as a failure, for the dead one and the foreign one.
    subprocess.run(
        ["ansible-playbook", "zantric.fleet.inventory", "-e", "attest=true",
         "-e", f"remote_roots={ROOTS}"], cwd=lab.folder, check=False,
        env=lab.environment(), stdin=subprocess.DEVNULL)
    subprocess.run(
        ["chromium", "--headless", "--no-sandbox", "--disable-gpu",
         "--hide-scrollbars", "--window-size=1180,690",
         f"--screenshot={picture}", (lab.folder / "inventory.html").as_uri()],
        check=True, stdin=subprocess.DEVNULL, stderr=subprocess.DEVNULL)


if __name__ == "__main__":
    try:
        with Lab(12, os.environ["BUILD"]) as made:
            draw(made, ROOT / "docs/images/fleet.png")
    except Failure as failure:
        sys.exit(f"fleet: {failure}")
