# SPDX-License-Identifier: Apache-2.0
"""The hidden log: its entries, its sequence file, its delay."""

import fcntl
import json
import os
import signal
import subprocess
import time

import pytest

import scenarios as s
from harness import IN_OPEN, Watch, sim_env
from io_cases import (HDR, SEQUENCES, SOON, committed, eventlog, fill_up,
                      fresh_pstorage, mount_small, wait_armed)

LOAD = f"[ERR] hiddenLogForChange, load {SEQUENCES} failed. "
GENERATE = "[ERR] Generate hidden log of type {}. "
EMPTY = ("[json.exception.parse_error.101] parse error at line 1, column 1: "
         "syntax error while parsing value - unexpected end of input; "
         "expected '[', '{', or a literal")


@pytest.fixture(autouse=True)
def pstorage():
    """An empty folder before each case, and no mount of its own after it."""
    fresh_pstorage()
    yield
    fresh_pstorage()


def hide(bmc, params="hide=2", **options):
    return bmc.run("-o", "event", "-p", params, **options)


def entry(number, name="PCI"):
    """What the event log service gets."""
    return ("HRLKDDM4010I", [("InventoryType", name + " Inventory"),
                             ("SequenceNumber", str(number))])


def good(bmc, content, *numbers):
    """Quiet so far; the file and the entries are these."""
    assert bmc.messages() == []
    assert SEQUENCES.read_text() == content
    assert committed(bmc) == [entry(number) for number in numbers]


def started_over(bmc, result, why):
    """A file that could not be used counts as none; the journal says why."""
    assert result == ("", "", 0)
    (priority, message), = bmc.messages()
    assert priority == 3
    if isinstance(message, list):
        # A message that is no printable text is listed byte by byte.
        message = bytes(message).decode(errors="replace")
    assert message.startswith(LOAD)
    assert why in message
    assert committed(bmc) == [entry(1)]


@pytest.mark.parametrize("kind, name", [(1, "System"), (2, "PCI"),
                                        (3, "Storage subsystem")])
def test_without_a_sequence_file(bmc, kind, name):
    """Each class starts at 1, in a file of its own making."""
    bmc.start(eventlog())
    assert hide(bmc, f"hide={kind}") == ("", "", 0)
    assert SEQUENCES.read_text() == '{"%s":1}' % name
    assert committed(bmc) == [entry(1, name)]
    assert bmc.messages() == []


def test_the_number_after_seven_is_eight(bmc):
    """In the entry and in the file."""
    SEQUENCES.write_text('{"PCI": 7}')
    bmc.start(eventlog())
    assert hide(bmc) == ("", "", 0)
    good(bmc, '{"PCI":8}', 8)


def test_each_class_counts_for_itself(bmc):
    """What else is in the file stays."""
    SEQUENCES.write_text('{"other": [1, {"a": null}], "System": 41,\n'
                         ' "PCI": 7}')
    bmc.start(eventlog())
    hide(bmc)
    hide(bmc)
    good(bmc, '{"PCI":9,"System":41,"other":[1,{"a":null}]}', 8, 9)


@pytest.mark.parametrize("value", ['"7"', "-7", "7.0", "null", "true", "[7]",
                                   '{"PCI":7}', "18446744073709551616"])
def test_a_value_that_is_no_unsigned_integer(bmc, value):
    """A string and others: the entry carries 1."""
    SEQUENCES.write_text('{"PCI":%s}' % value)
    bmc.start(eventlog())
    assert hide(bmc) == ("", "", 0)
    good(bmc, '{"PCI":1}', 1)


def test_a_number_beyond_32_bits_goes_on(bmc):
    """The largest has none behind it, so the class starts over."""
    SEQUENCES.write_text('{"PCI":18446744073709551614}')
    bmc.start(eventlog())
    hide(bmc)
    hide(bmc)
    good(bmc, '{"PCI":1}', 18446744073709551615, 1)


@pytest.mark.parametrize("text", ["[]", '["PCI", 7]', "7", '"PCI"', "false",
                                  "null", "{}"])
def test_a_document_that_is_no_object(bmc, text):
    """An array and others are replaced by an object with the one member."""
    SEQUENCES.write_text(text)
    bmc.start(eventlog())
    assert hide(bmc) == ("", "", 0)
    good(bmc, '{"PCI":1}', 1)


@pytest.mark.parametrize("kind", [0, 4, 255, 4294967295, 4294967296, -1])
def test_an_unknown_class_writes_nothing(bmc, kind):
    """Type 4 and others: no entry, no file, no word."""
    bmc.start(eventlog())
    assert hide(bmc, f"hide={kind}") == ("", "", 0)
    assert (bmc.messages(), bmc.calls(), SEQUENCES.exists()) == ([], [], False)


