# SPDX-License-Identifier: Apache-2.0
"""Runs the tool on a BMC; plugins/modules/run.py documents it."""

from __future__ import absolute_import, division, print_function

__metaclass__ = type

import os

from ansible.errors import AnsibleError
from ansible.plugins.action import ActionBase
from ansible.utils.display import Display

from ansible_collections.zantric.fleet.plugins.modules.run import ARGUMENTS
from ansible_collections.zantric.fleet.plugins.plugin_utils import operations
from ansible_collections.zantric.fleet.plugins.plugin_utils.bmc import (
    Bmc, Once, Stopped, Unknown)
from ansible_collections.zantric.fleet.plugins.plugin_utils.outcome import (
    clean)
from ansible_collections.zantric.fleet.plugins.plugin_utils.remote import quoted


class ActionModule(ActionBase):
    """The action `zantric.fleet.run`."""

    TRANSFERS_FILES = False
    _supports_check_mode = True

    def run(self, tmp=None, task_vars=None):
        result = super(ActionModule, self).run(tmp, task_vars)
        del tmp
        options = self.validate_argument_spec(
            argument_spec=ARGUMENTS)[1]
        try:
            words = operations.words(options)
            result.update(changed=False,
                          command=quoted([options["executable"]] + words))
            if not operations.changes(options):
                return self._read(result, options, words)
            if self._task.check_mode:
                return dict(result, msg="would run " + result["command"])
            return self._change(result, options, words, task_vars)
        except (operations.Refused, ValueError, Stopped) as failure:
            return dict(result, failed=True, msg=str(failure))

    def _read(self, result, options, words):
        limit = options["timeout"] or 120
        (run, records), = Bmc(self).read(options["executable"], limit, [words],
                                         options["journal"])
        result.update(run.result())
        return self._conclude(result, options, run, records, limit)

    def _change(self, result, options, words, task_vars):
        limit = options["timeout"] or (
            3600 if options["operation"] == "update" else 600)
        source, name = self._source(options)
        show = (self._progress(task_vars)
                if options["operation"] == "update" else None)
        once = Once(Bmc(self), options["executable"], limit,
                    options["folder"], show)
        try:
            run, records = once.run(words, source, name, options["journal"])
        except Unknown as failure:
            return dict(result, failed=True, outcome="unknown",
                        msg=self._unknown(str(failure), options))
        result.update(run.result())
        return self._conclude(result, options, run, records, limit)

    def _conclude(self, result, options, run, records, limit):
        changing = operations.changes(options)
        failure = run.failure(limit)
        if options["journal"]:
            result["journal"] = records
        if failure:
            result.update(failed=True, msg=failure)
        if changing:
            result["changed"] = not failure
            result["outcome"] = "failed" if failure else "done"
            if run.unanswered():
                result.update(outcome="unknown",
                              msg=self._unknown(failure, options))
        return result

    @staticmethod
    def _unknown(why, options):
        return "outcome unknown: %s; %s" % (
            why.rstrip("."), operations.where_to_look(options))

    def _source(self, options):
        """The file on this machine that the BMC needs, and its name there."""
        if (options["operation"] not in operations.TAKES_FILE
                or not options["file"] or options["remote_src"]):
            return None, None
        try:
            source = self._find_needle("files", options["file"])
        except AnsibleError as failure:
            raise operations.Refused("file: %s" % failure)
        return source, os.path.basename(source)

    @staticmethod
    def _progress(task_vars):
        """Shows whole lines; output comes in pieces that end anywhere."""
        host = task_vars.get("inventory_hostname", "")
        pending = [""]

        def show(text):
            lines = (pending[0] + text).split("\n")
            pending[0] = lines.pop()
            for line in lines:
                Display().display("%s: %s" % (host, clean(line)))
        return show
