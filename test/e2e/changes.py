# SPDX-License-Identifier: Apache-2.0
"""Operations that change storage: their calls, replies and output."""

import json
import re
import time

import scenarios as s
from harness import Call

ADDRESS = 0x8c0000
NAME = s.name_of("rsa")
PATH = s.path_of("rsa")
VOLUME = "com.mervax.Operation.Storage.Volume"
CONTROLLER = "com.mervax.Operation.Storage"
DRIVE = "com.mervax.Operation.Storage.Drive"
# The options that every change needs.
DEVICE = ["-a", hex(ADDRESS), "-s", "rsa"]
NO_VALUE = ("sd_bus_message_read_basic fundamental: System.Error.ENXIO: "
            "No such device or address\n")
NO_REPLY = ("sd_bus_call: org.freedesktop.DBus.Error.Timeout: "
            "Connection timed out\n")
NOT_SENT = ("An argument cannot be sent: sd_bus_message_append: "
            "org.freedesktop.DBus.Error.InvalidArgs: Invalid argument\n")
GONE = ("sd_bus_process discard: org.freedesktop.DBus.Error.Disconnected: "
        "Connection reset by peer\n")


def text(document):
    """A document as it travels: compact, members by name."""
    return json.dumps(document, separators=(",", ":"), sort_keys=True)


def shown(members):
    """The print of a request for one volume without links."""
    names = {str: "string", bool: "boolean", int: "number"}
    lines = [f"    {key:24} : {json.dumps(value)} ({names[type(value)]})\n"
             for key, value in sorted(members.items())]
    return f"Volume (object, {len(members)})\n{{\n{''.join(lines)}}}\n"


def change_call(member, signature, *arguments, interface=VOLUME):
    """A call that changes something of rsa."""
    return Call(NAME, PATH, interface, member, signature, list(arguments))


class Operation:
    """An operation that waits for the storage service's update."""

    def __init__(self, words, call, thrown, refused, failed, printed=""):
        self.words = [*DEVICE, *words]
        self.call = call
        #: What it says in front of an exception.
        self.thrown = thrown
        #: What an error reply and a result other than 0 make it say.
        self.refused = refused
        self.failed = failed
        #: What it says before it calls.
        self.printed = printed

    def play(self, reply):
        """A service that answers the call so."""
        return s.method(NAME, PATH, self.call.interface, self.call.member,
                        {"in": self.call.signature, **reply})


_NOT_CHANGED = f"Failed to create/edit volume on device {ADDRESS:#x}\n"
_NO_CALL = "Dbus call create/edit volume failed\n" + _NOT_CHANGED
_AUTO = {"RAIDType": "RAID1", "DrvCnt": 2, "HotspareCnt": 1}

OPERATIONS = {
    "create": Operation(
        ["-o", "create", "-p", "DisplayName=vd1"],
        change_call("CreateVolume", "us", ADDRESS,
                    text({"Volume": {"DisplayName": "vd1"}})),
        "createOrEditVolume exception: ", _NO_CALL, _NOT_CHANGED,
        shown({"DisplayName": "vd1"})),
    "autocfg": Operation(
        ["-o", "create", "-p", "RAIDType=RAID1,DrvCnt=2,HotspareCnt=1"],
        change_call("AutoConfig", "usssuuusutss", ADDRESS, "RAID1", "", "", 2,
                    1, 0, "", 0, 0, "", ""),
        "createOrEditVolume exception: ",
        "Dbus call AutoConfig failed\n" + _NOT_CHANGED, _NOT_CHANGED,
        shown(_AUTO)),
    "edit": Operation(
        ["-o", "edit", "-r", "406", "-p", "DisplayName=VD02"],
        change_call("EditVolume", "uus", ADDRESS, 406,
                    text({"Volume": {"DisplayName": "VD02"}})),
        "createOrEditVolume exception: ", _NO_CALL, _NOT_CHANGED,
        shown({"DisplayName": "VD02"})),
    "delete": Operation(
        ["-o", "delete", "-r", "406"],
        change_call("DeleteVolume", "uu", ADDRESS, 406),
        "deleteVolume exception: ", "Dbus call DeleteVolume failed\n",
        f"Failed to delete volume (resId=406) on device {ADDRESS:#x}\n"),
    "clear": Operation(
        ["-o", "clear"],
        change_call("ClearConfig", "u", ADDRESS, interface=CONTROLLER),
        "clearConfig exception: ", "Dbus call ClearConfig failed\n",
        f"Failed to clear configuration on device {ADDRESS:#x}\n"),
}


def update_signal(*arguments, signature="uss", **more):
    """The signal that tells of refreshed data."""
    return {"path": PATH, "interface": s.STORAGE,
            "member": "StorageResourceUpdated", "signature": signature,
            "args": list(arguments or (ADDRESS, "Volumes", "{}")), **more}


def done(*after, before=(), result=0, **more):
    """A reply with a result, and the signals around it."""
    return {"out": "i", "return": [result], "signals_before": list(before),
            "signals_after": list(after), **more}


def updated(out, name="Volumes"):
    """What follows the two lines of an update, which are checked; and the
    milliseconds that it told."""
    match = re.match(re.escape(name) + r" updated at (.*)\n"
                     r"Refreshing data takes (\d+)ms\n", out)
    assert match, out
    told = time.mktime(time.strptime(match[1], "%a %b %d %H:%M:%S %Y"))
    told -= time.timezone
    assert match[1] == time.asctime(time.gmtime(told))
    assert abs(time.time() - told) < 60
    return out[match.end():], int(match[2])


def updated_after(result, printed="", name="Volumes", rest=""):
    """Checks a run that ended with an update; the milliseconds it told."""
    assert (result.err, result.status) == ("", 0), result
    assert result.out.startswith(printed), result.out
    behind, elapsed = updated(result.out[len(printed):], name)
    assert behind == rest
    return elapsed
