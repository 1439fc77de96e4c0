# SPDX-License-Identifier: Apache-2.0
"""Which libkvn is used, what the wheel holds, and the types that a user's program sees."""
import os
import pathlib
import subprocess
import sys
import zipfile

import kvn
import pytest

PACKAGE = pathlib.Path(kvn.__file__).parent
SHOW = "import kvn; kvn.version(); print([line.split()[-1] for line in open('/proc/self/maps') if 'libkvn' in line][0])"


def python(*arguments, **variables):
    environment = {name: value for name, value in os.environ.items() if name not in ("KVN_LIBRARY", "LD_LIBRARY_PATH")}
    return subprocess.run(
        [sys.executable, "-B", *arguments], env=environment | variables, capture_output=True, text=True, check=False
    )


def test_debians_python_runs_these_tests():
    assert sys.executable == "/usr/bin/python3"


def test_a_wheels_own_library_is_used(prefix):
    run = python("-c", SHOW, LD_LIBRARY_PATH=str(prefix / "lib"))
    assert run.stdout.strip() == str(PACKAGE / "libraries" / "libkvn.so.0"), run.stderr


def test_the_variable_names_another_library(prefix):
    library = prefix / "lib" / "libkvn.so.0"
    assert python("-c", SHOW, KVN_LIBRARY=str(library)).stdout.strip() == str(library.resolve())


def test_a_package_without_a_library_uses_the_systems(prefix, tmp_path):
    (tmp_path / "kvn").mkdir()
    for module in PACKAGE.glob("*.py"):
        (tmp_path / "kvn" / module.name).write_bytes(module.read_bytes())
    run = python("-c", SHOW, PYTHONPATH=str(tmp_path), LD_LIBRARY_PATH=str(prefix / "lib"))
    assert run.stdout.strip() == str((prefix / "lib" / "libkvn.so.0").resolve()), run.stderr


@pytest.mark.parametrize("library", ["/nowhere/libkvn.so.0", "libc.so.6"])
def test_a_library_that_cannot_be_used_is_named(library):
    run = python("-c", "import kvn\ntry: kvn.Session()\nexcept kvn.UsageError as error: print(error)", KVN_LIBRARY=library)
    first, why, remedy = run.stdout.splitlines()
    assert first == f"{library} cannot be used"
    assert library in why
    assert remedy == "try: install the package libkvn0, or let KVN_LIBRARY name a libkvn.so.0"


def test_the_wheel_carries_the_libraries_for_this_platform():
    (wheel,) = pathlib.Path(os.environ["KVN_WHEELS"]).glob("*.whl")
    assert wheel.name.startswith("kvn-1.0.0-py3-none-linux_")
    names = zipfile.ZipFile(wheel).namelist()
    assert {f"kvn/libraries/{name}" for name in ("libkvn.so.0", "libmwvirtual.so", "libmwreplay.so")} <= set(names)
    assert {"kvn/py.typed", "kvn/pytest_plugin.py"} <= set(names)


def mypy(file, **variables):
    cache = pathlib.Path(os.environ["KVN_WHEELS"]) / "mypy"
    return python("-m", "mypy", "--strict", "--cache-dir", str(cache), str(file), **variables).stdout


def test_the_package_is_strictly_typed():
    assert mypy(PACKAGE) == "Success: no issues found in 9 source files\n"


def test_a_users_program_sees_the_types(tmp_path):
    program = tmp_path / "program.py"
    program.write_text(
        "import kvn\n"
        "def show(progress: kvn.Progress) -> None:\n"
        "    print(progress.fraction)\n"
        "with kvn.Session() as session:\n"
        "    reveal_type(session.load('design.bit', 'mwc4a:0/1', progress=show))\n"
        "    session.load(3, 'mwc4a:0/1')\n",
        encoding="utf-8",
    )
    found = mypy(program, MYPYPATH=str(PACKAGE.parent))
    assert 'program.py:5: note: Revealed type is "kvn.results.Record"' in found
    assert 'program.py:6: error: Argument 1 to "load"' in found
    assert "Found 1 error in 1 file" in found
