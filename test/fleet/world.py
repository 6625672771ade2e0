# SPDX-License-Identifier: Apache-2.0
"""The one place where the lab takes the simulator's Python from."""

import pathlib
import sys

_TREE = pathlib.Path(__file__).resolve().parents[2]
sys.path[:0] = [str(_TREE), str(_TREE / "test/e2e")]

from harness import Patience, Watch  # noqa: E402
from sim.launch.env import (ROOT, Failure, enter, start_bmc,  # noqa: E402
                            start_bus, start_journal, start_process,
                            stop_process)

__all__ = ["ROOT", "Failure", "Patience", "Watch", "enter", "start_bmc",
           "start_bus", "start_journal", "start_process", "stop_process"]
