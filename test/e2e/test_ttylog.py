# SPDX-License-Identifier: Apache-2.0
"""Capturing the TTY logs of a device."""

import pytest

import scenarios as s
from changes import NO_REPLY, NO_VALUE
from expect import ended
from harness import Call

MISC = "com.mervax.Operation.Storage.Misc"
TTYLOG = ["-o", "ttylog"]
LOOKUP = Call(s.MAPPER, s.MAPPER_PATH, s.MAPPER, "GetSubTree", "sias",
              ["/com/mervax", 1, [MISC]])


def captured(count):
    return {"in": "us", "out": "i", "return": [count]}


def keeper(word, reply, path=None):
    """A service that captures logs."""
    return s.method(s.name_of(word), path or s.path_of(word), MISC,
                    "CaptureTTYLog", {"in": "us", **reply})


def capture_call(word, address=0, path=None):
    return Call(s.name_of(word), path or s.path_of(word), MISC,
                "CaptureTTYLog", "us", [address, "/tmp"])


def told(word, count):
    return f"{s.name_of(word)} captured {count} device log\n"


def test_every_service_is_asked_with_address_zero(bmc):
    """Without -a; the order is the map's own."""
    bmc.start(s.merge(s.mapper(), keeper("rsa", captured(2)),
                      keeper("lsa", captured(1))))
    result = bmc.run(*TTYLOG)
    assert sorted(result.out.splitlines(True)) == [told("lsa", 1),
                                                   told("rsa", 2)]
    assert (result.err, result.status) == ("", 0)
    assert bmc.calls()[0] == LOOKUP
    assert sorted(bmc.calls()[1:]) == [capture_call("lsa"),
                                       capture_call("rsa")]


def test_one_service_is_asked_for_one_device(bmc):
    """The other one is not."""
    bmc.start(s.merge(s.mapper(), keeper("rsa", captured(1)),
                      keeper("lsa", captured(1))))
    ended(bmc.run(*TTYLOG, "-s", "rsa", "-a", "0x8c0000"), out=told("rsa", 1))
    assert bmc.calls() == [LOOKUP, capture_call("rsa", 0x8c0000)]


def test_a_word_within_a_name_selects_too(bmc):
    """When the object at the word's path belongs to such a service."""
    bmc.start(s.merge(s.mapper(), keeper("rsa2", captured(1),
                                         path="/com/mervax/rsa")))
    ended(bmc.run(*TTYLOG, "-s", "rsa"), out=told("rsa2", 1))
    assert bmc.calls() == [LOOKUP, capture_call("rsa2",
                                                path="/com/mervax/rsa")]


def test_a_name_without_the_word_is_left_out(bmc):
    """Although the object at the word's path is there."""
    bmc.start(s.merge(s.mapper(), keeper("other", captured(1),
                                         path="/com/mervax/rsa")))
    ended(bmc.run(*TTYLOG, "-s", "rsa"), status=255)
    assert bmc.calls() == [LOOKUP]


@pytest.mark.parametrize("count", [0, -1])
def test_nothing_captured_is_told_and_no_success(bmc, count):
    """The line is printed all the same."""
    bmc.start(s.merge(s.mapper(), keeper("rsa", captured(count))))
    ended(bmc.run(*TTYLOG), out=told("rsa", count), status=255)


def test_nothing_from_one_of_two_is_a_success(bmc):
    """The sum decides."""
    bmc.start(s.merge(s.mapper(), keeper("rsa", captured(0)),
                      keeper("lsa", captured(3))))
    result = bmc.run(*TTYLOG)
    assert sorted(result.out.splitlines(True)) == [told("lsa", 3),
                                                   told("rsa", 0)]
    assert result.status == 0


def test_an_error_ends_the_captures(bmc):
    """The failure line, then the exception's; the second service is not
    asked, whichever the second is."""
    bmc.start(s.merge(s.mapper(), keeper("rsa", s.error()),
                      keeper("lsa", s.error())))
    result = bmc.run(*TTYLOG)
    asked = [call.destination for call in bmc.calls()[1:]]
    assert len(asked) == 1
    ended(result, status=255, out=f"Capture TTY log failed on {asked[0]}\n"
          f"getTTYlog exception: {NO_VALUE}")


