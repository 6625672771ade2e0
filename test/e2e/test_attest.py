# SPDX-License-Identifier: Apache-2.0
"""Attestation of well-behaved devices: the flow and its journal records."""

import os
import pathlib
import re
import shutil

import pytest

import attest_support as a
import scenarios as s
from attest_support import ERROR, INFO
from harness import sim_env


@pytest.fixture(autouse=True)
def clean():
    """No case sees what another left."""
    a.tidy()
    yield
    a.tidy()


def flow(version, size, *slot_info, capabilities=0x16, mask=1):
    """All records of an attestation of one slot with a root certificate."""
    return [a.INITIALIZED, a.responder(version, capabilities), *a.READ_ROOT,
            a.bitmask(mask), *slot_info, *a.slot(0, size), *a.measured(),
            a.SUCCEEDED, a.UNINITIALIZED]


@pytest.mark.parametrize("version", ["1.1", "1.2"])
def test_the_whole_flow_before_1_3(bmc, version):
    """Every present slot is good for challenge and measurements."""
    bmc.start(a.attested(a.device(version)))
    assert a.attest(bmc, a.ROOTS) == (a.output(), "", 0)
    assert bmc.messages() == flow(version, *a.chain_size(bmc))


def test_the_whole_flow_with_1_3(bmc):
    """With several keys each slot tells what its key is for."""
    bmc.start(a.attested(a.device(
        "1.3", capabilities={"multiKey": "negotiable"},
        slots=[{"slot": 0, "keyUsage": 6}])))
    assert a.attest(bmc, a.ROOTS) == (a.output(), "", 0)
    info = (INFO, "  [Slot 0] KeyPairId: 1, CertInfo: 0x1, KeyUsage: 0x6")
    assert bmc.messages() == flow("1.3", *a.chain_size(bmc), info,
                                  capabilities=0x18000016)


def test_1_3_without_several_keys_reports_no_usage(bmc):
    """Without a multi-key connection no slot has a usage, so there is neither
    a challenge nor a measurement."""
    bmc.start(a.attested(a.device("1.3")))
    assert a.attest(bmc) == (a.output(), "", 0)
    assert bmc.messages() == [
        a.INITIALIZED, a.responder("1.3"), a.bitmask(1),
        (INFO, "  [Slot 0] KeyPairId: 0, CertInfo: 0x0, KeyUsage: 0x0"),
        *a.slot(0, *a.chain_size(bmc), challenged=False), a.SUCCEEDED,
        a.UNINITIALIZED]


def test_no_root_directory_trusts_what_the_device_shows(bmc):
    """No root certificate is loaded."""
    bmc.start(a.attested(a.device()))
    assert a.attest(bmc).status == 0
    assert not set(a.READ_ROOT) & set(bmc.messages())


def test_a_device_without_certificates_ends_after_the_negotiation(bmc):
    """No digest, certificate, challenge or measurement request."""
    bmc.start(a.attested(a.device(capabilities={
        "certificates": False, "challenge": False, "measurements": "none"})))
    assert a.attest(bmc, a.ROOTS) == (a.output(), "", 0)
    assert [text for _, text in bmc.messages()][2:] == [
        "authenticateTarget succeeded", "SPDM Lib uninitialized"]
    requests = [call.args[1][2] for call in bmc.calls()
                if call.member == a.EXCHANGE]
    assert requests == [0x84, 0xe1, 0xe3]


def test_a_device_without_challenge_is_measured_all_the_same(bmc):
    """Each capability stands for itself."""
    bmc.start(a.attested(a.device(capabilities={"challenge": False})))
    assert a.attest(bmc).status == 0
    size, = a.chain_size(bmc)
    assert bmc.messages()[3:] == [*a.slot(0, size, challenged=False),
                                  *a.measured(), a.SUCCEEDED, a.UNINITIALIZED]


def test_unsigned_measurements_are_asked_for_without_signature(bmc):
    """A device that cannot sign them is not asked to."""
    bmc.start(a.attested(a.device(capabilities={
        "measurements": "unsigned"})))
    assert a.attest(bmc, a.ROOTS).status == 0
    asked = [call.args[1][3:5] for call in bmc.calls()
             if call.member == a.EXCHANGE and call.args[1][2] == 0xe0]
    assert asked == [[0, number] for number in range(5)]
    assert a.measured()[-1] in bmc.messages()


def test_two_slots_are_measured_once_on_the_lower(bmc):
    """Both slots are challenged; the blocks are listed once."""
    bmc.start(a.attested(a.device(slots=[{"slot": 1}, {"slot": 4}])))
    assert a.attest(bmc, a.ROOTS).status == 0
    first, second = a.chain_size(bmc)
    assert bmc.messages()[4:] == [
        a.bitmask(0x12), *a.slot(1, first), *a.measured(),
        *a.slot(4, second), a.SUCCEEDED, a.UNINITIALIZED]


def test_only_a_slot_whose_key_may_measure_is_measured(bmc):
    """The first that may, in ascending order."""
    bmc.start(a.attested(a.device(
        "1.3", capabilities={"multiKey": "negotiable"},
        slots=[{"slot": 0, "keyUsage": 1}, {"slot": 2, "keyUsage": 2},
               {"slot": 5, "keyUsage": 4, "intermediates": 3}])))
    assert a.attest(bmc, a.ROOTS).status == 0
    sizes = a.chain_size(bmc)
    assert bmc.messages()[8:] == [
        *a.slot(0, sizes[0], challenged=False), *a.slot(2, sizes[1]),
        *a.slot(5, sizes[2], challenged=False), *a.measured(), a.SUCCEEDED,
        a.UNINITIALIZED]


