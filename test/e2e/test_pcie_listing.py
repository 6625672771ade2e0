# SPDX-License-Identifier: Apache-2.0
"""The listing of PCIe devices, their ports and what hangs behind them."""

import pytest

import scenarios as s
from expect import (HEADER_CALLS, SUBTREE_CALL, devices_call, ended,
                    storage_call, under_header)


def line(place="Onboard 00", address=0, ids="0000 0000 0000 0000",
         service="rsa", name="", eid=0, trailing=""):
    """A device's own line."""
    return (f"{place}, Addr 0x{address:08X}, [{ids}], {service}, {name}, "
            f"EID(0x{eid:02X}){trailing}\n")


def listed(bmc, *devices, parts=(), words=()):
    """What is printed under the header for the devices of one service."""
    bmc.start(s.server(s.pcie("rsa", *devices), *parts))
    result = bmc.run(*words)
    assert (result.err, result.status) == ("", 0)
    return under_header(result.out)


def test_slot_device_with_everything(bmc):
    """Each number in its own form."""
    assert listed(
        bmc,
        {"LocationNumber": 1, "SlotNumber": 3, "PCIeAddress": 0x8c0000,
         "VendorId": 0xa5d7, "DeviceId": 0x10, "SubsystemVendorId": 0x1,
         "SubsystemId": 0xffff, "ClassCode": 0x020000,
         "PCIeDevice": {"Name": "Dev", "PartNumber": "P", "SKU": "K",
                        "SerialNumber": "S", "Manufacturer": "M"},
         "SoftwareInventorySet": {"Version": "1.2", "ReleaseDate": "May"}},
        parts=[s.endpoints((0x1f, 0x8c0000))]) == (
        line("   Slot 03", 0x8c0000, "A5D7 0010 0001 FFFF", name="Dev",
             eid=0x1f, trailing=", 1.2, May") +
        "            P/N: P;  SKU: K;  S/N: S;  Manufacture: M\n")


def test_an_empty_record_shows_the_defaults(bmc):
    """All numbers 0, the name empty, no line below."""
    assert listed(bmc, {}) == line()


def test_location_0_is_onboard_whatever_its_slot(bmc):
    """Slot numbers have two digits at least."""
    assert listed(bmc, {"LocationNumber": 0, "SlotNumber": 7},
                  {"LocationNumber": 2, "SlotNumber": 123},
                  {"LocationNumber": 2}) == (
        line("Onboard 07") + line("   Slot 123") + line("   Slot 00"))


def test_a_device_without_a_routing_entry_has_eid_0(bmc):
    """Endpoints of other devices do not matter."""
    assert listed(bmc, {"PCIeAddress": 0x8c0000},
                  parts=[s.endpoints((9, 0x8d0000))]) == line(
        address=0x8c0000)


@pytest.mark.parametrize("software, trailing", [
    ({"Version": "", "ReleaseDate": "May"}, ""),
    ({"ReleaseDate": "May"}, ""),
    ({"Version": "1"}, ", 1"),
    ({}, ""),
])
def test_a_release_date_without_a_version_is_not_shown(bmc, software,
                                                       trailing):
    """And software without a version also hides the class text."""
    assert listed(bmc, {
        "SoftwareInventorySet": software, "PCIeDevice": {
            "Name": "Adapter X"}, "PCIeFunctions": [
                {"DeviceClass": "C", "ClassCode": "0x1"}]}) == line(
        name="Adapter X", trailing=trailing)


def test_an_adapter_without_software_shows_its_first_functions_class(bmc):
    """By name it is an adapter; only the first function counts."""
    assert listed(bmc, {
        "PCIeDevice": {"Name": "Adapter X"}, "PCIeFunctions": [
            {"DeviceClass": "NetworkController", "ClassCode": "0x020000"},
            {"DeviceClass": "Other", "ClassCode": "0x030000"}]}) == line(
        name="Adapter X", trailing=", NetworkController(0x020000)")


