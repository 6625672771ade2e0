# SPDX-License-Identifier: Apache-2.0
"""One private world for each pytest run, one simulated BMC for each case."""

import os
import pathlib

import pytest

from harness import Bmc, sim_env


def pytest_configure(config):
    """Every program that a case needs must be there: no case is skipped."""
    for name in ("ZANTRIC", "BMCSIM"):
        program = os.environ.get(name, "")
        if not os.access(program, os.X_OK):
            pytest.exit(f"{name} must name the built program.", 1)


@pytest.fixture(scope="session", autouse=True)
def world():
    """The mount namespace, the bus and the journal of this pytest run."""
    programs = [pathlib.Path(os.environ[name]).resolve()
                for name in ("ZANTRIC", "BMCSIM")]
    for name, program in zip(("ZANTRIC", "BMCSIM"), programs):
        os.environ[name] = str(program)
    daemons = []
    try:
        sim_env.enter([sim_env.ROOT, *(item.parent for item in programs)])
        daemons.append(sim_env.start_bus())
        daemons.append(sim_env.start_journal())
    except sim_env.Failure as failure:
        pytest.exit(str(failure), 1)
    yield
    for daemon in daemons:
        sim_env.stop_process(daemon)


@pytest.fixture
def bmc(tmp_path):
    """A simulated BMC; the case starts it with its scenario."""
    case = Bmc(tmp_path)
    yield case
    case.close()
