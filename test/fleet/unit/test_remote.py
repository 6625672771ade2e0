# SPDX-License-Identifier: Apache-2.0
"""The scripts for a BMC, run by this machine's shell instead."""

import pathlib
import shutil
import subprocess

import pytest
from plugin_utils import remote

TOOL = """#!/bin/sh
echo "out $*"
echo err >&2
echo "$*" >>"$0.runs"
{body}
"""
SHELL = shutil.which("sh")


@pytest.fixture(name="tool")
def fixture_tool(tmp_path):
    """Makes a tool with that body; counts its runs in a file."""
    def make(body):
        path = tmp_path / "tool"
        path.write_text(TOOL.format(body=body))
        path.chmod(0o755)
        return str(path)
    return make


def send(session, script, data=b""):
    done = subprocess.run([SHELL, "-c", script], input=data, check=False,
                          timeout=60, stdout=subprocess.PIPE,
                          stderr=subprocess.PIPE)
    assert done.returncode == 0
    return (remote.frames(session.token, done.stdout.decode()),
            remote.frames(session.token, done.stderr.decode()))


def shown(frames):
    return [(frame.kind, frame.text) for frame in frames]


def test_a_reading_run_is_framed(tool):
    session = remote.Session(tool("exit 255"))
    out, err = send(session, session.read([["a b", "$(c)'"]]))
    assert shown(out) == [("run", "out a b $(c)'\n"), ("end", "")]
    assert out[1].words[1] == "255" and out[1].words[2] != "3"
    assert shown(err) == [("run", "err\n"), ("end", "")]


def test_output_that_imitates_a_frame_is_none(tool):
    session = remote.Session(tool("echo; echo zantric-0 end 1 0 0"))
    out, _ = send(session, session.read([["x"]]))
    assert [frame.kind for frame in out] == ["run", "end"]


def test_a_tool_that_is_not_there():
    session = remote.Session("/nowhere/tool")
    assert shown(send(session, session.read([["x"]]))[0]) == [("missing", "")]


def test_a_tool_for_another_machine(tmp_path):
    path = tmp_path / "tool"
    path.write_bytes(b"\x7fELF\1\1\1" + bytes(11) + b"\x08\0" + b'"$(touch x)')
    path.chmod(0o755)
    session = remote.Session(str(path))
    frame, = send(session, session.read([["x"]]))[0]
    assert (frame.kind, frame.words[0]) == ("foreign", "01:0800")


def test_a_run_that_takes_too_long_is_ended(tool):
    session = remote.Session(tool("exec sleep 1000"), 1)
    out, _ = send(session, session.read([["x"]]))
    assert out[1].words[1:] == ["143", "3"]


def test_a_change_starts_once_however_often_it_is_sent(tool, tmp_path):
    change = remote.Change(tool("exit 0"), 60, str(tmp_path))
    kinds = []
    for script in (change.arm(), change.start(["x"], 30),
                   change.start(["x"], 30), change.settle(30), change.forget(),
                   change.start(["x"], 30), change.settle(1)):
        kinds.append(send(change, script)[0][-1].kind)
    assert kinds == ["armed", "end", "end", "end", "gone", "gone", "gone"]
    assert (tmp_path / "tool.runs").read_text() == "x\n"
    assert not list(tmp_path.glob("zantric-*"))


def test_a_change_that_was_settled_never_starts(tool, tmp_path):
    change = remote.Change(tool("exit 0"), 60, str(tmp_path))
    kinds = [send(change, script)[0][0].kind for script in (
        change.arm(), change.settle(1), change.start(["x"], 1))]
    assert kinds == ["armed", "never", "gone"]
    assert not (tmp_path / "tool.runs").exists()
    assert not list(tmp_path.glob("zantric-*"))


def test_output_comes_in_pieces(tool, tmp_path):
    gate = tmp_path / "gate"
    change = remote.Change(tool(f"while [ ! -e {gate} ]; do :; done; echo 2"),
                           60, str(tmp_path))
    send(change, change.arm())
    reply = send(change, change.start(["x"], 0.5))[0]
    assert (reply[-1].kind, reply[0].text) == ("running", "out x\n")
    gate.touch()
    reply = send(change, change.follow(30, len(reply[0].text)))[0]
    assert (reply[-1].kind, reply[0].text) == ("end", "2\n")
    send(change, change.forget())


def test_a_file_is_copied_with_its_checksum(tool, tmp_path):
    change = remote.Change(tool("exit 0"), 60, str(tmp_path))
    send(change, change.arm(1))
    frame, = send(change, change.upload("f w.bin"), b"\0\xff" * 999)[0]
    assert frame.kind == "sum" and len(frame.words[0]) == 64
    copy = pathlib.Path(change.folder, "f w.bin")
    assert copy.read_bytes() == b"\0\xff" * 999
    send(change, change.forget())


def test_a_folder_without_room_is_told(tool):
    change = remote.Change(tool("exit 0"), 60, "/proc")
    assert send(change, change.arm())[0][0].kind == "refused"


def test_the_scripts_fit_a_small_server(tool):
    change = remote.Change(tool("exit 0"), 60)
    for script in (change.arm(), change.start(["x"] * 8, 9), change.settle(9),
                   change.attest(["0x12345678"] * 200, "/roots", "/run/x")):
        assert len(remote.quoted(["/bin/sh", "-c", script])) < 8000


def test_a_nul_character_is_refused():
    with pytest.raises(ValueError, match="NUL"):
        remote.quoted(["a\0b"])
