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

_NUMBER = "[0-9]+"
_REAL = r"-?[0-9]+\.[0-9]+|-?inf|-?nan"
_HEX = "[0-9A-F]+"
_WORD = "[A-Za-z0-9_-]+"

UNCOUNTED = "the listing does not tell how many rows there are"
SEVERAL = "the line can be read in several ways"
MISCOUNTED = "the listing has another number of rows than it tells"
USAGE = "a line of counters behind a row may be part of its text"


class _Field:
    """A part of a line: a number (by its pattern) or any text."""

    def __init__(self, name, pattern=None, base=None):
        self.name = name
        self.pattern = re.compile(pattern) if pattern else None
        self.base = base

    def value(self, text):
        if self.base:
            return int(text, self.base)
        return text


def _count(name, pattern=_NUMBER, base=10):
    return _Field(name, pattern, base)


def _text(name):
    return _Field(name)


def _real(name):
    return _Field(name, _REAL)


_DRIVE_HEAD = (_text("Location"), ", ResId ", _count("ResourceId"), ", ",
               _text("Name"), ", ", _text("TypeString"), ", ",
               _text("Manufacturer"), ", ", _text("Model"), ", ")
_DRIVE_TAIL = ("S/N: ", _text("SerialNumber"), ", F/W: ",
               _text("FirmwareVersion"))
_ROWS = {
    "Drives": (
        _DRIVE_HEAD + _DRIVE_TAIL,
        _DRIVE_HEAD + ("P/N: ", _text("PartNumber"), ", ") + _DRIVE_TAIL,
        _DRIVE_HEAD + ("SKU: ", _text("SKU"), ", ") + _DRIVE_TAIL),
    "Volumes": ((
        _text("Name"), ", ResId ", _count("ResourceId"), ", ",
        _text("RAIDType"), ", ", _real("CapacityGiB"), "GiB; StripSize=",
        _count("StripSizeKB"), "KB, ", _text("ReadCachePolicy"), ", ",
        _text("WriteCachePolicy"), ", WtCacheState=",
        _text("WriteCacheState")),),
    "StoragePools": ((
        "Pool ", _count("ResourceId"), ": ", _text("SupportedRAIDTypes"),
        ", Capacity ", _real("CapacityGiB"), "GiB, Consumed ",
        _real("ConsumedGiB"), "GiB, Remain ",
        _count("RemainingCapacityPercent")),),
    "Backplanes": ((
        _text("Name"), ": i2c-", _count("I2CBus"), ", bay[",
        _count("FirstBay"), "-", _count("EndBay"), "], formfactor=",
        _text("FormFactor"), ", location=", _text("Location")),),
    "firmware": ((
        "    [", _text("Name"), "] Model: ", _text("Model"), ", ID: ",
        _text("Identifier"), ", F/W: ", _text("FirmwareVersion"),
        ", UpdateMethod: ", _text("UpdateMethod"), ", Controller: 0x",
        _count("ControllerAddress", "[0-9a-f]+", 16)),),
    "device": ((
        _Field("Place", "Onboard|   Slot"), " ", _count("SlotNumber"),
        ", Addr 0x", _count("PCIeAddress", _HEX, 16), ", [",
        _count("VendorId", _HEX, 16), " ", _count("DeviceId", _HEX, 16), " ",
        _count("SubsystemVendorId", _HEX, 16), " ",
        _count("SubsystemId", _HEX, 16), "], ", _Field("Service", _WORD), ", ",
        _text("Name"), ", EID(0x", _count("EID", _HEX, 16), ")",
        _text("Trailing")),),
    "part": ((
        "            P/N: ", _text("PartNumber"), ";  SKU: ", _text("SKU"),
        ";  S/N: ", _text("SerialNumber"), ";  Manufacture: ",
        _text("Manufacturer")),),
    "port": ((
        "            [Port ", _text("Port"), "]  ", _text("PermanentAddress"),
        ";  State: ", _text("LinkStatus"), ";  Speed(Gbps): ",
        _real("SpeedGbps"), _text("Extra")),),
}
_HEADER = re.compile(r"(%s): ([0-9]+) (Drives|Volumes|StoragePools)\Z" % _WORD)
_COUNTERS = re.compile(r" +POH: [0-9]+,  (ProcessedBytes|WriteBytes): ")
_INNER = " " * 12


def _step(line, part, starts):
    """Where a part of a line can end: position to (ways, one start)."""
    ends = {}
    for start, ways in starts.items():
        if isinstance(part, str):
            if line.startswith(part, start):
                ends[start + len(part)] = (ways, start)
        else:
            found = part.pattern.match(line, start)
            if found:
                at = found.end()
                ends[at] = (ends.get(at, (0, 0))[0] + ways, start)
    return ends


def _places(line, at, following):
    """Where the part behind a text can begin, from a position on."""
    if following is None:
        yield len(line)
    elif isinstance(following, str):
        at = line.find(following, at)
        while at >= 0:
            yield at
            at = line.find(following, at + 1)
    else:
        for place in range(at, len(line) + 1):
            if following.pattern.match(line, place):
                yield place


def _free(line, starts, following):
    """The same for a text, which ends where the part behind it can begin."""
    ends = {}
    ways, first, left = 0, None, sorted(starts, reverse=True)
    for at in _places(line, left[-1], following) if left else ():
        while left and left[-1] <= at:
            first = left.pop()
            ways = min(2, ways + starts[first])
        ends[at] = (ways, first)
    return ends


def _readings(line, parts):
    """In how many ways (2 stands for more) the parts make up the line, and
    the fields of one of them."""
    steps = []
    starts = {0: 1}
    for number, part in enumerate(parts):
        following = parts[number + 1] if number + 1 < len(parts) else None
        free = isinstance(part, _Field) and part.pattern is None
        ends = (_free(line, starts, following) if free
                else _step(line, part, starts))
        steps.append(ends)
        starts = {at: min(2, ways) for at, (ways, _start) in ends.items()}
    total = starts.get(len(line), 0)
    if total != 1:
        return total, None
    fields, at = {}, len(line)
    for part, ends in zip(reversed(parts), reversed(steps)):
        start = ends[at][1]
        if isinstance(part, _Field):
            fields[part.name] = part.value(line[start:at])
        at = start
    return 1, fields


def _row(line, kind):
    """(ways, fields) over all the forms that such a row has."""
    ways, fields = 0, None
    for parts in _ROWS[kind]:
        more, found = _readings(line, parts)
        ways += more
        fields = found if found is not None else fields
    return ways, fields if ways == 1 else None


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
            ways, fields = _row(inner, kind)
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


_GROUP = re.compile(r"Get (%s) devices: ([0-9]+) devices\Z" % _WORD)
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


def candidates(text):
    """Devices that a PCIe listing names, each once: only somewhere to ask.
    What a device is, `show` tells."""
    found = {}
    for line in text.split("\n"):
        if not line.startswith(("Onboard ", "   Slot ")):
            continue
        fields = _row(line, "device")[1]
        if fields is None:
            continue
        key = (fields["Service"], fields["PCIeAddress"])
        found.setdefault(key, {"service": key[0], "address": key[1],
                               "eid": fields["EID"]})
    return list(found.values())
