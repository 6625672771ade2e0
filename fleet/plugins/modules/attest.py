#!/usr/bin/python
# SPDX-License-Identifier: Apache-2.0
"""Documentation and options of the action `attest`."""

from __future__ import absolute_import, division, print_function

__metaclass__ = type

DOCUMENTATION = r"""
module: attest
short_description: Attest a BMC's devices, with one verdict for each
description:
  - Runs C(zantric -o attest) on devices and tells from its status and from the
    journal records of that run what was proved.
  - C(anchored) means that the certificate chain ends in a given root, and that
    the device answered a challenge or signed a measurement.
  - C(unanchored) is the same without a root. Whoever made the chain is trusted.
  - C(overridden) means that the marker file on the BMC made the tool accept
    any chain.
  - C(nothing proved) means that the device has no certificates, or neither
    answered a challenge nor signed a measurement, or that the records are
    missing.
  - C(failed) comes with C(step) and C(rc).
  - Measurements are compared with a reference file, see
    C(docs/attest.md) of the collection.
version_added: 1.0.0
author:
  - The zantric developers (@zantric)
options:
  addresses:
    description:
      - The devices' addresses, as numbers or as text with C(0x). All with an
        endpoint id by default.
    type: list
    elements: raw
  roots:
    description:
      - Directory of root certificates on the control node. It is copied to the
        BMC for the session.
    type: path
  remote_roots:
    description: Directory of root certificates on the BMC.
    type: str
  reference:
    description: File with the measurements that devices should have.
    type: path
  accept:
    description: Verdicts that are no failure of the task.
    type: list
    elements: str
    default: [anchored, unanchored, overridden, nothing proved]
  timeout:
    description: Seconds after which the attestation of a device is ended.
    type: int
    default: 120
  executable:
    description: The tool's name, or its path on the BMC.
    type: str
    default: zantric
attributes:
  check_mode:
    description: Only reads.
    support: full
"""

EXAMPLES = r"""
- name: Accept nothing but what ends in our roots
  zantric.fleet.attest:
    roots: roots
    reference: reference.json
    accept: [anchored]
  register: attestation
"""

RETURN = r"""
devices:
  description:
    - For each device C(address), C(service), C(eid), C(part_number),
      C(firmware_version), C(verdict) with its C(reason), for a failure C(step)
      and C(rc), the measurement C(blocks), and in C(measurements) how they
      compare, C(match), C(differs) with block and both values,
      C(no reference) or C(not measured).
  returned: success
  type: list
  elements: dict
"""

ARGUMENTS = {
    "addresses": {"type": "list", "elements": "raw"},
    "roots": {"type": "path"},
    "remote_roots": {"type": "str"},
    "reference": {"type": "path"},
    "accept": {"type": "list", "elements": "str", "default": [
        "anchored", "unanchored", "overridden", "nothing proved"]},
    "timeout": {"type": "int", "default": 120},
    "executable": {"type": "str", "default": "zantric"},
}


def main():
    """Only the action plugin of this name does anything."""
    from ansible.module_utils.basic import AnsibleModule
    AnsibleModule(argument_spec=ARGUMENTS, supports_check_mode=True).fail_json(
        msg="the action plugin of the collection was not found")


if __name__ == "__main__":
    main()
