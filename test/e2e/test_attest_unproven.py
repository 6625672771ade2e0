# SPDX-License-Identifier: Apache-2.0
"""Runs that end with 0 although no key has proved anything: what the journal
shows of each, as docs/attestation.md says."""

import pytest

import attest_support as a
from attest_support import ERROR


@pytest.fixture(autouse=True)
def clean():
    """No case sees what another left."""
    a.tidy()
    yield
    a.tidy()


def success(bmc, *words):
    """The journal's texts of a run that ends with 0."""
    result = bmc.run("-o", "attest", "-a", hex(a.ADDRESS), *words)
    assert result == (a.output(), "", 0)
    assert bmc.messages()[-2:] == [a.SUCCEEDED, a.UNINITIALIZED]
    return [text for _, text in bmc.messages()]


def told(texts, start):
    """Whether a record begins so."""
    return any(text.startswith(start) for text in texts)


@pytest.mark.parametrize("usage, several", [
    (0, "none"), (1, "negotiable"), (8, "negotiable")])
def test_no_slot_whose_key_may_prove(bmc, usage, several):
    """1.3 with one key, and keys for other things: nothing is signed."""
    bmc.start(a.attested(a.device(
        "1.3", capabilities={"multiKey": several},
        slots=[{"slot": 0, "keyUsage": usage or 6}])))
    texts = success(bmc, "-f", a.ROOTS)
    assert texts[5].endswith(f"KeyUsage: {usage:#x}")
    assert not told(texts, "  Challenge based on slot ")
    assert not told(texts, "  The responder has ")


@pytest.mark.parametrize("kind, first, others", [
    ("wrong-signature", a.VERIFICATION_FAILED, a.VERIFICATION_FAILED),
    # The library asks for nothing more once the device wants a new beginning.
    ("resynch", "0x8001000b", "0x80010003"),
    ("busy", "0x80010008", "0x80010008")])
def test_no_challenge_and_no_block_that_holds(bmc, kind, first, others):
    """Each block is an error record, and that is all."""
    bmc.start(a.attested(a.device(
        capabilities={"challenge": False},
        faults=[a.fault("GET_MEASUREMENTS", kind, nth=2, times=0)])))
    texts = success(bmc, "-f", a.ROOTS)
    assert not told(texts, "  Challenge based on slot ")
    assert [text for level, text in bmc.messages() if level == ERROR] == [
        f"    [ERR] Failed to get measurement block {number} based on slot 0. "
        f"rc = {others if number > 1 else first}"
        for number in range(1, len(a.BLOCKS) + 1)]


def test_no_challenge_and_no_signature(bmc):
    """The blocks are the device's word; its capabilities tell."""
    bmc.start(a.attested(a.device(
        "1.3", capabilities={"measurements": "unsigned",
                             "multiKey": "negotiable"},
        slots=[{"slot": 0, "keyUsage": 4}])))
    texts = success(bmc, "-f", a.ROOTS)
    assert a.responder("1.3", 0x1800000e) in bmc.messages()
    assert not told(texts, "  Challenge based on slot ")
    assert a.measured()[-1] in bmc.messages()


@pytest.mark.parametrize("words", [(), ("-f", "")])
def test_no_root(bmc, words):
    """Anybody's chain will do."""
    bmc.start(a.attested(a.device(slots=[
        {"slot": 0, "defect": "foreign-root"}])))
    assert "Read peer cert-chain from file" not in success(bmc, *words)
