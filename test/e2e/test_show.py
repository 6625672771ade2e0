# SPDX-License-Identifier: Apache-2.0
"""The show operation and the layout of JSON documents."""

import json

import pytest

import scenarios as s
from expect import device_call, ended, storage_call

ADDRESS = 0x8c0000
SHOW = ["-o", "show", "-s", "rsa", "-a", hex(ADDRESS)]


def device(reply):
    """A service whose one device answers so."""
    return s.method("com.mervax.rsa", "/com/mervax/rsa", s.PCIE,
                    "GetPCIeDevice", {"in": "u", **reply})


def shown(bmc, document):
    """The printed form of a document."""
    bmc.start(device({"json": document}))
    result = bmc.run(*SHOW)
    assert (result.err, result.status) == ("", 0)
    assert bmc.calls() == [device_call("rsa", ADDRESS)]
    return result.out


def scalar(key, text, blanks=0):
    return " " * blanks + f"{key:<24} : {text}\n"


def test_top_level_vendor_id_of_pci_shows_four_hexadecimal_digits(bmc):
    """Its key has "PCI" and "Id" in it."""
    assert shown(bmc, {"PCIeVendorId": 4318}) == scalar(
        "PCIeVendorId", "0x10de (number)")


def test_identifier_digits_are_padded_with_zeros(bmc):
    """And a following number is not."""
    assert shown(bmc, {"PCIeId": 10, "Size": 10}) == (
        scalar("PCIeId", "0x000a (number)") + scalar("Size", "10 (number)"))


def test_second_level_device_id_without_pci_is_decimal(bmc):
    """Below the top level only "PCI" in the key asks for hexadecimal."""
    assert shown(bmc, {"A": {"DeviceID": 4318}}) == (
        "A (object, 1)\n{\n" + scalar("DeviceID", "4318 (number)", 4) + "}\n")


def test_address_is_decimal_at_second_level_and_hexadecimal_at_the_top(bmc):
    """At the top without padding."""
    assert shown(bmc, {"Address": 255, "B": {"Address": 255}}) == (
        scalar("Address", "0xff (number)") + "B (object, 1)\n{\n" +
        scalar("Address", "255 (number)", 4) + "}\n")


def test_function_id_keeps_its_low_16_bits(bmc):
    """70000 is 0x11170."""
    assert shown(bmc, {"PCIeFunctionId": 70000}) == scalar(
        "PCIeFunctionId", "0x1170 (number)")


@pytest.mark.parametrize("document", [{}, [], None])
def test_an_empty_document_prints_nothing(bmc, document):
    """No braces either."""
    assert shown(bmc, document) == ""


def test_deeper_objects_go_on_eight_blanks_a_step(bmc):
    """One blank short of the multiple of four, from the second step on."""
    deep = {"a": {"b": {"c": {"d": {"e": 1}}}}}
    assert shown(bmc, deep) == (
        "a (object, 1)\n"
        "{\n"
        f"    {'b':<24} (object, 1)\n"
        "    {\n"
        "       c (object, 1)\n"
        "       {\n"
        f"           {'d':<24} (object, 1)\n"
        "           {\n"
        f"               {'e':<24} : 1 (number)\n"
        "           }\n"
        "       }\n"
        "    }\n"
        "}\n")


def test_arrays_at_both_levels(bmc):
    """Structured elements stand in braces that a comma follows."""
    document = {"a": [1, "x", {"k": True}], "o": {"b": [None, {"k": 1.5}]}}
    assert shown(bmc, document) == (
        "a (array, 3)\n"
        "[\n"
        "    1\n"
        '    "x"\n'
        "    {\n"
        f"       {'k':<24} : true (boolean)\n"
        "    },\n"
        "]\n"
        "o (object, 1)\n"
        "{\n"
        f"    {'b':<24} (array, 2)\n"
        "    [\n"
        "        null\n"
        "        {\n"
        f"           {'k':<24} : 1.5 (number)\n"
        "        },\n"
        "    ]\n"
        "}\n")


def test_other_scalars_show_their_type(bmc):
    """Texts in quotes, escaped as JSON has it."""
    document = {"b": False, "f": 2.5, "i": -3, "n": None, "s": 'a"b'}
    assert shown(bmc, document) == (
        scalar("b", "false (boolean)") + scalar("f", "2.5 (number)") +
        scalar("i", "-3 (number)") + scalar("n", "null (null)") +
        scalar("s", '"a\\"b" (string)'))


def test_an_array_of_scalars_is_no_document(bmc):
    """Its elements have no key: the library's error, told in show's words."""
    bmc.start(device({"json": [1]}))
    result = bmc.run(*SHOW)
    assert result.out.startswith(
        "showDeviceInfo: rsa, device 0x8c0000; exception: "
        "[json.exception.invalid_iterator.")
    assert (result.err, result.status) == ("", 255)


def test_an_error_reply_names_device_and_service(bmc):
    """The reply's own text is not shown."""
    bmc.start(device(s.error()))
    ended(bmc.run(*SHOW), "Failed to get device 0x8c0000 from rsa\n", 255)


def test_no_such_service_is_an_error_reply(bmc):
    """The bus itself answers for a name that nobody owns."""
    bmc.start(s.server())
    ended(bmc.run(*SHOW), "Failed to get device 0x8c0000 from rsa\n", 255)


def test_a_service_that_dies_in_the_call_is_an_error_reply(bmc):
    """The bus tells the caller that no answer will come."""
    bmc.start(device({"die": True}))
    ended(bmc.run(*SHOW), "Failed to get device 0x8c0000 from rsa\n", 255)


