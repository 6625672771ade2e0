# SPDX-License-Identifier: Apache-2.0
"""Sessions on a BMC, through the connection that Ansible has to it."""

from __future__ import absolute_import, division, print_function

__metaclass__ = type

import hashlib
import json
import os
import time

from ansible.errors import AnsibleConnectionFailure, AnsibleError

from .outcome import Run, clean, finished
from .remote import Change, Session, frames

# A peer that is silent for so long is gone.
_KEEPALIVE = "-o ServerAliveInterval=5 -o ServerAliveCountMax=3"
_UNSENT = "the BMC cannot take the change, so nothing was sent: "
# How often a lost connection is made again, and how long to wait before.
_RETURNS = (0, 2, 5, 10)


class Stopped(AnsibleError):
    """The run failed before or without the tool; the text says why."""


class Unknown(AnsibleError):
    """A change was sent and nobody knows what became of it."""


class Bmc:
    """A BMC as an action plugin sees it."""

    def __init__(self, action):
        self._action = action
        self._connection = action._connection
        self._watch_peer()

    def _watch_peer(self):
        """Lets the transport notice that a BMC has vanished."""
        try:
            options = self._connection.get_option("ssh_extra_args") or ""
        except (KeyError, AnsibleError):
            return
        if "ServerAliveInterval" not in options:
            self._connection.set_option("ssh_extra_args",
                                        (options + " " + _KEEPALIVE).strip())

    def session(self, token, script, data=b"\n"):
        """Runs a script; its frames on standard output and standard error.

        Data on standard input also keeps the transport from making a terminal,
        which would change what the tool prints.
        """
        reply = self._action._low_level_execute_command(script, in_data=data)
        out = frames(token, reply.get("stdout", ""))
        err = frames(token, reply.get("stderr", ""))
        if out:
            self._check_tool(out[0])
            return out, err
        message = clean(reply.get("stderr", "")).strip() or "no answer"
        if reply.get("rc") == 255:
            raise AnsibleConnectionFailure(message)
        raise Stopped("the BMC's shell did not run the command: " + message)

    @staticmethod
    def _check_tool(frame):
        if frame.kind == "missing":
            raise Stopped("the tool is not on this BMC")
        if frame.kind == "foreign":
            raise Stopped("the tool on this BMC is built for another machine "
                          "(ELF class and machine %s, the BMC has %s)"
                          % tuple(frame.words))

    def read(self, tool, limit, runs, journal=False):
        """Runs reading operations in one session: (run, records) for each."""
        session = Session(tool, limit)
        out, err = self.session(session.token, session.read(runs, journal))
        done = finished(out, err)
        if len(done) != len(runs):
            raise AnsibleConnectionFailure(
                "the connection ended before the tool did")
        logs = [records(frame) for frame in out if frame.kind == "log"]
        return list(zip(done, logs if journal else [[] for run in done]))


def records(frame):
    """The journal records of a frame, but not the one at its cursor. Fields
    that are no text, which the journal lists as bytes, become text."""
    lines = [line for line in frame.text.split("\n") if line.startswith("{")]
    found = [record for record in map(json.loads, lines)
             if record.get("__CURSOR") not in frame.words]
    for record in found:
        for name, value in record.items():
            if isinstance(value, list) and all(isinstance(byte, int)
                                               for byte in value):
                record[name] = bytes(value).decode("utf-8", "replace")
    return found


class Once:
    """A change, sent at most once whatever the transport does."""

    def __init__(self, bmc, tool, limit, folder, show):
        self._bmc = bmc
        self._change = Change(tool, limit, folder)
        self._limit = limit
        self._show = show
        self._armed = False

    def run(self, words, source=None, name=None, journal=False):
        """The finished run and its records. A connection that fails before
        the start leaves as such: nothing was sent."""
        try:
            words = self._prepare(words, source, name)
            run = self._carry_out(words)
            return run, self._records(run) if journal else []
        finally:
            self._tidy()

    def _session(self, script, data=b"\n"):
        return self._bmc.session(self._change.token, script, data)[0]

    def _prepare(self, words, source, name):
        size = os.path.getsize(source) if source else 0
        kind = self._session(self._change.arm(size // 1024))[0].kind
        if kind != "armed":
            why = {"full": "no room in %s", "refused": "cannot write in %s"}
            raise Stopped(_UNSENT + why[kind]
                          % os.path.dirname(self._change.folder))
        self._armed = True
        if not source:
            return words
        self._upload(source, name)
        place = words.index("-f") + 1
        return (words[:place] + [self._change.folder + "/" + name]
                + words[place + 1:])

    def _upload(self, source, name):
        with open(source, "rb") as stream:
            data = stream.read()
        reply = self._session(self._change.upload(name), data)[0]
        if reply.kind == "full":
            raise Stopped(_UNSENT + "no room for %s" % name)
        if reply.words[:1] != [hashlib.sha256(data).hexdigest()]:
            raise Stopped(_UNSENT + "the copy of %s differs" % name)

    def _carry_out(self, words):
        slice_ = 2 if self._show else self._limit + 15
        try:
            reply = self._session(self._change.start(words, slice_))
        except AnsibleConnectionFailure as failure:
            reply = self._settle(failure)
        deadline = time.monotonic() + self._limit + 15
        out = ""
        while True:
            out += self._text(reply, "run")
            if reply[-1].kind == "end":
                pid, status, fired = map(int, reply[-1].words)
                return Run(out, self._text(reply, "err"), pid, status, fired)
            if time.monotonic() > deadline or reply[-1].kind != "running":
                raise Unknown("the BMC does not know of the run any more")
            reply = self._follow(slice_, out)

    def _text(self, reply, kind):
        text = "".join(frame.text for frame in reply if frame.kind == kind)
        if kind == "run" and self._show:
            self._show(text)
        return text

    def _follow(self, slice_, out):
        offset = len(out.encode("utf-8", "surrogateescape"))
        try:
            return self._session(self._change.follow(slice_, offset))
        except AnsibleConnectionFailure as failure:
            return self._return(self._change.follow(slice_, offset), failure)

    def _settle(self, failure):
        """What came of a start whose connection was lost."""
        reply = self._return(self._change.settle(self._limit + 15), failure)
        if reply[0].kind == "never":
            self._armed = False
            raise failure
        return reply

    def _return(self, script, failure):
        """Comes back to a BMC that was lost, or gives it up."""
        for pause in _RETURNS:
            time.sleep(pause)
            try:
                return self._session(script)
            except AnsibleConnectionFailure as again:
                failure = again
        self._armed = False
        raise Unknown("the connection was lost: %s" % failure)

    def _records(self, run):
        for frame in self._session(self._change.log(run.pid)):
            if frame.kind == "log":
                return records(frame)
        return []

    def _tidy(self):
        """Nothing stays on the BMC; what cannot be removed now goes by itself.
        """
        if self._armed:
            try:
                self._session(self._change.forget())
            except AnsibleError:
                pass
