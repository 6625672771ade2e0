# SPDX-License-Identifier: Apache-2.0
"""Every step of an operation, every fault that can meet it, and what is
expected of the tool then.

A step is a call that an operation makes, or its wait. What it makes of an
error reply, of a call without a reply and of a document that it cannot use is
the step's own data; which of these a fault leads to is told here, once for all.
"""

import re
from dataclasses import dataclass, field
from typing import Any, NamedTuple

import scenarios as s

GONE = ("sd_bus_call: org.freedesktop.DBus.Error.Disconnected: Connection "
        "reset by peer")
LATE = "sd_bus_call: org.freedesktop.DBus.Error.Timeout: Connection timed out"
CUT_OFF = ("sd_bus_call: System.Error.ENOTCONN: Transport endpoint is not "
           "connected")
WAIT_GONE = ("sd_bus_process discard: org.freedesktop.DBus.Error.Disconnected:"
             " Connection reset by peer")
NO_BUS = ("Exception: sd_bus_default: org.freedesktop.DBus.Error.FileNotFound:"
          " No such file or directory\n")
TOO_DEEP = "JSON document is nested deeper than 512 levels"
_NO_VALUE = ": System.Error.ENXIO: No such device or address"
_NO_JSON = "[json.exception.parse_error.101] parse error at line 1, column "

# Texts that stand where a document or another value should.
DEEP = {"times": 100000, "text": "["}
HUGE = {"times": 4000000, "text": "x"}
TEXTS = {
    "empty string": ("", _NO_JSON + "1: syntax error while parsing value - "
                     "unexpected end of input; expected '[', '{', or a "
                     "literal"),
    "malformed JSON": ("{", _NO_JSON + "2: syntax error while parsing object "
                       "key - unexpected end of input; expected string "
                       "literal"),
    "JSON null": ("null", None),
    "deep nesting": ([DEEP], TOO_DEEP),
    "huge reply": ([HUGE], None),
}
# Faults of a call by the way in which they meet the tool.
REPLIES = ("no service", "no answer", "error reply", "misleading error",
           "service dies", "wrong type", *TEXTS)
# An error reply that is worded like the bus library's own time-out.
MISLEADING = ("org.freedesktop.DBus.Error.Timeout", "Connection timed out")
INTERRUPTS = ("bus dies", "SIGTERM")
OUTPUTS = {
    "output closed": (">&-", "Bad file descriptor"),
    "output full": ("> /dev/full", "No space left on device"),
}
FAULTS = ("no bus", *REPLIES, *INTERRUPTS, *OUTPUTS)

# What the bus library says about a reply that is a floating number, or a text,
# where a value of this kind is read.
WRONG = {
    "text": "sd_bus_message_read_basic string" + _NO_VALUE,
    "number": "sd_bus_message_read_basic fundamental" + _NO_VALUE,
    "boolean": "sd_bus_message_read_basic bool" + _NO_VALUE,
    "list": "sd_bus_message_enter_container emplace_back_container" + _NO_VALUE,
    # Newer revisions of the bus library take an array of bytes in one go.
    "bytes": "sd_bus_message_",
    "map": "sd_bus_message_enter_container emplace_container" + _NO_VALUE,
    "variant": "sd_bus_message_skip variant" + _NO_VALUE,
}


class Outcome(NamedTuple):
    """How a run is to end."""

    out: str
    status: int = 255
    #: What a record of the journal says, where standard output is silent.
    journal: str = ""
    #: Why a run that met a fault may succeed.
    why: str = ""


def said(out, **more):
    """A failure with this output."""
    return Outcome(out, **more)


def fine(out, why, **more):
    """No failure, and the reason."""
    return Outcome(out, 0, why=why, **more)


