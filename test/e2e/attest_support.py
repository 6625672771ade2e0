# SPDX-License-Identifier: Apache-2.0
"""Devices to attest, and what an attestation of them leaves behind."""

import os
import pathlib
import shutil

import scenarios as s

ROOTS = "/run/bmcsim/roots"
FOREIGN = ROOTS + "/foreign"
SOCKET = pathlib.Path("/run/zantricSpdmSocket")
LOCK = SOCKET.with_name(SOCKET.name + ".lock")
CHAIN = pathlib.Path("/tmp/certchain.bin")
SAVE = pathlib.Path("/tmp/save_cert")
IGNORE = pathlib.Path("/tmp/ignore_cert_check")
BASE = "xyz.openbmc_project.MCTP.Base"
EXCHANGE = "SendReceiveMctpMessagePayload"
ADDRESS = 0x8c0000
EID = 9
ERROR, INFO = 3, 6

INITIALIZED = (INFO, "SPDM Lib initialized")
UNINITIALIZED = (INFO, "SPDM Lib uninitialized")
SUCCEEDED = (INFO, "authenticateTarget succeeded")
READ_ROOT = [(INFO, "Read peer cert-chain from file"),
             (INFO, "Get root cert from cert-chain")]
# Statuses of the library.
VERIFICATION_FAILED = "0x80020001"
ERROR_RESPONSE = "0x8001000a"
SEND_FAILED = "0x80040000"

# Index, type, value: what a device measures by default.
BLOCKS = ((1, 0x00, bytes(range(48))), (2, 0x01, bytes(range(1, 49))),
          (3, 0x02, b"\x00\xff"), (4, 0x83, b"\x01\x02\x03"))
TYPES = {0: "(ImmutableROM)", 1: "(MutableFirmware)",
         2: "(H/W Configuration)", 3: "(F/W Configuration)"}


def block(index, kind, value, **more):
    """A measurement block of a device."""
    return {"index": index, "type": kind, "value": value.hex(), **more}


def blocks(items=BLOCKS):
    """The measurement blocks of a device."""
    return [block(*item) for item in items]


def device(*versions, **settings):
    """A device that speaks these versions."""
    return {"versions": list(versions) or ["1.2"], "measurements": blocks(),
            **settings}


def endpoint(content, eid=EID, address=ADDRESS):
    """An endpoint with its device, or with nothing that answers."""
    result = {"eid": eid, "address": address}
    return result if content is None else {**result, "spdm": content}


def daemon(*endpoints, name=s.MCTP):
    """An MCTP daemon."""
    return s.service(name, models=[
        {"model": "mctp", "path": s.MCTP_PATH, "endpoints": list(endpoints)}])


def attested(content, *parts):
    """The object mapper, and a daemon with this one device."""
    return s.merge(s.mapper(), daemon(endpoint(content)), *parts)


def fault(at, kind, **more):
    """Something that the device does wrong."""
    return {"at": at, "kind": kind, **more}


def attest(bmc, roots=None, address=ADDRESS, **options):
    """Runs an attestation; its output must be the one line."""
    words = ["-o", "attest", "-a", hex(address)]
    result = bmc.run(*words, *(["-f", roots] if roots else []), **options)
    assert leftovers() == []
    return result


def output(extra="", address=ADDRESS):
    """What an attestation prints."""
    return f"Attest Device: {address:#x}\n" + extra


def responder(version, capabilities=0x16, measurement_hash=4):
    """The record of what the peers agreed on."""
    return (INFO, f"Responder version {version}, capabilities "
            f"{capabilities:#x}, asym algo 0x80, hash algo 0x2, "
            f"measurement hash algo {measurement_hash:#x}")


def measured(items=BLOCKS):
    """The records of measurement blocks."""
    lines = [(INFO, f"  The responder has {len(items)} measurement blocks")]
    for index, kind, value in items:
        number = kind & 0x7f
        form = "BitStream" if kind & 0x80 else "Digest"
        lines.append((INFO, f"    measurement block {index}, {form} of "
                      f"{number}{TYPES.get(number, '')}, {len(value)} bytes. "
                      f"{value.hex()}"))
    return lines


def slot(number, size, challenged=True):
    """The records of a slot up to its challenge."""
    lines = [(INFO, f"  Get cert-chain from slot {number}"),
             (INFO, f"  slot {number} cert chain size {size}")]
    if challenged:
        lines.append((INFO, f"  Challenge based on slot {number}"))
    return lines


def bitmask(mask):
    """The record of the slots that are there."""
    return (INFO, f"Certificate slot bitmask: {mask:#x}")


def chain_size(bmc):
    """Sizes of the certificate chains, which vary with each key."""
    return [int(text.rsplit(" ", 1)[1]) for _, text in bmc.messages()
            if " cert chain size " in text]


def leftovers():
    """What is at the socket's path and beside it."""
    return [name for name in os.listdir(SOCKET.parent)
            if name.startswith(SOCKET.name)]


def remove(path):
    """Removes whatever there is."""
    if path.is_dir() and not path.is_symlink():
        shutil.rmtree(path)
    else:
        path.unlink(missing_ok=True)


def tidy():
    """Removes what a case may leave where the tool looks."""
    for path in (SOCKET, LOCK, CHAIN, SAVE, IGNORE):
        remove(path)
    assert not [name for name in os.listdir("/tmp")
                if name.startswith("certchain")]
