# SPDX-License-Identifier: Apache-2.0
"""Where a board differs from a developer's machine: little memory, a small
disk, other users, and services that systemd ends."""

import json
import signal

import pytest

import scenarios as s
from board import shell, write
from changes import (ADDRESS, DEVICE, NAME, OPERATIONS, PATH, done,
                     updated_after)
from expect import ended
from io_cases import committed, eventlog
from test_firmware import FACE, UPDATE, accepted, at, record, tick

NOBODY = 65534
HDR = "/pstorage/persist/hdr"
SEQUENCES = HDR + "/invseq.json"
DELETE = OPERATIONS["delete"]
DRIVES = [*DEVICE, "-o", "list", "-t", "Drives"]
EMPTY = {ADDRESS: {"Drives": []}}
SIGNAL = [PATH, s.STORAGE, "StorageResourceUpdated", "uss", str(ADDRESS),
          "Volumes", "{}"]
PROGRESS = [PATH, FACE, "DeviceUpdateStatusChanged", "s",
            json.dumps(record(100, 2))]


@pytest.fixture(autouse=True)
def fixture_pstorage():
    """An empty folder before each case and after it."""
    shell(f"rm -rf {HDR}/*")
    yield
    shell(f"rm -rf {HDR}/*")


def emit(bmc, *words, user=None):
    """Somebody sends a signal; returns when the bus has passed it on."""
    assert bmc.run("emit", *words, program="busctl", user=user) == ("", "", 0)
    ping(bmc)


def ping(bmc):
    """Two round trips through the bus to the simulator."""
    for _ in range(2):
        assert bmc.run("call", NAME, PATH, s.STORAGE, "Ping",
                       program="busctl") == ("", "", 0)


def waiting(bmc):
    """A deletion that was answered and gets no signal."""
    bmc.start(s.merge(DELETE.play(done()), s.method(
        NAME, PATH, s.STORAGE, "Ping", {"return": []})))
    session = bmc.spawn(*DELETE.words)
    bmc.wait_call(DELETE.call.member)
    ping(bmc)
    return session


def updating(bmc):
    """An update of firmware that is at 5 %."""
    bmc.start(s.merge(accepted(tick(record(5))), s.method(
        NAME, PATH, s.STORAGE, "Ping", {"return": []})))
    session = bmc.spawn(*UPDATE, "-f", "/tmp/fw", "-p", "PN=P1")
    session.read_until(at(5))
    return session


def test_nobody_is_refused(bmc):
    """By the bus; the service does not see it."""
    bmc.start(s.server(s.storage("rsa", EMPTY)))
    assert bmc.run(*DRIVES) == ("", "", 0)
    assert len(bmc.calls()) == 1
    assert bmc.run(*DRIVES, user=NOBODY) == (
        "Failed to get Drives from service rsa\n", "", 255)
    assert len(bmc.calls()) == 1


def test_nobody_cannot_end_a_wait(bmc):
    """Root can: what it says afterwards is the first that arrives."""
    session = waiting(bmc)
    emit(bmc, *SIGNAL[:-2], "nobody's", "{}", user=NOBODY)
    emit(bmc, *SIGNAL[:-2], "root's", "{}")
    updated_after(session.end(), name="root's")


def test_nobody_cannot_end_an_update(bmc):
    """Nor tell of its progress."""
    session = updating(bmc)
    emit(bmc, *PROGRESS[:-1], json.dumps(record(50, 1)), user=NOBODY)
    emit(bmc, *PROGRESS)
    ended(session.end(), out=at(5) + at(100, 2))


def test_the_daemon_is_killed_in_the_call(bmc):
    """The bus answers in its place; the call is not repeated."""
    bmc.start(DELETE.play({"silent": True}))
    session = bmc.spawn(*DELETE.words)
    bmc.wait_call(DELETE.call.member)
    bmc.kill()
    ended(session.end(), out=DELETE.refused, status=255)


def test_the_daemon_is_killed_in_the_wait(bmc):
    """The wait goes on, until the one that follows it sends the signal."""
    session = waiting(bmc)
    bmc.kill()
    bmc.start(s.method(NAME, PATH, s.STORAGE, "Ping", {"return": []}))
    emit(bmc, *SIGNAL)
    updated_after(session.end())


@pytest.mark.parametrize("number", [signal.SIGTERM, signal.SIGINT])
@pytest.mark.parametrize("begin", [waiting, updating])
def test_a_signal_in_a_wait(bmc, begin, number):
    """Ends it as it ends any program, and leaves nothing behind."""
    session = begin(bmc)
    session.signal(number)
    result = session.end()
    assert (result.err, result.status) == ("", -number)
    assert bmc.messages() == []


def test_sixteen_hidden_events_at_once(bmc):
    """Each has a number of its own, and none is left out."""
    bmc.start(eventlog())
    # One shell starts them: side by side, not one behind the other.
    shell("for n in $(seq 16); do zantric -o event -p hide=2 & done; wait")
    assert shell(f"cat {SEQUENCES}") == '{"PCI":16}'
    numbers = sorted(int(dict(fields)["SequenceNumber"])
                     for _, fields in committed(bmc))
    assert numbers == list(range(1, 17))
    assert shell(f"ls -A {HDR}") == "invseq.json\n"


def test_a_full_disk(bmc):
    """No entry without a number that is kept; the old file stays."""
    write(SEQUENCES, '{"PCI":7}')
    bmc.start(eventlog())
    shell("dd if=/dev/zero of=/pstorage/filler bs=4096 2>/dev/null; "
          "[ $(stat -f -c %f /pstorage) = 0 ]")
    try:
        assert bmc.run("-o", "event", "-p", "hide=2") == ("", "", 0)
        (level, text), = bmc.messages()
        assert level == 3
        assert text.endswith("No space left on device"), text
        assert bmc.calls() == []
        assert shell(f"cat {SEQUENCES}") == '{"PCI":7}'
    finally:
        shell("rm -f /pstorage/filler")
    assert bmc.run("-o", "event", "-p", "hide=2") == ("", "", 0)
    assert shell(f"cat {SEQUENCES}") == '{"PCI":8}'
    assert len(committed(bmc)) == 1


def held(*words, limit="64M"):
    """A run in a control group with little memory and no swap: its output."""
    return shell("systemd-run --quiet --pipe --wait "
                 f"-p MemoryMax={limit} -p MemorySwapMax=0 " + " ".join(words))


def test_the_listing_of_the_image_in_64_mb(bmc):
    """The same as without the limit, but for the time in its header."""
    bmc.start_image()
    free = bmc.run().out.split("\n", 1)[1]
    assert held("zantric").split("\n", 1)[1] == free


def test_ten_thousand_drives_in_64_mb(bmc):
    """One reply of a megabyte."""
    bmc.start(s.listing("rsa", "GetDrives", {"Drives": [
        {"@repeat": 10000, "item": {"Name": "d{index}"}}]}))
    out = held("zantric", *DRIVES)
    assert len(out.splitlines()) == 10000


def test_an_attestation_in_64_mb(bmc):
    """The crypto library is loaded for it."""
    bmc.start_image()
    assert held("zantric -o attest -a 0x8c0000 -f /run/bmcsim/roots") == (
        "Attest Device: 0x8c0000\n")
