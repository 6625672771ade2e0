# SPDX-License-Identifier: Apache-2.0
"""Writes each task's result as a line of JSON to the file RECORDS names."""

from __future__ import absolute_import, division, print_function

__metaclass__ = type

import json
import os

from ansible.parsing.ajson import AnsibleJSONEncoder
from ansible.plugins.callback import CallbackBase

DOCUMENTATION = r"""
name: records
type: notification
short_description: task results as lines of JSON
description: For the tests.
"""


class CallbackModule(CallbackBase):
    """The callback."""

    CALLBACK_VERSION = 2.0
    CALLBACK_TYPE = "notification"
    CALLBACK_NAME = "records"
    CALLBACK_NEEDS_ENABLED = True

    def _write(self, status, result):
        with open(os.environ["RECORDS"], "a", encoding="utf-8") as file:
            file.write(json.dumps({
                "host": result._host.get_name(), "status": status,
                "task": result._task.get_name(), "result": result._result},
                cls=AnsibleJSONEncoder) + "\n")

    def v2_runner_on_ok(self, result):
        self._write("changed" if result._result.get("changed") else "ok",
                    result)

    def v2_runner_on_failed(self, result, ignore_errors=False):
        self._write("failed", result)

    def v2_runner_on_unreachable(self, result):
        self._write("unreachable", result)