@pytest.mark.parametrize("name, functions", [
    ("Adapter", [{"DeviceClass": "C", "ClassCode": "0x1"}]),
    ("adapter X", [{"DeviceClass": "C", "ClassCode": "0x1"}]),
    ("Adapter X", []),
    ("Adapter X", [{"DeviceClass": "C"}]),
    ("Adapter X", [{"ClassCode": "0x1"}]),
])
def test_no_class_text_without_name_or_class(bmc, name, functions):
    """The name begins with the word and a blank."""
    assert listed(bmc, {"PCIeDevice": {"Name": name},
                        "PCIeFunctions": functions}) == line(name=name)


def test_ports_without_ids_are_labelled_by_position(bmc):
    """Counting from 0, over ports that have a label too."""
    assert listed(bmc, {"PCIeDevice": {}, "Ports": [
        {}, {"Id": "b"}, {}, {"PortId": "a", "Id": "b"},
        {"PortId": "", "Id": ""}]}) == line() + "".join(
        f"            [Port {label}]  ;  State:         ;  Speed(Gbps): 0.0\n"
        for label in ("0", "b", "2", "a", "4"))


def port(**members):
    return {"PCIeDevice": {}, "Ports": [
        {"PortId": "1", "LinkStatus": "LinkUp", "CurrentSpeedGbps": 25,
         "Oem": {"Mervax": members}}]}


@pytest.mark.parametrize("members, mac, extra", [
    ({"TxUtilization": 3}, "", ""),
    ({"RxUtilization": 3}, "", ""),
    ({"TxUtilization": 3, "RxUtilization": 5}, "", ";  Tx/Rx Util: 3/5"),
    ({"NCSI": {"PackageId": 2}}, "", ";    PackageId: 2"),
    ({"NCSI": {}, "PermanentAddress": "02:00"}, "02:00", ""),
    ({"TxUtilization": 0, "RxUtilization": 100, "NCSI": {"PackageId": 0}},
     "", ";  Tx/Rx Util: 0/100;    PackageId: 0"),
])
def test_port_utilisation_needs_both_directions(bmc, members, mac, extra):
    """The package id is told by itself."""
    assert listed(bmc, port(**members)) == line() + (
        f"            [Port 1]  {mac};  State:   LinkUp;  "
        f"Speed(Gbps): 25.0{extra}\n")


@pytest.mark.parametrize("inventory, parts", [
    ({"Name": "x", "PartNumber": "", "SKU": "", "SerialNumber": "",
      "Manufacturer": ""}, ""),
    ({"Name": "x"}, ""),
    ({"Name": "x", "SKU": "k", "PartNumber": 5},
     "            P/N: ;  SKU: k;  S/N: ;  Manufacture: \n"),
])
def test_no_parts_line_when_all_four_texts_are_empty(bmc, inventory, parts):
    """The port lines are there all the same."""
    assert listed(bmc, {"PCIeDevice": inventory, "Ports": [{}]}) == (
        line(name="x") + parts +
        "            [Port 0]  ;  State:         ;  Speed(Gbps): 0.0\n")


def test_each_text_ends_at_its_nul(bmc):
    """In the parts line as in the others."""
    assert listed(bmc, {
        "PCIeDevice": {"Name": "N\0x", "PartNumber": "P\0x", "SKU": "K",
                       "SerialNumber": "\0x", "Manufacturer": "M\0"},
        "SoftwareInventorySet": {"Version": "1\0x", "ReleaseDate": "May"},
        "Ports": [{"PortId": "1\0x", "LinkStatus": "Up\0x"}]}) == (
        line(name="N", trailing=", 1") +
        "            P/N: P;  SKU: K;  S/N: ;  Manufacture: M\n"
        "            [Port 1]  ;  State:       Up;  Speed(Gbps): 0.0\n")


