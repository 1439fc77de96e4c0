# SPDX-License-Identifier: Apache-2.0
"""Builds the package; a wheel carries the libraries of the installation that KVN_WHEEL_PREFIX names.

Without that variable the package holds Python only and uses the libraries of the system.
"""
import os
import pathlib
import shutil
from typing import Any

from setuptools import Distribution, setup
from setuptools.command.build_py import build_py
from wheel.bdist_wheel import bdist_wheel

PREFIX = os.environ.get("KVN_WHEEL_PREFIX")
LIBRARIES = ("libkvn.so.0", "libmwvirtual.so", "libmwreplay.so")
FOLDER = "libraries"


def installed(prefix: str, library: str) -> pathlib.Path:
    """The file of a library anywhere in a prefix."""
    found = sorted(pathlib.Path(prefix).rglob(library))
    if not found:
        raise SystemExit(f"setup.py: no {library} in {prefix}, which KVN_WHEEL_PREFIX names")
    return found[0]


class BuildWithLibraries(build_py):
    """Puts the libraries beside the modules."""

    def run(self) -> None:
        super().run()
        if PREFIX is None:
            return
        target = pathlib.Path(self.build_lib) / "kvn" / FOLDER
        target.mkdir(exist_ok=True)
        for library in LIBRARIES:
            shutil.copyfile(installed(PREFIX, library), target / library)


class PackageForThePlatform(Distribution):
    """Goes where compiled modules do, if libraries are in it."""

    def has_ext_modules(self) -> bool:
        return PREFIX is not None


class WheelForThePlatform(bdist_wheel):
    """Names the platform of the libraries; the modules are for any Python 3."""

    def get_tag(self) -> Any:
        if PREFIX is None:
            return super().get_tag()
        return ("py3", "none", super().get_tag()[2])


setup(distclass=PackageForThePlatform, cmdclass={"build_py": BuildWithLibraries, "bdist_wheel": WheelForThePlatform})
