# SPDX-License-Identifier: Apache-2.0
"""Every operation, and every way to fail: the tool's, the transport's."""

import threading

import pytest
from plays import task
from lab import free_port

A = "0x8c0000"
FULL = "/mnt"
# Another user than root who becomes root.
OPERATOR = {"ansible_user": "operator"}
BECOME = {**OPERATOR, "ansible_become": True, "ansible_become_method": "sudo"}
# What only reads, with what makes it work.
READING = {
    "list": {"operation": "list"},
    "list volumes": {"operation": "list", "target": "Volumes"},
    "show": {"operation": "show", "service": "rsa", "address": A},
    "show drives": {"operation": "show", "service": "rsa", "address": A,
                    "target": "Drives"},
    "backplanes": {"operation": "show", "target": "Backplanes"},
    "objects": {"operation": "show", "target": "Objects"},
    "showI2C": {"operation": "showI2C", "address": 7},
    "ttylog": {"operation": "ttylog"},
    "devices": {"operation": "update", "service": "rsa"},
    "attest": {"operation": "attest", "address": A},
}
# What changes something: what works, and what it calls.
CHANGING = {
    "create": ({"operation": "create", "service": "rsa", "address": A,
                "params": "DisplayName=new,RAIDType=RAID1,Drives=12:13"},
               "CreateVolume"),
    "create from a file": ({
        "operation": "create", "service": "rsa", "address": A,
        "file": "create.json"}, "CreateVolume"),
    "autocfg": ({"operation": "create", "service": "rsa", "address": A,
                 "params": "RAIDType=RAID1,DrvCnt=2"}, "AutoConfig"),
    "edit": ({"operation": "edit", "service": "rsa", "address": A,
              "resource_id": 400, "params": "DisplayName=VD02"}, "EditVolume"),
    "delete": ({"operation": "delete", "service": "rsa", "address": A,
                "resource_id": 402}, "DeleteVolume"),
    "reset": ({"operation": "#Drive.Reset", "service": "rsa", "address": A,
               "resource_id": 12}, "Reset"),
    "erase": ({"operation": "#Drive.SecureErase", "service": "rsa",
               "address": A, "resource_id": 25}, "SecureErase"),
    "event": ({"operation": "event", "address": "0x3b000000",
               "params": "link=up;port=1;slot=3"}, "swlogCommit"),
    "enableMctp": ({"operation": "enableMctp", "address": 3},
                   "LaunchMctpdOverI2C"),
    "discover": ({"operation": "discover", "address": 7},
                 "TriggerDeviceDiscovery"),
    "update": ({"operation": "update", "service": "rsa",
                "file": "QX960-SAS_C3.2.bin"}, "UpdateDevices"),
    "clear": ({"operation": "clear", "service": "lsa",
               "address": "0x170000"}, "ClearConfig"),
}
# What the tool refuses, with its message.
REFUSED = {
    "no service": ({"operation": "show"}, "Service not specified"),
    "a device that is not there": (
        {"operation": "show", "service": "rsa", "address": 0x990000},
        "Failed to get device 0x990000 from rsa"),
    "a target": ({"operation": "list", "target": "Things"},
                 "Unsupported target Things"),
    "a volume that is not there": (
        {"operation": "delete", "service": "rsa", "address": A,
         "resource_id": 999},
        "Failed to delete volume (resId=999) on device 0x8c0000"),
    "no parameters": ({"operation": "create", "address": A, "service": "rsa"},
                      "Param or file is NOT specified"),
    "an event": ({"operation": "event", "params": "link=up"},
                 "Failed to generate event log"),
    "attestation": ({"operation": "attest", "address": 0x990000}, ""),
}


def calls_of(bmc):
    """How often each change reached a service."""
    wanted = {member for _, member in CHANGING.values()}
    return {member: len(bmc.calls(member)) for member in wanted}


@pytest.fixture(scope="module", name="files", autouse=True)
def fixture_files(lab):
    """Files on the control node, found as a playbook's."""
    (lab.folder / "create.json").write_text(
        '{"Volume": {"RAIDType": "RAID1", "Links": {"Drives":'
        ' [{"@odata.id": 22}, {"@odata.id": 23}]}}}')
    (lab.folder / "QX960-SAS_C3.2.bin").write_bytes(bytes(range(256)) * 999)


def footprint(bmc):
    """Files and processes of a BMC that a run could have left."""
    files = sorted(str(path) for folder in ("/run", "/tmp", "/pstorage")
                   for path in bmc.path(folder).rglob("*")
                   if "/run/log/" not in str(path)
                   and f"/{bmc.folder.name}" not in str(path))
    return files, bmc.processes()


