# SPDX-License-Identifier: Apache-2.0
"""Listing updatable devices and updating their firmware."""

import json
import signal

import pytest

import scenarios as s
from changes import GONE, NO_REPLY, NO_VALUE, NOT_SENT
from expect import ended
from harness import Call, OwnBus

FACE = "com.mervax.Firmware.Device.Updater"
NAME = s.name_of("rsa")
PATH = s.path_of("rsa")
UPDATE = ["-s", "rsa", "-o", "update"]
LIST_CALL = Call(NAME, PATH, FACE, "GetUpdatableDevices", "", [])
ONE_UP = "\x1b[A\x1b[K"
NO_BOOLEAN = NO_VALUE.replace("fundamental", "bool")
MEMBERS = ["ErrorCode", "Progress", "CompletedDeviceCount",
           "TotalDeviceCount", "ElapsedSeconds", "EstimatedRemainingSeconds"]


def device(number):
    return {"PartNumber": f"P{number}", "Name": f"N{number}",
            "Model": f"M{number}", "Identifier": f"I{number}",
            "FirmwareVersion": f"F{number}", "UpdateMethod": f"U{number}",
            "ControllerAddress": 0x8c0000 + number}


def line(number):
    return (f"  P/N: P{number}\n    [N{number}] Model: M{number}, "
            f"ID: I{number}, F/W: F{number}, UpdateMethod: U{number}, "
            f"Controller: {0x8c0000 + number:#x}\n")


def head(group, count):
    return f"Get rsa devices: {count} devices\n{group} devices management " \
           "by rsa\n"


def lister(reply):
    return s.method(NAME, PATH, FACE, "GetUpdatableDevices", reply)


def updater(reply):
    return s.method(NAME, PATH, FACE, "UpdateDevices",
                    {"in": "sssas", **reply})


def update_call(file="/tmp/fw", part="P1"):
    return Call(NAME, PATH, FACE, "UpdateDevices", "sssas",
                ["zantric", file, part, []])


def record(percent, done=0, total=2, error=0, elapsed=1, left=9):
    return dict(zip(MEMBERS, (error, percent, done, total, elapsed, left)))


def tick(content, signature="s", **more):
    """The progress signal; text goes out as it stands."""
    if signature == "s" and not isinstance(content, str):
        content = json.dumps(content)
    return {"path": PATH, "interface": FACE, "signature": signature,
            "member": "DeviceUpdateStatusChanged", "args": [content], **more}


def accepted(*after, before=(), value=True, **more):
    return updater({"out": "b", "return": [value],
                    "signals_before": list(before),
                    "signals_after": list(after), **more})


def at(percent, done=0, total=2, elapsed=1, left=9):
    """The line of such a record."""
    return (f"{ONE_UP}Progress {percent}%, Completed {done}/{total}, Elapsed "
            f"Time(s) = {elapsed}, Estimated Remaining Time(s) = {left}\n")


def update(bmc, *words, **options):
    return bmc.run(*UPDATE, "-f", "/tmp/fw", "-p", "PN=P1", *words, **options)


LAST = tick(record(100, 2))


def test_both_groups_are_listed(bmc):
    """An empty line between them; the service is asked for each."""
    bmc.start(lister({"json": {"Updatable": [device(1), device(2)],
                               "Unupdatable": [device(3)]}}))
    ended(bmc.run(*UPDATE), out=head("Updatable", 2) + line(1) + line(2) +
          "\n" + head("Unupdatable", 1) + line(3))
    assert bmc.calls() == [LIST_CALL, LIST_CALL]


def test_a_listing_has_no_use_for_parameters(bmc):
    """Without a file, -p changes nothing."""
    bmc.start(lister({"json": {}}))
    ended(bmc.run(*UPDATE, "-p", "PN=1"),
          out=head("Updatable", 0) + "\n" + head("Unupdatable", 0))


def test_each_text_ends_at_its_nul(bmc):
    """The part number, too."""
    bmc.start(lister({"json": {"Updatable": [
        {**device(1), "PartNumber": "P1\0x", "Model": "M1\0"}]}}))
    ended(bmc.run(*UPDATE), out=head("Updatable", 1) + line(1) + "\n" +
          head("Unupdatable", 0))


