# SPDX-License-Identifier: Apache-2.0
"""Events: what is written where, and what is not."""

import os
import socket

import pytest

import scenarios as s
from io_cases import (EVENTLOG, INFO, SOON, committed, eventlog, own_fields)

FILE = ("/usr/src/debug/vordaskelin-bmc-apps/0.1+git/io/common/src/Events")
CASE = "This message is for the use case when an implementation has detected "
JOURNAL = "/run/systemd/journal/socket"
INSUFFICIENT = "Insufficient parameters\nFailed to generate event log\n"


def raise_event(bmc, params, *more):
    return bmc.run("-o", "event", "-p", params, *more)


def record(function, line, text, priority, name, arguments):
    return {"MESSAGE": text, "PRIORITY": str(priority),
            "REDFISH_MESSAGE_ID": "EventRegistry.1.0." + name,
            "REDFISH_MESSAGE_ARGS": arguments, "CODE_FILE": FILE,
            "CODE_LINE": str(line), "CODE_FUNC": function}


def diagnostic(text, **fields):
    """What the tool's own log holds, but for the place in the source."""
    return {"LOG2_FMTMSG": text, "PRIORITY": str(INFO),
            "MESSAGE": text.format(**fields), **fields}


def generated(kind, slot, priority, name, result="succeeded"):
    return diagnostic("Gen " + kind + " event {RSLT}: slot={SLOT}, "
                      "prio={PRIO}, evt={EVT}", RSLT=result, SLOT=str(slot),
                      PRIO=str(priority), EVT=name)


def journal(bmc):
    """All records; of the tool's own ones without the place in the source."""
    records = [own_fields(item) for item in bmc.journal()]
    for item in records:
        if "LOG2_FMTMSG" in item:
            for key in ("CODE_FILE", "CODE_LINE", "CODE_FUNC"):
                assert item.pop(key)
    return records


def wrote(bmc, result, *expected):
    """A quiet success, with exactly these journal records."""
    assert result == ("", "", 0)
    assert journal(bmc) == list(expected)


TO_CRITICAL = ("HRLKDCA0017M", 2, "PCIe %1 overtemperature has transitioned "
               "to critical from a less severe state.")
TO_LOST = ("HRLKDCA0019N", 2, "PCIe %1 overtemperature has transitioned to "
           "non-recoverable from a less severe state.")
TO_WARM = ("HRLKDCA2017I", 6, "PCIe %1 overtemperature has transitioned to a "
           "less severe state from critical.")
BACK = ("HRLKDCA2019I", 6, "PCIe %1 overtemperature has deasserted the "
        "transition to non-recoverable from a less severe state.")
NORMAL = ("HRLKDCA0013I", 6, "PCIe %1 overtemperature has transitioned to "
          "normal state.")


def temperature(old, new):
    """The event of a change of state, None when it has none."""
    worse, better = {2: TO_CRITICAL, 3: TO_LOST}, {0: NORMAL, 1: TO_WARM,
                                                   2: BACK}
    if old == new:
        return None
    return (worse if old < new else better).get(new)


def temperature_records(old, new, slot=4):
    event = temperature(old, new)
    if event is None:
        return [diagnostic("No temperature event for status change: "
                           "{OSS}=>{NSS}", OSS=str(old), NSS=str(new))]
    name, priority, text = event
    return [record("temperatureEvent", 464, text, priority, name, str(slot)),
            generated("temperature", slot, priority, name)]


def test_every_pair_of_sensor_states(bmc):
    """All values of both halves of the byte, those without a name as well."""
    bmc.start(eventlog())
    expected = []
    for packed in range(1, 256):
        assert raise_event(bmc, f"senState={packed};slot=4") == ("", "", 0)
        expected += temperature_records(packed >> 4, packed & 15)
    assert journal(bmc) == expected
    assert bmc.calls() == []


