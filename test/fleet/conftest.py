# SPDX-License-Identifier: Apache-2.0
"""One lab for the suite."""

import os
import pathlib
import sys

import pytest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent))

from plays import Ansible  # noqa: E402
from lab import Lab  # noqa: E402
from world import ROOT  # noqa: E402

collect_ignore = ["unit"]
FULL = 64


@pytest.fixture(scope="session")
def lab():
    """Sixteen BMCs."""
    with Lab(int(os.environ.get("FLEET_HOSTS", "16")),
             os.environ.get("BUILD") or ROOT / "build") as made:
        yield made


@pytest.fixture(scope="session")
def ansible(lab):
    return Ansible(lab)


@pytest.fixture
def bmc(lab, request):
    """A BMC that plays its own scenario again after the case."""
    name = getattr(request, "param", "bmc01")
    made = lab.bmcs[name]
    yield made
    made.restore()


def pytest_unconfigure(config):
    """The closing line."""
    reporter = config.pluginmanager.get_plugin("terminalreporter")
    if reporter is not None:
        stats = reporter.stats
        failed = len(stats.get("failed", [])) + len(stats.get("error", []))
        print(f"{len(stats.get('passed', []))} passed, {failed} failed")