def test_missing_members_are_empty(bmc):
    """Or 0."""
    bmc.start(lister({"json": {"Updatable": [{}]}}))
    ended(bmc.run(*UPDATE), out=head("Updatable", 1) +
          "  P/N: \n    [] Model: , ID: , F/W: , UpdateMethod: , Controller: "
          "0x0\n\n" + head("Unupdatable", 0))


@pytest.mark.parametrize("reply, reason", [
    (s.error(message="Not now."), "Not now.\n"),
    ({"die": True}, "Message recipient disconnected from message bus without "
     "replying\n"),
    ({"silent": True}, NO_REPLY),
    ({"out": "i", "return": [1]}, "sd_bus_message_read_basic string: "
     "System.Error.ENXIO: No such device or address\n"),
    ({"text": "{"}, "[json.exception.parse_error.101] parse error at line 1, "
     "column 2: syntax error while parsing object key - unexpected end of "
     "input; expected string literal\n"),
    ({"text": "[]"}, "[json.exception.type_error.306] cannot use value() with "
     "array\n"),
    ({"json": {"Updatable": {}}}, "[json.exception.type_error.303] "
     "incompatible ReferenceType for get_ref, actual type is object\n"),
    ({"json": {"Updatable": [device(1), 7]}},
     "[json.exception.type_error.306] cannot use value() with number\n"),
    ({"json": {"Updatable": [{"Name": None}]}},
     "[json.exception.type_error.302] type must be string, but is null\n"),
    ({"text": {"times": 100000, "text": "["}},
     "JSON document is nested deeper than 512 levels\n"),
], ids=["error", "die", "silent", "number", "no-json", "array", "group",
        "record", "member", "deep"])
def test_a_listing_that_fails(bmc, reply, reason):
    """Told once, with the reason; the second group is not asked for."""
    bmc.start(lister(reply))
    ended(bmc.run(*UPDATE, env={"SYSTEMD_BUS_TIMEOUT": "200ms"}),
          out="Failed to get device list. " + reason, status=255)
    assert bmc.calls() == [LIST_CALL]


def test_the_second_listing_decides(bmc):
    """The first one stands above its failure."""
    bmc.start(lister({"replies": [{"json": {}}, s.error(message="No.")]}))
    ended(bmc.run(*UPDATE), status=255, out=head("Updatable", 0) +
          "\nFailed to get device list. No.\n")


def test_a_service_must_be_named(bmc):
    """An empty word makes no bus name."""
    bmc.start(lister({"json": {}}))
    reason = ("sd_bus_message_new_method_call: "
              "org.freedesktop.DBus.Error.InvalidArgs: Invalid argument\n")
    ended(bmc.run("-o", "update"), status=255,
          out="Failed to get device list. " + reason)
    ended(bmc.run("-o", "update", "-f", "/tmp/fw", "-p", "PN=1"), status=255,
          out="Update Device: " + reason)


@pytest.mark.parametrize("file", [
    "fw.bin", "/tmp/fw.bin", "/tmp/_x.bin", "A_1.bin", "/tmp_1/x.bin"])
def test_a_file_name_without_a_part_number(bmc, file):
    """Nothing is called."""
    bmc.start(accepted(LAST))
    ended(bmc.run(*UPDATE, "-f", file),
          out="File or parameters not specified\n", status=255)
    assert bmc.calls() == []


@pytest.mark.parametrize("file, part", [
    ("/tmp/ABC123_v1.bin", "ABC123"), ("./A_B_v1.bin", "A_B")])
def test_a_file_name_tells_the_part_number(bmc, file, part):
    """It is printed on a line of its own."""
    bmc.start(accepted(LAST))
    ended(bmc.run(*UPDATE, "-f", file), out=f"PN={part}\n" + at(100, 2))
    assert bmc.calls() == [update_call(file, part)]


@pytest.mark.parametrize("params", ["pn=123", "P1", "PN"])
def test_parameters_without_a_part_number(bmc, params):
    """Nothing is called."""
    bmc.start(accepted(LAST))
    ended(bmc.run(*UPDATE, "-f", "/tmp/A_1", "-p", params),
          out=f"Invalid params: {params}\n", status=255)
    assert bmc.calls() == []