def test_temperature_18_is_critical_and_33_less_severe(bmc):
    """The byte is written in decimal."""
    bmc.start(eventlog())
    raise_event(bmc, "senState=18;slot=4")
    raise_event(bmc, "senState=33;slot=4")
    assert [item["REDFISH_MESSAGE_ID"][18:] for item in journal(bmc)
            if "REDFISH_MESSAGE_ID" in item] == ["HRLKDCA0017M",
                                                 "HRLKDCA2017I"]


def test_temperature_from_normal_to_non_critical_has_no_record(bmc):
    """0 to 1, a success."""
    bmc.start(eventlog())
    wrote(bmc, raise_event(bmc, "senState=1"), *temperature_records(0, 1))


def test_temperature_from_non_critical_to_non_recoverable(bmc):
    """1 to 3; without a slot 255 is the argument."""
    bmc.start(eventlog())
    wrote(bmc, raise_event(bmc, "senState=19"),
          record("temperatureEvent", 464, TO_LOST[2], 2, "HRLKDCA0019N",
                 "255"),
          generated("temperature", 255, 2, "HRLKDCA0019N"))


def test_temperature_from_non_recoverable_to_non_critical(bmc):
    """3 to 1 speaks of critical."""
    bmc.start(eventlog())
    wrote(bmc, raise_event(bmc, "senState=49;slot=0"),
          record("temperatureEvent", 464, TO_WARM[2], 6, "HRLKDCA2017I", "0"),
          generated("temperature", 0, 6, "HRLKDCA2017I"))


def test_temperature_of_equal_states_has_no_record(bmc):
    """2 to 2, a success."""
    bmc.start(eventlog())
    wrote(bmc, raise_event(bmc, "senState=34"), *temperature_records(2, 2))


TEXTS = {
    "HRLKDUN0048I": "a Sensor transition to the normal state",
    "HRLKDUN2049I": "that a Sensor has deasserted a transition to "
                    "non-critical from normal",
    "HRLKDUN2050I": "a Sensor transition to less severe from critical",
    "HRLKDUN0057I": "a RAID controller does not have a battery.",
    "HRLKDUN2057I": "that a RAID controller has a battery.",
}
WARM = "a Sensor transitioned to non-critical from normal"
HOT = "a Sensor transitioned to critical from less severe"


def storage_records(name, priority, text, slot=2, extra=None):
    line, arguments = (383, str(slot)) if extra is None else \
        (391, f"{slot}::{extra}")
    return [record("storageEvent", line, CASE + text, priority, name,
                   arguments),
            generated("storage", slot, priority, name)]


@pytest.mark.parametrize("extra", [None, "Battery", "a b::c", "%s%n"])
@pytest.mark.parametrize("name", TEXTS)
def test_every_informational_storage_event(bmc, name, extra):
    """Its text follows from its id; a name is a second argument."""
    bmc.start(eventlog())
    tail = "" if extra is None else ";name=" + extra
    wrote(bmc, raise_event(bmc, f"id={name};severity=0;slot=2" + tail),
          *storage_records(name, 6, TEXTS[name], extra=extra))
    assert bmc.calls() == []


@pytest.mark.parametrize("extra", [None, "Battery"])
@pytest.mark.parametrize("name", ["HRLKDUN0048I", "X"])
@pytest.mark.parametrize("severity, priority, text", [(1, 4, WARM),
                                                      (2, 2, HOT)])
def test_a_severe_storage_event_takes_any_id(bmc, severity, priority, text,
                                             name, extra):
    """Its text follows from the severity."""
    bmc.start(eventlog())
    tail = "" if extra is None else ";name=" + extra
    wrote(bmc, raise_event(bmc, f"id={name};severity={severity};slot=2" +
                           tail),
          *storage_records(name, priority, text, extra=extra))


@pytest.mark.parametrize("severity", [0, 3, 7, 254, 256, -2])
def test_any_other_severity_is_informational(bmc, severity):
    """severity=7 with a known id; 256 and -2 keep their low byte."""
    bmc.start(eventlog())
    wrote(bmc, raise_event(bmc, f"severity={severity};id=HRLKDUN0048I;slot=2"),
          *storage_records("HRLKDUN0048I", 6, TEXTS["HRLKDUN0048I"]))


