# Copyright (c) 2026 kvn_fpga developers
# SPDX-License-Identifier: Apache-2.0
"""The part of kvn_run on the controller: sends plan and files, each file once, and keeps the copy of the journal."""
import base64
import gzip
import hashlib
import io
import json
import os
import subprocess
import tarfile
import uuid

from ansible.errors import AnsibleConnectionFailure, AnsibleError
from ansible.module_utils.common.text.converters import to_text
from ansible.module_utils.parsing.convert_bool import boolean
from ansible.plugins.action import ActionBase

try:
    import tomllib
except ImportError:  # before Python 3.11
    try:
        import tomli as tomllib
    except ImportError:
        tomllib = None


def quoted(value):
    """A value as TOML writes it. Texts of JSON are such of TOML, if no character beyond ASCII is escaped."""
    if isinstance(value, (bool, int, float)):
        return json.dumps(value)
    return json.dumps(to_text(value), ensure_ascii=False).replace("\x7f", "\\u007f")


def plan_of(modules):
    """A plan file of the modules of a task."""
    lines = []
    for module in modules:
        lines += ["[[module]]"] + ["%s = %s" % (quoted(key), quoted(value)) for key, value in module.items()] + [""]
    return "\n".join(lines)


def names_in(path, text):
    """The files that a plan names; none where it is no plan: kvn on the host will say so, and in which line."""
    if not path.endswith(".toml"):
        try:
            text = subprocess.run(["kvn", "plan", "convert", os.path.basename(path), "-o", "-"], check=True,
                                  cwd=os.path.dirname(path), stdin=subprocess.DEVNULL, capture_output=True).stdout
        except FileNotFoundError:
            raise AnsibleError("a .con file needs kvn on the controller; try: install the package kvn-fpga-tools here, or "
                               "convert the plan by kvn plan convert")
        except subprocess.CalledProcessError:
            return []
    if tomllib is None:
        raise AnsibleError("plans need Python 3.11 on the controller, or its package tomli")
    try:
        modules = tomllib.loads(to_text(text)).get("module", [])
        return [module["file"] for module in modules if isinstance(module.get("file"), str)]
    except (ValueError, AttributeError, TypeError):
        return []


class ActionModule(ActionBase):
    def run(self, tmp=None, task_vars=None):
        result = super().run(tmp, task_vars)
        arguments = dict(self._task.args)
        paths = {}
        try:
            if not boolean(arguments.get("remote_src", False)):
                arguments["_sent"], paths = self.collect(arguments)
            answer = self._execute_module(module_args=arguments, task_vars=task_vars)
            if answer.get("missing"):
                arguments["_sent"]["arrivals"] = answer["arrivals"]
                self.send([paths[digest] for digest in answer["missing"]], answer["arrivals"])
                answer = self._execute_module(module_args=arguments, task_vars=task_vars)
                if answer.get("missing"):
                    raise AnsibleError("the host has no room for the files, or they changed while they were sent: %s" %
                                       ", ".join(paths[digest][1] for digest in answer["missing"]))
        except AnsibleConnectionFailure:
            raise  # the host is unreachable, which is no failure of the task
        except AnsibleError as error:
            result.update(failed=True, msg=to_text(error))
            return result
        except OSError as error:
            result.update(failed=True, msg="%s cannot be read on the controller: %s" % (error.filename, error.strerror))
            return result
        answer.get("invocation", {}).get("module_args", {}).pop("_sent", None)
        result.update(answer)
        content = result.pop("journal_content", None)
        if content:
            self.keep_journal(result, task_vars["inventory_hostname"], arguments["journal_to"],
                              gzip.decompress(base64.b64decode(content)))
        return result

    def collect(self, arguments):
        """What the module is told of plan and files, and where the files are, by their digests."""
        if arguments.get("plan"):
            path = self._find_needle("files", os.path.expanduser(arguments["plan"]))
            with open(path, "rb") as file:
                text = file.read().decode("utf-8", "surrogateescape")
            name = os.path.basename(path)
            names = names_in(path, text)
            sources = {each: os.path.join(os.path.dirname(path), each) for each in names if not os.path.isabs(each)}
        else:
            name, sources, modules = "modules.toml", {}, []
            for module in arguments.get("modules") or []:
                if isinstance(module, dict) and module.get("file"):
                    path = self.find(to_text(module["file"]))
                    module = dict(module, file=self.name_for(path, sources))
                    sources[module["file"]] = path
                modules.append(module)
            text = plan_of(module for module in modules if isinstance(module, dict))
        files, paths = {}, {}
        for each, path in sources.items():
            if ".." in each.split("/"):
                raise AnsibleError("%s names %s, outside of its folder; try: name files in the folder of the plan, or "
                                   "absolute ones, which the host must have" % (name, each))
            if os.path.exists(path):
                with open(path, "rb") as file:
                    files[each] = hashlib.sha256(file.read()).hexdigest()
                paths[files[each]] = (path, each)
        return {"name": name, "text": text, "files": files}, paths

    def find(self, file):
        """Where a file of an inline module is; itself where it is missing, which the host reports."""
        try:
            return self._find_needle("files", os.path.expanduser(file))
        except AnsibleError:
            return file

    @staticmethod
    def name_for(path, sources):
        """Its own name, in a numbered folder where another file has that already."""
        name, number = os.path.basename(path), 1
        while sources.get(name, path) != path:
            number += 1
            name = "%d/%s" % (number, os.path.basename(path))
        return name

    def send(self, files, arrivals):
        """All files in one archive over one connection."""
        archive = io.BytesIO()
        with tarfile.open(fileobj=archive, mode="w") as tar:
            for path, _name in files:
                with open(path, "rb") as file:
                    content = file.read()
                member = tarfile.TarInfo(hashlib.sha256(content).hexdigest())
                member.size = len(content)
                tar.addfile(member, io.BytesIO(content))
        folder = self._connection._shell.quote(arrivals)
        answer = self._low_level_execute_command("mkdir {0} && tar -x -f - -C {0} || {{ rm -rf {0}; false; }}".format(folder),
                                                 in_data=archive.getvalue())
        if answer["rc"] != 0:
            raise AnsibleError("the files cannot be sent: %s; try: make room and rights for %s on the host" %
                               (answer["stderr"].strip() or answer["stdout"].strip(), arrivals))

    @staticmethod
    def keep_journal(result, host, folder, content):
        """Under the name of the host and its own."""
        path = os.path.join(os.path.expanduser(folder), "%s-%s" % (host, os.path.basename(result["journal"])))
        temporary = "%s.%s" % (path, uuid.uuid4().hex)
        try:
            os.makedirs(os.path.dirname(path), exist_ok=True)
            with open(temporary, "wb") as file:
                file.write(content)
            os.replace(temporary, path)
            result["journal_copy"] = path
        except OSError as error:
            also = "the journal cannot be kept on the controller: %s: %s" % (path, error.strerror)
            result.update(failed=True, msg="\n".join(filter(None, [result.get("msg"), also])))
