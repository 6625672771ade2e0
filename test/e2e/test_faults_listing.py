# SPDX-License-Identifier: Apache-2.0
"""What becomes of listings when something goes wrong: every call of each,
every fault."""

import pytest

import io_cases as i
import scenarios as s
from fault_matrix import (CUT_OFF, GONE, HUGE_ITEMS, Operation, Step, fine,
                          huge_list, said)
from fault_runs import Matrix

ADDRESS = 0x8c0000
RSA = s.name_of("rsa")
ITEM_ROOT = "/xyz/openbmc_project/inventory"
SOFTWARE = "com.mervax.Inventory.Item.SoftwareInventory"
RAID = {"LocationNumber": 1, "SlotNumber": 3, "PCIeAddress": ADDRESS,
        "ClassCode": 0x010400, "PCIeDevice": {"Name": "R"}}
DRIVE = ", ResId 0, , , , , S/N: , F/W: \n"
VOLUME = ", ResId 0, , 0.00GiB; StripSize=0KB, , , WtCacheState=\n"
POOL = "Pool 0: , Capacity 0.00GiB, Consumed 0.00GiB, Remain 255\n"
LINES = {"Drives": "0" + DRIVE, "Volumes": VOLUME, "StoragePools": POOL}
NOT_NEEDED = "the header says that it is not known; the devices are listed"
GOES_ON = "what the controller keeps to itself is told; the device is listed"
ABSENT = "what is not on the bus has no devices"
LISTED = "it is listed"
NOTHING = "an empty document prints nothing"
SILENT = "there is nothing to list; the status tells"


def header(power="On", progress="PostComplete"):
    return f"Power: {power};  Boot Progress: {progress};  DATE\n"


def device(eid=9):
    return ("   Slot 03, Addr 0x008C0000, [0000 0000 0000 0000], rsa, R, "
            f"EID(0x{eid:02X})\n")


def stored(target):
    """What is listed under the controller."""
    return " " * 12 + LINES[target]


def failed(target):
    return f"Failed to get {target} from service rsa\n"


def caught(why):
    return f"listDeviceTargets exception: {why}\n"


def whole(power="On", progress="PostComplete", eid=9, drives=None,
          volumes=None):
    """The listing of one controller with a drive and a volume."""
    return (header(power, progress) + device(eid) +
            (stored("Drives") if drives is None else drives) +
            (stored("Volumes") if volumes is None else volumes))


def unknown(**parts):
    return fine(whole(**parts), NOT_NEEDED)


# What a bus that is gone leaves of a listing, from a call on.
def dead(first):
    return {"progress": header("Unknown", "Unknown"),
            "power": header("Unknown"), "routes": header()}[first] + (
        f"getPCIeComplexes: {RSA}, /com/mervax/rsa; exception: {CUT_OFF}\n")


def pcie_raised(why):
    return said(header() + f"getPCIeComplexes: {RSA}, /com/mervax/rsa; "
                f"exception: {why}\n")


def controllers_raised(target):
    """A call for what hangs behind the controller."""
    def raised(why):
        if target == "Drives":
            return fine(whole(drives=caught(why)), GOES_ON)
        return fine(whole(volumes=caught(why)), GOES_ON)
    return raised


def behind(target):
    other = {"Drives": "drives", "Volumes": "volumes"}[target]
    before = header() + device() + (
        stored("Drives") if target == "Volumes" else "")
    special = {
        "no service": fine(header(), ABSENT),
        "service dies": fine(header() + device() + failed("Drives") +
                             failed("Volumes") if target == "Drives" else
                             whole(volumes=failed("Volumes")), GOES_ON),
        "JSON null": fine(whole(**{other: ""}), GOES_ON),
        "huge reply": fine(whole(**{other: stored(target) *
                                    (HUGE_ITEMS + 1)}), LISTED),
        "bus dies": fine(
            before + caught(GONE) +
            (caught(CUT_OFF) if target == "Drives" else ""), GOES_ON),
    }
    return Step(RSA, "Get" + target, "document",
                fine(whole(**{other: failed(target)}), GOES_ON),
                controllers_raised(target), before=before, special=special,
                huge=huge_list(target))


def property_step(owner, name, known, last, **special):
    """A property in the header that need not be known."""
    lost = unknown(**known)
    return Step(owner, "Get", "variant", lost, lambda why: lost,
                label="Get " + name,
                special={"bus dies": said(dead(last)), **special})


def power(text):
    return fine(whole(power=text), "it is printed as it is")


LIST = Operation(
    "list", ["-o", "list"],
    s.server(s.pcie("rsa", RAID),
             s.storage("rsa", {ADDRESS: {"Drives": [{}], "Volumes": [{}]}}),
             s.endpoints((9, ADDRESS))),
    whole(),
    (
        Step(s.MAPPER, "GetSubTree", "list",
             said(f"getServicesWithInterface({s.PCIE}) failed\n"),
             lambda why: said(
                 f"getServicesWithInterface exception: {why}\n")),
        property_step(
            s.LOGMEM, "UefiProgressCode", {"progress": "Unknown"}, "progress",
            **{fault: unknown(progress="Unknown(0x00)")
               for fault in ("empty string", "malformed JSON", "JSON null")}),
        property_step(
            s.CHASSIS, "CurrentPowerState", {"power": "Unknown"}, "power",
            **{"empty string": power(""), "malformed JSON": power("{"),
               "JSON null": power("null")}),
        Step(s.MCTP, "GetRoutingTable", "list", unknown(eid=0),
             lambda why: unknown(eid=0), special={
                 "bus dies": said(dead("routes"))}, before=header()),
        Step(RSA, "GetPCIeDevices", "document",
             said(header() + "getPCIeComplexes failed\n"), pcie_raised,
             before=header(), special={
                 "no service": fine(header(), ABSENT),
                 "JSON null": said(header(), why=SILENT),
                 "huge reply": fine(
                     header() + ("Onboard 00, Addr 0x00000000, [0000 0000 "
                                 "0000 0000], rsa, , EID(0x00)\n") *
                     (HUGE_ITEMS + 1), LISTED),
             }, huge=huge_list("PCIeDeviceComplexes")),
        behind("Drives"),
        behind("Volumes"),
    ))