NUMBERS = ["LocationNumber", "SlotNumber", "PCIeAddress", "VendorId",
           "DeviceId", "SubsystemVendorId", "SubsystemId", "ClassCode"]


@pytest.mark.parametrize("key", NUMBERS)
@pytest.mark.parametrize("value", [True, False])
def test_a_boolean_is_no_number(bmc, key, value):
    """For each of the eight numbers of a device."""
    bmc.start(s.server(devices_reply(
        {"json": {"PCIeDeviceComplexes": [{key: value}]}})))
    result = bmc.run()
    assert (under_header(result.out), result.status) == (
        "getPCIeComplexes: com.mervax.rsa, /com/mervax/rsa; exception: "
        "[json.exception.type_error.302] type must be number, but is "
        "boolean\n", 255)


def test_no_port_lines_without_an_inventory_record(bmc):
    """Ports are told below the device's own record."""
    assert listed(bmc, {"Ports": [{}]}) == line()


STORAGE_PARTS = s.storage("rsa", {0x8c0000: {
    "Drives": [{"Name": "d"}], "Volumes": [{"Name": "v"}]}})


@pytest.mark.parametrize("code", [0x010400, 0x010700])
def test_drives_and_volumes_under_a_storage_controller(bmc, code):
    """Twelve blanks deep, never verbose, of this service and address."""
    out = listed(bmc, {"ClassCode": code, "PCIeAddress": 0x8c0000},
                 parts=[STORAGE_PARTS], words=["-o", "list", "-v"])
    assert out == (
        line(address=0x8c0000) +
        "            0, ResId 0, d, , , , S/N: , F/W: \n"
        "            v, ResId 0, , 0.00GiB; StripSize=0KB, , , "
        "WtCacheState=\n")
    assert bmc.calls() == HEADER_CALLS + [
        devices_call("rsa"), storage_call("rsa", "GetDrives", 0x8c0000),
        storage_call("rsa", "GetVolumes", 0x8c0000)]


@pytest.mark.parametrize("code", [0x010401, 0x010701, 0x010600, 0x0104])
def test_another_programming_interface_lists_no_drives(bmc, code):
    """The whole class code counts."""
    listed(bmc, {"ClassCode": code, "PCIeAddress": 0x8c0000},
           parts=[STORAGE_PARTS])
    assert bmc.calls() == HEADER_CALLS + [devices_call("rsa")]


def test_a_failed_drive_listing_does_not_fail_the_device_listing(bmc):
    """Its message stands in its place; the volumes are asked all the same."""
    out = listed(bmc, {"ClassCode": 0x010400, "PCIeAddress": 1}, parts=[
        s.fault("GetDrives", s.error()), s.storage("rsa", {1: {
            "Volumes": []}})])
    assert out == line(address=1) + "Failed to get Drives from service rsa\n"


def test_complexes_may_be_an_object(bmc):
    """Its members in the order of their keys."""
    bmc.start(s.server(devices_reply({"json": {"PCIeDeviceComplexes": {
        "b": {"SlotNumber": 2}, "a": {"SlotNumber": 1}}}})))
    assert under_header(bmc.run().out) == (
        line("Onboard 01") + line("Onboard 02"))


def devices_reply(reply, name="com.mervax.rsa", path="/com/mervax/rsa"):
    """An inventory service whose listing is scripted."""
    return s.method(name, path, s.PCIE, "GetPCIeDevices", reply)


def test_no_service_means_only_the_header(bmc):
    """The lookup succeeded, so the status is 0."""
    bmc.start(s.server(s.storage("rsa", {})))
    result = bmc.run()
    assert (under_header(result.out), result.status) == ("", 0)
    assert bmc.calls() == HEADER_CALLS


