# SPDX-License-Identifier: Apache-2.0
"""Which endpoint, at which daemon, a device address leads to."""

import pytest

import attest_support as a
import scenarios as s
from attest_support import ERROR

OTHER = "xyz.openbmc_project.MCTP_Other"
NOTHING = [a.INITIALIZED, a.UNINITIALIZED]


@pytest.fixture(autouse=True)
def clean():
    """No case sees what another left."""
    a.tidy()
    yield
    a.tidy()


def scripted(reply, name=s.MCTP):
    """A daemon whose routing table is a scripted reply."""
    return s.method(name, s.MCTP_PATH, a.BASE, "GetRoutingTable", reply)


def table(data):
    return {"out": "ay", "return": [list(data)]}


def members(bmc):
    return [(call.destination, call.member) for call in bmc.calls()]


def test_no_table_has_the_address(bmc):
    """No SPDM traffic at all, and no message of its own."""
    bmc.start(a.attested(a.device()))
    assert a.attest(bmc, address=0x8c0001) == (
        a.output(address=0x8c0001), "", 255)
    assert bmc.messages() == NOTHING
    assert members(bmc) == [(s.MAPPER, "GetObject"),
                            (s.MCTP, "GetRoutingTable")]


def test_the_mapper_is_asked_for_the_mctp_object(bmc):
    """By its path and interface."""
    bmc.start(a.attested(a.device()))
    a.attest(bmc)
    assert bmc.calls()[0].args == [s.MCTP_PATH, [a.BASE]]


def test_no_mctp_service(bmc):
    """The mapper knows none: nothing else is called."""
    bmc.start(s.mapper())
    assert a.attest(bmc) == (a.output(), "", 255)
    assert members(bmc) == [(s.MAPPER, "GetObject")]
    assert bmc.messages() == [
        NOTHING[0], (ERROR, "[ERR] Failed to get MCTP services"), NOTHING[1]]


def test_an_empty_list_of_services(bmc):
    """A successful reply without a service is no failure of the mapper."""
    bmc.start(s.method(s.MAPPER, s.MAPPER_PATH, s.MAPPER, "GetObject",
                       {"in": "sas", "out": "a{sas}", "return": [{}]}))
    assert a.attest(bmc).status == 255
    assert bmc.messages() == NOTHING


@pytest.mark.parametrize("reply, text", [
    ({"silent": True}, "Connection timed out"),
    ({"out": "s", "return": ["x"]}, "No such device or address"),
])
def test_the_mapper_does_not_answer(bmc, reply, text):
    """An exception has its text in the record."""
    bmc.start(s.method(s.MAPPER, s.MAPPER_PATH, s.MAPPER, "GetObject",
                       {"in": "sas", **reply}))
    assert a.attest(bmc, env={"SYSTEMD_BUS_TIMEOUT": "200ms"}).status == 255
    priority, message = bmc.messages()[1]
    assert priority == ERROR
    assert message.startswith("[ERR] Failed to get MCTP services. ")
    assert text in message


def test_one_failing_daemon_does_not_stop_the_search(bmc):
    """An error reply, then the next daemon."""
    bmc.start(s.merge(a.attested(a.device()), scripted(s.error(), "a.First")))
    assert a.attest(bmc).status == 0
    assert bmc.messages()[1] == (
        ERROR, "[ERR] Failed to get EID table from a.First")


def test_a_daemon_that_dies_in_the_call(bmc):
    """The bus answers in its place, with an error."""
    bmc.start(s.merge(a.attested(a.device()),
                      scripted({"die": True}, "a.First")))
    assert a.attest(bmc).status == 0
    assert bmc.messages()[1] == (
        ERROR, "[ERR] Failed to get EID table from a.First")


@pytest.mark.parametrize("reply", [{"silent": True},
                                   {"out": "s", "return": ["x"]}])
def test_a_daemon_without_a_table(bmc, reply):
    """An exception is in the record, and the next daemon is asked."""
    bmc.start(s.merge(a.attested(a.device()), scripted(reply, "a.First")))
    assert a.attest(bmc, env={"SYSTEMD_BUS_TIMEOUT": "3s"}).status == 0
    priority, message = bmc.messages()[1]
    assert priority == ERROR
    assert message.startswith(
        "[ERR] Exception in getting EID table from a.First. ")


def test_a_table_of_12_bytes_has_one_record(bmc):
    """The last four bytes are no record, whatever they say."""
    record = bytes([a.EID, 0, 0, 0, 0, 0, 0x8c, 0])
    second = bytes([7, 0, 0, 0, 1, 0, 0x8c, 0])
    bmc.start(s.merge(s.mapper(), daemon_with(table(record + second[:4]))))
    assert a.attest(bmc).status == 0


def daemon_with(reply):
    """A daemon with a device and a scripted routing table."""
    return s.merge(a.daemon(a.endpoint(a.device())),
                   s.fault("GetRoutingTable", reply, owner=s.MCTP))


def test_a_cut_record_is_not_found(bmc):
    """Not even one byte is made up."""
    record = bytes([a.EID, 0, 0, 0, 0, 0, 0x8c, 0])
    bmc.start(s.merge(s.mapper(), daemon_with(table(record[:7]))))
    assert a.attest(bmc).status == 255
    assert bmc.messages() == NOTHING


def test_the_first_record_with_the_address_counts(bmc):
    """And it must be exactly that address."""
    bmc.start(s.merge(s.mapper(), daemon_with(table(
        bytes([5, 0, 0, 0, 1, 0, 0x8c, 0, a.EID, 0, 0, 0, 0, 0, 0x8c, 0,
               6, 0, 0, 0, 0, 0, 0x8c, 0])))))
    assert a.attest(bmc).status == 0


def test_the_daemon_that_the_mapper_lists_first_is_used(bmc):
    """The same address in two tables."""
    bmc.start(s.merge(
        s.mapper(), a.daemon(a.endpoint(a.device(), eid=20), name="a.First"),
        a.daemon(a.endpoint(a.device()), name=OTHER)))
    assert a.attest(bmc).status == 0
    exchanges = [(call.destination, call.args[0]) for call in bmc.calls()
                 if call.member == a.EXCHANGE]
    assert set(exchanges) == {("a.First", 20)}


@pytest.mark.parametrize("eid", [0, 255])
def test_an_endpoint_id_that_no_device_has(bmc, eid):
    """Nothing is sent, and the library reports the failed send."""
    bmc.start(s.merge(s.mapper(), a.daemon(a.endpoint(None, eid=eid))))
    assert a.attest(bmc) == (a.output(), "", 255)
    assert a.EXCHANGE not in [call.member for call in bmc.calls()]
    messages = bmc.messages()
    failed = (ERROR, f"[ERR] Failed to send SPDM msg. Invalid target EID {eid}")
    assert messages[0] == a.INITIALIZED
    assert set(messages[1:-3]) == {failed}
    assert messages[-3:] == [
        (ERROR, f"[ERR] libspdm_init_connection failed. rc = {a.SEND_FAILED}"),
        a.UNINITIALIZED, a.UNINITIALIZED]
