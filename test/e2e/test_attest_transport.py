# SPDX-License-Identifier: Apache-2.0
"""The way of SPDM messages: the daemon, the loopback socket, bad answers."""

import os
import stat

import pytest

import attest_support as a
import scenarios as s
from attest_support import ERROR, INFO

FAILED_CONNECTION = "[ERR] libspdm_init_connection failed. rc = "
STEPS = ("GET_VERSION", "GET_CAPABILITIES", "NEGOTIATE_ALGORITHMS",
         "GET_DIGESTS", "GET_CERTIFICATE", "CHALLENGE", "GET_MEASUREMENTS")
# What the journal says when a step fails.
COMPLAINTS = (*[FAILED_CONNECTION] * 3,
              "[ERR] Failed to get responder digest. rc = ",
              "  [ERR] Failed to get cert of slot 0. rc = ",
              "  [ERR] Failed to get challenge based on slot 0. rc = ",
              "  [ERR] Failed to get num of measurement blocks based on slot "
              "0. rc = ")
# Messages before each step: a chain takes two, of up to 1024 bytes each.
BEFORE = (0, 1, 2, 3, 4, 6, 7)
CODES = (0x84, 0xe1, 0xe3, 0x81, 0x82, 0x83, 0xe0)
BUSY = "0x80010008"
RESYNCHRONISE = "0x8001000b"


@pytest.fixture(autouse=True)
def clean():
    """No case sees what another left."""
    a.tidy()
    yield
    a.tidy()


def complaints(bmc):
    """The error records."""
    return [text for priority, text in bmc.messages() if priority == ERROR]


def exchanges(bmc):
    """Arguments of all messages to the device."""
    return [call.args for call in bmc.calls() if call.member == a.EXCHANGE]


def exchange_fault(reply, after=0):
    """What the daemon does with messages after the first so many."""
    return s.fault(a.EXCHANGE, {"replies": [{"pass": True}] * after + [reply]},
                   owner=s.MCTP)


def test_messages_carry_endpoint_payload_and_time(bmc):
    """The type byte of SPDM leads; the time is in milliseconds."""
    bmc.start(a.attested(a.device()))
    assert a.attest(bmc).status == 0
    calls = [call for call in bmc.calls() if call.member == a.EXCHANGE]
    assert {(call.path, call.interface, call.signature) for call in calls} == {
        (s.MCTP_PATH, a.BASE, "yayq")}
    assert calls[0].args == [a.EID, [5, 0x10, 0x84, 0, 0], 1000]
    assert {call.args[1][0] for call in calls} == {5}


def test_capabilities_that_the_requester_shows(bmc):
    """No time-out exponent, the flags, and the transfer sizes."""
    bmc.start(a.attested(a.device("1.3")))
    a.attest(bmc)
    assert bytes(exchanges(bmc)[1][1]) == bytes.fromhex(
        "0513e10000000000 00c6620200 0012000000120000".replace(" ", ""))


def test_algorithms_that_the_requester_offers(bmc):
    """As the table of settings has them."""
    bmc.start(a.attested(a.device("1.2")))
    a.attest(bmc)
    message = bytes(exchanges(bmc)[2][1])[1:]
    assert message[:2] == b"\x12\xe3"
    assert message[6] == 1                                # DMTF
    assert message[7] & 0x0f == 2                         # opaque format 1
    assert message[8:12] == bytes([0x80, 0, 0, 0])        # ECDSA P-384
    assert message[12:16] == bytes([3, 0, 0, 0])          # SHA-256, SHA-384
    # Type, count, and 16 bits: groups, ciphers, requester's key, schedule.
    assert message[32:] == bytes([2, 0x20, 0x1b, 0, 3, 0x20, 6, 0,
                                  4, 0x20, 0x80, 0, 5, 0x20, 1, 0])


@pytest.mark.parametrize("after, complaint", zip(BEFORE, COMPLAINTS))
def test_an_error_reply_at_each_step(bmc, after, complaint):
    """The send fails, and the step with it; only the service is named."""
    bmc.start(a.attested(a.device(), exchange_fault(s.error(), after)))
    assert a.attest(bmc) == (a.output(), "", 255)
    told = complaints(bmc)
    assert set(told[:-1]) == {
        f"[ERR] Tx/Rx SPDM msg failed. EID={a.EID}, {s.MCTP}"}
    assert told[-1] == complaint + a.SEND_FAILED
    assert bmc.messages()[-1] == a.UNINITIALIZED


