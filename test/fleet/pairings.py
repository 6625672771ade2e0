# SPDX-License-Identifier: Apache-2.0
"""The devices of the pairing table in docs/dependencies.md, with the verdict
that each must get when its own root is given, and when none is."""

from typing import NamedTuple

VERIFICATION = "0x80020001"
BUSY = "0x80010008"
_BLOCKS = [{"index": 1, "type": 0, "digestOf": "424f4f54"},
           {"index": 2, "type": 131, "value": "0102030405060708"}]
_ALL = ("1.1", "1.2", "1.3")
_NEW = ("1.2", "1.3")


class Pairing(NamedTuple):
    """A row of the table for one version."""

    name: str
    device: dict
    rooted: tuple    # verdict, step and rc with the root,
    rootless: tuple  # without,
    marked: tuple    # and with the root and the marker file


_ANCHORED = ("anchored", None, None)
_UNANCHORED = ("unanchored", None, None)
_NOTHING = ("nothing proved", None, None)
_OVERRIDDEN = ("overridden", None, None)


def _failed(step, rc=VERIFICATION):
    return ("failed", step, rc)


def _fault(at, kind, **more):
    return {"faults": [{"at": at, "kind": kind, **more}]}


def _capable(**capabilities):
    return {"capabilities": capabilities}


_GOOD = (_ANCHORED, _UNANCHORED)
_THREE = [{"slot": number} for number in (0, 1, 2)]
_USAGES = [{"slot": 0, "keyUsage": 2}, {"slot": 1, "keyUsage": 4},
           {"slot": 2, "keyUsage": 6}]
_KEYS = {"multiKey": "negotiable"}


def _same(verdict):
    return (verdict, verdict)


# Name, versions, settings of the device, verdicts.
_ROWS = (
    ("signed measurements", _ALL, {}, _GOOD),
    ("unsigned measurements", _ALL, _capable(measurements="unsigned"), _GOOD),
    ("three slots", _ALL, {"slots": _THREE}, _GOOD),
    ("three intermediates", _ALL,
     {"slots": [{"slot": 0, "intermediates": 3}]}, _GOOD),
    ("in chunks", _NEW, {"transmitSize": 256, **_capable(chunking=True)},
     _GOOD),
    ("unsigned in chunks, three slots", _NEW,
     {"transmitSize": 256, "slots": _THREE,
      **_capable(chunking=True, measurements="unsigned")}, _GOOD),
    ("several keys", ("1.3",), _capable(**_KEYS), _GOOD),
    ("only several keys", ("1.3",), _capable(multiKey="only"), _GOOD),
    ("several keys, unsigned", ("1.3",),
     _capable(measurements="unsigned", **_KEYS), _GOOD),
    ("several keys in chunks", ("1.3",),
     {"transmitSize": 256, **_capable(chunking=True, **_KEYS)}, _GOOD),
    ("a usage each", ("1.3",), {"slots": _USAGES, **_capable(**_KEYS)}, _GOOD),
    ("no certificates", _ALL,
     _capable(certificates=False, challenge=False, measurements="none"),
     _same(_NOTHING)),
    ("no challenge", _ALL, _capable(challenge=False), _GOOD),
    ("all versions", ("all",), {"versions": ["1.0", "1.1", "1.2", "1.3"]},
     _GOOD),
    ("1.0 only", ("1.0",), {}, _GOOD),
    ("2.0 only", ("1.2",),
     _fault("GET_VERSION", "raw", answer="1004000000010020"),
     _same(_failed("negotiation", "0x80010007"))),
    ("foreign root", _ALL, {"slots": [{"slot": 0, "defect": "foreign-root"}]},
     (_failed("certificate chain"), _UNANCHORED)),
    ("foreign root, several keys", ("1.3",),
     {"slots": [{"slot": 0, "defect": "foreign-root"}], **_capable(**_KEYS)},
     (_failed("certificate chain"), _UNANCHORED)),
    ("expired leaf", _ALL, {"slots": [{"slot": 0, "defect": "expired-leaf"}]},
     _same(_failed("certificate chain"))),
    ("hash of another root", _ALL,
     {"slots": [{"slot": 0, "defect": "wrong-root-hash"}]},
     _same(_failed("certificate chain"))),
    ("wrong signature", ("1.1", "1.2"), _fault("CHALLENGE", "wrong-signature"),
     _same(_failed("challenge"))),
    ("wrong signature, several keys", ("1.3",),
     {**_fault("CHALLENGE", "wrong-signature"), **_capable(**_KEYS)},
     _same(_failed("challenge"))),
    ("long chain", _ALL, {"slots": [{"slot": 0, "leafFiller": 4000}]},
     _same(_failed("certificate chain", "0x8001000c"))),
    *((f"busy at {at}", _ALL, _fault(at, "busy"), _same(_failed(step, BUSY)))
      for at, step in (("GET_VERSION", "negotiation"),
                       ("NEGOTIATE_ALGORITHMS", "negotiation"),
                       ("GET_DIGESTS", "digests"),
                       ("GET_CERTIFICATE", "certificate chain"))),
    ("busy at the challenge", ("1.1", "1.2"), _fault("CHALLENGE", "busy"),
     _same(_failed("challenge", BUSY))),
    ("busy at the count", ("1.1", "1.2"), _fault("GET_MEASUREMENTS", "busy"),
     _same(_failed("measurements", BUSY))),
    ("busy at a block", ("1.1", "1.2"),
     _fault("GET_MEASUREMENTS", "busy", nth=2), _GOOD),
    *((f"not ready at {at}", ("1.1", "1.2"), _fault(at, "not-ready"), _GOOD)
      for at in ("GET_DIGESTS", "GET_CERTIFICATE", "CHALLENGE",
                 "GET_MEASUREMENTS")),
    ("resynchronisation", _ALL, _fault("GET_DIGESTS", "resynch"),
     _same(_failed("digests", "0x8001000b"))),
)


