# SPDX-License-Identifier: Apache-2.0
"""Plans that the controller writes and reads for kvn_run."""
import importlib.util
import pathlib
import random as randoms
import tomllib

import pytest
from ansible.errors import AnsibleError

PLUGIN = pathlib.Path(__file__).resolve().parent.parent.parent / "integrations/ansible/plugins/action/kvn_run.py"


@pytest.fixture(name="plugin")
def controllers_part():
    specification = importlib.util.spec_from_file_location("kvn_run_action", PLUGIN)
    module = importlib.util.module_from_spec(specification)
    specification.loader.exec_module(module)
    return module


def test_any_text_of_a_task_is_that_text_in_the_plan(plugin):
    random = randoms.Random(1)
    characters = [chr(number) for number in [*range(1, 256), 0x2028, 0xFFFD, 0xFFFF, 0x1F600, 0x10FFFF]]
    for _ in range(500):
        text = "".join(random.choices(characters, k=random.randint(0, 40)))
        plan = plugin.plan_of([{"module": text, "retries": 2}, {"timeout": 1.5, "x" + text: True}])
        assert tomllib.loads(plan) == {"module": [{"module": text, "retries": 2}, {"timeout": 1.5, "x" + text: True}]}


def test_the_files_of_a_plan_are_those_of_its_modules(plugin):
    assert plugin.names_in("a.toml", '[[module]]\nfile = "b"\n[[module]]\nfile = 1\n[[module]]\nfile = "c"\n') == ["b", "c"]


@pytest.mark.parametrize("text", ["[[module]", "module = 1", "module = [1]", "[module]\nx = 1"])
def test_what_is_no_plan_has_no_files(plugin, text):
    assert plugin.names_in("a.toml", text) == []


def test_a_con_file_without_kvn_on_the_controller_says_what_to_install(plugin, monkeypatch, tmp_path):
    monkeypatch.setenv("PATH", str(tmp_path))
    with pytest.raises(AnsibleError, match="install the package kvn-fpga-tools"):
        plugin.names_in(str(tmp_path / "a.con"), "")


def test_a_controller_without_a_reader_of_plans_says_so(plugin, monkeypatch):
    monkeypatch.setattr(plugin, "tomllib", None)
    with pytest.raises(AnsibleError, match="Python 3.11"):
        plugin.names_in("a.toml", "")


def test_files_of_equal_names_get_folders(plugin):
    sources = {}
    for path in ("x/a.bit", "y/a.bit", "x/a.bit", "z/a.bit"):
        sources[plugin.ActionModule.name_for(path, sources)] = path
    assert sources == {"a.bit": "x/a.bit", "2/a.bit": "y/a.bit", "3/a.bit": "z/a.bit"}
