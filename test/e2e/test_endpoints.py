# SPDX-License-Identifier: Apache-2.0
"""The MCTP endpoint of a PCIe device."""

import pytest

import scenarios as s
from expect import under_header
from harness import routing_table

FAILED = "[ERR] Get routing table of binding 2/0 failed"


def eids(bmc, *addresses, reply=None, endpoints=(), env=None):
    """The endpoint ids shown for devices at these addresses."""
    parts = [s.fault("GetRoutingTable", reply)] if reply else []
    bmc.start(s.server(
        s.pcie("rsa", *({"PCIeAddress": item} for item in addresses)),
        s.endpoints(*endpoints), *parts))
    result = bmc.run(env=env)
    assert (result.err, result.status) == ("", 0)
    return [int(line.rpartition("EID(0x")[2].rstrip(")"), 16)
            for line in under_header(result.out).splitlines()]


def raw(data):
    return {"out": "ay", "return": [data]}


@pytest.mark.parametrize("length, found", [
    (0, [0, 0]), (7, [0, 0]), (8, [9, 0]), (15, [9, 0]), (16, [9, 10])])
def test_a_reply_of_15_bytes_is_one_entry(bmc, length, found):
    """Bytes that make no whole record are ignored."""
    table = routing_table((9, 0x8c0000), (10, 0x3b0000))
    assert eids(bmc, 0x8c0000, 0x3b0000, reply=raw(table[:length])) == found
    assert bmc.messages() == []


def test_the_largest_address_with_the_same_upper_bytes_is_taken(bmc):
    """Whatever the device's own low byte is, and in any order."""
    assert eids(bmc, 0x3b000000, 0x3b0000ff, endpoints=[
        (7, 0x3b000001), (8, 0x3b000000)]) == [7, 7]


def test_of_entries_with_one_address_the_last_is_taken(bmc):
    """As the table may still hold an older one."""
    assert eids(bmc, 0x3b000000, endpoints=[
        (7, 0x3b000001), (8, 0x3b000001), (9, 0x3b000000)]) == [8]


def test_a_device_with_top_byte_ff_needs_the_exact_address(bmc):
    """And the first of several such entries."""
    assert eids(bmc, 0xff000010, 0xff000020, endpoints=[
        (7, 0xff000011), (8, 0xff000010), (9, 0xff000010)]) == [8, 0]


def test_an_entry_that_differs_above_the_low_byte_does_not_match(bmc):
    """Not even by one bit."""
    assert eids(bmc, 0x3b000000, endpoints=[(7, 0x3b000100)]) == [0]


@pytest.mark.parametrize("reply", [s.error(), {"die": True}])
def test_a_daemon_that_fails_leaves_every_eid_0(bmc, reply):
    """The journal has one error; the listing goes on."""
    assert eids(bmc, 0x8c0000, reply=reply,
                endpoints=[(9, 0x8c0000)]) == [0]
    assert bmc.messages() == [(3, FAILED)]
    record, = bmc.journal()
    assert (record["BID"], record["SBID"]) == ("2", "0")


def test_an_absent_daemon_leaves_every_eid_0(bmc):
    """The bus answers for it."""
    scenario = s.server(s.pcie("rsa", {}))
    del scenario["services"][s.MCTP]
    bmc.start(scenario)
    result = bmc.run()
    assert under_header(result.out).endswith("EID(0x00)\n")
    assert bmc.messages() == [(3, FAILED)]


@pytest.mark.parametrize("reply", [
    {"out": "s", "return": ["x"]}, {"return": []}, {"silent": True}])
def test_a_table_that_cannot_be_read_is_an_exception(bmc, reply):
    """Its text is the field EXCPT."""
    assert eids(bmc, 0x8c0000, reply=reply,
                env={"SYSTEMD_BUS_TIMEOUT": "200ms"}) == [0]
    record, = bmc.journal()
    assert record["EXCPT"].startswith("sd_bus_")
    assert record["MESSAGE"] == (
        "[ERR] Get routing table of binding 2/0. exception: " +
        record["EXCPT"])
    assert record["PRIORITY"] == "3"


def test_a_long_table_is_read_whole(bmc):
    """More entries than there are endpoint ids."""
    table = [(index % 256, 0x100 * index) for index in range(4000)]
    assert eids(bmc, 0x100 * 3999, endpoints=table) == [3999 % 256]
