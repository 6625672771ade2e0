# SPDX-License-Identifier: Apache-2.0
"""Verdicts on real attestations, for every row of the pairing table."""

import json
import shutil
import subprocess

import pytest
from plays import task
from pairings import addresses, pairings, scenario, table
from world import ROOT

ATTEST = "zantric.fleet.attest"
ROOTS = "/run/bmcsim/roots"
EVERY = ["anchored", "unanchored", "overridden", "nothing proved", "failed"]


@pytest.fixture(name="paired")
def fixture_paired(lab):
    """A BMC with a device for each row."""
    bmc = lab.bmcs["bmc11"]
    bmc.play(scenario())
    yield bmc
    bmc.shell("rm -f /tmp/ignore_cert_check")
    bmc.restore()


def attested(ansible, bmc, **arguments):
    """Attests all rows: what was told of each, in their order."""
    play = ansible.play([task("attest", ATTEST, accept=EVERY,
                              addresses=addresses(), **arguments)],
                        {bmc.name: ansible.lab.variables(bmc)}, timeout=500)
    record = play.one(bmc.name)
    assert record.status == "ok", record.result.get("msg")
    return record.result["devices"]


def told(devices):
    return {row.name: (device["verdict"], device.get("step"),
                       device.get("rc"))
            for row, device in zip(pairings(), devices, strict=True)}


def test_with_the_root(ansible, paired):
    devices = attested(ansible, paired, remote_roots=ROOTS)
    assert told(devices) == {row.name: row.rooted for row in pairings()}
    for row, device in zip(pairings(), devices):
        busy = row.name.startswith("busy at a block")
        assert bool(device["failed_blocks"]) == busy, row.name


def test_without_a_root(ansible, paired):
    assert told(attested(ansible, paired)) == {
        row.name: row.rootless for row in pairings()}


def test_with_the_marker_file(ansible, paired):
    """Whatever a chain would have proved: it was not checked."""
    paired.shell("touch /tmp/ignore_cert_check")
    assert told(attested(ansible, paired, remote_roots=ROOTS)) == {
        row.name: row.marked for row in pairings()}


def test_the_table_for_people():
    page = (ROOT / "fleet/docs/attest.md").read_text()
    assert "\n".join(table()) + "\n" in page


def test_roots_of_the_control_node(lab, ansible, paired):
    folder = lab.folder / "roots"
    shutil.copytree(paired.path(ROOTS), folder, ignore=lambda path, names: [
        name for name in names if name == "foreign"])
    there = set(paired.path("/run").iterdir())
    assert told(attested(ansible, paired, roots=str(folder))) == {
        row.name: row.rooted for row in pairings()}
    assert set(paired.path("/run").iterdir()) <= there


def test_what_is_not_accepted_fails(ansible, paired):
    record = ansible.play(
        [task("attest", ATTEST, addresses=[hex(addresses()[0])],
              accept=["anchored"])],
        {paired.name: ansible.lab.variables(paired)}).one(paired.name)
    assert record.status == "failed"
    assert record.result["msg"].startswith("0x1000000 unanchored: ")


def only(bmc):
    return ["-e", f"target={bmc.name}"]


def test_measurements_against_a_reference(lab, ansible, tmp_path):
    """A reference from a trusted run; then the same firmware measures other
    values."""
    bmc = lab.bmcs["bmc12"]
    words = [*only(bmc), "-e", f"output={tmp_path}", "-e",
             f"remote_roots={ROOTS}", "-e",
             json.dumps({"addresses": ["0x8c0000", "0x170000"]})]
    play = ansible.playbook("zantric.fleet.attest", *words)
    assert play.status == 0, play.out
    assert play.out.count("anchored") == 2
    reference = tmp_path / "reference.json"
    with open(reference, "w", encoding="utf-8") as file:
        subprocess.run([ROOT / "fleet/zantric-json", "reference"],
                       input=(tmp_path / "attestation.json").read_bytes(),
                       stdout=file, check=True)
    words += ["-e", f"reference={reference}"]
    again = ansible.playbook("zantric.fleet.attest", *words)
    assert (again.status, again.out.count("  match  ")) == (0, 2), again.out
    changed = json.loads((bmc.folder / "own.json").read_text())
    mctp = changed["services"]["xyz.openbmc_project.MCTP_PCIe"]["models"][0]
    mctp["endpoints"][0]["spdm"]["measurements"][3]["value"] = "ff"
    bmc.play(changed)
    other = ansible.playbook("zantric.fleet.attest", *words)
    assert other.status != 0
    device, = [device for record in other.records
               for device in record.result.get("devices") or []
               if device["address"] == "0x8c0000"]
    assert device["measurements"] == {"result": "differs", "differences": [{
        "block": 4, "expected": "BitStream of 3: 0102030405060708",
        "found": "BitStream of 3: ff"}]}
    bmc.restore()
