# SPDX-License-Identifier: Apache-2.0
"""What an attestation proved, from its status and its journal records.

The records of the run itself decide, by the format of their message: their
fields come from the tool, while a message could hold what a device sent.
"""

from __future__ import absolute_import, division, print_function

__metaclass__ = type

ANCHORED = "anchored"
UNANCHORED = "unanchored"
OVERRIDDEN = "overridden"
NOTHING = "nothing proved"
FAILED = "failed"
# From the most that an attestation can prove to the least.
VERDICTS = (ANCHORED, UNANCHORED, OVERRIDDEN, NOTHING, FAILED)

MATCH = "match"
DIFFERS = "differs"
NO_REFERENCE = "no reference"
NOT_MEASURED = "not measured"

REFERENCE_FORMAT = "zantric-measurement-reference-1"

_MEASUREMENT_BITS = 0x18
_SIGNED = 0x10
# Error records that end a run: the step that failed, and the status where the
# record has none.
_STEPS = {
    "[ERR] SPDM context not initialized or connection not set":
        ("library", "0x80010001"),
    "[ERR] malloc spdm context failed": ("library", None),
    "[ERR] spdm init context failed": ("library", None),
    "[ERR] malloc scratch buffer failed": ("library", None),
    "[ERR] libspdm_init_connection failed. rc = {R}": ("negotiation", None),
    "[ERR] Failed to establish connection. state = {S}":
        ("negotiation", "0x80010007"),
    "[ERR] libspdm_read_responder_root_public_certificate failed":
        ("root certificate", "0x80030000"),
    "[ERR] libspdm_x509_get_cert_from_cert_chain failed":
        ("root certificate", "0x80030000"),
    "[ERR] Failed to get responder digest. rc = {R}": ("digests", None),
    "  [ERR] Failed to get cert of slot {S}. rc = {R}":
        ("certificate chain", None),
    "  [ERR] Failed to get challenge based on slot {S}. rc = {R}":
        ("challenge", None),
    "  [ERR] Failed to get num of measurement blocks based on slot {S}. "
    "rc = {R}": ("measurements", None),
}
_BLOCK = "    measurement block {B}, {D} of {T}{TS}, {N} bytes. {S}"
_BLOCK_ERRORS = {
    "    [ERR] Failed to get measurement block {B} based on slot {S}. "
    "rc = {R}": "R",
    "    [ERR] measurement block {B} size {SZ} is too big": "SZ",
}


def _format_of(record):
    return record.get("LOG2_FMTMSG", record.get("MESSAGE", ""))


class _Records:
    def __init__(self, records):
        self.records = records

    def all(self, wanted):
        return [record for record in self.records
                if _format_of(record) == wanted]

    def has(self, wanted):
        return bool(self.all(wanted))

    def field(self, wanted, name):
        found = self.all(wanted)
        return found[0].get(name) if found else None


def _failure(records):
    """The step that failed, its status, and the error records."""
    errors = [record for record in records.records
              if record.get("PRIORITY") in ("0", "1", "2", "3")]
    said = [record.get("MESSAGE", "").strip() for record in errors]
    for record in reversed(errors):
        step = _STEPS.get(_format_of(record))
        if step:
            return {"step": step[0], "rc": record.get("R", step[1]),
                    "errors": said}
    if records.has("SPDM Lib initialized"):
        return {"step": "endpoint lookup", "rc": "0x80010001", "errors": said}
    return {"step": "unknown, there are no records", "rc": None,
            "errors": said}


def _blocks(records):
    return [{"index": int(record["B"]), "type": int(record["T"]),
             "form": record["D"], "value": record.get("S", "")}
            for record in records.all(_BLOCK)]


def _failed_blocks(records):
    return [{"index": int(record["B"]), "error": record.get(field)}
            for wanted, field in _BLOCK_ERRORS.items()
            for record in records.all(wanted)]


def _proof(facts):
    """The verdict on a run that ended with status 0, and why."""
    if not facts["complete"]:
        return NOTHING, "records of the run are missing"
    if not facts["chains"]:
        return NOTHING, "the device showed no certificates"
    if not facts["challenged"] and not facts["signed"]:
        return NOTHING, "neither a challenge nor a signed measurement"
    if facts["overridden"]:
        return OVERRIDDEN, "the marker file accepts every certificate chain"
    if facts["root"]:
        return ANCHORED, "the chain ends in the given root"
    return UNANCHORED, "no root was given; whoever made the chain is trusted"


