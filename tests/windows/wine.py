# SPDX-License-Identifier: Apache-2.0
"""Runs Windows programs in Wine."""
import os
import subprocess


def windows_path(path):
    """A path of this system as Windows' programs take it: Z: is the root."""
    return "Z:" + str(path).replace("/", "\\")


class Wine:
    """A folder of Wine's, and the folders in which programs search for others and for libraries."""

    def __init__(self, emulator, *search):
        self.emulator = [str(word) for word in emulator]
        self.search = ";".join(windows_path(folder) for folder in search)

    def run(self, program, *arguments, folder=".", **variables):
        """The finished process of a program, with its output as bytes."""
        environment = {name: value for name, value in os.environ.items()
                       if not name.startswith(("KVN_", "MWAPI", "MWVIRTUAL_"))}
        environment |= {"WINEPATH": self.search} | variables
        return subprocess.run([*self.emulator, str(program), *arguments], cwd=folder, env=environment, check=False,
                              stdin=subprocess.DEVNULL, capture_output=True)
