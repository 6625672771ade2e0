# SPDX-License-Identifier: Apache-2.0
"""Filters that make data of what the tool prints; beside each its
documentation."""

from __future__ import absolute_import, division, print_function

__metaclass__ = type

from ansible.errors import AnsibleFilterError

from ansible_collections.zantric.fleet.plugins.plugin_utils import (
    list_text, show_text)


def _show(text):
    try:
        return show_text.parse(text)
    except show_text.NotAPrint as failure:
        raise AnsibleFilterError("not a print of a document: %s" % failure)


def _show_notes(text):
    _show(text)
    return show_text.notes(text)


def _broken(health):
    """What is broken, in a sentence each."""
    found = []
    for kind, word in (("failed_drives", "drive"),
                       ("degraded_volumes", "volume"), ("links_down", "link")):
        for item in health[kind]:
            told = [item.get(name) for name in ("name", "port",
                                                "serial_number", "state",
                                                "health")]
            found.append("%s at %s: %s" % (
                word, item["address"],
                ", ".join(str(value) for value in told if value)))
    return found


class FilterModule:
    """The collection's filters."""

    def filters(self):
        return {"show": _show, "show_notes": _show_notes,
                "list": list_text.parse_list, "pcie": list_text.parse_pcie,
                "backplanes": list_text.parse_backplanes,
                "firmware": list_text.parse_firmware,
                "firmware_wrong": list_text.firmware_wrong, "broken": _broken}