def _marked(rooted, rootless):
    """With the marker file every chain is accepted that can be read."""
    refused = rooted == _failed("certificate chain")
    return _OVERRIDDEN if refused or rootless == _UNANCHORED else rootless


def _of_version(device, version, verdict):
    """With 1.3 a device of one key tells no usage for it, so the tool neither
    challenges it nor asks for measurements: what ends with 0 proves nothing."""
    keys = device.get("capabilities", {}).get("multiKey")
    silent = version in ("1.3", "all") and not keys
    return _NOTHING if silent and verdict[0] != "failed" else verdict


def pairings():
    """Every row for each of its versions."""
    return [Pairing(f"{name}, {version}",
                    {"versions": [version], "measurements": _BLOCKS,
                     **settings},
                    *(_of_version(settings, version, verdict)
                      for verdict in (*verdicts, _marked(*verdicts))))
            for name, versions, settings, verdicts in _ROWS
            for version in versions]


def _words(verdict):
    return verdict[0] + (f": {verdict[1]}, `{verdict[2]}`" if verdict[1]
                         else "")


def table():
    """The lines of a table for people: versions with the same verdicts in one
    row."""
    rows = {}
    for row in pairings():
        name, version = row.name.rsplit(", ", 1)
        key = (name, row.rooted, row.rootless, row.marked)
        rows.setdefault(key, []).append(version)
    return ["| device | SPDM | its root | no root | marker file |",
            "|---|---|---|---|---|"] + [
                "| " + " | ".join((name, ", ".join(versions),
                                   *map(_words, verdicts))) + " |"
                for (name, *verdicts), versions in rows.items()]


def addresses():
    """An address for each pairing."""
    return [0x01000000 + 0x10000 * number for number in range(len(pairings()))]


def scenario():
    """A BMC with a device for each pairing."""
    endpoints = [{"eid": 8 + number, "address": address, "spdm": row.device}
                 for number, (row, address) in enumerate(
                     zip(pairings(), addresses()))]
    return {"services": {
        "xyz.openbmc_project.ObjectMapper": {"models": [{
            "model": "mapper", "path": "/xyz/openbmc_project/object_mapper"}]},
        "xyz.openbmc_project.MCTP_PCIe": {"models": [{
            "model": "mctp", "path": "/xyz/openbmc_project/mctp",
            "endpoints": endpoints}]}}}
