# SPDX-License-Identifier: Apache-2.0
"""scripts/lint/mirror: tests are named after sources, and by one habit."""

import subprocess

import pytest

from conftest import ROOT


@pytest.fixture
def small(tree):
    """A tree in order, with one source in each folder that is mirrored."""
    tree.plant("tool/event/event.cpp", "")
    tree.plant("io/common/src/MctpI2CBus.cpp", "")
    tree.plant("io/common/spdm/Spdm.hpp", "")
    tree.plant("sim/bus/value.cpp", "")
    tree.plant("test/tool/event/event_test.cpp", "TEST(Event, isRaised)\n")
    tree.plant("test/io/mctp_i2c_bus_test.cpp", "TEST_F(Pool, isFull)\n")
    tree.plant("test/io/spdm/spdm_test.cpp", "TEST_P(Spdm, isSpoken)\n")
    tree.plant("test/sim/bus/value_test.cpp", "")
    return tree


def test_the_tree_keeps_it(tree):
    tree.copy("tool", "io", "sim", "test", "subprojects")
    assert tree.lint("mirror") == (0, [])


def test_a_tree_in_order(small):
    assert small.lint("mirror") == (0, [])


@pytest.mark.parametrize("name, mirrored", [
    ("test/tool/event_test.cpp", "tool"),
    ("test/tool/event/other_test.cpp", "tool"),
    ("test/io/spdm_test.cpp", "io/common/src"),
    ("test/io/spdm/mctp_i2c_bus_test.cpp", "io/common/spdm"),
    ("test/sim/models/value_test.cpp", "sim"),
])
def test_a_test_of_nothing_is_told(small, name, mirrored):
    small.plant(name, "")
    assert small.lint("mirror") == (
        1, [f"{name}: {mirrored}/ has nothing of that name"])


@pytest.mark.parametrize("text, name", [
    ("TEST(Event, IsRaised)\n", "Event.IsRaised"),
    ("TEST_F(event, isRaised)\n", "event.isRaised"),
    ("TEST_P(Event,\n       IsRaised)\n", "Event.IsRaised"),
])
def test_a_name_in_another_style_is_told(small, text, name):
    small.plant("subprojects/x/test/event_test.cpp", text)
    assert small.lint("mirror") == (
        1, [f"subprojects/x/test/event_test.cpp: {name}: a suite begins with "
            "a capital, the sentence does not"])


def test_what_no_test_is_named_after_can_be_listed(small):
    small.plant("tool/event/params.cpp", "")
    small.plant("tool/event/params.hpp", "")
    small.plant("io/common/src/Text.hpp", "")
    (small.path / "test/sim/bus/value_test.cpp").unlink()
    assert missing(small) == ["tool/event/params.cpp",
                              "io/common/src/Text.hpp", "sim/bus/value.cpp"]


def missing(tree):
    """What --missing says."""
    return subprocess.check_output(
        [ROOT / "scripts/lint/mirror", "--missing", tree.path],
        text=True).splitlines()