@pytest.mark.parametrize("params, part", [
    ("PN=P1", "P1"), ("x=1,PN=a,b", "a,b"), ("PN=", ""), ("PN=PN=1", "PN=1")])
def test_the_part_number_is_all_behind_its_key(bmc, params, part):
    """And the file is sent as it was given."""
    bmc.start(accepted(LAST))
    ended(bmc.run(*UPDATE, "-f", "fw", "-p", params), out=at(100, 2))
    assert bmc.calls() == [update_call("fw", part)]


@pytest.mark.parametrize("reply, message", [
    (s.error(message="Busy."), "Dbus method failed. Busy.\n"),
    ({"die": True}, "Dbus method failed. Message recipient disconnected from "
     "message bus without replying\n"),
    ({"out": "b", "return": [False]}, "Failed to initiate device update\n"),
    ({"silent": True}, "Update Device: " + NO_REPLY),
    ({"out": "i", "return": [1]}, "Update Device: " + NO_BOOLEAN),
    ({"return": []}, "Update Device: " + NO_BOOLEAN),
], ids=["error", "die", "refused", "silent", "number", "nothing"])
def test_an_update_that_does_not_start(bmc, reply, message):
    """It is asked for once and not waited for."""
    bmc.start(updater(reply))
    ended(update(bmc, env={"SYSTEMD_BUS_TIMEOUT": "200ms"}), out=message,
          status=255)
    assert bmc.calls() == [update_call()]


@pytest.mark.parametrize("scenario", [
    accepted(before=[LAST]), accepted(LAST),
    accepted({**LAST, "delay_ms": 300})], ids=["before", "behind", "late"])
def test_the_signal_ends_the_run_whenever_it_comes(bmc, scenario):
    """Before the reply, right behind it, or long after."""
    bmc.start(scenario)
    ended(update(bmc), out=at(100, 2))
    assert bmc.calls() == [update_call()]


def test_each_percentage_takes_the_place_of_the_line_above(bmc):
    """The first one that of the preparations."""
    bmc.start(accepted(
        tick(record(0)), tick(record(0)), tick(record(1)),
        tick(record(50, 1, elapsed=5, left=6)), tick(record(100, 2))))
    ended(update(bmc), out="Preparing...\nPreparing...\n" + at(1) +
          at(50, 1, elapsed=5, left=6) + at(100, 2))


@pytest.mark.parametrize("last, out", [
    (record(50, 2), at(50, 2)),
    (record(100, 1), at(100, 1)),
    (record(101, 1), at(101, 1)),
    (record(0, 2), "Preparing...\n"),
], ids=["all-done", "percent", "more", "nothing-to-do"])
def test_an_update_is_over(bmc, last, out):
    """At a hundred percent, or when every device is done."""
    bmc.start(accepted(tick(last), tick(record(7))))
    ended(update(bmc), out=out)


@pytest.mark.parametrize("percent, code, shown", [
    (100, 1, "0x1"), (60, 0x1f, "0x1f"), (0, 4294967295, "0xffffffff"),
    (10, -5, "0xfffffffb")])
def test_an_update_fails(bmc, percent, code, shown):
    """Whatever else the record says."""
    bmc.start(accepted(tick(record(percent, 1, error=code))))
    ended(update(bmc), status=255,
          out=f"Update failed, rc = {shown}. Updated 1/2 devices\n")


def without(member):
    return {name: 1 for name in MEMBERS if name != member}


@pytest.mark.parametrize("member", MEMBERS)
def test_a_record_that_lacks_a_member(bmc, member):
    """It is told and ignored."""
    bmc.start(accepted(tick(without(member)), LAST))
    ended(update(bmc),
          out=f"Update signal data has no {member}\n" + at(100, 2))


@pytest.mark.parametrize("member", MEMBERS)
@pytest.mark.parametrize("value, kind", [
    ("1", "string"), (True, "boolean"), (None, "null"), ([1], "array")])