def test_a_daemon_that_dies_in_the_exchange(bmc):
    """The bus answers in its place with an error, and then the next ones."""
    bmc.start(a.attested(a.device(), exchange_fault({"die": True}, 2)))
    assert a.attest(bmc) == (a.output(), "", 255)
    told = complaints(bmc)
    assert set(told[:-1]) == {
        f"[ERR] Tx/Rx SPDM msg failed. EID={a.EID}, {s.MCTP}"}
    assert told[-1] == COMPLAINTS[2] + a.SEND_FAILED


@pytest.mark.parametrize("reply", [{"silent": True},
                                   {"out": "s", "return": ["text"]},
                                   {"out": "", "return": []}])
@pytest.mark.parametrize("after, complaint", zip(BEFORE, COMPLAINTS))
def test_no_usable_reply(bmc, reply, after, complaint):
    """An exception is in the record with its text."""
    bmc.start(a.attested(a.device(), exchange_fault(reply, after)))
    result = a.attest(bmc, env={"SYSTEMD_BUS_TIMEOUT": "1s"})
    assert result == (a.output(), "", 255)
    told = complaints(bmc)
    start = f"[ERR] Tx/Rx SPDM msg exception. EID={a.EID}, {s.MCTP}. "
    assert all(text.startswith(start) and len(text) > len(start)
               for text in told[:-1])
    assert told[-1] == complaint + a.SEND_FAILED


@pytest.mark.parametrize("step, complaint", zip(STEPS, COMPLAINTS))
@pytest.mark.parametrize("kind, more", [
    ("error", {"code": 1}), ("empty", {}), ("truncate", {"bytes": 3}),
    ("dead", {})])
def test_a_bad_answer_at_each_step(bmc, step, complaint, kind, more):
    """An ERROR message, nothing, a piece, no response: the step fails."""
    bmc.start(a.attested(a.device(faults=[
        a.fault(step, kind, times=0, **more)])))
    assert a.attest(bmc, a.ROOTS) == (a.output(), "", 255)
    assert complaints(bmc)[-1].startswith(complaint + "0x800")
    assert a.SUCCEEDED not in bmc.messages()


@pytest.mark.parametrize("step, complaint", zip(STEPS, COMPLAINTS))
def test_an_error_message_has_its_status(bmc, step, complaint):
    """The library's status for an ERROR of the device."""
    bmc.start(a.attested(a.device(faults=[
        a.fault(step, "error", code=1, times=0)])))
    assert a.attest(bmc).status == 255
    assert complaints(bmc) == [complaint + a.ERROR_RESPONSE]


@pytest.mark.parametrize("fault, complaint", [
    (a.fault("CHALLENGE", "wrong-signature"), COMPLAINTS[5]),
    (a.fault("CHALLENGE", "wrong-nonce"), COMPLAINTS[5]),
])
def test_a_challenge_that_is_not_signed_for_this_run(bmc, fault, complaint):
    """The status of a failed verification."""
    bmc.start(a.attested(a.device(faults=[fault])))
    assert a.attest(bmc).status == 255
    assert complaints(bmc) == [complaint + a.VERIFICATION_FAILED]


def test_a_block_that_is_wrongly_signed(bmc):
    """It is reported and not shown."""
    bmc.start(a.attested(a.device(faults=[
        a.fault("GET_MEASUREMENTS", "wrong-signature", nth=2)])))
    a.attest(bmc)
    assert complaints(bmc)[0] == (
        "    [ERR] Failed to get measurement block 1 based on slot 0. rc = "
        + a.VERIFICATION_FAILED)
    assert a.measured()[1] not in bmc.messages()


@pytest.mark.parametrize("left", [16, 20])
def test_a_block_that_is_cut_inside_its_value(bmc, left):
    """What did not arrive reads as zeros, never as the block before."""
    items = ((1, 0x80, b"\xaa" * 8), (2, 0x80, b"\xbb" * 8))
    bmc.start(a.attested(a.device(
        measurements=a.blocks(items),
        capabilities={"measurements": "unsigned"},
        faults=[a.fault("GET_MEASUREMENTS", "truncate", nth=3, bytes=left)])))
    assert a.attest(bmc).status == 0
    # Type byte, header, count, length, and the headers of block and value.
    arrived = items[1][2][:left - 16]
    items = (items[0], (2, 0x80, arrived + bytes(8 - len(arrived))))
    assert bmc.messages()[-4:-2] == a.measured(items)[1:]


