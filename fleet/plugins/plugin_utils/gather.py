# SPDX-License-Identifier: Apache-2.0
"""One session that reads all devices, drives and volumes of a BMC.

The listing tells only where to ask; what there is, the documents tell.
"""

from __future__ import absolute_import, division, print_function

__metaclass__ = type

from . import list_text, show_text
from .outcome import clean
from .remote import COMMON, Session, script

# The devices that the listing names are asked one by one, at most $n; with
# those services, for drives and volumes as well. No run is begun after $l
# seconds; each ends by itself.
_GATHER = r'''
tool
read b _ </proc/uptime; b=${b%.*}
ask() {
read u _ </proc/uptime
[ $((${u%.*}-b)) -lt "$l" ] || { p late; exit 0; }
p run "$@"
s=$1; a=$2; t_=$3
set -- -o show -s "$s"
[ "$a" = - ] || set -- "$@" -a "$a"
[ -z "$t_" ] || set -- "$@" -t "$t_"
"$e" "$@" </dev/null 2>&1
p end $?
}
p run list
o=$("$e" </dev/null 2>&1); c=$?
printf "%s\n" "$o"
p end $c
x=", Addr 0x0*\([0-9A-F]*\), \[[^]]*\], \([A-Za-z0-9_-]*\), .*/\2 0x\1/p"
printf "%s\n" "$o" | sed -n -e "s/^Onboard [0-9]*$x" -e "s/^   Slot [0-9]*$x" |
sort -u | head -n "$n" | {
v=
while read -r s a; do
ask "$s" "$a"
case $s in
rsa|lsa) for q in Drives Volumes; do ask "$s" "$a" $q; done ;;
nvmed) v=1 ;;
esac
done
[ -z "$v" ] || ask nvmed - Drives
}
p done
'''
_CONTROLLERS = (0x010400, 0x010700)


class Gatherer(Session):
    """The script, and the reader of what it sends."""

    def commands(self):
        return script(self.token, dict(self.settings, n=256), COMMON,
                       _GATHER)


def _pairs(frames):
    """(words, text, status) of each run."""
    for frame, end in zip(frames, frames[1:]):
        if frame.kind == "run" and end.kind == "end":
            yield frame.words, frame.text, int(end.words[0])


def _read(what, text, status, errors):
    """The document, or nothing and a line in the errors."""
    if status == 0:
        try:
            return show_text.parse(text)
        except show_text.NotAPrint as failure:
            errors.append("%s: %s" % (what, clean(str(failure))))
            return None
    said = [line for line in clean(text).split("\n") if line.strip()]
    errors.append("%s: %s" % (what, said[-1] if said else
                              "status %d" % status))
    return None


def _device(document, service, address, eids, errors):
    """A device's row, if the document is of the address that was asked for."""
    if document.get("PCIeAddress") != int(address, 16):
        errors.append("show %s %s: another address in the document"
                      % (service, address))
        return None
    return {"service": service, "address": address,
            "eid": eids.get((service, int(address, 16)), 0),
            "document": document}


def _is_controller(devices, service, address):
    return any(device["service"] == service and device["address"] == address
               and device["document"].get("ClassCode") in _CONTROLLERS
               for device in devices)


def inventory(frames):
    """The inventory from a session's frames."""
    found = {"devices": [], "drives": [], "volumes": [],
             "errors": [], "state": None}
    eids = {}
    places = {"Drives": "drives", "Volumes": "volumes"}
    for words, text, status in _pairs(frames):
        if words == ["list"]:
            _take_listing(found, eids, text, status)
            continue
        service, address = words[0], words[1].lower()
        target = words[2] if len(words) > 2 else None
        what = " ".join(["show"] + words)
        if target is None:
            document = _read(what, text, status, found["errors"])
            row = document and _device(document, service, address, eids,
                                       found["errors"])
            found["devices"] += [row] if row else []
        elif address == "-" or _is_controller(found["devices"], service,
                                              address):
            document = _read(what, text, status, found["errors"]) or {}
            found[places[target]] += [
                {"service": service, "address": address, "document": item}
                for item in document.get(target) or []]
    kinds = [frame.kind for frame in frames]
    if "late" in kinds or kinds[-1:] != ["done"]:
        found["errors"].append("not everything was read in time")
    return found


def _take_listing(found, eids, text, status):
    if status != 0:
        _read("list", text, status, found["errors"])
    found["state"] = list_text.pcie_state(text)
    for device in list_text.candidates(text):
        eids[device["service"], device["address"]] = device["eid"]


def _text_at(document, *keys):
    for key in keys:
        document = document.get(key) if isinstance(document, dict) else None
    return document if isinstance(document, str) else None


def identity(document):
    """A device's name, part number, serial number and firmware version."""
    return {"name": _text_at(document, "PCIeDevice", "Name"),
            "part_number": _text_at(document, "PCIeDevice", "PartNumber"),
            "serial_number": _text_at(document, "PCIeDevice", "SerialNumber"),
            "firmware_version": _text_at(document, "SoftwareInventorySet",
                                         "Version")}


def _ill(rows, bad):
    found = []
    for row in rows:
        document = row["document"]
        health = _text_at(document, "Status", "Health")
        state = _text_at(document, "Status", "State")
        if health in bad or state in ("Failed", "Disabled", "Absent",
                                      "UnavailableOffline"):
            found.append({"service": row["service"], "address": row["address"],
                          "name": _text_at(document, "Name"),
                          "serial_number": _text_at(document, "SerialNumber"),
                          "state": state, "health": health})
    return found


def _down(devices):
    return [{"service": row["service"], "address": row["address"],
             "name": _text_at(row["document"], "PCIeDevice", "Name"),
             "port": port.get("PortId") or port.get("Id") or str(number),
             "state": port.get("LinkStatus")}
            for row in devices
            for number, port in enumerate(row["document"].get("Ports") or [])
            if port.get("LinkStatus") not in ("LinkUp", "Up", None)]


def health(found):
    """What is broken: drives, volumes, links. A drive or volume that does not
    tell its status is counted, not guessed."""
    silent = sum(1 for name in ("drives", "volumes") for row in found[name]
                 if not row["document"].get("Status"))
    return {"failed_drives": _ill(found["drives"], ("Critical", "Warning")),
            "degraded_volumes": _ill(found["volumes"],
                                     ("Critical", "Warning")),
            "links_down": _down(found["devices"]), "without_status": silent}
