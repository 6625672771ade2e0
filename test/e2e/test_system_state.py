# SPDX-License-Identifier: Apache-2.0
"""The power state and the boot progress in the listing's header."""

import pytest

import scenarios as s
from expect import under_header

ERROR = 3


def header(bmc, power="On", progress="PostComplete", **options):
    """Runs the listing and checks the header's two states."""
    result = bmc.run(**options)
    assert under_header(result.out, power, progress) == ""
    assert (result.err, result.status) == ("", 0)


@pytest.mark.parametrize("code, name", [
    (0x08, "StartPEI"), (0x10, "MemoryInit"), (0x18, "MemoryTest"),
    (0x38, "DxeInit"), (0x69, "PowerOnAuthentication"),
    (0x6a, "WaitingForPowerOnPassword"), (0x78, "PostComplete"),
    (0x88, "BootBMU"), (0x91, "SetupAuthentication"),
    (0x92, "WaitingForSetupPassword"), (0xa0, "F1Setup"),
    (0xb0, "BootUefiOS"), (0xbc, "OS Booted (ExitBootServices)"),
    (0xc4, "OS Booted (AcpiEnable)"), (0xd1, "SmbiosReady"),
    (0xfe, "ResetSystem"), (0x00, "Unknown(0x00)"), (0xff, "Unknown(0xFF)"),
    (0x0a, "Unknown(0x0A)"),
])
def test_progress_codes_have_names(bmc, code, name):
    """A code without one is shown in two upper-case digits."""
    bmc.start(s.server(s.progress(code)))
    header(bmc, progress=name)
    assert bmc.messages() == []


@pytest.mark.parametrize("signature, value", [
    ("u", 0x78), ("s", "PostComplete"), ("ay", [0x78]), ("b", True)])
def test_a_progress_of_another_type_counts_as_code_0(bmc, signature, value):
    """It is read, but it holds no code: that is no error."""
    bmc.start(s.server(s.value(
        s.LOGMEM, s.LOGMEM_PATH, "com.mervax.fpga", "UefiProgressCode",
        {"signature": signature, "value": value})))
    header(bmc, progress="Unknown(0x00)")
    assert bmc.messages() == []


def without(name):
    """The server without one of its services."""
    scenario = s.server(s.storage("rsa", {}))
    del scenario["services"][name]
    return scenario


PROGRESS_FAILED = (ERROR, "[ERR] Get com.mervax.fpga property "
                   "UefiProgressCode failed")
POWER_FAILED = (ERROR, f"[ERR] Get {s.CHASSIS} property CurrentPowerState "
                "failed")


def test_an_absent_fpga_service_is_unknown(bmc):
    """The journal says why, with the interface for a source."""
    bmc.start(without(s.LOGMEM))
    header(bmc, progress="Unknown")
    assert bmc.messages() == [PROGRESS_FAILED]
    record = bmc.journal()[0]
    assert (record["S"], record["P"]) == ("com.mervax.fpga",
                                          "UefiProgressCode")


def test_an_absent_chassis_service_is_unknown(bmc):
    """The listing goes on."""
    bmc.start(without(s.CHASSIS))
    header(bmc, power="Unknown")
    assert bmc.messages() == [POWER_FAILED]
    record = bmc.journal()[0]
    assert (record["S"], record["P"]) == (s.CHASSIS, "CurrentPowerState")


@pytest.mark.parametrize("value, shown", [
    ("xyz.openbmc_project.State.Chassis.PowerState.On", "On"),
    ("xyz.openbmc_project.State.Chassis.PowerState.Off", "Off"),
    ("xyz.openbmc_project.State.Chassis", "Chassis"),
    ("Plain", "Plain"),
    ("Dot.", ""),
    ("", ""),
])
def test_a_power_state_is_what_follows_the_last_dot(bmc, value, shown):
    """Without a dot it is the whole text."""
    bmc.start(s.server(s.power(value)))
    header(bmc, power=shown)


@pytest.mark.parametrize("reply", [s.error(), {"die": True}])
def test_an_error_reply_for_a_state_is_unknown(bmc, reply):
    """Both are logged; progress is asked first."""
    bmc.start(s.server(
        s.fault("Get", reply, owner=s.CHASSIS),
        s.fault("Get", reply, owner=s.LOGMEM)))
    header(bmc, power="Unknown", progress="Unknown")
    assert bmc.messages() == [PROGRESS_FAILED, POWER_FAILED]


@pytest.mark.parametrize("reply", [
    {"out": "i", "return": [3]}, {"silent": True}])
def test_an_exception_for_a_state_is_unknown(bmc, reply):
    """A reply that is no variant, or none at all; the text is the field E."""
    bmc.start(s.server(s.fault("Get", reply, owner=s.CHASSIS),
                       s.fault("Get", reply, owner=s.LOGMEM)))
    header(bmc, power="Unknown", progress="Unknown",
           env={"SYSTEMD_BUS_TIMEOUT": "200ms"})
    records = bmc.journal()
    assert [record["MESSAGE"] for record in records] == [
        "[ERR] Get com.mervax.fpga property UefiProgressCode exception. " +
        records[0]["E"],
        f"[ERR] Get {s.CHASSIS} property CurrentPowerState exception. " +
        records[1]["E"]]
    assert all(record["E"].startswith("sd_bus_") for record in records)


@pytest.mark.parametrize("signature, value", [("u", 1), ("as", ["On"])])
def test_a_power_state_of_another_type_is_unknown(bmc, signature, value):
    """Unlike the progress code, that is an exception."""
    bmc.start(s.server(s.value(
        s.CHASSIS, s.CHASSIS_PATH, s.CHASSIS, "CurrentPowerState",
        {"signature": signature, "value": value})))
    header(bmc, power="Unknown")
    (priority, message), = bmc.messages()
    assert priority == ERROR
    assert message.startswith(f"[ERR] Get {s.CHASSIS} property "
                              "CurrentPowerState exception. ")
