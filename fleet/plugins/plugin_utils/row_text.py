# SPDX-License-Identifier: Apache-2.0
"""Reads one line of a listing by its form: texts between fixed words.

Texts can hold the fixed words too, so a line may have several readings. They are
counted, without trying them all out: a line is as long as somebody wants.
"""

from __future__ import absolute_import, division, print_function

__metaclass__ = type

import re

_NUMBER = "[0-9]+"
_REAL = r"-?[0-9]+\.[0-9]+|-?inf|-?nan"
_HEX = "[0-9A-F]+"
WORD = "[A-Za-z0-9_-]+"

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
        _count("SubsystemId", _HEX, 16), "], ", _Field("Service", WORD), ", ",
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


def row_of(line, kind):
    """(ways, fields) over all the forms that such a row has."""
    ways, fields = 0, None
    for parts in _ROWS[kind]:
        more, found = _readings(line, parts)
        ways += more
        fields = found if found is not None else fields
    return ways, fields if ways == 1 else None