@pytest.mark.parametrize("reply, text", [
    ({"text": "{"}, "[json.exception.parse_error.101]"),
    ({"text": ""}, "[json.exception.parse_error.101]"),
    ({"text": [{"times": 10000, "text": '{"a":'}, "1",
               {"times": 10000, "text": "}"}]}, ""),
    ({"out": "u", "return": [5]}, "sd_bus_message_read_basic"),
])
def test_what_is_no_document_is_an_exception(bmc, reply, text):
    """Malformed, nested without end, or no text at all."""
    bmc.start(device(reply))
    result = bmc.run(*SHOW)
    assert result.out.startswith(
        "showDeviceInfo: rsa, device 0x8c0000; exception: " + text)
    assert (result.err, result.status) == ("", 255)
    assert result.out.count("\n") == 1


def test_a_silent_service_is_an_exception_after_the_timeout(bmc):
    """The bus library's time-out ends the call."""
    bmc.start(device({"silent": True}))
    result = bmc.run(*SHOW, env={"SYSTEMD_BUS_TIMEOUT": "200ms"})
    assert result.out.startswith(
        "showDeviceInfo: rsa, device 0x8c0000; exception: sd_bus_call: ")
    assert (result.err, result.status) == ("", 255)


def test_show_without_a_service(bmc):
    """Said before anything about the address."""
    ended(bmc.run("-o", "show"), "Service not specified\n", 255)


@pytest.mark.parametrize("target", ["drives", "Ports", "Drive", "storage"])
def test_target_names_are_case_sensitive(bmc, target):
    """An unknown one is repeated as it was given."""
    bmc.start(s.server())
    ended(bmc.run(*SHOW, "-t", target), f"Unknown target: {target}\n", 255)
    assert bmc.calls() == []


@pytest.mark.parametrize("target", [
    "Drives", "Volumes", "StoragePools", "Storage"])
def test_show_with_a_target_prints_the_whole_document(bmc, target):
    """Not only the member of the target's name."""
    bmc.start(s.listing("rsa", "Get" + target,
                        {target: {"Id": 1}, "More": 2}))
    members = {"More": f"More{'':20} : 2 (number)\n",
               target: f"{target} (object, 1)\n{{\n"
                       f"    Id{'':22} : 1 (number)\n}}\n"}
    ended(bmc.run(*SHOW, "-t", target),
          "".join(members[key] for key in sorted(members)))
    assert bmc.calls() == [storage_call("rsa", "Get" + target, ADDRESS)]


def test_show_drives_of_nvmed_needs_no_address(bmc):
    """The call is for all drives and has no argument."""
    bmc.start(s.storage("nvmed", {1: {"Drives": ["d"]}}, addressless=True))
    ended(bmc.run("-o", "show", "-s", "nvmed", "-t", "Drives"),
          'Drives (array, 1)\n[\n    "d"\n]\n')
    assert bmc.calls() == [storage_call("nvmed", "GetAllDrives")]


@pytest.mark.parametrize("address", [[], ["-a", "0xc10000"]])
def test_show_volumes_of_nvmed_has_no_argument(bmc, address):
    """Not even when an address was given."""
    bmc.start(s.storage("nvmed", {1: {"Volumes": ["v"]}}, addressless=True))
    ended(bmc.run("-o", "show", "-s", "nvmed", "-t", "Volumes", *address),
          'Volumes (array, 1)\n[\n    "v"\n]\n')
    assert bmc.calls() == [storage_call("nvmed", "GetVolumes")]


@pytest.mark.parametrize("document, size", [
    ({}, 0), ({"A": 1, "B": 2}, 2), ([1, 2, 3], 3), ("Drives", 1), (None, 0)])
def test_show_without_the_targets_member(bmc, document, size):
    """The number of top-level elements is told."""
    bmc.start(s.listing("rsa", "GetDrives", document))
    ended(bmc.run(*SHOW, "-t", "Drives"),
          "getStorageResouces: returned data does not contain Drives, "
          f"json size = {size}\n", 255)


@pytest.mark.parametrize("service, words", [
    ("rsa", ["-a", "1"]), ("nvmed", [])])
def test_show_with_an_error_reply(bmc, service, words):
    """Named after the target also where the call has another name."""
    bmc.start(s.server())
    ended(bmc.run("-o", "show", "-s", service, "-t", "Drives", *words),
          "Dbus call GetDrives failed\n", 255)


def test_show_with_malformed_json_reaches_the_front_end(bmc):
    """Nothing before it catches the library's parse error."""
    bmc.start(s.method("com.mervax.rsa", "/com/mervax/rsa", s.STORAGE,
                       "GetDrives", {"in": "u", "text": "{]"}))
    result = bmc.run(*SHOW, "-t", "Drives")
    assert result.out.startswith("Exception: [json.exception.parse_error.101]")
    assert (result.err, result.status) == ("", 255)


def test_show_with_a_wrong_reply_type_reaches_the_front_end(bmc):
    """The bus library's error text."""
    bmc.start(s.method("com.mervax.rsa", "/com/mervax/rsa", s.STORAGE,
                       "GetDrives", {"in": "u", "out": "i", "return": [1]}))
    result = bmc.run(*SHOW, "-t", "Drives")
    assert result.out.startswith("Exception: sd_bus_message_read_basic")
    assert (result.err, result.status) == ("", 255)


def test_a_document_as_large_as_a_rack_is_printed_whole(bmc):
    """Ten thousand drives of one reply."""
    bmc.start(s.listing("rsa", "GetDrives", {"Drives": [
        {"@repeat": 10000, "item": {"Name": "d{index}"}}]}))
    result = bmc.run(*SHOW, "-t", "Drives")
    assert result.out.count("\n    },\n") == 10000
    assert json.loads(result.out.split(" : ")[-1].split(" (")[0]) == "d9999"
    assert result.status == 0