@dataclass
class Step:
    """One call of an operation."""

    owner: str
    member: str
    #: What is read from the reply: "document" or a key of WRONG; of "nothing"
    #: nobody can say that it is wrong.
    reads: str
    #: What an error reply leads to.
    refused: Outcome
    #: What a call without a usable reply leads to, by the text that tells why.
    raised: Any
    #: What is out before the call.
    before: str = ""
    #: What else may tell this call from others of the member.
    match: dict = field(default_factory=dict)
    #: Faults that this step takes in its own way.
    special: dict = field(default_factory=dict)
    #: A document of some MB: its opening, one item, its end.
    huge: tuple = ()
    #: "signal" or "timer": the wait behind the call is met, not the call.
    waits: str = ""

    #: What the BMC does in the faults of a wait; "bus dies" and "SIGTERM"
    #: meet a wait for something that does not come: INTERRUPTS.
    scenes: dict = field(default_factory=dict)
    #: What the table calls it.
    label: str = ""

    def name(self):
        """What the table calls it."""
        return self.label or self.member

    def expected(self, fault):
        """What a fault leads to."""
        if fault in self.special:
            return self.special[fault]
        if fault in ("no service", "error reply", "misleading error",
                     "service dies"):
            return self.refused
        if fault == "no answer":
            return self.raised(LATE)
        if fault == "bus dies":
            return self.raised(WAIT_GONE if self.waits else GONE)
        if fault == "SIGTERM":
            return Outcome(self.before, -15)
        if self.reads == "nothing":
            return fine(self.before, "the reply has nothing to be read")
        if fault != "wrong type" and self.reads == "document":
            return self.raised(TEXTS[fault][1])
        return self.raised(WRONG["text" if self.reads == "document"
                                 else self.reads])

    def faults(self):
        """The faults that can meet it."""
        if not self.waits:
            return (*REPLIES, *INTERRUPTS)
        return *(name for name in self.scenes if name in FAULTS), *INTERRUPTS

    def reply(self, fault):
        """What the service does."""
        if fault in ("no answer", *INTERRUPTS):
            return {"silent": True}
        if fault == "error reply":
            return s.error()
        if fault == "misleading error":
            return s.error(*MISLEADING)
        if fault == "service dies":
            return {"die": True}
        if fault == "wrong type":
            return {"out": "d", "return": [1.5]}
        if fault == "huge reply" and self.huge:
            opening, item, end = self.huge
            return {"text": [opening, {"times": HUGE_ITEMS, "text": item},
                             end]}
        text = TEXTS[fault][0]
        if self.reads == "variant" and isinstance(text, str):
            return {"out": "v", "return": [{"signature": "s", "value": text}]}
        return {"text": text}

    def scenario(self, fault, scenario):
        """The operation's scenario with the fault in it."""
        if self.waits:
            return self.scenes[fault if fault in self.scenes else INTERRUPTS]
        if fault == "no service":
            kept = {name: content
                    for name, content in scenario["services"].items()
                    if name != self.owner}
            return {**scenario, "services": kept}
        return s.merge(s.fault(self.member, self.reply(fault), self.owner,
                               **self.match), scenario)


#: Items of a huge document; with one of 200 bytes that makes 4 MB.
HUGE_ITEMS = 20000
PADDING = '"Padding":"' + "x" * 180 + '"'


def huge_list(member):
    """A document with a long list of items."""
    item = "{" + PADDING + "}"
    return ('{"' + member + '":[', item + ",", item + "]}")


@dataclass
class Operation:
    """An operation with valid options, on a BMC where it succeeds."""

    name: str
    words: list
    scenario: dict
    #: What it prints when all goes well.
    out: str = ""
    steps: tuple = ()
    #: It ends when somebody ends it: only its steps are met by faults.
    endless: bool = False

    def word(self):
        """Its word of the command line."""
        return (self.words[self.words.index("-o") + 1]
                if "-o" in self.words else self.words[0])


_DATE = re.compile(r"[A-Z][a-z]{2} [A-Z][a-z]{2} [ \d]\d \d\d:\d\d:\d\d \d{4}")
_TIME = re.compile(r"(?<=Refreshing data takes )\d+(?=ms)")


def steady(out):
    """Output without what differs from run to run."""
    return _TIME.sub("N", _DATE.sub("DATE", out))