@pytest.mark.parametrize("user", [{}, BECOME], ids=["root", "sudo"])
def test_every_operation_works_and_leaves_nothing(lab, ansible, user):
    bmc = lab.bmcs["bmc01"]
    tty_log = "/tmp/adapter_slot"
    before, before_calls = footprint(bmc), calls_of(bmc)
    play = ansible.play(
        [task(name, **options) for name, options in READING.items()] +
        [task(name, **options) for name, (options, _) in CHANGING.items()],
        {"bmc01": lab.variables(bmc)})
    found = {record.task: (record.status, record.result.get("msg"))
             for record in play.records}
    assert found == {**{name: ("ok", None) for name in READING},
                     **{name: ("changed", None) for name in CHANGING}}
    after_calls = calls_of(bmc)
    for name, (_, member) in CHANGING.items():
        assert after_calls[member] > before_calls[member], name
    for line in ("Preparing...", "Progress 100%, Completed 2/2"):
        assert f"bmc01: {line}" in play.out
    assert "\x1b" not in play.out
    after = footprint(bmc)
    # What the service itself writes for a captured log.
    left = [name for name in after[0] if tty_log not in name
            and name not in before[0]]
    assert (left, after[1]) == ([], before[1])
    bmc.restore()


def test_what_the_tool_refuses_has_its_message(lab, ansible):
    bmc = lab.bmcs["bmc01"]
    play = ansible.play([task(name, **options)
                         for name, (options, _) in REFUSED.items()],
                        {"bmc01": lab.variables(bmc)})
    for name, (_, message) in REFUSED.items():
        record = play.one("bmc01", name)
        assert (record.status, record.result["rc"]) == ("failed", 255), name
        assert message in record.result["msg"], name


def test_a_user_who_stays_that_user_changes_nothing(lab, ansible):
    """The service refuses nobody here; there is no folder for the change."""
    bmc = lab.bmcs["bmc01"]
    before = calls_of(bmc)
    record = ansible.run(bmc, variables=OPERATOR, **CHANGING["delete"][0])
    assert record.status == "failed"
    assert "nothing was sent: cannot write in /run" in record.result["msg"]
    assert calls_of(bmc) == before


def test_check_mode_reads_and_sends_no_change(lab, ansible):
    bmc = lab.bmcs["bmc01"]
    before = calls_of(bmc)
    play = ansible.play(
        [task(name, **options) for name, options in READING.items()] +
        [task(name, **options) for name, (options, _) in CHANGING.items()],
        {"bmc01": lab.variables(bmc)}, "--check")
    assert {record.status for record in play.records} == {"ok"}
    assert calls_of(bmc) == before
    for name, (options, _) in CHANGING.items():
        result = play.one("bmc01", name).result
        assert result["msg"].startswith("would run zantric -o "), name
        assert options["operation"] in result["msg"]
    assert play.one("bmc01", "list").result["rc"] == 0


@pytest.fixture(name="ways")
def fixture_ways(lab):
    """Hosts that fail, each in its way: variables, status, message."""
    yield make_ways(lab)
    for name in ("bmc04", "bmc05"):
        lab.bmcs[name].restore()
    lab.trust_again(lab.bmcs["bmc03"])


def make_ways(lab):
    bmcs = lab.bmcs
    other = lab.folder / "other"
    if not other.exists():
        lab.make_key(other)
    lab.distrust(bmcs["bmc03"])
    bmcs["bmc04"].shell("rm /usr/bin/zantric")
    elf = r"\177ELF\1\1\1" + r"\0" * 9 + r"\2\0\10\0" + "junk"
    bmcs["bmc05"].shell(f"rm /usr/bin/zantric; printf '{elf}' "
                        ">/usr/bin/zantric; chmod 755 /usr/bin/zantric")
    return {
        "dead port": (lab.variables(bmcs["bmc02"],
                                    ansible_port=free_port()),
                      "unreachable", "Connection refused"),
        "silent port": (lab.variables(bmcs["bmc02"],
                                      ansible_port=lab.silent_port()),
                        "unreachable", "timed out"),
        "refused": (lab.variables(
            bmcs["bmc02"], ansible_ssh_private_key_file=str(other)),
            "unreachable", "Permission denied"),
        "host key changed": (lab.variables(bmcs["bmc03"]), "unreachable",
                             "HOST IDENTIFICATION HAS CHANGED"),
        "tool missing": (lab.variables(bmcs["bmc04"]), "failed",
                         "the tool is not on this BMC"),
        "wrong architecture": (lab.variables(bmcs["bmc05"]), "failed",
                               "built for another machine"),
    }


