# SPDX-License-Identifier: Apache-2.0
"""Reads the listings, and says where they cannot be trusted.

Names stand in them as services send them, so a name may look like the rest of a
line, or like a line. A row is certain only if its line can be read in one way,
and if the listing tells how many rows there are and has as many. Rows that are
not certain say why; where a line can be read in several ways, none is taken.
Documents are for programs: read what `show` prints.
"""

from __future__ import absolute_import, division, print_function

__metaclass__ = type

import re

from .row_text import WORD, row_of

UNCOUNTED = "the listing does not tell how many rows there are"
SEVERAL = "the line can be read in several ways"
MISCOUNTED = "the listing has another number of rows than it tells"
USAGE = "a line of counters behind a row may be part of its text"


_HEADER = re.compile(r"(%s): ([0-9]+) (Drives|Volumes|StoragePools)\Z" % WORD)
_COUNTERS = re.compile(r" +POH: [0-9]+,  (ProcessedBytes|WriteBytes): ")
_INNER = " " * 12


def _make(number, line, kind, ways, fields, why):
    reasons = ([SEVERAL] if ways > 1 else []) + why
    row = {"line": number, "kind": kind, "certain": not reasons}
    if reasons:
        row["why"] = reasons
    row["text"] = line
    if fields is not None:
        row["fields"] = fields
    return row


class _Listing:
    def __init__(self, text):
        lines = text.split("\n")
        self.lines = lines[:-1] if lines[-1] == "" else lines
        self.rows = []
        self.unread = []

    def add(self, number, kinds, strip, **more):
        """Reads a line as one of the kinds; whether it is one."""
        line = self.lines[number]
        for kind in kinds:
            inner = line[len(strip):] if line.startswith(strip) else None
            if inner is None:
                continue
            ways, fields = row_of(inner, kind)
            if ways:
                self.rows.append(dict(_make(number + 1, line, kind, ways,
                                            fields, []), **more))
                return True
        return False

    def miss(self, number):
        self.unread.append({"line": number + 1, "text": self.lines[number]})

    def doubt(self, why):
        for row in self.rows:
            row["certain"] = False
            row["why"] = row.get("why", []) + [why]

    def result(self, **more):
        return dict(rows=self.rows, unread=self.unread, **more)


def _doubt_uncounted(listing):
    """One row alone cannot be two; anything else may be part of a name."""
    if len(listing.lines) > 1 or listing.unread:
        listing.doubt(UNCOUNTED)


def _counted(listing, target):
    """Sections with a header each, which tells how many rows it has."""
    services, wrong, number = [], False, 0
    counters = False
    while number < len(listing.lines):
        header = _HEADER.match(listing.lines[number])
        if header is None or header.group(3) != target:
            listing.miss(number)
            wrong = True
            number += 1
            continue
        services.append(header.group(1))
        number += 1
        for _row_number in range(int(header.group(2))):
            if number < len(listing.lines) and listing.add(
                    number, (target,), "  ", service=services[-1]):
                number += 1
            else:
                wrong = True
                break
            while number < len(listing.lines) and _COUNTERS.match(
                    listing.lines[number]):
                counters = True
                number += 1
        if number < len(listing.lines):
            wrong = wrong or listing.lines[number] != ""
            number += listing.lines[number] == ""
    expected = ["rsa", "lsa", "nvmed"][:3 if target == "Drives" else 2]
    if wrong or services != expected:
        listing.doubt(MISCOUNTED)
    elif counters:
        listing.doubt(USAGE)
    return listing.result(counted=not wrong and services == expected)


def parse_list(text, target=None):
    """What `list -t` prints: rows, and lines that are none."""
    listing = _Listing(text)
    header = _HEADER.match(listing.lines[0]) if listing.lines else None
    if header is not None and (target is None or target == header.group(3)):
        return _counted(listing, header.group(3))
    kinds = (target,) if target else ("Volumes", "StoragePools", "Drives")
    for number, line in enumerate(listing.lines):
        if not listing.add(number, kinds, "  "):
            listing.miss(number)
    _doubt_uncounted(listing)
    return listing.result(counted=False)