def test_a_mapper_error_ends_the_listing(bmc):
    """With a service word a second line says what is missing; no header."""
    bmc.start(s.server(s.fault("GetSubTree", s.error(s.NOT_FOUND))))
    failed = f"getServicesWithInterface({s.PCIE}) failed\n"
    ended(bmc.run(), failed, 255)
    ended(bmc.run("-s", "rsa"), failed +
          f"rsa does not have interface {s.PCIE}\n", 255)
    assert bmc.calls() == [SUBTREE_CALL, SUBTREE_CALL]


FROM_RSA = "Failed to get PCIeDeviceComplexes from com.mervax.rsa\n"


@pytest.mark.parametrize("reply, said", [
    (s.error(), "getPCIeComplexes failed\n"),
    ({"die": True}, "getPCIeComplexes failed\n"),
    ({"json": {}}, ""),
    ({"json": [1]}, ""),
    ({"json": None}, ""),
])
@pytest.mark.parametrize("words, more", [([], ""), (["-s", "rsa"], FROM_RSA)])
def test_a_service_without_complexes_fails(bmc, reply, said, words, more):
    """Whether it answers with an error or with another document."""
    bmc.start(s.server(devices_reply(reply)))
    result = bmc.run(*words)
    assert under_header(result.out) == said + more
    assert (result.err, result.status) == ("", 255)


@pytest.mark.parametrize("reply, text", [
    ({"text": "]"}, "[json.exception.parse_error.101]"),
    ({"out": "i", "return": [3]}, "sd_bus_message_read_basic"),
    ({"silent": True}, "sd_bus_call: "),
    ({"json": {"PCIeDeviceComplexes": [{"VendorId": "x"}]}},
     "[json.exception.type_error.302] type must be number, but is string"),
])
@pytest.mark.parametrize("words, more", [([], ""), (["-s", "rsa"], FROM_RSA)])
def test_an_exception_is_told_per_service(bmc, reply, text, words, more):
    """With the service's name and path."""
    bmc.start(s.server(devices_reply(reply)))
    result = bmc.run(*words, env={"SYSTEMD_BUS_TIMEOUT": "300ms"})
    rest = under_header(result.out)
    assert rest.startswith("getPCIeComplexes: com.mervax.rsa, "
                           "/com/mervax/rsa; exception: " + text)
    assert rest.endswith("\n" + more)
    assert rest.count("\n") == 1 + more.count("\n")
    assert (result.err, result.status) == ("", 255)


def test_lines_before_an_exception_stay(bmc):
    """The devices in front of the malformed one are told."""
    bmc.start(s.server(devices_reply({"json": {"PCIeDeviceComplexes": [
        {"SlotNumber": 1}, {"ClassCode": None}, {"SlotNumber": 2}]}})))
    result = bmc.run()
    assert under_header(result.out) == (
        line("Onboard 01") + "getPCIeComplexes: com.mervax.rsa, "
        "/com/mervax/rsa; exception: [json.exception.type_error.302] type "
        "must be number, but is null\n")
    assert result.status == 255


def test_every_service_is_listed_and_the_last_decides(bmc):
    """In no particular order."""
    bmc.start(s.server(s.pcie("rsa", {"SlotNumber": 1}),
                       s.pcie("lsa", {"SlotNumber": 2}),
                       devices_reply(s.error(), "com.mervax.nvmed",
                                     "/com/mervax/nvmed")))
    result = bmc.run()
    lines = under_header(result.out).splitlines(keepends=True)
    assert sorted(lines) == sorted([
        line("Onboard 01"), line("Onboard 02", service="lsa"),
        "getPCIeComplexes failed\n"])
    last_failed = lines[-1] == "getPCIeComplexes failed\n"
    assert result.status == (255 if last_failed else 0)


def test_a_bus_name_without_dots_below_the_tree(bmc):
    """The short name is what follows the last dot."""
    bmc.start(s.server(s.service("one.two.three", models=[
        {"model": "pcie", "path": "/com/mervax/x", "devices": [{}]}])))
    assert under_header(bmc.run().out) == line(service="three")
