# SPDX-License-Identifier: Apache-2.0
"""What the documents show is what the tool prints."""

import os
import pathlib
import subprocess

import pytest

from examples import collect, matches
from harness import TIMEOUT, environment, sim_env

EXAMPLES = list(collect())
SCENARIOS = sim_env.ROOT / "sim/scenarios"


@pytest.fixture(autouse=True)
def clean():
    """No example sees what another left."""
    folders = [pathlib.Path("/tmp"), pathlib.Path("/pstorage/persist/hdr")]
    before = {path for folder in folders for path in folder.iterdir()}
    yield
    for folder in folders:
        for path in set(folder.iterdir()) - before:
            if not path.is_dir():
                path.unlink()


@pytest.fixture(name="shell")
def fixture_shell(tmp_path):
    """Runs command lines one after the other; what each printed."""
    programs = os.path.dirname(os.environ["ZANTRIC"])
    path = (f"{tmp_path}:{programs}:{sim_env.ROOT / 'scripts'}:"
            f"{os.environ['PATH']}")
    # As the package calls it.
    (tmp_path / "zantric-sim").symlink_to(sim_env.ROOT / "scripts/sim")
    build = pathlib.Path(programs).parent
    status = 0

    def run(command):
        nonlocal status
        if command.startswith("journalctl"):
            subprocess.run(["journalctl", "--sync"], check=True)
        done = subprocess.run(
            ["bash", "-c", f"(exit {status}); {command}"], cwd=tmp_path,
            env=environment({"PATH": path, "BUILD": str(build)}),
            stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
            stderr=subprocess.STDOUT, text=True,
            timeout=TIMEOUT, check=False)
        status = done.returncode
        return done.stdout
    return run


@pytest.mark.parametrize("example", EXAMPLES, ids=lambda item: item.place)
def test_an_example_prints_what_stands_there(example, shell, tmp_path):
    """Each of its lines in turn, on one simulated BMC."""
    bmc = sim_env.start_bmc(
        os.environ["BMCSIM"], [str(SCENARIOS / f"{example.scenario}.json")],
        str(tmp_path / "calls"))
    try:
        for command, expected in example.steps:
            printed = shell(command)
            assert matches(expected, printed), (command, expected, printed)
    finally:
        sim_env.stop_process(bmc)


def test_every_scenario_has_an_example():
    """None comes along that nobody is shown."""
    assert {path.stem for path in SCENARIOS.glob("*.json")} == {
        example.scenario for example in EXAMPLES}


@pytest.mark.parametrize("expected, printed, same", [
    ("a\n", "a\n", True), ("a\n", "a\nb\n", False),
    ("a\n...\n", "a\nb\n", True),
    ("...\nb\n", "b\n", True), ("a …\n", "a b c\n", True), ("", "a\n", False),
    ("at Sat Nov 21 12:00:00 2026\n", "at Mon Jan  5 01:02:03 2027\n", True),
    ("takes 1ms\n", "takes 20ms\n", True), ("a.c\n", "abc\n", False)])
def test_what_counts_as_the_same(expected, printed, same):
    """An example that any output fits would prove nothing."""
    assert matches(expected, printed) == same