def test_a_member_that_is_no_number(bmc, member, value, kind):
    """It is told and ignored."""
    bmc.start(accepted(tick({**without(None), member: value}), LAST))
    ended(update(bmc), out="F/W update callback: "
          "[json.exception.type_error.302] type must be number, but is "
          f"{kind}\n" + at(100, 2))


def with_number(content, member, number):
    """The record with a number as it is written."""
    return json.dumps({**content, member: "@"}).replace('"@"', number)


@pytest.mark.parametrize("number, shown", [
    ("-1", 4294967295), ("4294967298", 2), ("-9223372036854775807", 1),
    ("18446744073709551615", 4294967295), ("-0.5", 0), ("-7e9", 0),
    ("9.9", 9), ("7e9", 4294967295), ("18446744073709551616", 4294967295),
    ("1e400", 4294967295), ("-1e400", 0), ("9" * 400, 4294967295)])
def test_a_signal_counts_whatever_the_size_of_its_numbers(bmc, number, shown):
    """An integer is cut to its low 32 bits, a floating number becomes the
    nearest end; the last signal of an update ends it all the same."""
    content = with_number(record(100, 2), "EstimatedRemainingSeconds", number)
    bmc.start(accepted(tick(content)))
    ended(update(bmc), out=at(100, 2, left=shown))


def test_an_error_counts_whatever_the_size_of_other_numbers(bmc):
    """A failure is reported, with the bits of its own code."""
    content = {**record(5, elapsed=-1), "ErrorCode": -7, "Note": "1e400\\\""}
    bmc.start(accepted(tick(with_number(content, "Progress", "1E+400"))))
    ended(update(bmc), out="Update failed, rc = 0xfffffff9. Updated 0/2 "
          "devices\n", status=255)


@pytest.mark.parametrize("bad, message", [
    (tick(""), "[json.exception.parse_error.101] parse error at line 1, "
     "column 1: syntax error while parsing value - unexpected end of input; "
     "expected '[', '{', or a literal"),
    (tick("[" * 100000), "JSON document is nested deeper than 512 levels"),
    (tick('[1e999,"a"1e99999]'), "[json.exception.parse_error.101] parse error "
     "at line 1, column 15: syntax error while parsing array - unexpected "
     "number literal; expected ']'"),
    (tick(1, signature="u"), "sd_bus_message_read_basic string: "
     "System.Error.ENXIO: No such device or address"),
], ids=["empty", "deep", "huge", "number"])
def test_a_signal_that_cannot_be_read(bmc, bad, message):
    """It is told and ignored."""
    bmc.start(accepted(bad, LAST, before=[bad]))
    ended(update(bmc), out=f"F/W update callback: {message}\n" * 2 +
          at(100, 2))


def test_a_record_that_is_no_object(bmc):
    """It lacks the first member."""
    bmc.start(accepted(tick("[]"), tick("7"), LAST))
    ended(update(bmc),
          out="Update signal data has no ErrorCode\n" * 2 + at(100, 2))


def test_progress_is_written_as_it_comes(bmc):
    """A reader of the pipe sees a line while the update goes on; SIGTERM ends
    it then as it ends any program."""
    bmc.start(accepted(tick(record(0))))
    session = bmc.spawn(*UPDATE, "-f", "/tmp/fw", "-p", "PN=P1")
    assert session.read_until("\n") == "Preparing...\n"
    session.signal(signal.SIGTERM)
    ended(session.end(), out="Preparing...\n", status=-signal.SIGTERM)


def test_an_interrupt_ends_the_update_at_once(bmc):
    """As it ends any program."""
    bmc.start(accepted(tick(record(5))))
    session = bmc.spawn(*UPDATE, "-f", "/tmp/fw", "-p", "PN=P1")
    session.read_until("\n")
    session.signal(signal.SIGINT)
    ended(session.end(), out=at(5), status=-signal.SIGINT)


