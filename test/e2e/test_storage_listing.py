# SPDX-License-Identifier: Apache-2.0
"""The listing of drives, volumes and storage pools."""

import pytest

import scenarios as s
from expect import ended, storage_call

ADDRESS = 0x8c0000
LIST = ["-o", "list", "-a", hex(ADDRESS)]


def drive(resource, slot=None, kind="Slot", **members):
    """A drive as a service reports it; without a slot it has no location."""
    location = {"PhysicalLocation": {"PartLocation": {
        "LocationType": kind, "LocationOrdinalValue": slot}}}
    return {"Name": f"d{resource}", "Internal": {
        "ResourceId": resource, "TypeString": "SAS SSD"},
        **(location if slot is not None else {}), **members}


def line(resource, slot=None, kind="Slot", prefix="  "):
    """The line of such a drive, which tells nothing else."""
    place = f"{kind}{slot}" if slot is not None else "0"
    return (f"{prefix}{place}, ResId {resource}, d{resource}, SAS SSD, , , "
            "S/N: , F/W: \n")


def drives(*items):
    return s.listing("rsa", "GetDrives", {"Drives": list(items)})


def listed(bmc, *words):
    """The output of a listing of rsa that succeeds."""
    result = bmc.run(*LIST, "-s", "rsa", *words)
    assert (result.err, result.status) == ("", 0)
    return result.out


def test_volumes_of_no_service_in_particular_ask_two_services(bmc):
    """Each under its header; the second header follows an empty line."""
    bmc.start(s.merge(
        s.storage("rsa", {ADDRESS: {"Volumes": [{"Name": "a"}]}}),
        s.storage("lsa", {ADDRESS: {"Volumes": []}})))
    ended(bmc.run(*LIST, "-t", "Volumes"),
          "rsa: 1 Volumes\n"
          "  a, ResId 0, , 0.00GiB; StripSize=0KB, , , WtCacheState=\n"
          "\nlsa: 0 Volumes\n")
    assert bmc.calls() == [storage_call("rsa", "GetVolumes", ADDRESS),
                           storage_call("lsa", "GetVolumes", ADDRESS)]


def test_drives_of_no_service_in_particular_ask_three_services(bmc):
    """The third is asked for all drives, without an address, and its reply is
    looked up under the target's name."""
    bmc.start(s.merge(
        s.storage("rsa", {ADDRESS: {"Drives": [drive(1, 1)]}}),
        s.storage("lsa", {}),
        s.storage("nvmed", {1: {"Drives": [drive(2, 2), drive(3, 3)]}})))
    ended(bmc.run(*LIST, "-t", "Drives"),
          "rsa: 1 Drives\n" + line(1, 1) + "\nlsa: 0 Drives\n"
          "\nnvmed: 2 Drives\n" + line(2, 2) + line(3, 3))
    assert bmc.calls() == [storage_call("rsa", "GetDrives", ADDRESS),
                           storage_call("lsa", "GetDrives", ADDRESS),
                           storage_call("nvmed", "GetAllDrives")]


def test_a_document_that_is_no_object_counts_as_no_items(bmc):
    """Among several services the listing goes on."""
    bmc.start(s.merge(s.listing("rsa", "GetVolumes", [1]),
                      s.listing("lsa", "GetVolumes", {"Volumes": [{}]})))
    result = bmc.run(*LIST, "-t", "Volumes")
    assert result.out.startswith("rsa: 0 Volumes\n\nlsa: 1 Volumes\n  , ")
    assert result.status == 0


def test_volumes_of_nvmed_are_asked_with_the_address(bmc):
    """Only its drives have a call of their own."""
    bmc.start(s.listing("nvmed", "GetVolumes", {"Volumes": []}))
    ended(bmc.run(*LIST, "-s", "nvmed", "-t", "Volumes"))
    assert bmc.calls() == [storage_call("nvmed", "GetVolumes", ADDRESS)]


def test_drives_of_nvmed_alone_are_asked_without_the_address(bmc):
    """And no header is printed for one service."""
    bmc.start(s.storage("nvmed", {1: {"Drives": [drive(2, 2)]}}))
    ended(bmc.run(*LIST, "-s", "nvmed", "-t", "Drives"), line(2, 2))
    assert bmc.calls() == [storage_call("nvmed", "GetAllDrives")]


