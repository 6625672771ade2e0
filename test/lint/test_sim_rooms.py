# SPDX-License-Identifier: Apache-2.0
"""scripts/lint/sim_rooms: the order of the simulator's rooms is kept."""

import pathlib
import shutil
import subprocess

import pytest

ROOT = pathlib.Path(__file__).resolve().parents[2]


def lint(tree):
    """The status and what was said."""
    result = subprocess.run([ROOT / "scripts/lint/sim_rooms", tree],
                            check=False, capture_output=True, text=True)
    return result.returncode, result.stdout, result.stderr


def test_the_tree_keeps_it():
    assert lint(ROOT) == (0, "", "")


@pytest.mark.parametrize("room, included, why", [
    ("bus", "sim/models/model.hpp", "is no floor below bus/"),
    ("spdm", "sim/bus/reply.hpp", "is no floor below spdm/"),
    ("scenario", "sim/bmc/world.hpp", "is no floor below scenario/"),
    ("models", "tool/options.hpp", "is in no room of the simulator"),
    ("models", "model.hpp", "is in no room of the simulator"),
])
def test_an_include_against_it_is_told(tmp_path, room, included, why):
    shutil.copytree(ROOT / "sim", tmp_path / "sim")
    planted = tmp_path / "sim" / room / "planted.cpp"
    planted.write_text(f'#include "{included}"\n')
    assert lint(tmp_path) == (1, f"{planted}: {included} {why}\n", "")


def test_a_folder_without_a_floor_is_told(tmp_path):
    shutil.copytree(ROOT / "sim", tmp_path / "sim")
    planted = tmp_path / "sim/attic/planted.hpp"
    planted.parent.mkdir()
    planted.write_text("#pragma once\n")
    assert lint(tmp_path) == (
        1, f"{planted}: the folder is no room in sim/README.md\n", "")
