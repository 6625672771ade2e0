# SPDX-License-Identifier: Apache-2.0
"""Deleting volumes, clearing a controller, actions on drives."""

import pytest

import scenarios as s
from changes import (ADDRESS, DEVICE, DRIVE, NAME, NO_REPLY, NO_VALUE,
                     OPERATIONS, PATH, change_call, done, update_signal,
                     updated_after)
from expect import ended

ACTIONS = ["SecureErase", "Reset"]
MISSING_ID = "Device address or resource id or service not specified\n"
MISSING = "Device address or service not specified\n"


def drives(reply):
    """A service that acts on drives."""
    return s.merge(*[s.method(NAME, PATH, DRIVE, member,
                              {"in": "uu", **reply}) for member in ACTIONS])


def act(bmc, member, *words):
    return bmc.run(*DEVICE, "-o", f"#Drive.{member}", *words)


def drive_call(member, resource):
    return change_call(member, "uu", ADDRESS, resource, interface=DRIVE)


@pytest.mark.parametrize("words", [
    ["-a", "0x8c0000", "-s", "rsa"],
    ["-a", "0x8c0000", "-s", "rsa", "-r", "0"],
    ["-a", "0x8c0000", "-s", "rsa", "-r", "x"],
    ["-a", "0x8c0000", "-r", "406"],
    ["-s", "rsa", "-r", "406"],
    [],
])
def test_delete_needs_address_resource_and_service(bmc, words):
    """One message for any of the three."""
    bmc.start(OPERATIONS["delete"].play(done(update_signal())))
    ended(bmc.run("-o", "delete", *words), out=MISSING_ID, status=255)
    assert bmc.calls() == []


@pytest.mark.parametrize("words", [["-a", "0x8c0000"], ["-s", "rsa"], []])
@pytest.mark.parametrize("word", ["clear", "#Drive.Reset",
                                  "#Drive.SecureErase", "#Drive.None"])
def test_the_others_need_address_and_service(bmc, word, words):
    """Before an action's name is looked at."""
    bmc.start(drives(done()))
    ended(bmc.run("-o", word, *words), out=MISSING, status=255)
    assert bmc.calls() == []


def test_a_successful_delete_ends_in_the_handler(bmc):
    """The update's lines are the last ones."""
    operation = OPERATIONS["delete"]
    bmc.start(operation.play(done(update_signal())))
    updated_after(bmc.run(*operation.words))
    assert bmc.calls() == [operation.call]


def test_clear_has_no_use_for_a_resource(bmc):
    """It is not sent."""
    operation = OPERATIONS["clear"]
    bmc.start(operation.play(done(update_signal())))
    updated_after(bmc.run(*operation.words, "-r", "406"))
    assert bmc.calls() == [operation.call]


def test_a_negative_resource_id_is_printed_as_it_is_sent(bmc):
    """As the unsigned number that it becomes."""
    bmc.start(OPERATIONS["delete"].play(done(result=3)))
    ended(bmc.run(*DEVICE, "-o", "delete", "-r", "-1"), status=255,
          out="Failed to delete volume (resId=4294967295) on device "
          "0x8c0000\n")
    assert bmc.calls()[0].args == [ADDRESS, 4294967295]


@pytest.mark.parametrize("member", ACTIONS)
def test_an_action_succeeds_without_a_word(bmc, member):
    """It waits for no signal, and -p has no use."""
    bmc.start(drives(done()))
    ended(act(bmc, member, "-r", "22", "-p", "a=b"))
    assert bmc.calls() == [drive_call(member, 22)]


@pytest.mark.parametrize("member", ACTIONS)
def test_an_action_without_a_resource_sends_zero(bmc, member):
    """The service knows what that means."""
    bmc.start(drives(done()))
    ended(act(bmc, member))
    assert bmc.calls() == [drive_call(member, 0)]


@pytest.mark.parametrize("name", ["Rebuild", "", "secureerase", "Reset ",
                                  "SecureErase2"])
def test_an_action_that_there_is_not(bmc, name):
    """Told with its whole name."""
    bmc.start(drives(done()))
    ended(act(bmc, name, "-r", "22"), status=255,
          out=f"Unsupported drive action: #Drive.{name}\n")
    assert bmc.calls() == []


@pytest.mark.parametrize("member", ACTIONS)
@pytest.mark.parametrize("reply, message", [
    (s.error(), "{}, dbus failure\n"),
    ({"die": True}, "{}, dbus failure\n"),
    (done(result=1), "{} failed\n"),
    (done(result=-1), "{} failed\n"),
    ({"out": "s", "return": ["0"]}, "driveAction exception: " + NO_VALUE),
    ({"return": []}, "driveAction exception: " + NO_VALUE),
    ({"silent": True}, "driveAction exception: " + NO_REPLY),
], ids=["error", "die", "one", "negative", "text", "nothing", "silent"])
def test_an_action_that_fails(bmc, member, reply, message):
    """Each failure has its words; the action is sent once."""
    bmc.start(drives(reply))
    ended(bmc.run(*DEVICE, "-o", f"#Drive.{member}", "-r", "22",
                  env={"SYSTEMD_BUS_TIMEOUT": "200ms"}),
          out=message.format(member), status=255)
    assert bmc.calls() == [drive_call(member, 22)]


@pytest.mark.parametrize("word, thrown", [
    ("delete", "deleteVolume exception: "),
    ("clear", "clearConfig exception: "),
    ("#Drive.Reset", "driveAction exception: ")])
def test_a_service_word_that_is_no_bus_name(bmc, word, thrown):
    """The call cannot be built."""
    bmc.start(drives(done()))
    ended(bmc.run("-a", "1", "-r", "1", "-s", "no service", "-o", word),
          out=thrown + "sd_bus_message_new_method_call: "
          "org.freedesktop.DBus.Error.InvalidArgs: Invalid argument\n",
          status=255)
