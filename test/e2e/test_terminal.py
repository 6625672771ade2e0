# SPDX-License-Identifier: Apache-2.0
"""What a terminal gets of text that others wrote, and what a pipe gets."""

import os
import pty
import select
import subprocess
import tty

import pytest

import scenarios as s
from expect import usage
from harness import TIMEOUT, Patience, environment
from test_firmware import (LAST, UPDATE, accepted, at, device, head, lister,
                           record, tick)

# Sets the window's title and clears the screen; DEL; C1 as a character; a
# line of its own. The accented letter has a byte of C1 in it.
FOREIGN = "a\x1b]0;pwned\x07\x1b[2J\x7f\u009b31m\ne\u011b"
SHOWN = "a?]0;pwned??[2J??31m?e\u011b"
LIST = ["-o", "list", "-s", "rsa", "-a", "0x8c0000"]


def on_terminal(*words, stream="stdout"):
    """Runs with a terminal for that stream: what it got, and the status."""
    master, slave = pty.openpty()
    tty.setraw(slave)  # bytes come as they are written
    other = {"stdout": "stderr", "stderr": "stdout"}[stream]
    with subprocess.Popen(
            [os.environ["ZANTRIC"], *words],
            stdin=subprocess.DEVNULL, env=environment(),
            **{stream: slave, other: subprocess.DEVNULL}) as process:
        os.close(slave)
        got = b""
        patience = Patience(TIMEOUT, process)
        try:
            while step := patience.step():
                if select.select([master], [], [], step)[0]:
                    got += os.read(master, 65536)
            process.kill()
        except OSError:
            pass  # nobody has the other end any more
        finally:
            os.close(master)
    return got.decode("utf-8", "surrogateescape"), process.returncode


def test_a_listing(bmc):
    """Lines end where the tool ends them, and only there."""
    bmc.start(s.listing("rsa", "GetVolumes", {"Volumes": [
        {"Name": FOREIGN, "RAIDType": "\r\b\t"}]}))
    plain = "  {}, ResId 0, {}, 0.00GiB; StripSize=0KB, , , WtCacheState=\n"
    words = [*LIST, "-t", "Volumes"]
    assert on_terminal(*words) == (plain.format(SHOWN, "???"), 0)
    assert bmc.run(*words) == (plain.format(FOREIGN, "\r\b\t"), "", 0)


def test_headers_of_several_services(bmc):
    """Each but the first follows an empty line."""
    bmc.start(s.merge(s.storage("rsa", {}), s.storage("lsa", {})))
    assert on_terminal("-o", "list", "-t", "Volumes") == (
        "rsa: 0 Volumes\n\nlsa: 0 Volumes\n", 0)


def test_the_pcie_listing(bmc):
    """Its header, the device, its parts, its ports."""
    bmc.start(s.server(s.power("x." + FOREIGN), s.pcie("rsa", {
        "PCIeDevice": {"Name": FOREIGN, "PartNumber": FOREIGN},
        "Ports": [{"Id": FOREIGN, "LinkStatus": "Up"}]})))
    got, status = on_terminal()
    lines = got.split("\n")
    assert lines[0].startswith(f"Power: {SHOWN};  Boot Progress: ")
    assert lines[1:] == [
        f"Onboard 00, Addr 0x00000000, [0000 0000 0000 0000], rsa, {SHOWN}, "
        "EID(0x00)",
        f"            P/N: {SHOWN};  SKU: ;  S/N: ;  Manufacture: ",
        f"            [Port {SHOWN}]  ;  State:       Up;  Speed(Gbps): 0.0",
        ""]
    assert status == 0
    assert FOREIGN in bmc.run().out


@pytest.mark.parametrize("stray", ["\udc9b", "\udce0\udc82\udc9b"])
def test_a_byte_that_is_no_text(bmc, stray):
    """From the command line; a byte of C1 is none of a character's."""
    shown = stray.replace("\udc9b", "?").replace("\udc82", "?")
    message = "Unknown operation: x{}\n"
    bmc.start(s.server())
    assert on_terminal("-o", "x" + stray) == (message.format(shown), 255)
    assert bmc.run("-o", "x" + stray) == (message.format(stray), "", 255)


