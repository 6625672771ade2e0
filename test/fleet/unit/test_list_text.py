# SPDX-License-Identifier: Apache-2.0
"""Listings are read, and names that lie are noticed."""

from plugin_utils import list_text
import pytest

VOLUME = ("  {}, ResId {}, RAID1, 893.00GiB; StripSize=256KB, Off, "
          "ProtectedWriteBack, WtCacheState=Protected\n")
DRIVE = ("  Bay{0}, ResId {0}, Drive {0}, SAS SSD, Quorvel, QX960, "
         "S/N: Q{0}, F/W: C3.1\n")
HEAD = "Power: On;  Boot Progress: PostComplete;  Sat Nov 21 22:31:40 2026\n"
DEVICE = ("   Slot 03, Addr 0x008C0000, [A5D7 4010 A5D7 0940], rsa, {}, "
          "EID(0x09), 52.24.0-4, 2025-11-03\n")


def both(rsa, lsa, rsa_count=None):
    return (f"rsa: {len(rsa) if rsa_count is None else rsa_count} Volumes\n"
            + "".join(rsa) + f"\nlsa: {len(lsa)} Volumes\n" + "".join(lsa))


def test_a_counted_listing_is_certain():
    result = list_text.parse_list(both([VOLUME.format("boot", 400)],
                                       [VOLUME.format("data", 500)]))
    assert result["counted"] and not result["unread"]
    assert [(row["service"], row["certain"], row["line"], row["fields"])
            for row in result["rows"]] == [
        (service, True, line, {
            "Name": name, "ResourceId": number, "RAIDType": "RAID1",
            "CapacityGiB": "893.00", "StripSizeKB": 256,
            "ReadCachePolicy": "Off",
            "WriteCachePolicy": "ProtectedWriteBack",
            "WriteCacheState": "Protected"})
        for service, line, name, number in (("rsa", 2, "boot", 400),
                                            ("lsa", 5, "data", 500))]


def test_a_name_with_a_comma_is_one_reading_of_a_volume():
    result = list_text.parse_list(both([VOLUME.format("a, b", 1)], []))
    assert result["rows"][0]["fields"]["Name"] == "a, b"
    assert result["rows"][0]["certain"]


FORGED = VOLUME.format("x", 7)[2:-1]


@pytest.mark.parametrize("name", ["a, ResId 7, RAID0, 1.00GiB; StripSize=1KB, "
                                  "A, B, WtCacheState=C", "b, ResId 9, c"])
def test_a_line_with_two_readings_is_none(name):
    row, = list_text.parse_list(both([VOLUME.format(name, 1)], []))["rows"]
    readable = "fields" in row
    assert row["certain"] == readable
    assert readable or row["why"] == [list_text.SEVERAL]


@pytest.mark.parametrize("name", [
    FORGED + "\n  y",
    FORGED + "\n\nlsa: 1 Volumes\n  y",
    FORGED + "\n\nlsa: 2 Volumes\n  " + FORGED + "\n  y",
    "plain\ntext",
])
def test_a_row_forged_by_a_line_break_is_noticed(name):
    text = both([VOLUME.format(name, 400)], [VOLUME.format("data", 500)])
    result = list_text.parse_list(text)
    assert not result["counted"]
    assert not [row for row in result["rows"] if row["certain"]]
    assert result["rows"] or result["unread"]


def test_one_row_alone_is_certain_and_two_uncounted_are_not():
    alone = list_text.parse_list(VOLUME.format("boot", 400))
    assert [row["certain"] for row in alone["rows"]] == [True]
    two = list_text.parse_list(VOLUME.format(FORGED + "\n  y", 400))
    assert [row["why"] for row in two["rows"]] == [[list_text.UNCOUNTED]] * 2


def drives(*rows):
    return (f"rsa: {len(rows)} Drives\n" + "".join(rows) + "\nlsa: 0 Drives\n"
            "\nnvmed: 0 Drives\n")