@pytest.mark.parametrize("name", ["X", "HRLKDUN0048", "hrlkdun0048i",
                                  "HRLKDUN0048I ", "HRLKDCA0017M"])
def test_an_unknown_informational_id_writes_nothing(bmc, name):
    """Not even a diagnostic."""
    bmc.start(eventlog())
    assert raise_event(bmc, f"id={name};severity=0;slot=2") == (
        "Failed to generate storage event\nFailed to generate event log\n",
        "", 255)
    assert journal(bmc) == []


def test_missing_battery_with_its_slot(bmc):
    """id=HRLKDUN0057I;severity=0;slot=2"""
    bmc.start(eventlog())
    wrote(bmc, raise_event(bmc, "id=HRLKDUN0057I;severity=0;slot=2"),
          *storage_records("HRLKDUN0057I", 6, TEXTS["HRLKDUN0057I"]))


def test_no_slot_is_255(bmc):
    """It goes into the record as it stands."""
    bmc.start(eventlog())
    wrote(bmc, raise_event(bmc, "id=X;severity=1"),
          *storage_records("X", 4, WARM, slot=255))


def test_slot_300_is_44(bmc):
    """The low 8 bits."""
    bmc.start(eventlog())
    wrote(bmc, raise_event(bmc, "id=X;severity=1;slot=300"),
          *storage_records("X", 4, WARM, slot=44))


def test_no_severity_is_no_storage_event(bmc):
    """id=X;slot=2"""
    bmc.start(eventlog())
    assert raise_event(bmc, "id=X;slot=2") == (INSUFFICIENT, "", 255)
    assert journal(bmc) == []


UP = ("eventLogLomLinkStateChange", 250, CASE + "that a link up of PCIe", 6,
      "HRLKDEA2003I")
DOWN = ("eventLogLomLinkStateChange", 261, CASE + "a Link down of PCIe device",
        4, "HRLKDEA0003J")


@pytest.mark.parametrize("link, event, arguments", [
    ("up", UP, "1::LOM1::3"),
    ("down", DOWN, "1::LOM1"),
    ("UP", DOWN, "1::LOM1"),
    ("up ", DOWN, "1::LOM1"),
    ("x", DOWN, "1::LOM1"),
])
def test_link_with_a_name_is_a_journal_record(bmc, link, event, arguments):
    """Only "up" is up; the lost link carries no slot. Nothing else is
    written, and nobody is called."""
    bmc.start(eventlog())
    wrote(bmc, raise_event(bmc, f"link={link};port=1;slot=3;name=LOM1", "-a",
                           "0x3B000000"), record(*event, arguments))
    assert bmc.calls() == []


@pytest.mark.parametrize("link, state", [("up", "up"), ("down", "down"),
                                         ("UP", "down")])
def test_link_without_a_name_is_an_audit_entry(bmc, link, state):
    """The device is described by address and slot; the journal is silent."""
    bmc.start(eventlog())
    wrote(bmc, raise_event(bmc, f"link={link};port=1;slot=3", "-a",
                           "0x3B000000"))
    assert committed(bmc) == [("HRLKDEM4028I", [
        ("PortNumber", "1"), ("DeviceDescription", "3B:00:00 in Slot 3"),
        ("LinkStatus", state)])]


def test_link_of_a_device_in_hexadecimal(bmc):
    """Three upper bytes, most significant first."""
    bmc.start(eventlog())
    raise_event(bmc, "link=up;port=0;slot=0;name=", "-a", "8cABff")
    assert committed(bmc)[0][1][1] == ("DeviceDescription",
                                       "00:8C:AB in Slot 0")


LINK_FAILED = "Failed to generate link event\nFailed to generate event log\n"