@pytest.mark.parametrize("document", [{}, {"drives": []}, [], None, 5])
def test_one_service_without_the_member_prints_nothing_and_fails(bmc,
                                                                 document):
    """The listing ends there."""
    bmc.start(s.listing("rsa", "GetDrives", document))
    ended(bmc.run(*LIST, "-s", "rsa", "-t", "Drives"), status=255)


def test_volume_line_with_every_member(bmc):
    """Sizes in GiB with two decimals, the strip in whole KB."""
    bmc.start(s.listing("rsa", "GetVolumes", {"Volumes": [{
        "Name": "vd1", "Internal": {"ResourceId": 406}, "RAIDType": "RAID1",
        "CapacityBytes": 1610612736, "StripSizeBytes": 65537,
        "ReadCachePolicy": "Off", "WriteCachePolicy": "WriteThrough",
        "WriteCacheState": "Protected"}]}))
    assert listed(bmc, "-t", "Volumes") == (
        "  vd1, ResId 406, RAID1, 1.50GiB; StripSize=64KB, Off, "
        "WriteThrough, WtCacheState=Protected\n")


def test_volume_without_strip_size_prints_0_kb(bmc):
    """A missing number is 0."""
    bmc.start(s.listing("rsa", "GetVolumes", {"Volumes": [{"Name": "v"}]}))
    assert "; StripSize=0KB, " in listed(bmc, "-t", "Volumes")


def test_pool_without_remaining_percentage_prints_255(bmc):
    """And every type is followed by a blank, the last one too."""
    bmc.start(s.listing("rsa", "GetStoragePools", {"StoragePools": [
        {"Internal": {"ResourceId": 3}, "SupportedRAIDTypes": [
            "RAID0", "RAID1"], "Capacity": {"Data": {
                "AllocatedBytes": 3 << 30, "ConsumedBytes": 3 << 29}}},
        {"RemainingCapacityPercent": 40}]}))
    assert listed(bmc, "-t", "StoragePools") == (
        "  Pool 3: RAID0 RAID1 , Capacity 3.00GiB, Consumed 1.50GiB, "
        "Remain 255\n"
        "  Pool 0: , Capacity 0.00GiB, Consumed 0.00GiB, Remain 40\n")


@pytest.mark.parametrize("members, piece", [
    ({"PartNumber": "M100", "Model": "XM100-A"}, ""),
    ({"PartNumber": "P7", "Model": "XM100-A"}, "P/N: P7, "),
    ({"SKU": "K1", "SerialNumber": "S1"}, "SKU: K1, "),
    ({"SKU": "S1", "SerialNumber": "S1"}, ""),
    ({"PartNumber": "P7", "SKU": "K1"}, "P/N: P7, "),
    ({}, ""),
])
def test_drive_identity(bmc, members, piece):
    """A part number that the model already tells is not repeated; the SKU
    stands in for a missing part number unless it is the serial number."""
    bmc.start(drives(drive(1, 4, Manufacturer="Mk", FirmwareVersion="F",
                           **members)))
    model = members.get("Model", "")
    serial = members.get("SerialNumber", "")
    assert listed(bmc, "-t", "Drives") == (
        f"  Slot4, ResId 1, d1, SAS SSD, Mk, {model}, {piece}S/N: {serial}, "
        "F/W: F\n")


def test_located_drives_come_sorted_after_the_unlocated(bmc):
    """Slots 5, 2 and 9, and one drive without a location between them."""
    bmc.start(drives(drive(1, 5), drive(2, 2), drive(3), drive(4, 9)))
    assert listed(bmc, "-t", "Drives") == (
        line(3) + line(2, 2) + line(1, 5) + line(4, 9))


def test_location_types_sort_before_ordinals(bmc):
    """Types by their bytes: upper case first."""
    bmc.start(drives(drive(1, 1, "bay"), drive(2, 9, "Slot"),
                     drive(3, 10, "Bay"), drive(4, 2, "Bay")))
    assert listed(bmc, "-t", "Drives") == (
        line(4, 2, "Bay") + line(3, 10, "Bay") + line(2, 9) +
        line(1, 1, "bay"))


