# SPDX-License-Identifier: Apache-2.0
"""What a finished run means."""

from __future__ import absolute_import, division, print_function

__metaclass__ = type

import re

_CURSOR = re.compile("\x1b\\[[0-9;]*[A-Za-z]")


def clean(text):
    """Text without cursor codes, each character fit for any output."""
    plain = _CURSOR.sub("", text)
    return plain.encode("utf-8", "surrogateescape").decode("utf-8", "replace")


def _last_line(text):
    lines = [line.strip() for line in clean(text).split("\n") if line.strip()]
    return lines[-1] if lines else ""


class Run:
    """One run of the tool: output, status, process id."""

    def __init__(self, out, err, pid, status, fired):
        self.out = out
        self.err = re.sub("(?m)^debug[123]: .*\n", "", err)
        self.pid = pid
        self.status = status
        self.timed_out = fired == 3

    def result(self):
        """The run as the members of a task's result."""
        return {"stdout": clean(self.out), "stderr": clean(self.err),
                "stdout_lines": clean(self.out).splitlines(),
                "rc": self.status, "pid": self.pid}

    def failure(self, limit):
        """Why it failed, in one sentence; empty if it succeeded."""
        if self.timed_out:
            return "no end after %d seconds; the tool was ended" % limit
        if self.status == 0:
            return ""
        if self.status == 255:
            return (_last_line(self.out) or _last_line(self.err) or
                    "failed without a message; journal: true shows why")
        if self.status > 128:
            return "the tool was ended by signal %d" % (self.status - 128)
        return ("status %d is none of the tool's: %s"
                % (self.status, _last_line(self.err) or "no message"))

    def unanswered(self):
        """Whether nobody can tell what the service did."""
        return (self.timed_out or 128 < self.status < 255 or
                (self.status == 255 and "sd_bus_call: " in self.out))


def finished(out_frames, err_frames):
    """The runs in the frames of a reading session, in order."""
    runs = []
    errors = [frame.text for frame in err_frames if frame.kind == "run"]
    for at, frame in enumerate(out_frames[:-1]):
        if frame.kind == "run" and out_frames[at + 1].kind == "end":
            pid, status, fired = map(int, out_frames[at + 1].words)
            err = errors[len(runs)] if len(runs) < len(errors) else ""
            runs.append(Run(frame.text, err, pid, status, fired))
    return runs