def test_every_way_to_fail_for_every_operation(lab, ansible, ways):
    hosts = ways
    spared = [lab.bmcs[name] for name in ("bmc02", "bmc03", "bmc04", "bmc05")]
    before = list(map(calls_of, spared))
    tasks = ([task(name, **options) for name, options in READING.items()] +
             [task(name, **options)
              for name, (options, _) in CHANGING.items()])
    play = ansible.play(tasks, {name.replace(" ", "_"): variables
                                for name, (variables, _, _) in hosts.items()},
                        env={"ANSIBLE_TIMEOUT": "2"}, timeout=600)
    for name, (_, status, message) in hosts.items():
        records = play.of(name.replace(" ", "_"))
        assert len(records) == len(tasks), name
        for record in records:
            assert record.status == status, (name, record)
            assert message in record.result["msg"], (name, record)
            assert not record.result.get("changed")
    assert list(map(calls_of, spared)) == before


def test_a_full_disk_stops_every_change_and_no_reading(lab, ansible):
    bmc = lab.bmcs["bmc06"]
    bmc.shell(f"mount -t tmpfs -o size=64k none {FULL}; "
              f"dd if=/dev/zero of={FULL}/fill 2>/dev/null; true")
    before = calls_of(bmc)
    play = ansible.play(
        [task(name, folder=FULL, **options)
         for name, options in READING.items()] +
        [task(name, folder=FULL, **options)
         for name, (options, _) in CHANGING.items()],
        {"bmc06": lab.variables(bmc)})
    for name in READING:
        assert play.one("bmc06", name).status == "ok", name
    for name in CHANGING:
        record = play.one("bmc06", name)
        assert record.status == "failed", name
        assert "nothing was sent: no room in /mnt" in record.result["msg"]
    assert calls_of(bmc) == before
    assert bmc.shell(f"ls {FULL}") == "fill\n"
    bmc.shell(f"umount {FULL}")


@pytest.mark.parametrize("options, member, outcome", [
    (READING["list volumes"], "GetVolumes", None),
    (CHANGING["delete"][0], "DeleteVolume", "unknown")])
def test_a_tool_killed_in_its_call(lab, ansible, options, member, outcome):
    bmc = lab.bmcs["bmc07"]
    bmc.play_with_fault(member, {"silent": True})
    killer = threading.Thread(target=lambda: (
        bmc.wait_call(member), bmc.kill_tool()))
    killer.start()
    record = ansible.run(bmc, **options)
    killer.join()
    assert (record.status, record.result["rc"]) == ("failed", 137)
    assert "the tool was ended by signal 9" in record.result["msg"]
    assert record.result.get("outcome") == outcome
    assert len(bmc.calls(member)) == 1
    bmc.restore()


def test_a_wait_without_end_has_an_end(lab, ansible):
    bmc = lab.bmcs["bmc07"]
    bmc.play_with_fault("DeleteVolume", {"return": [0], "out": "i"})
    record = ansible.run(bmc, timeout=2, **CHANGING["delete"][0])
    assert (record.status, record.result["outcome"]) == ("failed", "unknown")
    assert "no end after 2 seconds" in record.result["msg"]
    assert "-t Volumes" in record.result["msg"]
    assert "zantric" not in bmc.processes()
    bmc.restore()


@pytest.mark.parametrize("address", ["9175040", "8c0000", 0, True, "0x"])
def test_an_address_that_could_be_misread_is_refused(lab, ansible, address):
    record = ansible.run(lab.bmcs["bmc01"], operation="show", service="rsa",
                         address=address)
    assert record.status == "failed"
    assert record.result["msg"].startswith("address: ")


def test_journal_records_are_those_of_the_run(lab, ansible):
    bmc = lab.bmcs["bmc01"]
    play = ansible.play(
        [task("attest", journal=True, **READING["attest"]),
         task("event", operation="event", journal=True,
              params="id=HRLKDUN0057I;severity=0;slot=2")],
        {"bmc01": lab.variables(bmc)})
    for record in play.records:
        found = record.result["journal"]
        assert {item["_PID"] for item in found} == {str(record.result["pid"])}
    messages = [item["MESSAGE"] for item in
                play.one("bmc01", "attest").result["journal"]]
    assert messages[0] == "SPDM Lib initialized"
    assert messages[-1] == "SPDM Lib uninitialized"
    event = play.one("bmc01", "event").result["journal"][0]
    assert event["REDFISH_MESSAGE_ARGS"] == "2"