def _facts(records, marker):
    agreed = ("Responder version {V}, capabilities {R}, asym algo {AA}, "
              "hash algo {HA}, measurement hash algo {MH}")
    capabilities = int(records.field(agreed, "R") or "0", 16)
    chains = len(records.all("  slot {S} cert chain size {SZ}"))
    return {
        "version": records.field(agreed, "V"),
        "complete": (records.has(agreed) and
                     records.has("SPDM Lib initialized") and
                     records.has("authenticateTarget succeeded")),
        "chains": chains,
        "challenged": len(records.all("  Challenge based on slot {S}")),
        # What the device calls its measurements decides what is asked for.
        "signed": ((capabilities & _MEASUREMENT_BITS) == _SIGNED and
                   records.has(_BLOCK)),
        "root": (records.has("Read peer cert-chain from file") and
                 records.has("Get root cert from cert-chain")),
        "overridden": marker or records.has("Ignore cert-chain check"),
    }


def judge(status, records, marker=False):
    """The verdict on one run and what it rests on.

    status: the tool's; records: the run's journal; marker: whether the marker
    file that accepts every chain was seen before or after the run.
    """
    records = _Records(records)
    facts = _facts(records, marker)
    result = {"status": status, "version": facts["version"],
              "challenged": facts["challenged"], "signed": facts["signed"],
              "blocks": _blocks(records),
              "failed_blocks": _failed_blocks(records)}
    if status != 0:
        result.update(_failure(records), verdict=FAILED)
        if 128 < status < 255:
            result.update(step="the tool was ended by signal %d"
                          % (status - 128), rc=None)
        result["reason"] = "%s, %s" % (result["step"],
                                       result["rc"] or "no status")
    else:
        result["verdict"], result["reason"] = _proof(facts)
    return result


def refused(devices, accept):
    """Which devices have another verdict than those, or measure differently;
    a sentence each."""
    return (["%s %s: %s" % (device["address"], device["verdict"],
                            device["reason"])
             for device in devices if device["verdict"] not in accept] +
            ["%s measures differently" % device["address"]
             for device in devices
             if device["measurements"]["result"] == DIFFERS])


def reference_of(devices):
    """A reference file's document from attested devices that can be trusted:
    those whose verdict is anchored and whose measurements are signed."""
    found = {}
    for device in devices:
        if device["verdict"] == ANCHORED and device["signed"]:
            key = (device.get("part_number"), device.get("firmware_version"))
            if all(key) and not device["failed_blocks"]:
                if found.setdefault(key, device["blocks"]) != device["blocks"]:
                    raise ValueError("devices with part number %s and firmware "
                                     "%s measure differently" % key)
    return {"format": REFERENCE_FORMAT, "references": [
        {"part_number": part, "firmware_version": firmware, "blocks": blocks}
        for (part, firmware), blocks in sorted(found.items())]}


def _values(blocks):
    return {block["index"]: "%s of %s: %s" % (
        block["form"], block["type"], block["value"]) for block in blocks}


def compare(device, reference):
    """How a device's measurements compare with a reference document."""
    if device["verdict"] == FAILED or not (device["blocks"] or
                                           device["failed_blocks"]):
        return {"result": NOT_MEASURED, "differences": []}
    if reference and reference.get("format") != REFERENCE_FORMAT:
        raise ValueError("the reference's format is not " + REFERENCE_FORMAT)
    for entry in (reference or {}).get("references", []):
        if (entry["part_number"], entry["firmware_version"]) == (
                device.get("part_number"), device.get("firmware_version")):
            return _compare(_values(entry["blocks"]),
                            _values(device["blocks"]))
    return {"result": NO_REFERENCE, "differences": []}


def _compare(expected, found):
    differences = [{"block": index, "expected": expected.get(index),
                    "found": found.get(index)}
                   for index in sorted(set(expected) | set(found))
                   if expected.get(index) != found.get(index)]
    return {"result": DIFFERS if differences else MATCH,
            "differences": differences}
