# SPDX-License-Identifier: Apache-2.0
"""Fixtures for the tests of an application. pytest finds them where this package is installed."""
from __future__ import annotations

from collections.abc import Iterator
from typing import TYPE_CHECKING

import pytest

if TYPE_CHECKING:
    from kvn.virtual import VirtualModule, VirtualRack


@pytest.fixture
def virtual_rack() -> Iterator[VirtualRack]:
    """An empty rack of virtual carriers, in force during the test for this process and those that it starts."""
    from kvn.virtual import VirtualRack  # only in runs that use it

    with VirtualRack() as rack:
        yield rack


@pytest.fixture
def kvn_device() -> str:
    """The device of kvn_module; tests may parametrize or override it."""
    return "2v3000fg676-4"


@pytest.fixture
def kvn_module(virtual_rack: VirtualRack, kvn_device: str) -> VirtualModule:
    """The module mwc4a:0/1 of virtual_rack, a KAVRIN-FPGA with the device that kvn_device names."""
    return virtual_rack.add("mwc4a:0/1", kvn_device)