def test_an_answer_longer_than_the_message(bmc):
    """What follows the message's own length is not looked at."""
    bmc.start(a.attested(a.device(faults=[
        a.fault("GET_DIGESTS", "pad", bytes=64)])))
    assert a.attest(bmc).status == 0


def device_that(step, kind):
    """One with something in the way of a step, this once."""
    return a.device(faults=[a.fault(step, kind)])


@pytest.mark.parametrize("step, code, complaint",
                         zip(STEPS, CODES, COMPLAINTS))
def test_a_busy_device_is_asked_once(bmc, step, code, complaint):
    """The library repeats as often as it is told, which is not at all; the
    next run finds the device idle."""
    bmc.start(a.attested(device_that(step, "busy")))
    assert a.attest(bmc, a.ROOTS).status == 255
    assert complaints(bmc) == [complaint + BUSY]
    assert [args[1][2] for args in exchanges(bmc)].count(code) == 1
    assert a.attest(bmc, a.ROOTS).status == 0


def test_a_block_of_a_busy_device(bmc):
    """It is left out; the others are there."""
    bmc.start(a.attested(a.device(
        capabilities={"measurements": "unsigned"},
        faults=[a.fault("GET_MEASUREMENTS", "busy", nth=3)])))
    assert a.attest(bmc).status == 0
    assert complaints(bmc) == [
        "    [ERR] Failed to get measurement block 2 based on slot 0. rc = "
        f"{BUSY}"]
    assert set(a.measured()) - set(bmc.messages()) == {a.measured()[2]}


@pytest.mark.parametrize("step", STEPS[3:])
def test_a_device_that_is_not_ready_is_asked_later(bmc, step):
    """By RESPOND_IF_READY, once, without a word in the journal."""
    bmc.start(a.attested(device_that(step, "not-ready")))
    assert a.attest(bmc, a.ROOTS) == (a.output(), "", 0)
    assert complaints(bmc) == []
    assert [args[1][2] for args in exchanges(bmc)].count(0xff) == 1


@pytest.mark.parametrize("step, complaint", zip(STEPS[3:], COMPLAINTS[3:]))
def test_a_device_that_wants_to_begin_anew(bmc, step, complaint):
    """The run ends; the next one begins with the version."""
    bmc.start(a.attested(device_that(step, "resynch")))
    assert a.attest(bmc, a.ROOTS).status == 255
    assert complaints(bmc) == [complaint + RESYNCHRONISE]
    assert a.attest(bmc, a.ROOTS).status == 0


def test_a_payload_that_no_datagram_holds(bmc):
    """The response cannot be put into the socket."""
    big = {"out": "ay", "return": [[{"@repeat": 1 << 20, "item": 0}]]}
    bmc.start(a.attested(a.device(), exchange_fault(big)))
    assert a.attest(bmc).status == 255
    told = complaints(bmc)
    assert set(told[:-1]) == {
        "[ERR] send to uds failed, rc=-1. Message too long"}
    assert told[-1] == COMPLAINTS[0] + a.SEND_FAILED


@pytest.mark.parametrize("size", [4736, 4737, 60000])
def test_an_answer_longer_than_the_buffer(bmc, size):
    """It is cut to the buffer, which is not a version response."""
    zeros = {"out": "ay", "return": [[{"@repeat": size, "item": 0}]]}
    bmc.start(a.attested(a.device(), exchange_fault(zeros)))
    assert a.attest(bmc).status == 255
    assert bmc.messages()[-2:] == [a.UNINITIALIZED] * 2