def test_a_device_with_one_block(bmc):
    """The count is what the device tells."""
    bmc.start(a.attested(a.device(measurements=a.blocks(a.BLOCKS[:1]))))
    assert a.attest(bmc).status == 0
    assert bmc.messages()[6:-2] == a.measured(a.BLOCKS[:1])


@pytest.mark.parametrize("claim", [{"measurements": []}, {"claimedBlocks": 0}])
def test_a_device_with_no_blocks(bmc, claim):
    """The library takes a count of nothing for a field that cannot be."""
    bmc.start(a.attested({**a.device(), **claim}))
    assert a.attest(bmc) == (a.output(), "", 255)
    assert bmc.messages()[-2:] == [
        (ERROR, "  [ERR] Failed to get num of measurement blocks based on "
         "slot 0. rc = 0x80010005"), a.UNINITIALIZED]


def test_a_large_chain_in_chunks(bmc):
    """The library puts a long answer together from pieces."""
    bmc.start(a.attested(a.device(
        "1.2", capabilities={"chunking": True}, transmitSize=512,
        slots=[{"slot": 0, "intermediates": 3}])))
    assert a.attest(bmc, a.ROOTS).status == 0
    assert any(call.args[1][2] == 0x86 for call in bmc.calls()
               if call.member == a.EXCHANGE)
    assert bmc.messages()[-2:] == [a.SUCCEEDED, a.UNINITIALIZED]


def test_a_failing_block_does_not_end_the_others(bmc):
    """It is reported, and the run goes on to success."""
    bmc.start(a.attested(a.device(capabilities={"measurements": "unsigned"},
                                  faults=[a.fault("GET_MEASUREMENTS", "error",
                                                  nth=3)])))
    assert a.attest(bmc).status == 0
    messages = bmc.messages()
    lines = a.measured()
    lines[2] = (ERROR, "    [ERR] Failed to get measurement block 2 based on "
                f"slot 0. rc = {a.ERROR_RESPONSE}")
    assert messages[6:11] == lines
    assert messages[11:] == [a.SUCCEEDED, a.UNINITIALIZED]


def test_types_of_measurements(bmc):
    """A type without a name shows its number alone."""
    items = ((1, 0x04, b"\x04"), (2, 0x85, b"\x05"), (3, 0x7f, b""))
    bmc.start(a.attested(a.device(measurements=a.blocks(items))))
    assert a.attest(bmc).status == 0
    assert bmc.messages()[6:-2] == a.measured(items)


def test_a_value_that_claims_to_be_too_big(bmc):
    """4089 bytes are shown as far as the record goes, 4090 are too many."""
    bmc.start(a.attested(a.device(
        capabilities={"measurements": "unsigned"}, measurements=[
            a.block(1, 0x81, b"\x01", claimedSize=4089),
            a.block(2, 0x81, b"\x01", claimedSize=4090)])))
    assert a.attest(bmc).status == 0
    shown, refused = bmc.messages()[7:9]
    assert shown == (INFO, "    measurement block 1, BitStream of "
                     "1(MutableFirmware), 4089 bytes. 01" + "00" * 4088)
    assert refused == (ERROR, "    [ERR] measurement block 2 size 4090 is too "
                       "big")


def test_the_fields_of_the_records(bmc):
    """Each value is a field of its record."""
    bmc.start(a.attested(a.device()))
    assert a.attest(bmc).status == 0
    records = bmc.journal()
    agreed = records[1]
    assert [agreed[name] for name in ("V", "R", "AA", "HA", "MH")] == [
        "1.2", "0x16", "0x80", "0x2", "0x4"]
    last = records[-3]
    assert [last[name] for name in ("B", "D", "T", "TS", "N", "S")] == [
        "4", "BitStream", "3", "(F/W Configuration)", "3", "010203"]


def test_no_address(bmc):
    """Refused before anything else happens."""
    bmc.start(s.mapper())
    result = bmc.run("-o", "attest", "-f", a.ROOTS)
    assert result == ("Device address not specified\n", "", 255)
    assert (bmc.calls(), bmc.messages()) == ([], [])


def test_the_module_is_not_sought_in_the_current_folder(bmc, tmp_path):
    """Nor where the environment says."""
    planted = tmp_path / "zantric-attest.so"
    planted.write_bytes(b"not a module")
    bmc.start(a.attested(a.device()))
    assert a.attest(bmc, cwd=tmp_path, env={
        "LD_LIBRARY_PATH": str(tmp_path)}).status == 0


def test_a_broken_module_is_reported(bmc, tmp_path):
    """The one next to the program is taken, whatever is in it."""
    copy = tmp_path / "zantric"
    shutil.copy(os.environ["ZANTRIC"], copy)
    (tmp_path / "zantric-attest.so").write_bytes(b"not a module")
    bmc.start(a.attested(a.device()))
    result = a.attest(bmc, program=str(copy))
    assert result.status == 255
    assert result.out == a.output("Attest Device: " + str(
        tmp_path / "zantric-attest.so") + ": file too short\n")


def test_a_module_of_another_version_is_refused(bmc, tmp_path):
    """Whatever it could do: what it takes may be laid out differently."""
    tool = pathlib.Path(os.environ["ZANTRIC"])
    shutil.copy(tool, tmp_path / "zantric")
    module = (tool.parent / "zantric-attest.so").read_bytes()
    own = re.search(r"\n    version: '(.*)'", (sim_env.ROOT / "meson.build")
                    .read_text()).group(1).encode() + b"\0"
    assert own in module
    (tmp_path / "zantric-attest.so").write_bytes(
        module.replace(own, b"9" + own[1:]))
    bmc.start(a.attested(a.device()))
    result = a.attest(bmc, program=str(tmp_path / "zantric"))
    assert (result, bmc.calls()) == (
        (a.output("Attest Device: the module is of another version\n"), "",
         255), [])