@pytest.mark.parametrize("parts, message", [
    (s.merge(eventlog(), s.fault("swlogCommit", s.error())),
     "[ERR] Failed to generate link state audit log"),
    ({"services": {}}, "[ERR] Failed to generate link state audit log"),
    (s.merge(eventlog(), s.fault("swlogCommit", {"silent": True})),
     "[ERR] Generate link state audit log. sd_bus_call: "
     "org.freedesktop.DBus.Error.Timeout: Connection timed out"),
], ids=["error", "no service", "silent"])
def test_link_audit_that_fails(bmc, parts, message):
    """An error reply and a missing one are told apart."""
    bmc.start(parts)
    assert bmc.run("-o", "event", "-a", "1", "-p", "link=up;port=1;slot=3",
                   env=SOON) == (LINK_FAILED, "", 255)
    assert bmc.messages() == [(3, message)]


def test_link_audit_when_the_service_dies(bmc):
    """In the middle of the call."""
    bmc.start(s.merge(eventlog(), s.fault("swlogCommit", {"die": True})))
    assert raise_event(bmc, "link=up;port=1;slot=3", "-a", "1") == (
        LINK_FAILED, "", 255)
    (priority, message), = bmc.messages()
    assert (priority, message.startswith("[ERR] ")) == (3, True)


@pytest.mark.parametrize("params, address", [
    ("link=up;port=1", "1"),
    ("link=up;slot=3", "1"),
    ("link=up;port=1;slot=3", "0"),
    ("link=up;port=1;slot=3", "zz"),
    ("link=;port=1;slot=3", "1"),
    ("link=up;port=255;slot=3", "1"),
    ("link=up;port=1;slot=-1", "1"),
    ("", "1"),
    ("senState=0", "1"),
    ("senState=256", "1"),
    ("Link=up;PORT=1;Slot=3", "1"),
])
def test_insufficient_parameters(bmc, params, address):
    """A link without port, slot or address is no link event."""
    bmc.start(eventlog())
    assert raise_event(bmc, params, "-a", address) == (INSUFFICIENT, "", 255)
    assert (journal(bmc), bmc.calls()) == ([], [])


def test_no_parameters_at_all(bmc):
    """-o event alone"""
    bmc.start(eventlog())
    assert bmc.run("-o", "event") == (INSUFFICIENT, "", 255)


def test_a_link_key_that_does_not_suffice_leaves_the_others(bmc):
    """Storage, then temperature."""
    bmc.start(eventlog())
    wrote(bmc, raise_event(bmc, "link=up;port=1;id=X;severity=1;senState=18",
                           "-a", "1"),
          *storage_records("X", 4, WARM, slot=255))


def test_a_link_event_comes_before_the_others(bmc):
    """All three would do."""
    bmc.start(eventlog())
    wrote(bmc, raise_event(
        bmc, "senState=18;severity=1;id=X;name=L;link=up;slot=3;port=1",
        "-a", "1"), record(*UP, "1::L::3"))


def test_a_key_inside_another_keys_value_counts(bmc):
    """The search is over the whole text."""
    bmc.start(eventlog())
    wrote(bmc, raise_event(bmc, "name=severity=1,slot=5;id=X;slot=6"),
          *storage_records("X", 4, WARM, slot=5, extra="severity=1,slot=5"))


@pytest.mark.parametrize("params", [
    "slot=", "slot=x", "port=;slot=1", "severity=-", "senState=;", "hide=",
    "hide=x", "hide=1;delay=", "hide=1;delay= ;", "slot=+ 1",
    "slot=99999999999999999999", "hide=99999999999999999999",
    "id=X;severity=1;port=u", "hide=-99999999999999999999",
])
def test_a_number_that_does_not_convert(bmc, params):
    """The exception reaches the front end; nothing is written."""
    bmc.start(eventlog())
    assert raise_event(bmc, params) == ("Exception: stoul\n", "", 255)
    assert (journal(bmc), bmc.calls()) == ([], [])


@pytest.mark.parametrize("value, slot", [
    (" 7", 7), ("+7", 7), ("-1", 255), ("-254", 2), ("7x", 7), ("0x7", 0),
    ("007", 7), ("18446744073709551615", 255), ("\t\n7", 7),
])
def test_numbers_with_signs_blanks_and_more(bmc, value, slot):
    """As the standard conversion in base 10 reads them."""
    bmc.start(eventlog())
    wrote(bmc, raise_event(bmc, f"id=X;severity=1;slot={value};x"),
          *storage_records("X", 4, WARM, slot=slot))