def test_a_second_drive_in_a_slot_is_printed_at_its_place(bmc):
    """Ahead of the sorted ones."""
    bmc.start(drives(drive(1, 5), drive(2, 5), drive(3, 1)))
    assert listed(bmc, "-t", "Drives") == (
        line(2, 5) + line(3, 1) + line(1, 5))


def test_an_empty_location_type_is_no_location(bmc):
    """Its ordinal is shown where the drive is printed at once; a missing
    ordinal is 255."""
    bmc.start(drives(drive(1, 5), drive(2, 7, ""), {
        **drive(3), "PhysicalLocation": {}}))
    assert listed(bmc, "-t", "Drives") == (
        line(2, 7, "") + line(3, 255, "") + line(1, 5))


def test_verbose_adds_hours_and_bytes(bmc):
    """For SAS and SATA drives, in GB of 10^9 bytes."""
    def oem(**members):
        return {"Oem": {"Mervax": members}}
    bmc.start(drives(
        drive(1, 1, Protocol="SAS", **oem(POH=12, ProcessedBytes=2345678901)),
        drive(2, 2, Protocol="SATA", **oem(POH=7, WriteBytes=10**12,
                                           ReadBytes=5 * 10**6)),
        drive(3, 3, Protocol="NVMe", **oem(POH=7)),
        drive(4, 4, Protocol="SAS"),
        drive(5, 5, Protocol="SAS", **oem())))
    assert listed(bmc, "-v", "-t", "Drives") == (
        line(1, 1) + "      POH: 12,  ProcessedBytes: 2.35(GB)\n" +
        line(2, 2) + "      POH: 7,  WriteBytes: 1000.00(GB),  "
        "ReadBytes: 0.01(GB)\n" + line(3, 3) + line(4, 4) +
        line(5, 5) + "      POH: 0,  ProcessedBytes: 0.00(GB)\n")


@pytest.mark.parametrize("target", ["Storage", "drives", "Backplanes"])
def test_other_targets_are_not_supported(bmc, target):
    """No service is asked."""
    bmc.start(s.server())
    ended(bmc.run(*LIST, "-t", target), f"Unsupported target {target}\n", 255)
    assert bmc.calls() == []


def test_an_error_reply_ends_the_listing(bmc):
    """The services after it are not asked."""
    bmc.start(s.merge(
        s.storage("rsa", {}), s.storage("lsa", {}), s.storage("nvmed", {}),
        s.fault("GetDrives", s.error(), owner="com.mervax.lsa")))
    ended(bmc.run(*LIST, "-t", "Drives"),
          "rsa: 0 Drives\nFailed to get Drives from service lsa\n", 255)
    assert bmc.calls() == [storage_call("rsa", "GetDrives", ADDRESS),
                           storage_call("lsa", "GetDrives", ADDRESS)]


@pytest.mark.parametrize("reply", [{"die": True}, None])
def test_a_service_that_dies_or_is_not_there_is_an_error_reply(bmc, reply):
    """The bus answers in its place."""
    bmc.start(s.method("com.mervax.rsa", "/com/mervax/rsa", s.STORAGE,
                       "GetDrives", {"in": "u", **reply})
              if reply else s.server())
    ended(bmc.run(*LIST, "-s", "rsa", "-t", "Drives"),
          "Failed to get Drives from service rsa\n", 255)


@pytest.mark.parametrize("reply, text", [
    ({"text": "not JSON"}, "[json.exception.parse_error.101]"),
    ({"out": "y", "return": [1]}, "sd_bus_message_read_basic"),
    ({"json": {"Drives": [{"Name": 5}]}}, "[json.exception.type_error.302]"),
    ({"json": {"Drives": [5]}}, "[json.exception.type_error."),
])
def test_a_malformed_reply_is_an_exception(bmc, reply, text):
    """The library's text after the listing's own words."""
    bmc.start(s.method("com.mervax.rsa", "/com/mervax/rsa", s.STORAGE,
                       "GetDrives", {"in": "u", **reply}))
    result = bmc.run(*LIST, "-s", "rsa", "-t", "Drives")
    assert result.out.startswith("listDeviceTargets exception: " + text)
    assert (result.err, result.status) == ("", 255)