def test_the_class_keeps_its_low_32_bits(bmc):
    """4294967298 is 2."""
    bmc.start(eventlog())
    hide(bmc, "hide=4294967298;delay=4294967296")
    good(bmc, '{"PCI":1}', 1)


def test_hide_ignores_every_other_key(bmc):
    """Even one that would not convert."""
    bmc.start(eventlog())
    assert hide(bmc, "slot=x;senState=18;id=X;severity=1;link=up;hide=2"
                ) == ("", "", 0)
    good(bmc, '{"PCI":1}', 1)


@pytest.mark.parametrize("text, why", [
    ("", EMPTY), ("{", "parse_error.101"), ("{'PCI':7}", "parse_error.101"),
    ("\udcff", "parse_error.101"), ('{"PCI":"\udcff"}', "parse_error.101"),
    ("[" * 100_000, "deeper than 64 levels"),
    ('{"a":' * 65 + "1" + "}" * 65, "deeper than 64 levels"),
    ('{"PCI":7,"a":"' + "x" * (1 << 20) + '"}', "larger than 1 MiB"),
], ids=["empty", "cut", "quotes", "bytes", "text", "open", "deep", "huge"])
def test_a_file_that_cannot_be_read(bmc, text, why):
    """The count starts over in a file that is whole again."""
    SEQUENCES.write_bytes(text.encode(errors="surrogateescape"))
    bmc.start(eventlog())
    started_over(bmc, hide(bmc), why)
    assert SEQUENCES.read_text() == '{"PCI":1}'


def not_written(bmc, result, kind=2):
    """No entry without a number that is kept; the reason."""
    assert result == ("", "", 0)
    assert bmc.calls() == []
    priority, message = bmc.messages()[-1]
    assert priority == 3
    assert message.startswith(GENERATE.format(kind))
    return message[len(GENERATE.format(kind)):]


def test_a_directory_in_its_place(bmc):
    """Can be neither read nor written."""
    SEQUENCES.mkdir()
    bmc.start(eventlog())
    assert not_written(bmc, hide(bmc)) == "open: Is a directory"
    assert bmc.messages()[0] == (3, LOAD + "not a regular file")
    assert len(bmc.messages()) == 2
    assert SEQUENCES.is_dir()


def test_a_pipe_in_its_place(bmc):
    """Nobody waits for its other end."""
    os.mkfifo(SEQUENCES)
    bmc.start(eventlog())
    assert not_written(bmc, hide(bmc)) == "open: No such device or address"
    assert bmc.messages()[0] == (3, LOAD + "not a regular file")


def test_a_link_leads_to_the_file(bmc):
    """It stays a link."""
    target = HDR.parent / "elsewhere.json"
    target.write_text('{"PCI":7}')
    SEQUENCES.symlink_to(target)
    bmc.start(eventlog())
    hide(bmc)
    good(bmc, '{"PCI":8}', 8)
    assert SEQUENCES.is_symlink()
    target.unlink()


def test_a_link_to_nowhere(bmc):
    """Counts as no file, which comes into being behind it."""
    target = HDR.parent / "elsewhere.json"
    SEQUENCES.symlink_to(target)
    bmc.start(eventlog())
    hide(bmc)
    good(bmc, '{"PCI":1}', 1)
    assert target.is_file()
    target.unlink()


def test_a_link_to_itself(bmc):
    """Leads to no file at all."""
    SEQUENCES.symlink_to(SEQUENCES)
    bmc.start(eventlog())
    why = "open: Too many levels of symbolic links"
    assert not_written(bmc, hide(bmc)) == why
    assert bmc.messages()[0] == (3, LOAD + why)


def test_no_folder_for_it(bmc):
    """Nothing makes one."""
    HDR.rmdir()
    bmc.start(eventlog())
    assert not_written(bmc, hide(bmc)) == "open: No such file or directory"
    assert len(bmc.messages()) == 1
    assert not HDR.exists()


def test_a_read_only_folder(bmc):
    """The file stays as it was."""
    mount_small(4)
    SEQUENCES.write_text('{"PCI":7}')
    subprocess.run(["mount", "-o", "remount,ro", HDR], check=True)
    bmc.start(eventlog())
    assert not_written(bmc, hide(bmc)) == "open: Read-only file system"
    assert len(bmc.messages()) == 1
    assert SEQUENCES.read_text() == '{"PCI":7}'


def left():
    """What is in the folder, but for what fills the disk."""
    return sorted(item.name for item in HDR.iterdir()
                  if item.name != "filler")


