# SPDX-License-Identifier: Apache-2.0
"""Writes the result of every task and host as a line of JSON into the file that KVN_FLEET_RESULTS names."""
import json
import os

from ansible.plugins.callback import CallbackBase

DOCUMENTATION = """
name: fleet_results
type: notification
short_description: writes results as lines of JSON
description: Writes the result of every task and host as a line of JSON.
"""


class CallbackModule(CallbackBase):
    CALLBACK_VERSION = 2.0
    CALLBACK_TYPE = "notification"
    CALLBACK_NAME = "fleet_results"
    CALLBACK_NEEDS_ENABLED = True

    def note(self, result, outcome):
        path = os.environ.get("KVN_FLEET_RESULTS")
        if not path:
            return
        with open(path, "a", encoding="utf-8") as file:
            line = {"host": result._host.get_name(), "task": result._task.action, "name": result._task.name, "outcome": outcome,
                    "result": result._result}
            file.write(json.dumps(line) + "\n")

    def v2_runner_on_ok(self, result):
        self.note(result, "ok")

    def v2_runner_on_failed(self, result, ignore_errors=False):
        self.note(result, "failed")

    def v2_runner_on_unreachable(self, result):
        self.note(result, "unreachable")
