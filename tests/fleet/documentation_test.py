# SPDX-License-Identifier: Apache-2.0
"""The collection's documentation, and the checks of ansible-test that need no network.

ansible-test itself makes an environment from a package index for some of its checks; these are called here as it calls
them: validate-modules, pep8 and yamllint. Those without requirements are run by ansible-test.
"""
import ast
import json
import os
import pathlib
import shutil
import subprocess
import sys

import pytest

COLLECTION = pathlib.Path(__file__).resolve().parent.parent.parent / "integrations/ansible"
SANITY = pathlib.Path(__import__("ansible_test").__file__).parent / "_util/controller/sanity"
# Of ansible-test's own, those that need nothing.
ALONE = ["action-plugin-docs", "compile", "empty-init", "line-endings", "no-assert", "no-get-exception",
         "no-illegal-filenames", "no-main-display", "no-smart-quotes", "no-unicode-literals", "replace-urlopen", "shebang",
         "symlinks", "use-argspec-type-path", "use-compat-six"]
# The project has another licence than the collections of Ansible itself.
LICENCE = "missing-gplv3-license"


@pytest.fixture(scope="module", name="place")
def collection_where_ansible_looks(tmp_path_factory):
    root = tmp_path_factory.mktemp("collections")
    shutil.copytree(COLLECTION, root / "ansible_collections/kavrin/fpga",
                    ignore=shutil.ignore_patterns("__pycache__", "output"))
    return root


def run(place, words, status=0):
    environment = {**os.environ, "ANSIBLE_COLLECTIONS_PATH": str(place), "HOME": str(place), "LC_ALL": "C.UTF-8",
                   "PYTHONPATH": str(SANITY.parent.parent.parent.parent), "PYTHONDONTWRITEBYTECODE": "1"}
    outcome = subprocess.run([str(word) for word in words], cwd=place / "ansible_collections/kavrin/fpga", env=environment,
                             capture_output=True, text=True, check=False, stdin=subprocess.DEVNULL)
    assert outcome.returncode == status, outcome.stdout + outcome.stderr
    return outcome.stdout


@pytest.mark.parametrize("name", ["kvn_run", "kvn_facts"])
def test_ansible_doc_shows_options_examples_and_results(place, name):
    shown = json.loads(run(place, ["ansible-doc", "-j", f"kavrin.fpga.{name}"]))[f"kavrin.fpga.{name}"]
    assert shown["doc"]["short_description"]
    assert {"program", "provider", "timeout"} <= set(shown["doc"]["options"])
    assert f"kavrin.fpga.{name}:" in shown["examples"]
    assert all(value["description"] for value in shown["return"].values())


def test_ansible_doc_shows_the_role(place):
    assert "kvn_provider_file" in run(place, ["ansible-doc", "-t", "role", "kavrin.fpga.kvn"])


@pytest.mark.parametrize("name", ["kvn_run", "kvn_facts"])
def test_a_module_has_at_most_150_lines(name):
    assert len((COLLECTION / f"plugins/modules/{name}.py").read_text("utf-8").splitlines()) <= 150


def test_validate_modules_finds_nothing_but_the_licence(place):
    found = json.loads(run(place, [
        sys.executable, SANITY / "validate-modules/validate.py", "--format", "json", "--arg-spec", "--collection",
        "ansible_collections/kavrin/fpga", "--collection-version", "1.0.0", "plugins/modules/kvn_run.py",
        "plugins/modules/kvn_facts.py"], status=3))
    for path, findings in found.items():
        assert {error["code"] for error in findings["errors"]} == {LICENCE}, (path, findings)
        assert not findings["warnings"], (path, findings)


def test_pep8_finds_nothing(place):
    ignored = (SANITY / "pep8/current-ignore.txt").read_text("ascii").split()
    assert run(place, [sys.executable, "-m", "pycodestyle", "--max-line-length", "160", "--config", "/dev/null", "--ignore",
                       ",".join(sorted(ignored)), "plugins"]) == ""


def test_yamllint_finds_nothing(place):
    root = place / "ansible_collections/kavrin/fpga"
    files = sorted(str(path.relative_to(root)) for kind in ("*.yml", "plugins/**/*.py") for path in root.glob(
        kind if "/" in kind else f"**/{kind}"))
    found = json.loads(run(place, [sys.executable, SANITY / "yamllint/yamllinter.py", *files]))
    assert found["messages"] == []


def test_the_checks_of_ansible_test_that_need_nothing_find_nothing(place):
    chosen = [word for name in ALONE for word in ("--test", name)]
    shown = run(place, [sys.executable, shutil.which("ansible-test"), "sanity", "--python", "%d.%d" % sys.version_info[:2],
                        *chosen])
    assert "FATAL" not in shown


def test_what_runs_on_hosts_needs_python_3_9_and_its_standard_library_alone():
    allowed = sys.stdlib_module_names | {"ansible_collections", "ansible"}
    for path in [*COLLECTION.glob("plugins/modules/*.py"), *COLLECTION.glob("plugins/module_utils/*.py")]:
        ast.parse(path.read_text("utf-8"), feature_version=(3, 9))
        for line in path.read_text("utf-8").splitlines():
            words = line.split()
            if words[:1] in (["import"], ["from"]) and not line.startswith(" "):
                assert words[1].split(".")[0].rstrip(",") in allowed, (path.name, line)


def test_the_playbooks_of_the_example_are_well_formed(place):
    example = place / "ansible_collections/kavrin/fpga/examples/line"
    for name in ("load.yml", "install.yml", "report.yml"):
        environment = {**os.environ, "ANSIBLE_COLLECTIONS_PATH": str(place), "HOME": str(place), "LC_ALL": "C.UTF-8"}
        outcome = subprocess.run(["ansible-playbook", "--syntax-check", name], cwd=example, env=environment,
                                 capture_output=True, text=True, check=False)
        assert outcome.returncode == 0, outcome.stderr