def test_a_protocol_that_is_no_text_is_an_exception(bmc):
    """In the verbose form only, which reads it."""
    bmc.start(drives(drive(1, 1, Protocol=5, Oem={"Mervax": {}})))
    assert listed(bmc, "-t", "Drives") == line(1, 1)
    result = bmc.run(*LIST, "-s", "rsa", "-v", "-t", "Drives")
    assert "listDeviceTargets exception: [json.exception.type_error.302] " \
        "type must be string, but is number\n" in result.out
    assert result.status == 255


def test_a_silent_service_is_an_exception_after_the_timeout(bmc):
    """The bus library's time-out ends the call."""
    bmc.start(s.method("com.mervax.rsa", "/com/mervax/rsa", s.STORAGE,
                       "GetDrives", {"in": "u", "silent": True}))
    result = bmc.run(*LIST, "-s", "rsa", "-t", "Drives",
                     env={"SYSTEMD_BUS_TIMEOUT": "200ms"})
    assert result.out.startswith(
        "listDeviceTargets exception: sd_bus_call: ")
    assert (result.err, result.status) == ("", 255)


def test_ten_thousand_drives_are_listed(bmc):
    """Each of one reply, in the order of their slots."""
    bmc.start(drives({"@repeat": 10000, "item": {
        "Name": "d{index}", "PhysicalLocation": {"PartLocation": {
            "LocationType": "Shelf{index}-", "LocationOrdinalValue": 1}}}}))
    lines = listed(bmc, "-t", "Drives").splitlines()
    assert len(lines) == 10000
    assert lines == sorted(lines)


def no_index(key):
    return ("listDeviceTargets exception: [json.exception.parse_error.109] "
            f"parse error: array index '{key}' is not a number\n")


@pytest.mark.parametrize("target, item, key", [
    ("Drives", {"Internal": []}, "ResourceId"),
    ("Drives", {"Internal": [{"ResourceId": 1}]}, "ResourceId"),
    ("Drives", {"PhysicalLocation": {"PartLocation": [1]}}, "LocationType"),
    ("Volumes", {"Internal": [1]}, "ResourceId"),
    ("StoragePools", {"Internal": []}, "ResourceId"),
])
def test_an_array_has_no_such_index(bmc, target, item, key):
    """Where an object with the key is expected; text and numbers count as
    objects that lack it."""
    bmc.start(s.listing("rsa", "Get" + target, {target: [item]}))
    ended(bmc.run(*LIST, "-s", "rsa", "-t", target), no_index(key), 255)


def test_other_values_in_the_way_count_as_missing(bmc):
    """And arrays where no path is followed."""
    bmc.start(s.merge(
        drives({"Internal": "x", "PhysicalLocation": {"PartLocation": 5}}),
        s.listing("lsa", "GetStoragePools", {"StoragePools": [
            {"Internal": None, "Capacity": []},
            {"Capacity": {"Data": [1]}}]})))
    assert listed(bmc, "-t", "Drives") == \
        "  255, ResId 0, , , , , S/N: , F/W: \n"
    ended(bmc.run(*LIST, "-s", "lsa", "-t", "StoragePools"),
          "  Pool 0: , Capacity 0.00GiB, Consumed 0.00GiB, Remain 255\n" * 2)


def test_a_document_of_too_many_values(bmc):
    """Refused while it is read, before it has taken the memory."""
    text = "[" + "{}," * 500_000 + "{}]"
    bmc.start(s.method(s.name_of("rsa"), s.path_of("rsa"), s.STORAGE,
                       "GetVolumes", {"in": "u", "out": "s", "text": text}))
    ended(bmc.run(*LIST, "-s", "rsa", "-t", "Volumes"),
          "listDeviceTargets exception: JSON document holds more than 500000 "
          "values\n", 255)
