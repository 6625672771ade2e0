# SPDX-License-Identifier: Apache-2.0
"""The listing of drive backplanes."""

import pytest

import scenarios as s
from harness import Call
from io_cases import BPM, INFO, ITEM, SOON, own_fields

ROOT = "/xyz/openbmc_project/inventory/backplane"
F = "fetchDriveBackplaneObjects"
FULL = {
    "I2CBusNumber": ("y", 3), "StartSlotNumber": ("y", 8),
    "NumberOfSlots": ("y", 8), "IsBootKit": ("b", True),
    "Name": ("s", "BP 1"), "Description": ("s", "8x NVMe"),
    "FormFactor": ("s", "2.5\""), "LocationReference": ("s", "Front"),
    "PCIeSlots": ("ay", [1, 2]),
}
ORDER = ["I2CBusNumber", "StartSlotNumber", "NumberOfSlots", "IsBootKit",
         "Name", "Description", "FormFactor", "LocationReference",
         "PCIeSlots"]
LINE = 'BP 1: i2c-3, bay[8-16], formfactor=2.5", location=Front\n'
NOT_READY = (INFO, "backplane object not ready, wait 0/0 seconds")


def backplane(name, properties=None, interface=ITEM):
    """One object of the backplane service."""
    content = {key: {"signature": signature, "value": value}
               for key, (signature, value) in
               (FULL if properties is None else properties).items()}
    return s.service(BPM, objects={
        f"{ROOT}/{name}": {interface: {"properties": content}}})


def without(*names, **changed):
    """All properties but these, some of them changed."""
    kept = {key: value for key, value in FULL.items() if key not in names}
    return {**kept, **changed}


def show(bmc, target="Backplanes", **options):
    return bmc.run("-o", "show", "-t", target, **options)


PATHS = Call(s.MAPPER, s.MAPPER_PATH, s.MAPPER, "GetSubTreePaths", "sias",
             [ROOT, 1, [ITEM]])


def all_of(name):
    return Call(BPM, f"{ROOT}/{name}", s.PROPERTIES, "GetAll", "s", [ITEM])


def test_the_range_of_bays_ends_one_past_the_last(bmc):
    """8 bays from 8 on are bay[8-16]; no service and no address needed."""
    bmc.start(s.merge(s.mapper(), backplane("a")))
    assert show(bmc) == (LINE, "", 0)
    assert bmc.calls() == [PATHS, all_of("a")]
    assert bmc.messages() == [
        (INFO, 'BP 1: i2c-3, 8x NVMe; location=Front, ff=2.5", '
               "Slots=[8, 16]")]
    fields = own_fields(bmc.journal()[0])
    assert [fields[key] for key in ("N", "B", "D", "L", "F", "S1", "S2")] == [
        "BP 1", "3", "8x NVMe", "Front", '2.5"', "8", "16"]


@pytest.mark.parametrize("target, status", [
    ("backplanes", 0), ("Backplanes", 0), ("BACKPLANES", 255),
    ("Backplane", 255)])
def test_two_spellings_of_the_target(bmc, target, status):
    """And no other."""
    bmc.start(s.merge(s.mapper(), backplane("a")))
    text = LINE if status == 0 else "Service not specified\n"
    assert show(bmc, target) == (text, "", status)


def test_service_and_address_do_not_matter(bmc):
    """They are not looked at."""
    bmc.start(s.merge(s.mapper(), backplane("a")))
    assert bmc.run("-o", "show", "-t", "backplanes", "-s", "rsa", "-a",
                   "1") == (LINE, "", 0)


def test_backplanes_come_in_the_mappers_order(bmc):
    """Not by name."""
    bmc.start(s.merge(
        s.mapper(), backplane("a", without(Name=("s", "A"))),
        backplane("b", without(Name=("s", "B"))),
        s.fault("GetSubTreePaths", {"out": "as", "return": [
            [ROOT + "/b", ROOT + "/a", ROOT + "/b"]]})))
    result = show(bmc)
    assert [line[0] for line in result.out.splitlines()] == ["B", "A", "B"]
    assert bmc.calls() == [PATHS, all_of("b"), all_of("a"), all_of("b")]


def test_without_a_bus_number(bmc):
    """i2c-255, and the journal says what is missing."""
    bmc.start(s.merge(s.mapper(), backplane("a", without("I2CBusNumber"))))
    assert show(bmc) == (LINE.replace("i2c-3", "i2c-255"), "", 0)
    assert bmc.messages()[0] == (
        3, "Drivebackplane object does not have I2CBusNumber")
    assert own_fields(bmc.journal()[0])["PROP"] == "I2CBusNumber"
    assert len(bmc.messages()) == 2


@pytest.mark.parametrize("name", ORDER)
def test_each_missing_property_is_told(bmc, name):
    """The backplane is listed all the same."""
    bmc.start(s.merge(s.mapper(), backplane("a", without(name))))
    result = show(bmc)
    assert (result.out.count("\n"), result.err, result.status) == (1, "", 0)
    assert bmc.messages()[:-1] == [
        (3, "Drivebackplane object does not have " + name)]


@pytest.mark.parametrize("name, other", [
    ("I2CBusNumber", ("u", 3)), ("StartSlotNumber", ("s", "8")),
    ("NumberOfSlots", ("b", True)), ("IsBootKit", ("y", 1)),
    ("Name", ("y", 1)), ("FormFactor", ("as", ["x"])),
    ("Description", ("o", "/a")), ("LocationReference", ("a{sv}", {})),
    ("PCIeSlots", ("au", [1])),
])
def test_each_property_of_another_type_is_told(bmc, name, other):
    """It counts as missing, with its default."""
    bmc.start(s.merge(s.mapper(),
                      backplane("a", without(**{name: other})),
                      backplane("b")))
    result = show(bmc)
    assert (result.status, result.out.splitlines()[1] + "\n") == (0, LINE)
    assert bmc.messages()[0] == (
        3, "Drivebackplane object does not have " + name)


