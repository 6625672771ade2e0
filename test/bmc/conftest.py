# SPDX-License-Identifier: Apache-2.0
"""One board for the whole run, one case after the other on it."""

import os

import pytest

pytest.register_assert_rewrite("board", "harness", "expect", "changes")

from board import Board, shell  # noqa: E402  (rewritten by the line above)


def pytest_configure(config):
    """There must be a board: no case is skipped."""
    if not os.environ.get("BMC_SSH"):
        pytest.exit("Run this suite with scripts/bmc check.", 1)


@pytest.fixture(name="bmc")
def fixture_bmc(tmp_path):
    """The board; the case starts the simulated daemons with its scenario."""
    case = Board(tmp_path)
    yield case
    case.close()
    assert shell("ls /run/zantricSpdmSocket /tmp/certchain* 2>/dev/null; :"
                 ) == ""
