#!/usr/bin/python
# Copyright (c) 2026 kvn_fpga developers
# SPDX-License-Identifier: Apache-2.0
"""Loads the modules of a plan on a host."""

DOCUMENTATION = r"""
---
module: kvn_run
short_description: Loads bitstreams into the modules of a host
version_added: 1.0.0
description:
  - Loads all modules of a plan with C(kvn run), all buses of the host at once, after a rehearsal of the whole plan.
  - Files are copied from the controller by their SHA-256, each distinct one once for a host, into C(folder).
  - In check mode only the rehearsal is done (C(kvn run --dry-run)). It reads the files, so these are copied.
  - The task fails unless every module is configured. C(msg) has each problem with its place and its remedy.
  - C(changed) is true exactly when the state of a module was changed; in check mode when a module would be loaded.
  - In diff mode the modules are compared with the last loads that the journals in C(folder) know.
options:
  plan:
    description: A plan file or C(.con) file on the controller. Files that it names by a relative name are copied.
    type: str
  modules:
    description: The modules in place of a plan, with the keys of a plan file. C(file) is a file on the controller.
    type: list
    elements: dict
  remote_src:
    description: C(plan) and all files are on the host; nothing is copied.
    type: bool
    default: false
  folder:
    description: Where the host keeps copied files (C(files)), plans (C(plans)) and journals (C(journals)).
    type: path
    default: ~/.local/state/kvn_fpga
  journal_to:
    description: A folder on the controller that gets a copy of the journal, C(HOST-NAME.journal), also after a failure.
    type: path
  resume:
    description:
      - Load only what the last journal of a plan of this name leaves to do; everything if there is none.
      - A module that was configured since the host started is kept and not loaded again.
    type: bool
    default: false
  operator_name:
    description: Text for the records.
    type: str
  station:
    description: Text for the records.
    type: str
  options:
    description: Further options of C(kvn run), each word an element.
    type: list
    elements: str
    default: []
  _sent:
    description: Set by the part of this module on the controller, and not for tasks; the plan with its files.
    type: dict
extends_documentation_fragment:
  - kavrin.fpga.kvn
"""

EXAMPLES = r"""
- name: Load the line's plan
  kavrin.fpga.kvn_run:
    plan: line.toml
    journal_to: journals
    resume: true

- name: Load two modules, and give a bus up after 20 s without a byte
  kavrin.fpga.kvn_run:
    modules:
      - {module: "mwc4a:0/1", file: camera.bit}
      - {module: "mwc4a:0/2", file: filter.mcb, retries: 1}
    options: [--module-timeout, "20"]
"""

RETURN = r"""
records:
  description: What is known of each module after the run, as C(kvn run --json) reports it.
  returned: always
  type: list
kept:
  description: The records of modules that a resumed run has left out, as they are configured.
  returned: always
  type: list
problems:
  description: The findings of the rehearsal, with C(severity), C(where), C(what) and C(remedy).
  returned: always
  type: list
planned:
  description: The modules of the plan, with file, digest, device, mode and bytes on the wire.
  returned: in check mode
  type: list
counts:
  description: The number of modules with each verdict. Null where C(kvn) ended without a result.
  returned: always
  type: dict
status:
  description: The exit status of C(kvn run).
  returned: always
  type: int
journal:
  description: The journal on the host. Null where none was written.
  returned: always
  type: str
journal_copy:
  description: Its copy on the controller.
  returned: when journal_to is given and there is a journal
  type: str
"""

from ansible.module_utils.basic import AnsibleModule
from ansible_collections.kavrin.fpga.plugins.module_utils import kvn, runs


def main():
    arguments = {
        "plan": {"type": "str"}, "modules": {"type": "list", "elements": "dict"},
        "remote_src": {"type": "bool", "default": False},
        "folder": {"type": "path", "default": "~/.local/state/kvn_fpga"},
        "journal_to": {"type": "path"}, "resume": {"type": "bool", "default": False},
        "operator_name": {"type": "str"}, "station": {"type": "str"},
        "options": {"type": "list", "elements": "str", "default": []},
        "_sent": {"type": "dict"},
    }
    arguments.update(kvn.OPTIONS)
    module = AnsibleModule(argument_spec=arguments, supports_check_mode=True,
                           mutually_exclusive=[["plan", "modules"]], required_one_of=[["plan", "modules"]])
    try:
        run = runs.Run(module)
        missing = run.lay_out()
        if missing:
            module.exit_json(changed=False, missing=missing, arrivals=run.arrivals)
        result = run.result(kvn.run_kvn(module, run.words(), run.place))
    except OSError as error:
        module.fail_json(msg="%s: %s; try: make room and rights for it, or name another folder" % (error.filename, error.strerror))
    module.exit_json(**result)


if __name__ == "__main__":
    main()
