#!/usr/bin/python
# SPDX-License-Identifier: Apache-2.0
"""Documentation and options of the action `report`."""

from __future__ import absolute_import, division, print_function

__metaclass__ = type

DOCUMENTATION = r"""
module: report
short_description: Write what was read of all BMCs as JSON, table and page
description:
  - Takes what earlier tasks registered as C(bmc) (see
    M(zantric.fleet.inventory)) and C(attestation) (see M(zantric.fleet.attest))
    on all hosts of the play. Run it once, with C(run_once).
  - Prints a table, and writes one JSON file and one HTML page that needs no
    other file.
version_added: 1.0.0
author:
  - The zantric developers (@zantric)
options:
  json:
    description: Where to write the JSON file, if at all.
    type: path
  html:
    description: Where to write the page, if at all.
    type: path
  title:
    description: Title of the page.
    type: str
    default: Fleet
  verdicts:
    description: Whether to print a line per attested device, not per BMC.
    type: bool
    default: false
  accept:
    description: Verdicts that are no failure of this task.
    type: list
    elements: str
    default: [anchored, unanchored, overridden, nothing proved]
  partial:
    description:
      - Whether BMCs that gave nothing, or whose attestation is a failure, are
        no failure of this task.
    type: bool
    default: false
attributes:
  check_mode:
    description: Writes the files all the same.
    support: full
"""

EXAMPLES = r"""
- name: Write everything down
  zantric.fleet.report:
    json: inventory.json
    html: inventory.html
  run_once: true
"""

RETURN = r"""
missing:
  description: The BMCs that gave nothing.
  returned: always
  type: list
  elements: str
bad:
  description: These, and those whose attestation is a failure.
  returned: always
  type: list
  elements: str
"""

ARGUMENTS = {
    "json": {"type": "path"},
    "html": {"type": "path"},
    "title": {"type": "str", "default": "Fleet"},
    "verdicts": {"type": "bool", "default": False},
    "accept": {"type": "list", "elements": "str", "default": [
        "anchored", "unanchored", "overridden", "nothing proved"]},
    "partial": {"type": "bool", "default": False},
}


def main():
    """Only the action plugin of this name does anything."""
    from ansible.module_utils.basic import AnsibleModule
    AnsibleModule(argument_spec=ARGUMENTS, supports_check_mode=True).fail_json(
        msg="the action plugin of the collection was not found")


if __name__ == "__main__":
    main()
