# SPDX-License-Identifier: Apache-2.0
"""What the board is made of: a BMC's system, and the packages in it."""

import json

from board import SIMULATOR, holds, shell

NAMES = ("xyz.openbmc_project.ObjectMapper", "com.mervax.rsa",
         "com.mervax.lsa", "com.mervax.nvmed", "com.mervax.bpm",
         "com.mervax.eventlogd", "xyz.openbmc_project.PMCI_Launcher")


def test_systemd_is_process_1():
    """In the release that Debian 12 has."""
    assert shell("cat /proc/1/comm") == "systemd\n"
    assert shell("systemctl --version").startswith("systemd 252 ")


def test_the_system_bus_is_the_broker_with_the_shipped_policy():
    """Which is the package's own file."""
    assert holds("systemctl is-active -q dbus-broker")
    assert not holds("command -v dbus-daemon")
    assert holds("dpkg -S /usr/share/dbus-1/system.d/zantric.conf | "
                 "grep -q ^zantric:")


def test_the_packages_are_whole():
    """Installed by dpkg, and no file differs from what it unpacked; only the
    papers were left out."""
    assert shell("dpkg-query -W -f '${db:Status-Abbrev} ' zantric zantric-sim"
                 ).split() == ["ii", "ii"]
    assert shell("dpkg --verify zantric zantric-sim | "
                 "grep -vE '^missing +/usr/share/(doc|man)(/|$)'; :") == ""


def test_no_python():
    """No BMC has it."""
    assert not holds("command -v python3 || ls /usr/lib/python3*")


def test_nothing_failed():
    """Each unit of the image did its work."""
    assert json.loads(shell("systemctl --failed -o json")) == []


def test_the_daemons_own_their_names_before_the_target(bmc):
    """The service is ready only then; the target came after it."""
    assert shell(f"systemctl show -P Type {SIMULATOR}") == "notify\n"
    for bond in ("Wants", "After"):
        assert f"{SIMULATOR}.service" in shell(
            f"systemctl show -P {bond} multi-user.target").split()
    # And so it was when the board booted, before any case.
    assert shell(f"journalctl -b -q -o cat _PID=1 | grep -m2 -e '^Started "
                 f"{SIMULATOR}' -e '^Reached target multi-user'").splitlines(
                     )[0].startswith("Started " + SIMULATOR)
    bmc.start_image()
    names = shell("busctl list --acquired --no-legend").split()
    assert set(NAMES) <= set(names)


def test_storage_that_survives_an_image_is_a_file_system_of_its_own():
    """With the folder of the sequence file."""
    assert shell("findmnt -n -o FSTYPE,SIZE /pstorage").split() == ["tmpfs",
                                                                    "4M"]
    assert holds("[ -d /pstorage/persist/hdr ]")


def test_the_whole_listing_of_the_image(bmc):
    """Against the scenario that the image brings: header, devices, storage.
    """
    bmc.start_image()
    result = bmc.run()
    assert (result.err, result.status) == ("", 0)
    head, *lines = result.out.splitlines()
    assert head.startswith("Power: On;  Boot Progress: ")
    assert len(lines) > 20


def test_an_attestation_with_the_image(bmc):
    """By the device that speaks the newest version."""
    bmc.start_image()
    result = bmc.run("-o", "attest", "-a", "0x3b0000", "-f",
                     "/run/bmcsim/roots")
    assert result == ("Attest Device: 0x3b0000\n", "", 0)
    assert bmc.messages()[-2:] == [(6, "authenticateTarget succeeded"),
                                   (6, "SPDM Lib uninitialized")]
