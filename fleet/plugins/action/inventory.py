# SPDX-License-Identifier: Apache-2.0
"""Reads what a BMC has; plugins/modules/inventory.py documents it."""

from __future__ import absolute_import, division, print_function

__metaclass__ = type

import json

from ansible.plugins.action import ActionBase

from ansible_collections.zantric.fleet.plugins.modules.inventory import (
    ARGUMENTS)
from ansible_collections.zantric.fleet.plugins.plugin_utils import gather
from ansible_collections.zantric.fleet.plugins.plugin_utils.bmc import (
    Bmc, Stopped)


class ActionModule(ActionBase):
    """The action `zantric.fleet.inventory`."""

    TRANSFERS_FILES = False
    _supports_check_mode = True

    def run(self, tmp=None, task_vars=None):
        result = super(ActionModule, self).run(tmp, task_vars)
        del tmp
        options = self.validate_argument_spec(argument_spec=ARGUMENTS)[1]
        session = gather.Gatherer(options["executable"], options["timeout"])
        try:
            frames = Bmc(self).session(session.token, session.commands())[0]
        except Stopped as failure:
            return dict(result, failed=True, msg=str(failure))
        found = gather.inventory(frames)
        result.update(changed=False, health=gather.health(found),
                      inventory=json.dumps(found) if options["as_text"]
                      else found)
        if found["state"] is None:
            result.update(failed=True, msg="; ".join(found["errors"])
                          or "the tool listed nothing")
        return result
