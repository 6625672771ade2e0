# SPDX-License-Identifier: Apache-2.0
"""What the cases about events, I2C buses and inventory share."""

import os
import pathlib
import select
import shutil
import subprocess

import scenarios as s

EVENTLOG = "com.mervax.eventlogd"
EVENTLOG_PATH = "/com/mervax/eventlogd/event"
EVENTLOG_FACE = "com.mervax.eventlogd.event"
BPM = "com.mervax.bpm"
BPM_PATH = "/com/mervax/bpm"
BPM_FACE = "com.mervax.Inventory.DriveBackplane"
ITEM = "com.mervax.Inventory.Item.DriveBackplane"
SMBUS = "xyz.openbmc_project.MCTP.Binding.SMBus"
MCTP_BASE = "xyz.openbmc_project.MCTP.Base"
LAUNCHER = "xyz.openbmc_project.PMCI_Launcher"
LAUNCHER_PATH = "/xyz/openbmc_project/pmci_launcher"
LAUNCHER_FACE = "xyz.openbmc_project.Configuration.MctpConfiguration"
HDR = pathlib.Path("/pstorage/persist/hdr")
SEQUENCES = HDR / "invseq.json"

INFO, WARNING, ERROR = 6, 4, 3
# Under the bus library's default of 25 s, for calls that nobody answers.
SOON = {"SYSTEMD_BUS_TIMEOUT": "500ms"}


def eventlog():
    """The event log service."""
    return s.service(EVENTLOG, models=[
        {"model": "eventlog", "path": EVENTLOG_PATH}])


def launcher(**settings):
    """The MCTP launcher."""
    return s.service(LAUNCHER, models=[
        {"model": "mctp-launcher", "path": LAUNCHER_PATH, **settings}])


def daemon(bus, name=None, **settings):
    """An MCTP daemon on an I2C bus."""
    return s.service(name or smbus_name(bus), models=[
        {"model": "mctp-smbus", "path": s.MCTP_PATH, "bus": bus, **settings}])


def smbus_name(bus):
    """The bus name of the daemon that the launcher starts."""
    return f"xyz.openbmc_project.MCTP_SMBus_i2c{bus}"


def adapters(names):
    """The I2C buses: number to the adapter's name."""
    return {"i2c": {str(bus): name for bus, name in names.items()}}


def drives_on_buses(*words):
    """The backplane service with its packed words."""
    return s.value(BPM, BPM_PATH, BPM_FACE, "MaxNumOfNVMeDrvOnI2CBuses",
                   {"signature": "au", "value": list(words)})


def own_fields(record):
    """A journal record without what the journal itself adds."""
    return {key: value for key, value in record.items()
            if not key.startswith("_") and key != "SYSLOG_IDENTIFIER"}


def committed(bmc):
    """The entries that the event log service got: (id, arguments in order).
    """
    calls = bmc.calls()
    for call in calls:
        assert call[:5] == (EVENTLOG, EVENTLOG_PATH, EVENTLOG_FACE,
                            "swlogCommit", "sa{ss}")
    return [(call.args[0], list(call.args[1].items())) for call in calls]


def fresh_pstorage():
    """An empty folder for the sequence file, on no file system of its own."""
    while os.path.ismount(HDR):
        subprocess.run(["umount", HDR], check=True)
    shutil.rmtree(HDR, ignore_errors=True)
    os.makedirs(HDR)


def mount_small(pages):
    """Puts the sequence file's folder on a file system of a few pages."""
    size = pages * os.sysconf("SC_PAGESIZE")
    subprocess.run(["mount", "-t", "tmpfs", "-o", f"size={size}", "tmpfs",
                    HDR], check=True)


def fill_up():
    """Leaves no page free in the sequence file's folder."""
    with open(HDR / "filler", "wb", buffering=0) as file:
        try:
            while file.write(b"x" * os.sysconf("SC_PAGESIZE")):
                pass
        except OSError:
            pass
    assert os.statvfs(HDR).f_bfree == 0


def wait_armed(session):
    """Returns when the run's timer is armed; it must not end before."""
    process = session.process.pid
    ended = os.pidfd_open(process)
    patience = session.patience()
    try:
        while not timer_armed(pathlib.Path(f"/proc/{process}")):
            assert patience.step(), "no timer was armed"
            ready, _, _ = select.select([ended], [], [], 0.005)
            assert not ready, "it ended without a wait"
    finally:
        os.close(ended)


def timer_armed(process):
    """Whether a timerfd of the process runs, as proc(5) shows it."""
    for info in (process / "fdinfo").iterdir():
        try:
            text = info.read_text()
        except FileNotFoundError:
            continue  # closed meanwhile
        if "it_value:" in text and "it_value: (0, 0)" not in text:
            return True
    return False