def pcie_state(text):
    """What the header of the PCIe listing tells; None if there is none."""
    found = re.match(r"Power: (.*);  Boot Progress: (.*);  (.{24})\Z",
                     text.split("\n", 1)[0])
    return (dict(zip(("power", "boot_progress", "time"), found.groups()))
            if found else None)


def parse_pcie(text):
    """What `list` without a target prints: the header, devices, and below each
    its parts, ports, drives and volumes."""
    listing = _Listing(text)
    state = pcie_state(text)
    for number in range(1 if state else 0, len(listing.lines)):
        if not (listing.add(number, ("device", "part", "port"), "") or
                listing.add(number, ("Volumes", "Drives"), _INNER)):
            listing.miss(number)
    listing.doubt(UNCOUNTED)
    return listing.result(counted=False, state=state)


def parse_backplanes(text):
    """What `show -t Backplanes` prints."""
    listing = _Listing(text)
    for number in range(len(listing.lines)):
        if not listing.add(number, ("Backplanes",), ""):
            listing.miss(number)
    _doubt_uncounted(listing)
    return listing.result(counted=False)


_GROUP = re.compile(r"Get (%s) devices: ([0-9]+) devices\Z" % WORD)
_GROUPS = ("Updatable", "Unupdatable")


def _firmware_group(listing, number, group):
    """Reads a group from that line on: the next line, whether all was well."""
    lines = listing.lines
    header = _GROUP.match(lines[number]) if number < len(lines) else None
    if header is None or lines[number + 1:number + 2] != [
            "%s devices management by %s" % (group, header.group(1))]:
        return number, False
    number += 2
    for _device in range(int(header.group(2))):
        if not (lines[number:number + 1] and
                lines[number].startswith("  P/N: ") and
                number + 1 < len(lines) and
                listing.add(number + 1, ("firmware",), "", group=group)):
            return number, False
        row = listing.rows[-1]
        row.setdefault("fields", {})["PartNumber"] = lines[number][7:]
        number += 2
    return number, True


def parse_firmware(text):
    """What `update` without a file prints: devices with their versions."""
    listing = _Listing(text)
    number, good = _firmware_group(listing, 0, _GROUPS[0])
    if good:
        good = listing.lines[number:number + 1] == [""]
        number, also = _firmware_group(listing, number + 1, _GROUPS[1])
        good = good and also
    for left in range(number, len(listing.lines)):
        listing.miss(left)
        good = False
    if not good:
        listing.doubt(MISCOUNTED)
    return listing.result(counted=good)


def firmware_wrong(text, part_number, version):
    """Why not all devices with the part number have that version: lines, none
    if they have."""
    rows = [row for row in parse_firmware(text)["rows"]
            if row["group"] == _GROUPS[0] and
            row["fields"]["PartNumber"] == part_number]
    wrong = ["line %d cannot be trusted: %s" % (row["line"],
                                                "; ".join(row["why"]))
             for row in rows if not row["certain"]]
    wrong += ["%s has %s instead of %s" % (
        row["fields"]["Name"], row["fields"]["FirmwareVersion"], version)
        for row in rows
        if row["certain"] and row["fields"]["FirmwareVersion"] != version]
    return wrong if rows else ["no device has part number " + part_number]


_PLACE = re.compile(r"(?:Onboard|   Slot) [0-9]+, Addr 0x([0-9A-F]+), "
                    r"\[[^]]*\], (%s), " % WORD)


def candidates(text):
    """Devices that a PCIe listing names, each once: only somewhere to ask.
    What a device is, `show` tells. An endpoint id of 0 is none; it is None
    where a line has several readings, so that no name can hide a device."""
    found = {}
    for line in text.split("\n"):
        place = _PLACE.match(line)
        if place is None:
            continue
        fields = row_of(line, "device")[1]
        eid = fields["EID"] if fields else None
        key = (place.group(2), int(place.group(1), 16))
        device = found.setdefault(key, {"service": key[0], "address": key[1],
                                        "eid": eid})
        if device["eid"] == 0:
            device["eid"] = eid
    return list(found.values())
