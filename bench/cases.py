# SPDX-License-Identifier: Apache-2.0
"""What is measured: scenarios of the simulated BMC, and the commands on them.

A listing's reply is a fixed text, so that the simulator's own part in a call
is as small as it can be and the same for every competitor.
"""

import json

STORAGE = "com.mervax.Inventory.Storage"
PCIE = "com.mervax.Inventory.PCIeDevice"
RSA = ("com.mervax.rsa", "/com/mervax/rsa")
MCTP = "xyz.openbmc_project.MCTP_PCIe"
ADDRESS = 0x8c0000


def merge(*parts):
    """Joins scenarios, which share no service."""
    services = {}
    for part in parts:
        services.update(part["services"])
    return {"services": services}


def _replies(interface, **texts):
    name, path = RSA
    methods = {member: {"in": signature, "text": text}
               for member, (signature, text) in texts.items()}
    return {"services": {name: {"objects": {
        path: {interface: {"methods": methods}}}}}}


def volume(index):
    """A volume as a storage service tells it."""
    return {"Id": str(index), "Name": f"vd{index}", "RAIDType": "RAID5",
            "CapacityBytes": 1919850381312, "StripSizeBytes": 262144,
            "ReadCachePolicy": "ReadAhead", "WriteCachePolicy": "WriteBack",
            "WriteCacheState": "Protected", "Internal": {"ResourceId": index},
            "Status": {"State": "Enabled", "Health": "OK"},
            "Links": {"Drives": [{"@odata.id": f"/drives/{4 * index + n}"}
                                 for n in range(4)]}}


def drive(index):
    """A drive as a storage service tells it."""
    return {"Id": str(index), "Name": f"Drive {index}", "Model": "QX960-SAS",
            "Manufacturer": "Quern", "SerialNumber": f"Q{index:08d}",
            "FirmwareVersion": "C3.1", "CapacityBytes": 960197124096,
            "MediaType": "SSD", "Protocol": "SAS",
            "Internal": {"ResourceId": index, "TypeString": "SAS SSD"},
            "Status": {"State": "Enabled", "Health": "OK"},
            "PhysicalLocation": {"PartLocation": {
                "LocationOrdinalValue": index % 256, "LocationType": "Bay"}}}


def pcie_device(index):
    """A network adapter's record in an inventory."""
    return {"SlotNumber": index % 100, "PCIeAddress": index << 8,
            "VendorId": 0x8086, "DeviceId": 0x1593, "ClassCode": 0x020000,
            "SubsystemVendorId": 0x8086, "SubsystemId": 2,
            "PCIeDevice": {"Name": f"Adapter {index}", "PartNumber": "PN1",
                           "SerialNumber": f"S{index:08d}"},
            "Ports": [{"Id": "0", "LinkStatus": "LinkUp",
                       "CurrentSpeedGbps": 25.0}]}


def document(key, make, count):
    """The text of a listing."""
    return json.dumps({key: [make(index) for index in range(count)]},
                      separators=(",", ":"))


def document_of_size(key, make, size):
    """The text of a listing that is about that many bytes long."""
    each = len(document(key, make, 200)) / 200
    return document(key, make, max(1, round(size / each)))


def volumes(size):
    """A storage service whose volumes fill that many bytes."""
    return _replies(STORAGE, GetVolumes=(
        "u", document_of_size("Volumes", volume, size)))


def drives(count):
    """A storage service with that many drives."""
    return _replies(STORAGE, GetDrives=("u", document("Drives", drive, count)))


def devices(count):
    """What the listing asks, with that many devices in one service."""
    mapper = "xyz.openbmc_project.ObjectMapper"
    return merge(
        {"services": {mapper: {"models": [
            {"model": "mapper",
             "path": "/xyz/openbmc_project/object_mapper"}]}}},
        _replies(PCIE, GetPCIeDevices=(
            "", document("PCIeDeviceComplexes", pcie_device, count))))


def attestation(slots, blocks):
    """A device with that many certificate chains and measurement blocks."""
    device = {"versions": ["1.2"],
              "slots": [{"slot": slot} for slot in range(slots)],
              "measurements": [
                  {"index": index + 1, "type": 1, "digestOf": f"{index:08x}"}
                  for index in range(blocks)]}
    return {"services": {
        "xyz.openbmc_project.ObjectMapper": {"models": [
            {"model": "mapper",
             "path": "/xyz/openbmc_project/object_mapper"}]},
        MCTP: {"models": [
            {"model": "mctp", "path": "/xyz/openbmc_project/mctp",
             "endpoints": [{"eid": 9, "address": ADDRESS, "spdm": device}]}]}}}


# The columns of a listing, out of busctl's JSON.
_JQ = ('.data[0]|fromjson|.Volumes[]|"  \\(.Name), ResId '
       '\\(.Internal.ResourceId), \\(.RAIDType), '
       '\\(.CapacityBytes/1073741824)GiB; StripSize='
       '\\(.StripSizeBytes/1024)KB, \\(.ReadCachePolicy), '
       '\\(.WriteCachePolicy), WtCacheState=\\(.WriteCacheState)"')


def competitors(tools, floor):
    """Every way to get the volumes of one storage service; the tool's programs
    by their names."""
    call = [*RSA, STORAGE, "GetVolumes", "u"]
    return {"floor": [floor, *call, "0"],
            "busctl call": ["busctl", "call", *call, "0"],
            "busctl --json=short call":
                ["busctl", "--json=short", "call", *call, "0"],
            "busctl --json=short call | jq":
                ["sh", "-c", f"busctl --json=short call \"$@\" | jq -r '{_JQ}'",
                 "sh", *call, "0"],
            **{name: [tool, "-o", "list", "-t", "Volumes", "-s", "rsa"]
               for name, tool in tools.items()}}


def floor_words(calls):
    """The logged calls of a run as words for the floor program."""
    words = []
    for call in calls:
        words += [call["destination"], call["path"], call["interface"],
                  call["member"], call["signature"]]
        for value in call["args"]:
            if isinstance(value, list):
                words += [str(len(value)), *value]
            else:
                words.append(str(value))
    return words


def shapes(calls):
    """What two runs have in common that differ in their nonces alone."""
    return [(call["destination"], call["path"], call["interface"],
             call["member"], call["signature"],
             [len(value) if isinstance(value, list) else value
              for value in call["args"]]) for call in calls]


def attest_floor_words(calls):
    """The logged calls of an attestation as words for its floor program."""
    exchanges = [call for call in calls
                 if call["member"] == "SendReceiveMctpMessagePayload"]
    first = exchanges[0]
    return [first["destination"], str(first["args"][0]),
            *(bytes(call["args"][1]).hex() for call in exchanges)]