def test_a_full_disk_without_a_file(bmc):
    """Nothing is left; the next run starts as if there had been none."""
    mount_small(2)
    fill_up()
    bmc.start(eventlog())
    assert not_written(bmc, hide(bmc)) == "write: No space left on device"
    assert len(bmc.messages()) == 1
    assert left() == []
    (HDR / "filler").unlink()
    hide(bmc)
    assert len(bmc.messages()) == 1
    assert SEQUENCES.read_text() == '{"PCI":1}'
    assert committed(bmc) == [entry(1)]


def test_a_full_disk_with_a_file(bmc):
    """The old numbers stay, and the count goes on when there is room."""
    mount_small(2)
    SEQUENCES.write_text('{"PCI":7,"System":3}')
    fill_up()
    bmc.start(eventlog())
    assert not_written(bmc, hide(bmc)) == "write: No space left on device"
    assert len(bmc.messages()) == 1
    assert SEQUENCES.read_text() == '{"PCI":7,"System":3}'
    assert left() == [SEQUENCES.name]
    (HDR / "filler").unlink()
    hide(bmc)
    assert len(bmc.messages()) == 1
    assert SEQUENCES.read_text() == '{"PCI":8,"System":3}'
    assert committed(bmc) == [entry(8)]


def test_a_disk_that_fills_up_in_the_middle(bmc):
    """Room for a page of the new text only: the old text stays."""
    page = os.sysconf("SC_PAGESIZE")
    mount_small(3)
    text = '{"A":"%s","PCI":9}' % ("a" * page)
    SEQUENCES.write_text(text)
    bmc.start(eventlog())
    assert not_written(bmc, hide(bmc)) == "write: No space left on device"
    assert SEQUENCES.read_text() == text
    assert left() == [SEQUENCES.name]


def together(bmc, count):
    """That many events at once; each must end well."""
    sessions = [bmc.spawn("-o", "event", "-p", "hide=2")
                for _ in range(count)]
    assert [session.end(60) for session in sessions] == \
        [("", "", 0)] * count


def test_sixteen_at_once_have_a_number_each(bmc):
    """No number twice, none left out, and what else is there stays. There is
    much of it, so that each run takes its time from reading to writing."""
    rest = {"System": 3, "other": list(range(100_000))}
    SEQUENCES.write_text(json.dumps({"PCI": 7, **rest}))
    bmc.start(eventlog())
    together(bmc, 16)
    together(bmc, 16)
    assert bmc.messages() == []
    numbers = [int(arguments[1][1]) for _, arguments in committed(bmc)]
    assert sorted(numbers) == list(range(8, 40))
    assert json.loads(SEQUENCES.read_text()) == {"PCI": 39, **rest}
    assert left() == [SEQUENCES.name]


def test_sixteen_at_once_on_a_full_disk(bmc):
    """None is handed over, and the numbers stay."""
    mount_small(2)
    SEQUENCES.write_text('{"PCI":7}')
    fill_up()
    bmc.start(eventlog())
    together(bmc, 16)
    assert [message for _, message in bmc.messages()] == \
        [GENERATE.format(2) + "write: No space left on device"] * 16
    assert bmc.calls() == []
    assert SEQUENCES.read_text() == '{"PCI":7}'
    assert left() == [SEQUENCES.name]


def test_what_a_crash_left_is_taken_over(bmc):
    """A text that was being written does not count and does not stay."""
    SEQUENCES.write_text('{"PCI":7}')
    (HDR / "invseq.json.new").write_text('{"PCI":8,"System"')
    bmc.start(eventlog())
    assert hide(bmc) == ("", "", 0)
    good(bmc, '{"PCI":8}', 8)
    assert left() == [SEQUENCES.name]


def test_a_run_waits_for_the_turn_of_another(bmc):
    """As long as that one has the lock."""
    SEQUENCES.write_text('{"PCI":7}')
    bmc.start(eventlog())
    with open(HDR / "invseq.json.new", "w", encoding="ascii") as other:
        fcntl.flock(other, fcntl.LOCK_EX)
        watch = Watch(other.name, IN_OPEN)
        session = bmc.spawn("-o", "event", "-p", "hide=2")
        watch.wait(session.patience())
        watch.close()
        assert session.process.poll() is None
        assert bmc.calls() == []
        SEQUENCES.write_text('{"PCI":41}')
    assert session.end() == ("", "", 0)
    good(bmc, '{"PCI":42}', 42)


def test_the_file_keeps_its_mode_and_its_owner(bmc):
    """Though it is a new one each time."""
    bmc.start(eventlog())
    hide(bmc)
    assert SEQUENCES.stat().st_mode & 0o7777 == 0o644
    SEQUENCES.chmod(0o640)
    os.chown(SEQUENCES, 0, 12)
    hide(bmc)
    status = SEQUENCES.stat()
    assert (status.st_mode & 0o7777, status.st_uid, status.st_gid) == \
        (0o640, 0, 12)
    good(bmc, '{"PCI":2}', 1, 2)


