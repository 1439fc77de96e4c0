#!/usr/bin/python
# Copyright (c) 2026 kvn_fpga developers
# SPDX-License-Identifier: Apache-2.0
"""The modules in the slots of boards, as facts of a host."""

DOCUMENTATION = r"""
---
module: kvn_facts
short_description: Lists the modules in the slots of boards
version_added: 1.0.0
description:
  - Asks every module on the boards of a host what it is, as C(kvn list) does. Nothing is loaded.
options:
  boards:
    description:
      - Boards (C(mwc4a:0)), types of boards (C(mwc4a)) or modules (C(mwc4a:0/1)).
      - By default the boards that the host's variables C(MWAPIKSB) and C(MWAPIJTAG) name.
    type: list
    elements: str
    default: []
extends_documentation_fragment:
  - kavrin.fpga.kvn
"""

EXAMPLES = r"""
- name: Ask what is in the boards
  kavrin.fpga.kvn_facts:
    boards: [mwc4a]

- name: Stop where a module has another device
  ansible.builtin.assert:
    that: kvn.modules | selectattr('module', 'equalto', 'mwc4a:0/1') | map(attribute='device') | first is match('2v3000')
"""

RETURN = r"""
ansible_facts:
  description: The fact C(kvn).
  returned: success
  type: dict
  contains:
    kvn:
      description: What reaches the boards, and what is in them.
      type: dict
      contains:
        provider:
          description: The provider, and whether its boards are simulated. Null where none was opened.
          type: dict
        boards:
          description: Each board that was asked for, as the document C(boards) of C(kvn list --json) has it.
          type: list
        modules:
          description:
            - A row for each slot with a module, with C(module), C(type), C(model), C(version), C(device),
              C(compression), and C(failure), the reason why a module did not answer.
          type: list
          sample: [{"module": "mwc4a:0/1", "type": "KAVRIN-FPGA", "model": 4, "version": 2, "device": "2v3000fg676-4",
                    "compression": "query", "failure": null}]
"""

from ansible.module_utils.basic import AnsibleModule
from ansible_collections.kavrin.fpga.plugins.module_utils import kvn


def row(slot):
    identity = slot["identity"] or {}
    failure = slot["failure"]
    facts = {"module": slot["module"], "type": identity.get("type_name"),
             "failure": kvn.in_words(None, failure) if failure else None}
    facts.update((name, identity.get(name)) for name in ("model", "version", "device", "compression"))
    return facts


def listed(module, board):
    """The document of one board, or of one type. Fails the task where there is none."""
    outcome = kvn.run_kvn(module, ["list"] + ([board] if board else []) + ["--json"])
    document = outcome.document()
    if document is None:
        module.fail_json(msg="kvn list ended without a result: %s" % outcome.end())
    failure = document.get("error") or next((each["failure"] for each in document.get("boards", []) if each["failure"]), None)
    if outcome.status != 0 or "boards" not in document:
        module.fail_json(msg=kvn.in_words(board, failure or {"what": outcome.end()}), status=outcome.status)
    return document


def main():
    arguments = {"boards": {"type": "list", "elements": "str", "default": []}}
    arguments.update(kvn.OPTIONS)
    module = AnsibleModule(argument_spec=arguments, supports_check_mode=True)
    documents = [listed(module, board) for board in module.params["boards"] or [None]]
    boards = [board for document in documents for board in document["boards"]]
    slots = [slot for part in documents + boards for slot in part["slots"]]
    modules = [row(slot) for slot in slots if slot["kind"] == "module" or slot["failure"]]
    module.exit_json(changed=False, ansible_facts={"kvn": {
        "provider": documents[-1].get("provider"), "boards": boards, "modules": modules}})


if __name__ == "__main__":
    main()