def test_a_service_that_dies_in_the_wait(bmc):
    """The wait goes on until somebody reports the end."""
    bmc.start(accepted(tick(record(5)), die_after_ms=0))
    session = bmc.spawn(*UPDATE, "-f", "/tmp/fw", "-p", "PN=P1")
    session.read_until("\n")
    bmc.run("--system", "emit", PATH, FACE, "DeviceUpdateStatusChanged", "s",
            json.dumps(record(100, 2)), program="busctl")
    ended(session.end(), out=at(5) + at(100, 2))


def test_a_bus_that_dies_in_the_wait(bmc):
    """The run ends and says why."""
    bus = OwnBus(bmc.folder)
    try:
        bmc.start(accepted(tick(record(5))), bus=bus.address)
        session = bmc.spawn(*UPDATE, "-f", "/tmp/fw", "-p", "PN=P1",
                            env=bus.environment)
        session.read_until("\n")
    finally:
        bus.kill()
    ended(session.end(), status=255, out=at(5) + "Exception: " + GONE)


def simulated(**settings):
    """Two devices of one part number, and one of another."""
    return s.service(NAME, models=[{
        "model": "firmware", "path": PATH, "duration_ms": 100, **settings,
        "Updatable": [{**device(1), "PartNumber": part}
                      for part in ("P1", "P1", "P2")]}])


def simulated_update(bmc, **settings):
    """An update of the simulated devices from a file that is there."""
    file = bmc.folder / "P1_7.8.bin"
    file.write_text("firmware")
    bmc.start(simulated(**settings))
    return bmc.run(*UPDATE, "-f", str(file))


def test_the_simulated_service_updates_its_devices(bmc):
    """With progress, and the new version in the next listing."""
    result = simulated_update(bmc)
    lines = result.out.split("\n")
    assert lines[:2] == ["PN=P1", "Preparing..."]
    assert lines[-2].startswith(ONE_UP + "Progress 100%, Completed 2/2, ")
    assert len(lines) == 2 + 20 + 1
    assert (result.err, result.status) == ("", 0)
    versions = [line.split("F/W: ")[1].split(",")[0]
                for line in bmc.run(*UPDATE).out.split("\n") if "F/W" in line]
    assert versions == ["7.8", "7.8", "F1"]


@pytest.mark.parametrize("settings, last, status", [
    ({"fail_at": 60, "error_code": 5},
     "Update failed, rc = 0x5. Updated 1/2 devices", 255),
    ({"finish_at": 60}, ONE_UP + "Progress 60%, Completed 2/2, Elapsed "
     "Time(s) = 0, Estimated Remaining Time(s) = 1", 0),
    ({"malformed": True}, ONE_UP + "Progress 100%, Completed 2/2, Elapsed "
     "Time(s) = 0, Estimated Remaining Time(s) = 0", 0),
], ids=["fails", "early", "malformed"])
def test_the_simulated_service_ends_otherwise(bmc, settings, last, status):
    """As the scenario says."""
    result = simulated_update(bmc, **settings)
    assert (result.out.split("\n")[-2], result.status) == (last, status)


def test_the_simulated_service_talks_nonsense(bmc):
    """Each piece of it is told; the update goes on."""
    result = simulated_update(bmc, malformed=True)
    told = [line for line in result.out.split("\n")
            if "F/W update callback: " in line or "has no" in line]
    # Five pieces before each of the twenty-one reports, each told in a line.
    assert len(told) == 5 * 21
    assert result.status == 0


def test_the_simulated_service_refuses(bmc):
    """A file that is not there, and a part that it does not have."""
    bmc.start(simulated())
    for words in (["-f", "/none/P1_1.bin", "-p", "PN=P1"],
                  ["-f", "/dev/null", "-p", "PN=P3"]):
        ended(bmc.run(*UPDATE, *words),
              out="Failed to initiate device update\n", status=255)


@pytest.mark.parametrize("words", [
    ["-f", b"/tmp/\xff_fw", "-p", "PN=P1"],
    ["-f", "/tmp/fw", "-p", b"PN=\xff"],
], ids=["file", "part number"])
def test_an_update_with_what_is_no_text(bmc, words):
    """The part number must not take the file's place."""
    bmc.start(accepted(LAST))
    ended(bmc.run(*UPDATE, *words), status=255,
          out=f"Update Device: {NOT_SENT}")
    assert bmc.calls() == []
