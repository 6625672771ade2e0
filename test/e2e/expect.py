# SPDX-License-Identifier: Apache-2.0
"""What runs are expected to print, in pieces that many cases share."""

import re
import time

import scenarios as s
from harness import Call


def ended(result, out="", status=0, err=""):
    """Checks a run to the byte."""
    assert (result.out, result.err, result.status) == (out, err, status)


def storage_call(service, member, *address):
    """A listing call to a storage service."""
    return Call(s.name_of(service), s.path_of(service), s.STORAGE, member,
                "u" if address else "", list(address))


def device_call(service, address):
    """The call for one device's document."""
    return Call(s.name_of(service), s.path_of(service), s.PCIE,
                "GetPCIeDevice", "u", [address])


def devices_call(service):
    """The call for all devices of a service."""
    return Call(s.name_of(service), s.path_of(service), s.PCIE,
                "GetPCIeDevices", "", [])


def property_call(name, path, interface, member):
    """The call for one property."""
    return Call(name, path, s.PROPERTIES, "Get", "ss", [interface, member])


SUBTREE_CALL = Call(s.MAPPER, s.MAPPER_PATH, s.MAPPER, "GetSubTree", "sias",
                    ["/com/mervax", 1, [s.PCIE]])
POWER_CALL = property_call(s.CHASSIS, s.CHASSIS_PATH, s.CHASSIS,
                           "CurrentPowerState")
PROGRESS_CALL = property_call(s.LOGMEM, s.LOGMEM_PATH, "com.mervax.fpga",
                              "UefiProgressCode")
ROUTES_CALL = Call(s.MCTP, s.MCTP_PATH, "xyz.openbmc_project.MCTP.Base",
                   "GetRoutingTable", "", [])
# What every PCIe listing asks before it asks for devices.
HEADER_CALLS = [SUBTREE_CALL, PROGRESS_CALL, POWER_CALL, ROUTES_CALL]


def under_header(out, power="On", progress="PostComplete"):
    """What follows the listing's header line, which is checked: the states,
    and a time that is now."""
    head, newline, rest = out.partition("\n")
    match = re.fullmatch(
        re.escape(f"Power: {power};  Boot Progress: {progress};  ") + "(.*)",
        head)
    assert match and newline, out
    told = time.mktime(time.strptime(match[1], "%a %b %d %H:%M:%S %Y"))
    told -= time.timezone
    assert match[1] == time.asctime(time.gmtime(told))
    assert abs(time.time() - told) < 60
    return rest


def usage():
    """The usage text, every line of it ended by CR LF, and a newline."""
    indent = {"usage:": 0, "zantric <": 4, "operation: ": 6, "target: ": 6}
    lines = """\
usage:
zantric <-a addr> <-s service> -o [operation] <-t target> <-r resource id> \
<-p params> <-f file> <-v>
operation:\x20
list       #List PCIe devices, drives, volumes. Params: [O] a, s, t
show       #show info of a PCIe device or drives, volumes. Params: [M] a, s; \
[O] t, f (interfaceName)
>when target is Objects or Backplanes, the parameter s is optional
>default interfaceName: com.mervax.Inventory.Item.SoftwareInventory
create     #create a volume. Params: [M] a, s, p (to specify volume props), \
or f (json file)
>zantric -a 0x8c0000 -s rsa -o create -p \
"DisplayName=vd1,RAIDType=RAID1,Drives=22:23"
>zantric -a 0x8c0000 -s rsa -o create -p "RAIDType=RAID1,DrvCnt=2,HotspareCnt=1"
>zantric -a 0x8c0000 -s lsa -o create -f createVolume.json
delete     #delete a volume. Params: [M] a, s, r
>zantric -a 0x8c0000 -s rsa -o delete -r 406
edit       #edit a volume. Params: [M] a, s, r, p, or f
>zantric -a 0x8c0000 -s rsa -o edit -r 406 -p "DisplayName=VD02"
>zantric -a 0x8c0000 -s lsa -o edit -r 406 -f editVolume.json
$action    #Perform a RDE action on a given resource. Params: [M] a, s, r; \
[O] p(to specify action paramters)
>#typical action name: #Drive.SecureErase
clear      #clear configuration. Params: [M] a, s
discover   #trigger MCTP discovery on an I2C bus given by param -a. \
Params: [M] a
enableMctp #enable MCTP service on a I2C root bus. Params: [M] a
event      #Trigger link/hidden event. Params: [M] p \
(slot=x,port=y,severity=z,...)
ttylog     #save device TTY log. Params: [O] a, s, f
>default directory: /tmp    default log file: adapter_slot$num_tty.txt
update     #Update device F/W. Params: [M] s; [O] f, p
>zantric -s $serviceName(rsa/lsa/nvmed) -o update        \
#Get updatable device list
>zantric -s $serviceName -o update -f $file -p PN=xyz \
#Update the device match with the FW file
attest     #Run SPDM attestation against a device. Params: [M] a; [O] f
>zantric -o attest -a $device_addr -f $root_cert_dir
target:\x20
Drives, Volumes, StoragePools, Storage, Backplanes, Ports, NetworkAdapter, \
Objects
"""
    text = ""
    for line in lines.splitlines():
        if line.startswith(">"):
            text += " " * 19 + line[1:] + "\r\n"
            continue
        blanks = next((count for start, count in indent.items()
                       if line.startswith(start)), 8)
        text += " " * blanks + line + "\r\n"
    return text + "\n"
