#!/usr/bin/python
# SPDX-License-Identifier: Apache-2.0
"""Documentation and options of the action `inventory`."""

from __future__ import absolute_import, division, print_function

__metaclass__ = type

DOCUMENTATION = r"""
module: inventory
short_description: Read all devices, drives and volumes of a BMC
description:
  - Reads every PCIe device, drive and volume of a BMC in one SSH
    session, as the documents that the services have.
  - The listing tells only which devices to ask for. What is returned comes from
    C(show), and a device whose document is of another address is left out and
    named among the errors.
version_added: 1.0.0
author:
  - The zantric developers (@zantric)
options:
  timeout:
    description: Seconds after which no further document is asked for.
    type: int
    default: 120
  as_text:
    description:
      - Whether C(inventory) is a text of JSON. Ansible handles one text much
        faster than thousands of values.
    type: bool
    default: false
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
- name: Read what the BMC has
  zantric.fleet.inventory:
  register: bmc

- name: Name its failed drives
  ansible.builtin.debug:
    msg: "{{ bmc.health.failed_drives | map(attribute='serial_number') }}"
"""

RETURN = r"""
inventory:
  description:
    - C(devices), C(drives) and C(volumes), each with C(service),
      C(address) and the service's C(document); C(errors) with what could not be
      read; C(state) with the power state and boot progress.
  returned: success
  type: dict
health:
  description:
    - C(failed_drives), C(degraded_volumes) and C(links_down), and in
      C(without_status) how many drives and volumes do not tell their status.
  returned: success
  type: dict
"""

ARGUMENTS = {
    "timeout": {"type": "int", "default": 120},
    "as_text": {"type": "bool", "default": False},
    "executable": {"type": "str", "default": "zantric"},
}


def main():
    """Only the action plugin of this name does anything."""
    from ansible.module_utils.basic import AnsibleModule
    AnsibleModule(argument_spec=ARGUMENTS, supports_check_mode=True).fail_json(
        msg="the action plugin of the collection was not found")


if __name__ == "__main__":
    main()
