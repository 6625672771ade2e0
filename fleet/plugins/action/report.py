# SPDX-License-Identifier: Apache-2.0
"""Writes what was read of all BMCs; plugins/modules/report.py documents it."""

from __future__ import absolute_import, division, print_function

__metaclass__ = type

import json
import os
import time

from ansible.module_utils.common.text.converters import to_text
from ansible.parsing.ajson import AnsibleJSONEncoder
from ansible.plugins.action import ActionBase
from ansible.utils.display import Display

from ansible_collections.zantric.fleet.plugins.modules.report import ARGUMENTS
from ansible_collections.zantric.fleet.plugins.plugin_utils import (
    page, verdict)


class ActionModule(ActionBase):
    """The action `zantric.fleet.report`; works on the control node."""

    TRANSFERS_FILES = False
    _requires_connection = False
    _supports_check_mode = True

    def run(self, tmp=None, task_vars=None):
        result = super(ActionModule, self).run(tmp, task_vars)
        del tmp
        options = self.validate_argument_spec(argument_spec=ARGUMENTS)[1]
        # What was registered needs no templates, which would cost most here.
        variables = task_vars["hostvars"].raw_get
        hosts = {name: self._host(variables(name), options["accept"])
                 for name in task_vars["ansible_play_hosts_all"]}
        for line in (page.verdict_lines(hosts) if options["verdicts"]
                     else page.table(hosts)):
            Display().display(line)
        result["changed"] = False
        try:
            self._write(options, hosts)
        except OSError as failure:
            return dict(result, failed=True, msg=to_text(failure))
        missing = sorted(name for name, host in hosts.items()
                         if host.get("problem"))
        bad = missing + sorted(name for name, host in hosts.items()
                               if host["refused"] and name not in missing)
        result.update(missing=missing, bad=bad)
        if bad and not options["partial"]:
            result.update(failed=True, msg="%d of %d BMCs: %s" % (
                len(bad), len(hosts), ", ".join(bad)))
        return result

    @staticmethod
    def _host(variables, accept):
        found = variables.get("bmc") or {}
        attested = variables.get("attestation") or {}
        host = {name: found.get(name) for name in ("inventory", "health")}
        if isinstance(host["inventory"], str):
            host["inventory"] = json.loads(host["inventory"])
        host["devices"] = attested.get("devices")
        host["refused"] = bool(
            attested.get("failed") or attested.get("unreachable") or
            verdict.refused(host["devices"] or [], accept))
        host["message"] = found.get("msg") or attested.get("msg") or ""
        if not host["inventory"] and host["devices"] is None:
            host["problem"] = (
                "unreachable" if found.get("unreachable") or
                attested.get("unreachable") else "failed")
        return host

    @staticmethod
    def _write(options, hosts):
        text = json.dumps({"format": "zantric-inventory-1", "hosts": hosts},
                          cls=AnsibleJSONEncoder, indent=1, sort_keys=True)
        made = time.strftime("%Y-%m-%d %H:%M:%S %Z")
        for name, content in (
                ("json", text + "\n"),
                ("html", page.page(hosts, options["title"], made))):
            if options[name]:
                path = os.path.expanduser(options[name])
                new = path + ".new"
                with open(new, "w", encoding="utf-8",
                          errors="replace") as stream:
                    stream.write(content)
                os.replace(new, path)