def listing(target):
    """The listing of a target of one service."""
    return Operation(
        f"list -t {target}", ["-o", "list", "-t", target, "-s", "rsa"],
        s.listing("rsa", "Get" + target, {target: [{}]}),
        "  " + LINES[target],
        (Step(RSA, "Get" + target, "document", said(failed(target)),
              lambda why: said(caught(why)), special={
                  "JSON null": said("", why=SILENT),
                  "huge reply": fine(("  " + LINES[target]) *
                                     (HUGE_ITEMS + 1), LISTED),
              }, huge=huge_list(target)),))


ALL_DRIVES = Operation(
    "list -t Drives, all services", ["-o", "list", "-t", "Drives"],
    s.merge(*(s.listing(word, "GetDrives", {"Drives": []})
              for word in ("rsa", "lsa")),
            s.listing("nvmed", "GetAllDrives", {"Drives": []}, "")),
    "rsa: 0 Drives\n\nlsa: 0 Drives\n\nnvmed: 0 Drives\n")


def shown(*keys):
    """A document of these empty lists, or of padded items."""
    return "".join(f"{key} (array, 0)\n[\n]\n" for key in keys)


def shown_huge(target):
    item = "    {\n       Padding                  : " + (
        '"' + "x" * 180 + '" (string)\n    },\n')
    return (f"{target} (array, {HUGE_ITEMS + 1})\n[\n" +
            item * (HUGE_ITEMS + 1) + "]\n")


def resources(word, target, method, words=()):
    """What a storage service has of a target, as it stands."""
    def raised(why):
        return said(f"Exception: {why}\n")
    return Operation(
        f"show -s {word} -t {target}",
        ["-o", "show", "-s", word, "-t", target, *words],
        s.listing(word, method, {target: []}, "u" if words else ""),
        shown(target),
        (Step(s.name_of(word), method, "document",
              said(f"Dbus call Get{target} failed\n"), raised, special={
                  "JSON null": said("getStorageResouces: returned data does "
                                    f"not contain {target}, json size = 0\n"),
                  "huge reply": fine(shown_huge(target), LISTED),
              }, huge=huge_list(target)),))


DEVICE = Operation(
    "show", ["-o", "show", "-s", "rsa", "-a", hex(ADDRESS)],
    s.method(RSA, s.path_of("rsa"), s.PCIE, "GetPCIeDevice",
             {"in": "u", "json": {"Ports": []}}),
    shown("Ports"),
    (Step(RSA, "GetPCIeDevice", "document",
          said(f"Failed to get device {ADDRESS:#x} from rsa\n"),
          lambda why: said(f"showDeviceInfo: rsa, device {ADDRESS:#x}; "
                           f"exception: {why}\n"),
          special={"JSON null": fine("", NOTHING),
                   "huge reply": fine(shown_huge("Ports"), LISTED)},
          huge=huge_list("Ports")),))

OBJECTS = Operation(
    "show -t Objects", ["-o", "show", "-t", "Objects"],
    s.merge(s.mapper(), s.service(RSA, objects={
        f"{ITEM_ROOT}/a": {SOFTWARE: {}}})),
    f"{ITEM_ROOT}/a (object, 1)\n{{\n    com.mervax.rsa           "
    f" (array, 1)\n    [\n        \"{SOFTWARE}\"\n    ]\n}}\n",
    (Step(s.MAPPER, "GetSubTree", "list",
          said(f"getSubTree({SOFTWARE}) failed\n"),
          lambda why: said(f"showObjects exception: {why}\n")),))

FETCH = "[ERR] fetchDriveBackplaneObjects: "


def fetch_raised(why):
    return said("", journal=FETCH + why)


BACKPLANES = Operation(
    "show -t Backplanes", ["-o", "show", "-t", "Backplanes"],
    s.merge(s.mapper(), s.service(i.BPM, objects={
        f"{ITEM_ROOT}/backplane/a": {i.ITEM: {"properties": {
            "Name": {"signature": "s", "value": "BP"}}}}})),
    "BP: i2c-255, bay[0-0], formfactor=, location=\n",
    (Step(s.MAPPER, "GetSubTreePaths", "list",
          said("", journal=FETCH + "GetSubTreePaths failed"), fetch_raised),
     Step(i.BPM, "GetAll", "map",
          said("", journal=FETCH + "get DriveBackplane properties failed"),
          fetch_raised, special={
              "no service": said("", journal="backplane object not ready, "
                                 "wait 0/0 seconds")})))

OPERATIONS = [
    LIST, *(listing(target) for target in LINES), ALL_DRIVES, DEVICE,
    *(resources("rsa", target, "Get" + target, ["-a", hex(ADDRESS)])
      for target in ("Drives", "Volumes", "StoragePools", "Storage")),
    resources("nvmed", "Drives", "GetAllDrives"), OBJECTS, BACKPLANES]
MATRIX = Matrix("listing", OPERATIONS)


@pytest.mark.parametrize("operation, step, fault", MATRIX.cases)
def test_fault(bmc, operation, step, fault):
    """It ends as it is to end."""
    MATRIX.run(bmc, operation, step, fault)


def test_the_table_tells_it():
    """The part of docs/reliability.md about listings."""
    MATRIX.settle()
