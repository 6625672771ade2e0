# SPDX-License-Identifier: Apache-2.0
"""Attestation where files are on the board, and two at once."""

import pytest

import attest_support as a
import scenarios as s
from attest_support import ERROR, INFO
from board import holds, shell
from changes import DEVICE

MODULE = "/usr/lib/arm-linux-gnueabihf/zantric/zantric-attest.so"
OTHER = 0x170000


def test_a_foreign_root_is_refused(bmc):
    """The chain is sound, but the root that vouches for it is another."""
    bmc.start(a.attested(a.device()))
    assert a.attest(bmc, a.FOREIGN) == (a.output(), "", 255)
    texts = [text for level, text in bmc.messages() if level == ERROR]
    assert texts, bmc.messages()
    assert a.SUCCEEDED not in bmc.messages()


def test_the_marker_overrides_the_verdict(bmc):
    """On the board as anywhere; and the chain can be kept."""
    bmc.start(a.attested(a.device()))
    shell("touch /tmp/ignore_cert_check /tmp/save_cert")
    try:
        assert a.attest(bmc, a.FOREIGN) == (a.output(), "", 0)
        size, = a.chain_size(bmc)
        assert shell("stat -c %s /tmp/certchain.bin") == f"{size}\n"
    finally:
        shell("rm -f /tmp/ignore_cert_check /tmp/save_cert /tmp/certchain.bin")


@pytest.mark.parametrize("step, complaint", [
    ("GET_VERSION", "0x800"), ("GET_CERTIFICATE", "0x800"),
    ("CHALLENGE", "0x800")])
def test_a_cut_message(bmc, step, complaint):
    """Three bytes are left of the answer."""
    bmc.start(a.attested(a.device(faults=[
        a.fault(step, "truncate", times=0, bytes=3)])))
    assert a.attest(bmc, a.ROOTS) == (a.output(), "", 255)
    assert any(complaint in text for level, text in bmc.messages()
               if level == ERROR)
    assert a.SUCCEEDED not in bmc.messages()


def test_two_attestations_at_once(bmc):
    """Each gets its own device's answers."""
    bmc.start(s.merge(s.mapper(), a.daemon(
        a.endpoint(a.device("1.1")),
        a.endpoint(a.device("1.2"), eid=10, address=OTHER))))
    runs = [bmc.spawn("-o", "attest", "-a", hex(address), "-f", a.ROOTS)
            for address in (a.ADDRESS, OTHER)]
    assert [run.end() for run in runs] == [
        (a.output(address=address), "", 0) for address in (a.ADDRESS, OTHER)]
    versions = sorted(text.split(",")[0] for _, text in bmc.messages()
                      if text.startswith("Responder version"))
    assert versions == ["Responder version 1.1", "Responder version 1.2"]
    assert bmc.messages().count(a.SUCCEEDED) == 2


def test_the_modules_file_is_missing(bmc):
    """Said in one line; everything else works without it."""
    bmc.start(s.merge(a.attested(a.device()), s.storage("rsa", {a.ADDRESS: {
        "Drives": []}})))
    assert holds(f"[ -f {MODULE} ]")
    shell(f"mv {MODULE} /run/kept.so")
    try:
        result = a.attest(bmc)
        assert result == (a.output(
            f"Attest Device: {MODULE}: cannot open shared object file: No "
            "such file or directory\n"), "", 255)
        assert bmc.run(*DEVICE, "-o", "list", "-t", "Drives") == ("", "", 0)
    finally:
        shell(f"mv /run/kept.so {MODULE}")
    assert (INFO, "SPDM Lib initialized") not in bmc.messages()