def test_the_socket_is_there_during_the_run_only(bmc):
    """Its mode lets nobody else send into it."""
    bmc.start(a.attested(a.device(), s.fault(
        a.EXCHANGE, {"replies": [{"pass": True}, {"silent": True}]},
        owner=s.MCTP)))
    session = bmc.spawn("-o", "attest", "-a", hex(a.ADDRESS))
    bmc.wait_call(a.EXCHANGE, 2)
    mode = a.SOCKET.stat().st_mode
    assert stat.S_ISSOCK(mode) and stat.S_IMODE(mode) == 0o600
    bmc.simulator.terminate()
    assert session.end().status == 255
    assert not a.SOCKET.exists()


@pytest.mark.parametrize("leave", [
    lambda path: path.write_text("stale"),
    lambda path: path.symlink_to("/tmp/nowhere"),
    lambda path: os.mknod(path, stat.S_IFSOCK | 0o600),
])
def test_what_a_killed_run_left_is_removed(bmc, leave):
    """A file, a link or a socket at the path."""
    leave(a.SOCKET)
    bmc.start(a.attested(a.device()))
    assert a.attest(bmc).status == 0
    assert not os.path.lexists(a.SOCKET)


def test_a_folder_at_the_sockets_path(bmc):
    """It is no leftover of this tool: the socket cannot be bound."""
    a.SOCKET.mkdir()
    bmc.start(a.attested(a.device()))
    words = ["-o", "attest", "-a", hex(a.ADDRESS)]
    assert bmc.run(*words) == (a.output(), "", 255)
    told = complaints(bmc)
    assert set(told[:-1]) == {"[ERR] Failed to bind UDS socket for SPDM"}
    assert told[-1] == COMPLAINTS[0] + a.SEND_FAILED
    assert a.SOCKET.is_dir()


def test_a_socket_file_that_somebody_removed(bmc):
    """The response has no way, and the end has nothing to remove."""
    bmc.start(a.attested(a.device(), s.fault(
        a.EXCHANGE, {"replies": [{"pass": True},
                                 {"pass": True, "delay_ms": 0}]},
        owner=s.MCTP), s.fault(a.EXCHANGE, {"replies": [
            {"pass": True}, {"out": "ay", "return": [[]], "delay_ms": 300}]},
            owner=s.MCTP)))
    session = bmc.spawn("-o", "attest", "-a", hex(a.ADDRESS))
    bmc.wait_call(a.EXCHANGE, 2)
    a.SOCKET.unlink()
    assert session.end().status == 255
    told = complaints(bmc)
    assert told[0] == ("[ERR] send to uds failed, rc=-1. No such file or "
                       "directory")
    assert told[-1] == f"[ERR] Failed to unlink {a.SOCKET}" or \
        f"[ERR] Failed to unlink {a.SOCKET}" in told


def test_the_socket_has_the_programs_name(bmc, tmp_path):
    """A copy under another name has a socket of its own."""
    import shutil
    folder = os.path.dirname(os.environ["ZANTRIC"])
    copy = tmp_path / "copy"
    shutil.copy(os.environ["ZANTRIC"], copy)
    shutil.copy(os.path.join(folder, "zantric-attest.so"), tmp_path)
    other = a.SOCKET.with_name("copySpdmSocket")
    other.mkdir()
    try:
        bmc.start(a.attested(a.device()))
        assert a.attest(bmc, program=str(copy)).status == 255
    finally:
        other.rmdir()
    assert "[ERR] Failed to bind UDS socket for SPDM" in complaints(bmc)


def test_run_cannot_be_written(bmc):
    """No socket, and the record says so."""
    a.SOCKET.parent.joinpath("keep").touch()
    bmc.start(a.attested(a.device()))
    words = ["--mount", "--propagation", "private", "sh", "-c",
             "mount -o remount,bind,ro /run 2>/dev/null || "
             "{ mount --bind /run /run && mount -o remount,bind,ro /run; }; "
             'exec "$0" "$@"', os.environ["ZANTRIC"], "-o", "attest", "-a",
             hex(a.ADDRESS)]
    result = bmc.run(*words, program="unshare")
    assert result == (a.output(), "", 255)
    assert "[ERR] Failed to bind UDS socket for SPDM" in complaints(bmc)


def test_informational_and_error_levels(bmc):
    """Only these two are used."""
    bmc.start(a.attested(a.device(faults=[
        a.fault("CHALLENGE", "error", code=1)])))
    a.attest(bmc)
    for priority, text in bmc.messages():
        assert priority == (ERROR if "[ERR]" in text else INFO)
