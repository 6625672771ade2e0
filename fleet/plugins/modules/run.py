#!/usr/bin/python
# SPDX-License-Identifier: Apache-2.0
"""Documentation and options of the action `run`; nothing of it runs on a BMC.
"""

from __future__ import absolute_import, division, print_function

__metaclass__ = type

DOCUMENTATION = r"""
module: run
short_description: Run one operation of zantric on a BMC
description:
  - Runs C(zantric) over plain SSH. The BMC needs nothing but the tool, a shell
    and what every BusyBox has; no Python.
  - The tool's status and the transport's are told apart. A failed operation is
    FAILED with the tool's message, a BMC that cannot be reached UNREACHABLE.
  - A change is sent at most once, whatever the connection does and however
    often Ansible repeats a command (C(ANSIBLE_SSH_RETRIES)). When a connection
    is lost, the action comes back and reports what the BMC did meanwhile.
    If it cannot come back, or nobody can tell what a service did, the task is
    FAILED with C(outcome) C(unknown) and a word on what to look at.
  - Changes are create, edit, delete, clear, drive actions, enableMctp,
    discover, event, and update with a file. All else only reads.
  - Nothing is left on the BMC. A run that the control node abandons removes
    what it has there by itself, at the latest two hours later.
version_added: 1.0.0
author:
  - The zantric developers (@zantric)
options:
  operation:
    description: What to do.
    type: str
    default: list
    choices:
      - list
      - show
      - create
      - edit
      - delete
      - clear
      - "#Drive.SecureErase"
      - "#Drive.Reset"
      - showI2C
      - enableMctp
      - discover
      - event
      - ttylog
      - update
      - attest
  address:
    description:
      - Address of the device, or the number of an I2C bus.
      - A number, or a text that begins with C(0x). Other text is refused,
        since the tool would take decimal digits for hexadecimal.
    type: raw
  service:
    description: The service's word, such as C(rsa).
    type: str
  target:
    description: What to list or show, such as C(Drives) or C(Volumes).
    type: str
  resource_id:
    description: Number of the drive or volume.
    type: int
  params:
    description: Parameters, as C(-p) of the tool takes them.
    type: str
  file:
    description:
      - For C(operation=update), C(operation=create) and C(operation=edit) a
        file on the control node. It is copied to the BMC, its checksum
        compared, and removed afterwards. An update takes the part number from
        the file's name unless I(params) has it.
      - For C(operation=attest) the directory of root certificates on the BMC,
        for C(operation=show) with C(target=Objects) an interface.
    type: str
  remote_src:
    description: Whether I(file) is already on the BMC.
    type: bool
    default: false
  verbose:
    description: Whether the tool tells more.
    type: bool
    default: false
  timeout:
    description:
      - Seconds after which the tool is ended on the BMC. For a change the
        outcome is then unknown.
      - 120 for what reads, 600 for changes, 3600 for an update by default.
    type: int
  journal:
    description:
      - Whether to return the journal records of the run. They are found by
        the process id of the run, never by time.
    type: bool
    default: false
  executable:
    description: The tool's name, or its path on the BMC.
    type: str
    default: zantric
  folder:
    description:
      - Where a change keeps its state and its file on the BMC. Should be
        a file system in memory, so that a restart of the BMC is noticed.
    type: str
    default: /run
notes:
  - In check mode what reads runs, and a change is only reported.
  - C(changed) is true for changes that succeeded, and only for them.
  - Parse what C(show) prints with the filter C(zantric.fleet.show).
    What C(list) prints cannot be trusted, since names can hold anything.
attributes:
  check_mode:
    description: Changes nothing.
    support: full
"""

EXAMPLES = r"""
- name: Read the drives of a controller
  zantric.fleet.run:
    operation: show
    address: "0x8c0000"
    service: rsa
    target: Drives
  register: drives

- name: Tell their serial numbers
  ansible.builtin.debug:
    msg: "{{ (drives.stdout | zantric.fleet.show).Drives
             | map(attribute='SerialNumber') }}"

- name: Delete a volume
  zantric.fleet.run:
    operation: delete
    address: 0x8c0000
    service: rsa
    resource_id: 402

- name: Update all devices with this part number
  zantric.fleet.run:
    operation: update
    service: rsa
    file: firmware/QX960-SAS_C3.2.bin
"""

RETURN = r"""
command:
  description: The command line that ran, or that would run.
  returned: always
  type: str
stdout:
  description: What the tool printed, without cursor codes.
  returned: when the tool ran to its end
  type: str
stderr:
  description: What the tool wrote on standard error.
  returned: when the tool ran to its end
  type: str
rc:
  description: The tool's status, 0 or 255; 128 and more after a signal.
  returned: when the tool ran to its end
  type: int
pid:
  description: The run's process id on the BMC.
  returned: when the tool ran to its end
  type: int
outcome:
  description: C(done), C(failed) or C(unknown).
  returned: for changes
  type: str
journal:
  description: The journal records of the run.
  returned: when I(journal) is true
  type: list
  elements: dict
"""

ARGUMENTS = {
    "operation": {"type": "str", "default": "list", "choices": [
        "list", "show", "create", "edit", "delete", "clear",
        "#Drive.SecureErase", "#Drive.Reset", "showI2C", "enableMctp",
        "discover", "event", "ttylog", "update", "attest"]},
    "address": {"type": "raw"},
    "service": {"type": "str"},
    "target": {"type": "str"},
    "resource_id": {"type": "int"},
    "params": {"type": "str"},
    "file": {"type": "str"},
    "remote_src": {"type": "bool", "default": False},
    "verbose": {"type": "bool", "default": False},
    "timeout": {"type": "int"},
    "journal": {"type": "bool", "default": False},
    "executable": {"type": "str", "default": "zantric"},
    "folder": {"type": "str", "default": "/run"},
}


def main():
    """Only the action plugin of this name does anything."""
    from ansible.module_utils.basic import AnsibleModule
    AnsibleModule(argument_spec=ARGUMENTS, supports_check_mode=True).fail_json(
        msg="the action plugin of the collection was not found")


if __name__ == "__main__":
    main()