def test_properties_that_it_does_not_know(bmc):
    """Only those are defaults."""
    bmc.start(s.merge(s.mapper(), backplane("a", {"Colour": ("s", "red")})))
    assert show(bmc) == (": i2c-255, bay[0-0], formfactor=, location=\n", "",
                         0)
    assert bmc.messages() == [
        (3, "Drivebackplane object does not have " + name)
        for name in ORDER] + [
        (INFO, ": i2c-255, ; location=, ff=, Slots=[0, 0]")]


def test_the_largest_numbers(bmc):
    """The range is not cut to a byte."""
    bmc.start(s.merge(s.mapper(), backplane("a", without(
        I2CBusNumber=("y", 0), StartSlotNumber=("y", 255),
        NumberOfSlots=("y", 255), Name=("s", "%s%n")))))
    assert show(bmc).out == ('%s%n: i2c-0, bay[255-510], formfactor=2.5", '
                             "location=Front\n")


def test_no_backplanes(bmc):
    """The subtree is there and empty: nothing, and a success."""
    bmc.start(s.merge(s.mapper(), backplane("a", interface="a.b")))
    assert show(bmc) == ("", "", 0)
    assert (bmc.calls(), bmc.messages()) == ([PATHS], [])


def test_no_backplane_service_yet(bmc):
    """The mapper knows no such subtree: only an informational line."""
    bmc.start(s.mapper())
    assert show(bmc) == ("", "", 255)
    assert (bmc.calls(), bmc.messages()) == ([PATHS], [NOT_READY])


def test_a_backplane_that_is_not_ready(bmc):
    """The same when its properties are not there yet."""
    bmc.start(s.merge(s.mapper(), backplane("a"),
                      s.fault("GetAll", s.error(s.NOT_FOUND))))
    assert show(bmc) == ("", "", 255)
    assert bmc.messages() == [NOT_READY]


@pytest.mark.parametrize("parts", [
    s.merge(s.mapper(), s.fault("GetSubTreePaths", s.error())),
    {"services": {}},
], ids=["error", "no mapper"])
def test_a_mapper_that_fails(bmc, parts):
    """Any other error."""
    bmc.start(parts)
    assert show(bmc) == ("", "", 255)
    assert bmc.messages() == [(3, f"[ERR] {F}: GetSubTreePaths failed")]
    assert own_fields(bmc.journal()[0])["F"] == F


def test_properties_that_are_refused(bmc):
    """Nothing is printed, not even the backplane before."""
    bmc.start(s.merge(s.mapper(), backplane("a"), backplane("b"),
                      s.fault("GetAll", s.error(), path=ROOT + "/b")))
    assert show(bmc) == ("", "", 255)
    assert bmc.messages()[1:] == [
        (3, f"[ERR] {F}: get DriveBackplane properties failed")]


def test_no_properties_at_all(bmc):
    """An empty map fails."""
    bmc.start(s.merge(s.mapper(), backplane("a", {}), backplane("b")))
    assert show(bmc) == ("", "", 255)
    assert bmc.messages() == [
        (3, f"[ERR] {F}: DriveBackplane properties empty")]
    assert bmc.calls() == [PATHS, all_of("a")]


@pytest.mark.parametrize("reply", [
    {"out": "as", "return": [["x"]]}, {"out": "s", "return": ["x"]},
    {"return": []}, {"out": "a{ss}", "return": [{"Name": "x"}]},
])
def test_properties_in_another_form(bmc, reply):
    """An exception."""
    bmc.start(s.merge(s.mapper(), backplane("a"), s.fault("GetAll", reply)))
    assert show(bmc) == ("", "", 255)
    (priority, message), = bmc.messages()
    assert (priority, message.startswith(f"[ERR] {F}: ")) == (3, True)


@pytest.mark.parametrize("reply", [
    {"out": "au", "return": [[1]]}, {"out": "s", "return": [ROOT]},
    {"return": []}, {"out": "as", "return": [["no path"]]},
])
def test_paths_in_another_form(bmc, reply):
    """An exception."""
    bmc.start(s.merge(s.mapper(), backplane("a"),
                      s.fault("GetSubTreePaths", reply)))
    assert show(bmc) == ("", "", 255)
    (priority, message), = bmc.messages()
    assert (priority, message.startswith(f"[ERR] {F}: ")) == (3, True)


def test_a_silent_mapper(bmc):
    """No answer is an exception."""
    bmc.start(s.merge(s.mapper(),
                      s.fault("GetSubTreePaths", {"silent": True})))
    assert show(bmc, env=SOON) == ("", "", 255)
    assert bmc.messages() == [
        (3, f"[ERR] {F}: sd_bus_call: org.freedesktop.DBus.Error.Timeout: "
            "Connection timed out")]


def test_a_service_that_dies(bmc):
    """In the middle of the second backplane."""
    bmc.start(s.merge(s.mapper(), backplane("a"), backplane("b"),
                      s.fault("GetAll", {"die": True}, path=ROOT + "/b")))
    result = show(bmc)
    assert (result.out, result.status) == ("", 255)
    assert bmc.messages()[-1][0] == 3


def test_many_backplanes(bmc):
    """A line each."""
    count = 300
    bmc.start(s.merge(s.mapper(), *[
        backplane(f"b{index:03}", without(Name=("s", f"B{index:03}")))
        for index in range(count)]))
    result = show(bmc)
    assert [line[:4] for line in result.out.splitlines()] == [
        f"B{index:03}" for index in range(count)]
