# SPDX-License-Identifier: Apache-2.0
"""The command line: options, usage, the checks before an operation starts,
exit statuses."""

import os
import socket
import threading

import pytest

import scenarios as s
from expect import (HEADER_CALLS, devices_call, ended, storage_call,
                    under_header, usage)

NO_ADDRESS = "Device address not specified\n"


def test_no_arguments_run_the_pcie_listing(bmc):
    """The operation is "list" and there is no target."""
    bmc.start(s.server(s.pcie("rsa")))
    result = bmc.run()
    assert under_header(result.out) == ""
    assert (result.err, result.status) == ("", 0)
    assert bmc.calls() == HEADER_CALLS + [devices_call("rsa")]


def test_list_without_a_target_is_the_pcie_listing(bmc):
    """The word says the same as no arguments at all."""
    bmc.start(s.server())
    result = bmc.run("-o", "list")
    assert (under_header(result.out), result.status) == ("", 0)


def test_help_prints_the_usage_text_to_the_byte(bmc):
    """Carriage returns and the closing newline included; no bus is needed
    and nothing is called."""
    bmc.start(s.server())
    ended(bmc.run("-h"), out=usage())
    assert bmc.calls() == []


def test_help_needs_no_bus(bmc):
    """The options are read before the bus is opened."""
    ended(bmc.run("-h", env={"DBUS_SYSTEM_BUS_ADDRESS": "unix:path=/none"}),
          out=usage())


@pytest.mark.parametrize("words, diagnostic", [
    (["-x"], "invalid option -- 'x'"),
    (["-o", "show", "-q"], "invalid option -- 'q'"),
    (["-a"], "option requires an argument -- 'a'"),
    (["-o", "list", "-t"], "option requires an argument -- 't'"),
])
def test_unknown_option_or_missing_argument_prints_usage(bmc, words,
                                                         diagnostic):
    """That is no failure: the status is 0."""
    result = bmc.run(*words)
    assert (result.out, result.status) == (usage(), 0)
    assert result.err.endswith(f": {diagnostic}\n")


@pytest.mark.parametrize("words", [
    ["-o", "create", "-s", "rsa", "-p", "RAIDType=RAID1"],
    ["-o", "edit", "-s", "rsa", "-r", "4", "-p", "DisplayName=a"],
    ["-o", "show", "-s", "rsa"],
    ["-o", "show", "-s", "rsa", "-t", "Drives"],
    ["-o", "attest"],
])
@pytest.mark.parametrize("address", [
    [], ["-a", "zz"], ["-a", ""], ["-a", "0"], ["-a", "0x"]])
def test_address_that_is_not_hexadecimal_is_no_address(bmc, words, address):
    """Text without hexadecimal digits is 0, and 0 is not given."""
    bmc.start(s.server())
    ended(bmc.run(*words, *address), out=NO_ADDRESS, status=255)
    assert bmc.calls() == []


@pytest.mark.parametrize("text", ["0x8c0000", "8c0000", "8C0000zz"])
def test_address_is_hexadecimal_with_or_without_prefix(bmc, text):
    """What follows the digits does not matter."""
    bmc.start(s.listing("rsa", "GetDrives", {"Drives": []}))
    ended(bmc.run("-s", "rsa", "-o", "list", "-t", "Drives", "-a", text))
    assert bmc.calls() == [storage_call("rsa", "GetDrives", 0x8c0000)]


@pytest.mark.parametrize("words", [
    ["-a", "1008c0000", "-r", "400"], ["-a", "-1", "-r", "400"],
    ["-a", "0x8c0000", "-r", "4294967696"],
    ["-a", "0x8c0000", "-r", "18446744073709552016"],
    ["-a", "0x8c0000", "-r", "2147483648"]])
def test_a_number_that_does_not_fit_is_not_given(bmc, words):
    """It must not name another device or volume by its low bits."""
    bmc.start(s.server())
    result = bmc.run("-o", "delete", "-s", "rsa", *words)
    assert (result.err, result.status) == ("", 255)
    assert "not specified" in result.out
    assert bmc.calls() == []


@pytest.mark.parametrize("words, first", [
    (["delete", "-s", "rsa", "-a", "0x8c0000", "-r", "400"], "delete"),
    (["-s", "rsa", "-a", "0x8c0000", "-r", "400", "delete", "now"], "delete"),
    (["list"], "list"), ([""], ""), (["-v", "--", "-o"], "-o")])
