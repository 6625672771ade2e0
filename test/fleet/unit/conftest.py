# SPDX-License-Identifier: Apache-2.0
"""Makes the collection's modules importable without Ansible."""

import pathlib
import sys

_TREE = pathlib.Path(__file__).resolve().parents[3]
sys.path[:0] = [str(_TREE / "fleet/plugins"), str(_TREE / "test/fleet")]