def test_an_entry_that_is_refused_has_used_its_number(bmc):
    """The file is written before the call."""
    SEQUENCES.write_text('{"PCI":7}')
    bmc.start(s.merge(eventlog(), s.fault("swlogCommit", {"replies": [
        s.error(), {"pass": True}]})))
    assert hide(bmc) == ("", "", 0)
    assert bmc.messages() == [(3, "[ERR] Failed to generate hidden log of "
                                  "type 2")]
    assert SEQUENCES.read_text() == '{"PCI":8}'
    hide(bmc)
    assert committed(bmc) == [entry(8), entry(9)]


def test_no_event_log_service(bmc):
    """The bus answers in its place."""
    bmc.start({"services": {}})
    assert hide(bmc, "hide=3") == ("", "", 0)
    assert bmc.messages() == [(3, "[ERR] Failed to generate hidden log of "
                                  "type 3")]
    assert SEQUENCES.read_text() == '{"Storage subsystem":1}'


def test_an_event_log_that_is_silent(bmc):
    """No answer is an exception."""
    bmc.start(s.merge(eventlog(), s.fault("swlogCommit", {"silent": True})))
    assert hide(bmc, env=SOON) == ("", "", 0)
    assert bmc.messages() == [(3, GENERATE.format(2) + "sd_bus_call: org."
                               "freedesktop.DBus.Error.Timeout: Connection "
                               "timed out")]
    assert SEQUENCES.read_text() == '{"PCI":1}'


def test_an_event_log_that_dies(bmc):
    """In the middle of the call."""
    bmc.start(s.merge(eventlog(), s.fault("swlogCommit", {"die": True})))
    assert hide(bmc) == ("", "", 0)
    (priority, message), = bmc.messages()
    assert (priority, "hidden log of type 2" in message) == (3, True)
    assert SEQUENCES.read_text() == '{"PCI":1}'


def test_a_delay_of_three_seconds(bmc):
    """Ends by itself 3 to 4 seconds after its start, with the entry and the
    file written; neither is there before."""
    bmc.start(eventlog())
    start = time.monotonic()
    session = bmc.spawn("-o", "event", "-p", "hide=2;delay=3")
    wait_armed(session)
    assert (bmc.calls(), SEQUENCES.exists()) == ([], False)
    assert session.end() == ("", "", 0)
    assert 3 <= time.monotonic() - start < 4
    good(bmc, '{"PCI":1}', 1)


def test_a_delayed_unknown_class(bmc):
    """Waits, and writes nothing."""
    bmc.start(eventlog())
    assert hide(bmc, "hide=4;delay=1") == ("", "", 0)
    assert (bmc.messages(), bmc.calls(), SEQUENCES.exists()) == ([], [], False)


@pytest.mark.parametrize("number", [signal.SIGTERM, signal.SIGINT])
def test_a_signal_during_the_delay(bmc, number):
    """Leaves the sequence file as it was, and no entry."""
    SEQUENCES.write_text('{"PCI": 7}')
    bmc.start(eventlog())
    session = bmc.spawn("-o", "event", "-p", "hide=2;delay=4294967295")
    wait_armed(session)
    session.signal(number)
    assert session.end() == ("", "", -number)
    assert SEQUENCES.read_text() == '{"PCI": 7}'
    assert (bmc.calls(), bmc.messages()) == ([], [])


def private_bus(folder):
    """A bus of this case alone, and where it listens."""
    address = f"unix:path={folder}/bus"
    reader, writer = os.pipe()
    bus = sim_env.start_process(
        ["dbus-daemon", "--session", "--nofork", "--nopidfile",
         "--address=" + address, f"--print-address={writer}"],
        "dbus-daemon", pass_fds=[writer], stdout=subprocess.DEVNULL,
        stderr=subprocess.DEVNULL)
    os.close(writer)
    with open(reader, encoding="ascii") as told:
        assert told.readline()
    return bus, address


def test_a_bus_that_goes_during_the_delay(bmc, tmp_path):
    """The wait ends with it, and not as a success."""
    bus, address = private_bus(tmp_path)
    session = bmc.spawn("-o", "event", "-p", "hide=2;delay=4294967295",
                        env={"DBUS_SYSTEM_BUS_ADDRESS": address,
                             "DBUS_STARTER_ADDRESS": address})
    wait_armed(session)
    sim_env.stop_process(bus)
    result = session.end()
    assert (result.out.startswith("Exception: "), result.status) == (True, 255)
    assert not SEQUENCES.exists()