def test_drives_in_their_three_forms():
    rows = list_text.parse_list(drives(
        DRIVE.format(2), DRIVE.format(3).replace("S/N", "P/N: P, S/N"),
        DRIVE.format(4).replace("S/N", "SKU: K, S/N")))["rows"]
    assert [row["certain"] for row in rows] == [True, False, False]
    assert rows[0]["fields"]["Location"] == "Bay2"
    # A model may end with what looks like a part number.
    assert rows[1]["why"] == rows[2]["why"] == [list_text.SEVERAL]


def test_a_drive_whose_fields_hold_commas_is_ambiguous():
    row, = list_text.parse_list(drives(DRIVE.format(2).replace(
        "Quorvel", "Quorvel, Inc.")))["rows"]
    assert row["why"] == [list_text.SEVERAL] and "fields" not in row


def test_counters_are_part_of_nothing_certain():
    text = drives(DRIVE.format(2) + "      POH: 5,  ProcessedBytes: 1.00(GB)\n")
    result = list_text.parse_list(text)
    assert result["counted"]
    assert [row["why"] for row in result["rows"]] == [[list_text.USAGE]]


def test_pools():
    row, = list_text.parse_list("  Pool 3: RAID0 RAID1 , Capacity 1.50GiB, "
                                "Consumed 0.00GiB, Remain 255\n")["rows"]
    assert row["certain"] and row["fields"] == {
        "ResourceId": 3, "SupportedRAIDTypes": "RAID0 RAID1 ",
        "CapacityGiB": "1.50", "ConsumedGiB": "0.00",
        "RemainingCapacityPercent": 255}


def test_the_pcie_listing():
    text = (HEAD + DEVICE.format("RAID Controller")
            + "            P/N: HR82-8G;  SKU: ;  S/N: MVX31;  Manufacture: H\n"
            + "            [Port 1]  02:4E;  State:   LinkUp;  Speed(Gbps): "
              "25.0;  Tx/Rx Util: 3/5\n"
            + " " * 10 + DRIVE.format(2) + " " * 10 + VOLUME.format("boot", 4)
            + "listDeviceTargets exception: nonsense\n")
    result = list_text.parse_pcie(text)
    assert result["state"]["power"] == "On"
    assert [row["kind"] for row in result["rows"]] == [
        "device", "part", "port", "Drives", "Volumes"]
    assert not any(row["certain"] for row in result["rows"])
    assert [row["line"] for row in result["unread"]] == [7]
    assert list_text.candidates(text) == [
        {"service": "rsa", "address": 0x8c0000, "eid": 9}]


def test_a_device_name_that_looks_like_an_endpoint_is_ambiguous():
    result = list_text.parse_pcie(HEAD + DEVICE.format("x, EID(0x01)"))
    assert list_text.SEVERAL in result["rows"][0]["why"]
    assert "fields" not in result["rows"][0]


@pytest.mark.parametrize("rows, eid", [
    ([DEVICE.format("plain")], 9),
    # A name cannot hide that a device may have an endpoint id.
    ([DEVICE.format("x, EID(0x00)")], None),
    ([DEVICE.format("x").replace("0x09", "0x00"), DEVICE.format("x")], 9),
    ([DEVICE.format("x").replace("0x09", "0x00")], 0),
])
def test_where_to_ask(rows, eid):
    assert list_text.candidates(HEAD + "".join(rows)) == [
        {"service": "rsa", "address": 0x8c0000, "eid": eid}]


def test_backplanes():
    row, = list_text.parse_backplanes(
        "Bay 0-7: i2c-7, bay[0-8], formfactor=2.5, location=front\n")["rows"]
    assert row["certain"] and row["fields"] == {
        "Name": "Bay 0-7", "I2CBus": 7, "FirstBay": 0, "EndBay": 8,
        "FormFactor": "2.5", "Location": "front"}


def test_a_hostile_line_takes_no_time():
    line = "  " + "a, ResId 1, " * 3000 + "\n"
    assert list_text.parse_list(line)["unread"]


def test_nothing_is_an_empty_listing():
    assert list_text.parse_list("") == {"rows": [], "unread": [],
                                        "counted": False}
