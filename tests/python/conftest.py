# SPDX-License-Identifier: Apache-2.0
"""What the tests of the Python package share. They see installed files only: KVN_PREFIX is where they are."""
import os
import pathlib
import subprocess
from collections.abc import Callable, Iterator

import kvn
import pytest

pytest_plugins = ["pytester"]


@pytest.fixture(scope="session")
def prefix() -> pathlib.Path:
    return pathlib.Path(os.environ["KVN_PREFIX"])


@pytest.fixture(scope="session")
def bitgen(prefix: pathlib.Path, tmp_path_factory: pytest.TempPathFactory) -> Callable[..., pathlib.Path]:
    """Makes a bitstream file for a device."""
    folder = tmp_path_factory.mktemp("bitstreams")

    def make(device: str, name: str, *options: str) -> pathlib.Path:
        file = folder / name
        if not file.exists():
            subprocess.run([prefix / "bin" / "kvn_bitgen", device, "-o", file, *options], check=True)
        return file

    return make


@pytest.fixture
def design(bitgen: Callable[..., pathlib.Path]) -> pathlib.Path:
    return bitgen("2v3000fg676-4", "design.bit")


@pytest.fixture
def damaged(bitgen: Callable[..., pathlib.Path]) -> pathlib.Path:
    return bitgen("2v3000fg676-4", "damaged.bit", "--defect", "flipped-bit")


@pytest.fixture
def session() -> Iterator[kvn.Session]:
    with kvn.Session() as opened:
        yield opened
