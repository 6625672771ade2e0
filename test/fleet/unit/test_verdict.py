# SPDX-License-Identifier: Apache-2.0
"""Verdicts from records: a status of 0 is never more than it proved."""

import pytest
from plugin_utils import verdict

AGREED = ("Responder version {V}, capabilities {R}, asym algo {AA}, "
          "hash algo {HA}, measurement hash algo {MH}")


def record(message, priority="6", **fields):
    return {"LOG2_FMTMSG": message, "MESSAGE": message.strip(),
            "PRIORITY": priority, **fields}


START = [record("SPDM Lib initialized")]
END = [record("authenticateTarget succeeded"),
       record("SPDM Lib uninitialized")]
ROOT = [record("Read peer cert-chain from file"),
        record("Get root cert from cert-chain")]
CHAIN = [record("  Get cert-chain from slot {S}", S="0"),
         record("  slot {S} cert chain size {SZ}", S="0", SZ="1500")]
CHALLENGE = [record("  Challenge based on slot {S}", S="0")]
IGNORE = [record("Ignore cert-chain check")]


def agreed(capabilities):
    return [record(AGREED, V="1.2", R=capabilities)]


def block(index=1, value="00ff"):
    return [record(verdict._BLOCK, B=str(index), D="Digest", T="0",
                   TS="(ImmutableROM)", N="2", S=value)]


@pytest.mark.parametrize("records, wanted", [
    (ROOT + CHAIN + CHALLENGE, "anchored"),
    (ROOT + CHAIN + block(), "anchored"),
    (CHAIN + CHALLENGE, "unanchored"),
    (ROOT + CHAIN + IGNORE + CHALLENGE, "overridden"),
    (CHAIN + IGNORE + CHALLENGE, "overridden"),
    (ROOT + CHAIN, "nothing proved"),
    (ROOT + CHAIN + IGNORE, "nothing proved"),
    ([], "nothing proved"),
])
def test_status_0(records, wanted):
    found = verdict.judge(0, START + agreed("0x16") + records + END)
    assert (found["verdict"], found["version"]) == (wanted, "1.2")


def test_unsigned_measurements_prove_nothing():
    records = START + agreed("0xa") + ROOT + CHAIN + block() + END
    found = verdict.judge(0, records)
    assert found["verdict"] == "nothing proved"
    assert not found["signed"] and found["blocks"]


def test_the_marker_file_counts_without_its_record():
    records = START + agreed("0x16") + ROOT + CHAIN + CHALLENGE + END
    assert verdict.judge(0, records, True)["verdict"] == "overridden"


@pytest.mark.parametrize("records", [
    [], START, START + agreed("0x16") + ROOT + CHAIN + CHALLENGE,
    agreed("0x16") + ROOT + CHAIN + CHALLENGE + END])
def test_missing_records_prove_nothing(records):
    assert verdict.judge(0, records)["verdict"] == "nothing proved"


def test_a_message_that_a_device_made_up_is_no_record():
    forged = [{"LOG2_FMTMSG": "[ERR] Tx/Rx SPDM msg failed. EID={E}, {S}",
               "MESSAGE": "  Challenge based on slot {S}", "PRIORITY": "3"}]
    found = verdict.judge(0, START + agreed("0x16") + ROOT + CHAIN + forged
                          + END)
    assert found["verdict"] == "nothing proved"


@pytest.mark.parametrize("records, step, rc", [
    (agreed("0x16") + ROOT + [
        record("[ERR] Cert-chain (SZ={S}) authority check failed.", "3",
               S="9"),
        record("  [ERR] Failed to get cert of slot {S}. rc = {R}", "3", S="0",
               R="0x80020001")], "certificate chain", "0x80020001"),
    ([record("[ERR] libspdm_init_connection failed. rc = {R}", "3",
             R="0x80010008")], "negotiation", "0x80010008"),
    (agreed("0x16") + [
        record("[ERR] libspdm_read_responder_root_public_certificate failed",
               "3")], "root certificate", "0x80030000"),
    ([], "endpoint lookup", "0x80010001"),
])
def test_a_failure_has_its_step_and_status(records, step, rc):
    found = verdict.judge(255, START + records)
    assert (found["verdict"], found["step"], found["rc"]) == (
        "failed", step, rc)


def test_a_failure_without_records():
    found = verdict.judge(255, [])
    assert (found["verdict"], found["rc"]) == ("failed", None)


def test_a_run_that_was_ended_says_so():
    found = verdict.judge(137, START)
    assert (found["verdict"], found["step"], found["rc"]) == (
        "failed", "the tool was ended by signal 9", None)


def device(value="00ff", capabilities="0x16", **more):
    found = verdict.judge(0, START + agreed(capabilities) + ROOT + CHAIN
                          + CHALLENGE + block(1, value) + END)
    return {**found, "part_number": "P", "firmware_version": "1", **more}


def test_measurements_against_a_reference():
    reference = verdict.reference_of([device()])
    assert verdict.compare(device(), reference) == {
        "result": "match", "differences": []}
    assert verdict.compare(device("11"), reference) == {
        "result": "differs", "differences": [{
            "block": 1, "expected": "Digest of 0: 00ff",
            "found": "Digest of 0: 11"}]}
    assert verdict.compare(device(firmware_version="2"), reference)[
        "result"] == "no reference"
    assert verdict.compare(device(), None)["result"] == "no reference"


def test_a_block_that_is_missing_differs():
    reference = verdict.reference_of([device()])
    gone = device()
    gone.update(blocks=[], failed_blocks=[{"index": 1, "error": "0x80010008"}])
    assert verdict.compare(gone, reference)["differences"] == [
        {"block": 1, "expected": "Digest of 0: 00ff", "found": None}]


def test_what_failed_is_not_compared():
    failed = {**verdict.judge(255, START), "part_number": "P",
              "firmware_version": "1"}
    assert verdict.compare(failed, verdict.reference_of([device()]))[
        "result"] == "not measured"


@pytest.mark.parametrize("untrusted", [
    device(capabilities="0xe"), {**device(), "verdict": "unanchored"},
    {**device(), "part_number": None}])
def test_a_reference_is_made_from_trusted_devices_only(untrusted):
    assert verdict.reference_of([untrusted])["references"] == []


def test_a_reference_of_devices_that_disagree_is_refused():
    with pytest.raises(ValueError, match="measure differently"):
        verdict.reference_of([device("00"), device("11")])


def test_a_file_of_another_format_is_refused():
    with pytest.raises(ValueError, match="format"):
        verdict.compare(device(), {"format": "x", "references": []})
