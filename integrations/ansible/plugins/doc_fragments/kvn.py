# Copyright (c) 2026 kvn_fpga developers
# SPDX-License-Identifier: Apache-2.0
"""The options that all modules of the collection have."""


class ModuleDocFragment:
    DOCUMENTATION = r"""
options:
  program:
    description:
      - The program C(kvn) on the host.
    type: path
    default: kvn
  provider:
    description:
      - The library that reaches the boards, by its path on the host, or C(virtual) for simulated boards.
      - By default it is what the variable C(KVN_MWAPI) of the host's environment names.
    type: str
  timeout:
    description:
      - Seconds after which C(kvn) is stopped as by a signal. What it then reports is the result.
      - There is no limit by default.
    type: float
requirements:
  - kvn (Debian package kvn-fpga-tools) on the host
author:
  - kvn_fpga developers (@kvn-fpga)
"""