class JournalSocket:
    """Takes the journal's place, and gives it back."""

    def __enter__(self):
        os.rename(JOURNAL, JOURNAL + ".away")
        self.socket = socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM)
        self.socket.bind(JOURNAL)
        self.socket.setblocking(False)
        return self

    def __exit__(self, *_error):
        self.socket.close()
        os.rename(JOURNAL + ".away", JOURNAL)

    def fields(self):
        """The names in order and the values of one datagram."""
        names, values = [], {}
        for line in self.socket.recv(65536).decode().splitlines():
            name, _, value = line.partition("=")
            names.append(name)
            values[name] = value
        return names, values


def test_fields_go_out_in_their_order(bmc):
    """The record first, the diagnostic next, and that is all."""
    bmc.start(eventlog())
    with JournalSocket() as taken:
        assert raise_event(bmc, "senState=18;slot=4") == ("", "", 0)
        names, values = taken.fields()
        assert [name for name in names if not name.startswith("CODE_")] == [
            "MESSAGE", "PRIORITY", "REDFISH_MESSAGE_ID",
            "REDFISH_MESSAGE_ARGS", "SYSLOG_IDENTIFIER"]
        assert values["MESSAGE"] == TO_CRITICAL[2]
        assert values["CODE_LINE"] == "464"
        names, values = taken.fields()
        assert values["MESSAGE"] == ("Gen temperature event succeeded: "
                                     "slot=4, prio=2, evt=HRLKDCA0017M")
        assert names[-5:] == ["RSLT", "SLOT", "PRIO", "EVT",
                              "SYSLOG_IDENTIFIER"]
        with pytest.raises(BlockingIOError):
            taken.fields()


@pytest.mark.parametrize("params, kind", [
    ("senState=18;slot=4", "temperature"),
    ("id=X;severity=1;slot=4", "storage"),
    ("link=up;port=1;slot=3;name=LOM1", "link"),
])
def test_a_journal_that_refuses(bmc, params, kind):
    """Its socket has nobody behind it."""
    bmc.start(eventlog())
    with JournalSocket() as taken:
        taken.socket.close()
        assert raise_event(bmc, params, "-a", "1") == (
            f"Failed to generate {kind} event\n"
            "Failed to generate event log\n", "", 255)


def test_a_record_larger_than_a_datagram(bmc):
    """The journal takes it whole."""
    bmc.start(eventlog())
    extra = "n" * 100_000
    wrote(bmc, raise_event(bmc, "id=X;severity=1;slot=2;name=" + extra),
          *storage_records("X", 4, WARM, extra=extra))


def test_a_name_of_several_lines(bmc):
    """Stays one field of one record."""
    bmc.start(eventlog())
    extra = "a\nPRIORITY=0\nb"
    wrote(bmc, raise_event(bmc, "id=X;severity=1;slot=2;name=" + extra),
          *storage_records("X", 4, WARM, extra=extra))


def test_events_need_a_bus_even_for_the_journal(bmc):
    """The connection comes before the operation."""
    result = bmc.run("-o", "event", "-p", "senState=18;slot=4",
                     env={"DBUS_SYSTEM_BUS_ADDRESS": "unix:path=/nowhere",
                          "DBUS_STARTER_ADDRESS": None})
    assert (result.out.startswith("Exception: "), result.err,
            result.status) == (True, "", 255)
    assert journal(bmc) == []


def test_the_event_log_keeps_what_it_is_told(bmc):
    """The simulated service shows its entries as a property."""
    bmc.start(eventlog())
    for port in "12":
        raise_event(bmc, f"link=up;port={port};slot=3", "-a", "1")
    shown = bmc.run("--system", "get-property", EVENTLOG,
                    "/com/mervax/eventlogd/event",
                    "com.mervax.eventlogd.event", "Entries", program="busctl")
    assert shown.out.startswith(
        'a(sa{ss}) 2 "HRLKDEM4028I" 3 "PortNumber" "1" ')
