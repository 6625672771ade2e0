# SPDX-License-Identifier: Apache-2.0
"""What every measurement needs: builds, and the simulated BMC."""

import contextlib
import json
import pathlib
import subprocess
import sys

from bench import measure
from sim.launch import env

HERE = pathlib.Path(__file__).resolve().parent
ROOT = HERE.parent
BUILD = ROOT / "build-release"
DEFAULT = ROOT / "sim/scenarios/default.json"
RELEASE = "--buildtype=release -Dtests=disabled"
# One program, also where sdbusplus and lg2 are there as shared libraries.
STATIC = f"{RELEASE} --force-fallback-for=sdbusplus,phosphor-logging"


def shell(script):
    """Runs a line of shell that knows the functions of the scripts."""
    line = f'. "{ROOT}/scripts/lib.sh"; {script}'
    if subprocess.run(["bash", "-euo", "pipefail", "-c", line],
                      check=False).returncode != 0:
        raise measure.Failure("the preparation failed")


def say(text):
    """Tells how far it is."""
    print(text, file=sys.stderr, flush=True)


@contextlib.contextmanager
def simulated(scenario, folder):
    """The simulated BMC while it plays a scenario; gives its call log."""
    log = pathlib.Path(folder, "calls")
    log.write_bytes(b"")
    if not isinstance(scenario, pathlib.Path):
        document = pathlib.Path(folder, "scenario.json")
        document.write_text(json.dumps(scenario))
        scenario = document
    process = env.start_bmc(str(BUILD / "sim/bmcsim"), [str(scenario)],
                            str(log))
    try:
        yield log
    finally:
        env.stop_process(process)


def logged(command, log):
    """The calls that a command makes."""
    start = log.stat().st_size
    subprocess.run(command, check=True, stdout=subprocess.DEVNULL)
    return [json.loads(line) for line in log.read_text()[start:].splitlines()]
