# SPDX-License-Identifier: Apache-2.0
"""Which operations there are, how their command lines look, what they do."""

from __future__ import absolute_import, division, print_function

__metaclass__ = type

import re

READING = ("list", "show", "showI2C", "ttylog", "attest")
CHANGING = ("create", "edit", "delete", "clear", "#Drive.SecureErase",
            "#Drive.Reset", "enableMctp", "discover", "event", "update")
# The words of these options stand for files that the operation reads.
TAKES_FILE = ("create", "edit", "update")


class Refused(Exception):
    """Options that make no command line; the text is for the user."""


def changes(options):
    """Whether the run changes something on the BMC."""
    if options["operation"] == "update":
        return bool(options.get("file"))
    return options["operation"] not in READING


def address_word(value):
    """An address as the tool takes it. Text must have its 0x: a template makes
    text of a number, and its decimal digits would be taken for hexadecimal."""
    if isinstance(value, bool) or value is None or value == "":
        raise Refused("address: neither a number nor a text with 0x")
    if isinstance(value, int):
        number = value
    elif re.match(r"0[xX][0-9a-fA-F]+$", str(value)):
        number = int(value, 16)
    else:
        raise Refused("address: write %r as a number or with 0x" % value)
    if not 0 < number <= 0xFFFFFFFF:
        raise Refused("address: %s is not between 0x1 and 0xffffffff" % value)
    return "0x%x" % number


def words(options):
    """The command line behind the tool's name."""
    line = ["-o", options["operation"]]
    if options.get("address") not in (None, ""):
        line += ["-a", address_word(options["address"])]
    for letter, name in (("s", "service"), ("t", "target"),
                         ("r", "resource_id"), ("p", "params"), ("f", "file")):
        value = options.get(name)
        if value is not None and value != "":
            line += ["-" + letter, str(value)]
    return line + (["-v"] if options.get("verbose") else [])


def where_to_look(options):
    """How to find out what became of a change whose end nobody saw."""
    where = " ".join(words({name: options.get(name)
                            for name in ("address", "service")}
                           | {"operation": "show"}))
    return {
        "update": "zantric -o update -s %s lists the versions that the "
                  "devices have now" % options.get("service"),
        "event": "journalctl REDFISH_MESSAGE_ID and the event log",
        "enableMctp": "busctl shows whether an MCTP service has the bus",
        "discover": "the endpoint ids that zantric -o list shows",
    }.get(options["operation"], "zantric %s -t Volumes (or -t Drives) shows "
          "what is there now" % where)
