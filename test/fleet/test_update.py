# SPDX-License-Identifier: Apache-2.0
"""Firmware, so many BMCs at a time, and a stop where it should be."""

import json

import pytest
from variants import models

FIRMWARE = bytes(range(256)) * 2000


@pytest.fixture(name="firmware")
def fixture_firmware(lab):
    file = lab.folder / "QX960-SAS_C9.9.bin"
    file.write_bytes(FIRMWARE)
    return file


def prepare(bmc, **settings):
    """A BMC whose updates are quick, and as the settings say."""
    scenario = json.loads((bmc.folder / "own.json").read_text())
    for _, model in models(scenario, "firmware"):
        model.update({"duration_ms": 300, **settings})
    bmc.play(scenario)


def updates(bmc):
    return [call["args"][1:3] for call in bmc.calls("UpdateDevices")]


def rolling(ansible, firmware, hosts, *words):
    return ansible.playbook(
        "zantric.fleet.update", "-e", f"target={hosts}", "-e", "service=rsa",
        "-e", f"file={firmware}", *words)


def test_a_rolling_update_stops_at_a_bad_device(lab, ansible, firmware):
    """Two at a time; the fourth of eight fails."""
    names = [f"bmc{number:02d}" for number in range(1, 9)]
    before = {}
    for name in names:
        prepare(lab.bmcs[name], **({"fail_at": 50, "error_code": 7}
                                   if name == "bmc04" else {}))
        before[name] = len(updates(lab.bmcs[name]))
    play = rolling(ansible, firmware, ",".join(names), "-e", "batch=2")
    assert play.status != 0
    sent = [len(updates(lab.bmcs[name])) - before[name] for name in names]
    assert sent == [1, 1, 1, 1, 0, 0, 0, 0]
    failed, = [record for record in play.records
               if record.status == "failed"]
    assert failed.host == "bmc04"
    assert failed.result["msg"] == (
        "Update failed, rc = 0x7. Updated 1/2 devices")
    assert "all devices with QX960-SAS have C9.9" in play.out
    for name in names:
        lab.bmcs[name].restore()


def test_a_share_of_failures_is_borne(lab, ansible, firmware):
    names = [f"bmc{number:02d}" for number in range(1, 5)]
    for name in names:
        prepare(lab.bmcs[name], **({"fail_at": 0} if name == "bmc01" else {}))
    before = [len(updates(lab.bmcs[name])) for name in names]
    rolling(ansible, firmware, ",".join(names), "-e", "batch=2", "-e",
            "max_failed=50")
    assert [len(updates(lab.bmcs[name])) - count
            for name, count in zip(names, before)] == [1] * 4
    for name in names:
        lab.bmcs[name].restore()


def test_the_version_is_verified(lab, ansible, firmware):
    """A service that says it is done and has the old version."""
    bmc = lab.bmcs["bmc05"]
    prepare(bmc)
    play = rolling(ansible, firmware, "bmc05", "-e", "version=C9.8")
    assert play.status != 0
    assert "Drive 12 has C9.9 instead of C9.8" in play.out
    path, part = updates(bmc)[-1]
    assert (part, path.rsplit("/", 1)[1]) == ("QX960-SAS",
                                              "QX960-SAS_C9.9.bin")
    assert not bmc.path(path).exists()
    bmc.restore()


def test_check_mode_tells_and_sends_nothing(lab, ansible, firmware):
    bmc = lab.bmcs["bmc06"]
    before = updates(bmc)
    play = rolling(ansible, firmware, "bmc06", "--check")
    assert play.status == 0
    assert play.records[0].result["msg"].startswith(
        "would run zantric -o update -s rsa -f ")
    assert updates(bmc) == before
