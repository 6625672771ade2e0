# SPDX-License-Identifier: Apache-2.0
"""I2C buses as the kernel has them: the SoC's controllers, and a multiplexer
that is bound as an administrator would bind it."""

import re

import pytest

import scenarios as s
from board import holds, shell
from io_cases import LAUNCHER, daemon, drives_on_buses, launcher, smbus_name
from test_i2c_mctp import (NO_SERVICES, discover, enable, launched, show,
                           triggered)

SYS = "/sys/bus/i2c/devices/i2c-"
MUX = 3
ADDRESS = "3-0070"


def names():
    """Number to name of each bus that the kernel has."""
    listing = shell(f"grep -H . {SYS}*/name")
    found = re.findall(r"i2c-(\d+)/name:(.*)", listing)
    return {int(number): name for number, name in found}


@pytest.fixture(name="channels")
def fixture_channels():
    """The buses behind the multiplexer, which is bound for a case."""
    before = set(names())
    shell(f"echo pca9548 0x70 >{SYS}{MUX}/new_device")
    # The driver binds at once when it is there already.
    shell("modprobe i2c-mux-pca954x; "
          f"until [ -e /sys/bus/i2c/devices/{ADDRESS}/driver ]; do :; done")
    yield sorted(set(names()) - before)
    shell(f"echo 0x70 >{SYS}{MUX}/delete_device")


def root_buses():
    return [bus for bus, name in names().items() if "mux" not in name]


def test_the_controllers_are_root_buses(bmc):
    """All that the SoC has."""
    buses = root_buses()
    assert len(buses) >= 10
    for bus in buses:
        assert show(bmc, bus) == (f"{SYS}{bus} is a root bus.\n", "", 0)


def test_the_channels_lead_to_their_bus(bmc, channels):
    """By the name that the kernel's driver gives them."""
    assert len(channels) == 8
    for index, bus in enumerate(channels):
        assert names()[bus] == f"i2c-{MUX}-mux (chan_id {index})"
        assert show(bmc, bus) == (f"{SYS}{bus} is NOT a root bus.\n"
                                  f"root bus is i2c-{MUX}\n", "", 0)


def test_channels_that_are_gone(bmc, channels):
    """No bus, no root."""
    shell(f"echo 0x70 >{SYS}{MUX}/delete_device")
    try:
        assert not holds(f"[ -e {SYS}{channels[0]} ]")
        assert show(bmc, channels[0]) == (
            f"{SYS}{channels[0]} is NOT a root bus.\n"
            "Unable to get its root bus.\n", "", 0)
    finally:
        shell(f"echo pca9548 0x70 >{SYS}{MUX}/new_device")


@pytest.mark.parametrize("place", [None, 0, 7])
def test_a_daemon_is_launched_on_the_root_bus(bmc, channels, place):
    """Asked for by the bus itself or by a channel of it; once it is there, it
    is left alone."""
    bus = MUX if place is None else channels[place]
    bmc.start(s.merge(s.mapper(), launcher(), drives_on_buses(0x00030210)))
    assert enable(bmc, bus) == ("", "", 0)
    assert enable(bmc, bus) == ("", "", 0)
    assert [call for call in bmc.calls() if call.destination == LAUNCHER] == [
        launched(MUX, 48, 32)]
    assert bmc.messages() == [NO_SERVICES]


def test_no_daemon_is_launched_on_a_bus_that_is_not_there(bmc):
    """The journal says so."""
    bmc.start(s.merge(s.mapper(), launcher()))
    assert enable(bmc, 254) == ("", "", 255)
    assert bmc.messages()[-1] == (3, f"{SYS}255 is not a root bus")
    assert bmc.calls() == []


def test_discovery_goes_to_the_daemon_of_the_root_bus(bmc, channels):
    """For the bus and for each of its channels."""
    bmc.start(s.merge(s.mapper(), launcher(), daemon(MUX)))
    for bus in (MUX, channels[0], channels[-1]):
        assert discover(bmc, bus) == ("", "", 0)
    assert bmc.calls().count(triggered(smbus_name(MUX))) == 3