@pytest.mark.parametrize("reply, message", [
    (s.error(), "Capture TTY log failed on com.mervax.rsa\n"
     f"getTTYlog exception: {NO_VALUE}"),
    (s.error(message=""), "Capture TTY log failed on com.mervax.rsa\n"
     f"getTTYlog exception: {NO_VALUE}"),
    ({"die": True}, "Capture TTY log failed on com.mervax.rsa\n"
     f"getTTYlog exception: {NO_VALUE}"),
    ({"out": "s", "return": ["1"]}, f"getTTYlog exception: {NO_VALUE}"),
    ({"return": []}, f"getTTYlog exception: {NO_VALUE}"),
    ({"silent": True}, f"getTTYlog exception: {NO_REPLY}"),
], ids=["error", "silent-error", "die", "text", "nothing", "silent"])
def test_a_capture_that_fails(bmc, reply, message):
    """Nothing captured before it: no success."""
    bmc.start(s.merge(s.mapper(), keeper("rsa", reply)))
    ended(bmc.run(*TTYLOG, env={"SYSTEMD_BUS_TIMEOUT": "200ms"}), out=message,
          status=255)
    assert bmc.calls() == [LOOKUP, capture_call("rsa")]


def test_what_was_captured_before_an_error_counts(bmc):
    """The first answers well, the second with an error, whichever they are."""
    bmc.start(s.merge(
        s.mapper(), keeper("rsa", captured(1)), keeper("lsa", captured(1)),
        s.fault("CaptureTTYLog", {"replies": [{"pass": True}, s.error()]})))
    result = bmc.run(*TTYLOG)
    first, second = [call.destination for call in bmc.calls()[1:]]
    ended(result, out=f"{first} captured 1 device log\n"
          f"Capture TTY log failed on {second}\n"
          f"getTTYlog exception: {NO_VALUE}")


@pytest.mark.parametrize("words, behind", [
    ([], ""), (["-s", "rsa"], "rsa does not support tty log\n")])
def test_a_lookup_that_fails(bmc, words, behind):
    """The lookup's own line first."""
    bmc.start(s.merge(s.mapper(), s.fault("GetSubTree", s.error())))
    ended(bmc.run(*TTYLOG, *words), status=255,
          out=f"getServicesWithInterface({MISC}) failed\n" + behind)


@pytest.mark.parametrize("words", [[], ["-s", "rsa"]])
def test_nobody_who_captures(bmc, words):
    """A service is there, but not for this."""
    bmc.start(s.merge(s.mapper(), s.listing("rsa", "GetDrives", {}),
                      keeper("lsa", captured(1)) if words else {}))
    ended(bmc.run(*TTYLOG, *words), out="No service supports tty log\n",
          status=255)
    assert bmc.calls() == [LOOKUP]


def test_a_file_has_no_use(bmc):
    """The folder is always the same."""
    bmc.start(s.merge(s.mapper(), keeper("rsa", captured(1))))
    ended(bmc.run(*TTYLOG, "-f", "/none/x"), out=told("rsa", 1))
    assert bmc.calls() == [LOOKUP, capture_call("rsa")]


def test_the_simulated_service_writes_the_log(bmc):
    """One file for each adapter of the address, or of all."""
    bmc.start(s.merge(s.mapper(), s.service(s.name_of("rsa"), models=[{
        "model": "ttylog", "path": s.path_of("rsa"), "adapters": [
            {"address": 1, "slot": 91, "log": ["a", "b"]},
            {"address": 2, "slot": 92, "log": []}]}])))
    ended(bmc.run(*TTYLOG, "-a", "1"), out=told("rsa", 1))
    with open("/tmp/adapter_slot91_tty.txt", encoding="utf-8") as file:
        assert file.read() == "a\nb\n"
    ended(bmc.run(*TTYLOG), out=told("rsa", 2))
    ended(bmc.run(*TTYLOG, "-a", "3"), out=told("rsa", 0), status=255)


def test_a_word_that_is_no_text_is_only_compared(bmc):
    """It is not sent to anybody, and no name has it."""
    bmc.start(s.merge(s.mapper(), keeper("rsa", captured(1))))
    ended(bmc.run(*TTYLOG, "-s", b"\xff"), status=255,
          out="No service supports tty log\n")
    assert bmc.calls() == [LOOKUP]