def test_a_document(bmc):
    """Keys stand as they are, in values JSON escapes C0 only."""
    bmc.start(s.listing("rsa", "GetVolumes", {"Volumes": [
        {FOREIGN: {FOREIGN: "\x1b\x7f\u009b"}}]}))
    words = ["-o", "show", *LIST[2:], "-t", "Volumes"]
    pipe = bmc.run(*words)
    assert pipe.out.count(FOREIGN) == 2
    assert '"\\u001b\x7f\u009b" (string)' in pipe.out
    # What is shown of a key is shorter, but it is filled up as it was sent.
    assert on_terminal(*words) == (
        pipe.out.replace(FOREIGN, SHOWN).replace("\x7f\u009b", "??"), 0)


@pytest.mark.parametrize("words, said", [
    (["-o", "#\x1b[2J"], "Unknown action: #?[2J\n"),
    (["-o", "show", "-s", "rsa", "-a", "1", "-t", "\x1b[2J"],
     "Unknown target: ?[2J\n"),
    (["\x1b[2J\n"], "Unexpected argument: ?[2J?\n"),
    (["-o", "list", "-t", "\n"], "Unsupported target ?\n"),
])
def test_words_of_the_command_line(bmc, words, said):
    """A script may have them from elsewhere."""
    bmc.start(s.server())
    assert on_terminal(*words) == (said, 255)


def test_the_text_of_an_error(bmc):
    """As a service words it, in one line."""
    bmc.start(lister(s.error(message=FOREIGN)))
    assert on_terminal(*UPDATE) == (
        f"Failed to get device list. {SHOWN}\n", 255)


def test_the_usage_text_is_the_tools_own(bmc):
    """Carriage returns and all."""
    bmc.start(s.server())
    assert on_terminal("-h") == (usage(), 0)


def test_the_list_of_updatable_devices(bmc):
    """Its part numbers, too."""
    bmc.start(lister({"json": {"Updatable": [
        {**device(1), "PartNumber": FOREIGN}]}}))
    got, status = on_terminal(*UPDATE)
    assert got.startswith(head("Updatable", 1) + f"  P/N: {SHOWN}\n    [N1] ")
    assert status == 0


def test_the_progress_line_takes_the_place_of_the_one_above(bmc):
    """With the tool's own control sequences."""
    bmc.start(accepted(tick(record(0)), tick("\x1b"), tick(record(50, 1)),
                       LAST))
    got, status = on_terminal(*UPDATE, "-f", "/tmp/fw", "-p", "PN=P1")
    assert got.startswith("Preparing...\nF/W update callback: ")
    assert got.endswith("\n" + at(50, 1) + at(100, 2))
    assert "\x1b" not in got.replace("\x1b[A\x1b[K", "")
    assert status == 0


def test_a_storage_update(bmc):
    """The name in the signal; the time ends the line."""
    changed = {"path": s.path_of("rsa"), "interface": s.STORAGE,
               "member": "StorageResourceUpdated", "signature": "uss",
               "args": [0x8c0000, FOREIGN, "{}"]}
    bmc.start(s.method(
        s.name_of("rsa"), s.path_of("rsa"),
        "com.mervax.Operation.Storage", "ClearConfig",
        {"in": "u", "out": "i", "return": [0], "signals_after": [changed]}))
    got, status = on_terminal("-o", "clear", *LIST[2:])
    lines = got.split("\n")
    assert lines[0].startswith(SHOWN + " updated at ")
    assert len(lines[0]) == len(SHOWN + " updated at ") + 24
    assert lines[1].startswith("Refreshing data takes ")
    assert (lines[2:], status) == ([""], 0)


def test_standard_error(bmc):
    """It is looked at for itself."""
    bmc.start(s.server())
    words = ["-o", "create", *LIST[2:], "-f", "/none/\x1b[2J"]
    message = "Failed to open in file: /none/{}\n"
    assert on_terminal(*words, stream="stderr") == (
        message.format("?[2J"), 255)
    assert bmc.run(*words) == ("", message.format("\x1b[2J"), 255)


def test_the_journals_records(bmc):
    """A terminal on standard error gets a copy; a pipe gets none."""
    bmc.start(s.server(s.fault("Get", s.error(), owner=s.CHASSIS)))
    text = f"[ERR] Get {s.CHASSIS} property CurrentPowerState failed"
    assert on_terminal(stream="stderr") == (f"<3> {text}\n", 0)
    assert bmc.run().err == ""
    assert bmc.messages() == [(3, text)]
