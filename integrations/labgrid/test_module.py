# SPDX-License-Identifier: Apache-2.0
"""A test of a bench: pytest --lg-env environment.yaml test_module.py"""
import pytest


@pytest.fixture
def module(target, strategy):
    """The driver of the module, whose FPGA runs the design."""
    strategy.transition("configured")
    return target.get_driver("KvnModuleDriver")


def test_the_module_is_the_one_that_the_design_is_for(module):
    assert module.identify().device == "2v3000fg676-4"


def test_the_design_runs_after_a_change_of_state(strategy):
    strategy.transition("off")
    strategy.transition("configured")
    assert strategy.status.value == "configured"