def test_a_word_that_belongs_to_no_option(bmc, words, first):
    """A forgotten -o must not end as a listing; no bus is needed to say so."""
    ended(bmc.run(*words, env={"DBUS_SYSTEM_BUS_ADDRESS": "unix:path=/none"}),
          out=f"Unexpected argument: {first}\n", status=255)


@pytest.mark.parametrize("words", [["delete", "-h"], ["delete", "-a"]])
def test_the_usage_text_comes_before_such_a_word(bmc, words):
    """Wherever the option stands."""
    result = bmc.run(*words)
    assert (result.out, result.status) == (usage(), 0)


def test_two_dashes_alone_are_no_word(bmc):
    """They only end the options."""
    bmc.start(s.server(s.pcie("rsa")))
    result = bmc.run("--")
    assert (under_header(result.out), result.status) == ("", 0)


def test_a_later_option_overwrites_the_earlier(bmc):
    """Options come in any order."""
    bmc.start(s.listing("lsa", "GetVolumes", {"Volumes": []}))
    ended(bmc.run("-t", "Drives", "-a", "1", "-s", "rsa", "-o", "show", "-a",
                  "2", "-s", "lsa", "-o", "list", "-t", "Volumes"))
    assert bmc.calls() == [storage_call("lsa", "GetVolumes", 2)]


@pytest.mark.parametrize("word", ["LIST", "list ", "bogus", "drive.Reset"])
def test_unknown_operation(bmc, word):
    """Words are compared as they stand."""
    bmc.start(s.server())
    ended(bmc.run("-o", word), out=f"Unknown operation: {word}\n", status=255)
    assert bmc.calls() == []


@pytest.mark.parametrize("word", ["#Drive", "#", "#Volume.Erase", "#drive.x"])
def test_action_word_must_begin_with_drive_and_a_dot(bmc, word):
    """Six characters of it are not enough."""
    bmc.start(s.server())
    ended(bmc.run("-a", "1", "-s", "rsa", "-o", word),
          out=f"Unknown action: {word}\n", status=255)


def test_action_word_of_seven_characters_reaches_the_drive_actions(bmc):
    """Nothing behind the dot is the action's own problem."""
    bmc.start(s.server())
    result = bmc.run("-a", "1", "-s", "rsa", "-o", "#Drive.")
    assert "Unknown action" not in result.out
    assert "#Drive." in result.out
    assert result.status == 255


@pytest.mark.parametrize("address", [[], ["-a", "0x8c0000"]])
def test_edit_without_resource_id_says_so_first(bmc, address):
    """Before it looks at the address or at the parameters."""
    bmc.start(s.server())
    ended(bmc.run("-s", "rsa", "-o", "edit", *address),
          out="Resource ID not specified\n", status=255)


@pytest.mark.parametrize("words", [
    ["-o", "create"], ["-o", "edit", "-r", "406"]])
def test_a_volume_needs_parameters_or_a_file(bmc, words):
    """The address is there, what to do is not."""
    bmc.start(s.server())
    ended(bmc.run("-s", "rsa", "-a", "0x8c0000", *words),
          out="Param or file is NOT specified\n", status=255)


def test_no_bus_ends_with_an_exception(bmc):
    """The text is the bus library's."""
    result = bmc.run(
        "-o", "list", env={"DBUS_SYSTEM_BUS_ADDRESS": "unix:path=/none"})
    assert result.out.startswith("Exception: ")
    assert result.out.count("\n") == 1
    assert (result.err, result.status) == ("", 255)


def test_a_bus_that_hangs_up_is_told(bmc):
    """As a daemon does that has too many connections of this user."""
    with socket.socket(socket.AF_UNIX) as listener:
        listener.bind("")  # a name of the system's choice, no file
        listener.listen()
        name = listener.getsockname()[1:].decode()

        def hang_up():
            with listener.accept()[0] as connection:
                connection.recv(4096)  # who the tool says that it is

        daemon = threading.Thread(target=hang_up)
        daemon.start()
        result = bmc.run("-o", "list", env={
            "DBUS_SYSTEM_BUS_ADDRESS": f"unix:abstract={name}"})
        daemon.join()
    ended(result, status=255, out=(
        "Exception: sd_bus_get_unique_name: System.Error.ENOTCONN: "
        "Transport endpoint is not connected\n"))


def test_output_that_cannot_be_written_is_a_failure(bmc):
    """One line on standard error, and no success."""
    bmc.start(s.listing("rsa", "GetVolumes", {"Volumes": [{}]}))
    result = bmc.run(
        "-c", '"$0" -s rsa -o list -t Volumes > /dev/full',
        os.environ["ZANTRIC"], program="/bin/sh")
    assert result.status == 255
    assert result.err.count("\n") == 1
