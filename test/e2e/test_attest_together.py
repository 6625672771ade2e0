# SPDX-License-Identifier: Apache-2.0
"""Several attestations at the same time: each gets its own device's answers."""

import pytest

import attest_support as a
import scenarios as s

SLOW = 0x8c0000
# Before each answer, so that the others run while a response is on its way.
DELAY_MS = 15


@pytest.fixture(autouse=True)
def clean():
    """No case sees what another left."""
    a.tidy()
    yield
    a.tidy()


def value_of(number):
    """What a device measures; no two the same."""
    return bytes([0xa0 + number]) * 8


def device(number, delay=0):
    """A device with a value of its own."""
    faults = [a.fault("ANY", "slow", times=0, milliseconds=delay)]
    return a.endpoint(
        a.device(measurements=a.blocks(((1, 0x80, value_of(number)),)),
                 faults=faults if delay else []),
        eid=9 + number, address=SLOW + number)


def start(bmc, number):
    """Begins the attestation of a device."""
    return bmc.spawn("-o", "attest", "-a", hex(SLOW + number), "-f", a.ROOTS)


def wait_until_bound(bmc, number):
    """A run that sends its second message has had the first response."""
    count = 1
    while [call.args[0] for call in bmc.calls()
           if call.member == a.EXCHANGE].count(9 + number) < 2:
        bmc.wait_call(a.EXCHANGE, count)
        count += 1


def messages_of(bmc, session):
    """The records of one run."""
    return [(int(record["PRIORITY"]), record["MESSAGE"])
            for record in bmc.journal()
            if record["_PID"] == str(session.process.pid)]


def expect_success(bmc, session, number):
    """It ends with 0, shows the value of its device, and no error."""
    assert session.end() == (a.output(address=SLOW + number), "", 0)
    told = messages_of(bmc, session)
    assert a.measured(((1, 0x80, value_of(number)),))[1] in told
    assert [text for level, text in told if level == a.ERROR] == []


def test_runs_that_start_in_the_same_instant(bmc):
    """Slow and fast devices by turns."""
    devices = [device(number, DELAY_MS * (number % 2)) for number in range(6)]
    bmc.start(s.merge(s.mapper(), a.daemon(*devices)))
    sessions = [start(bmc, number) for number in range(6)]
    for number, session in enumerate(sessions):
        expect_success(bmc, session, number)
    assert a.leftovers() == []


def test_a_run_that_ends_while_another_goes_on(bmc):
    """It leaves the socket's file to the other, which began first."""
    bmc.start(s.merge(s.mapper(), a.daemon(device(0, 200), device(1))))
    slow = start(bmc, 0)
    wait_until_bound(bmc, 0)
    expect_success(bmc, start(bmc, 1), 1)
    assert a.SOCKET.is_socket()
    assert slow.process.poll() is None
    expect_success(bmc, slow, 0)
    assert a.leftovers() == []


def test_a_run_that_is_killed_while_another_goes_on(bmc):
    """It counts no longer: the other removes the socket's file."""
    bmc.start(s.merge(s.mapper(), a.daemon(device(0, 200), device(1, 200))))
    other = start(bmc, 1)
    wait_until_bound(bmc, 1)
    killed = start(bmc, 0)
    wait_until_bound(bmc, 0)
    killed.signal(9)
    assert killed.end().status == -9
    expect_success(bmc, other, 1)
    assert a.leftovers() == []
