# SPDX-License-Identifier: Apache-2.0
"""Finds and loads libkvn."""
from __future__ import annotations

import ctypes
import functools
import os
import pathlib

from kvn import _native
from kvn.errors import UsageError

SONAME = "libkvn.so.0"
CARRIED = pathlib.Path(__file__).parent / "libraries" / SONAME


def place() -> str:
    """Which library is meant: the one that KVN_LIBRARY names, else the wheel's own, else the system's."""
    named = os.environ.get("KVN_LIBRARY")
    if named:
        return named
    return str(CARRIED) if CARRIED.exists() else SONAME


@functools.cache
def library() -> ctypes.CDLL:
    """The library, loaded at the first call.

    :raises UsageError: when it cannot be loaded, or is older than this package
    """
    name = place()
    try:
        loaded = ctypes.CDLL(name)
        _native.declare(loaded)
    except (OSError, AttributeError) as error:
        raise UsageError(
            f"{name} cannot be used",
            str(error),
            f"install the package libkvn0, or let KVN_LIBRARY name a {SONAME}",
        ) from error
    return loaded


def version() -> str:
    """The version of libkvn, such as "1.0.0"."""
    text: bytes = library().kvn_version()
    return text.decode()
