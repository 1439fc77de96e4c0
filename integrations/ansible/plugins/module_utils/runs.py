# Copyright (c) 2026 kvn_fpga developers
# SPDX-License-Identifier: Apache-2.0
"""One run of a plan on a host: its folder, its command, what its stream of events says."""
import base64
import datetime
import glob
import gzip
import hashlib
import json
import os
import shutil
import uuid

from ansible_collections.kavrin.fpga.plugins.module_utils import kvn


def holds(path, digest):
    """Whether a file is there and has this SHA-256."""
    sum_of = hashlib.sha256()
    try:
        with open(path, "rb") as file:
            for block in iter(lambda: file.read(1 << 20), b""):
                sum_of.update(block)
    except OSError:
        return False
    return sum_of.hexdigest() == digest


def put(path, content):
    """Writes a file under another name, and gives it its name when it is whole."""
    temporary = "%s.%s" % (path, uuid.uuid4().hex)
    try:
        with open(temporary, "wb") as file:
            file.write(content)
    except OSError as error:
        if os.path.exists(temporary):
            os.unlink(temporary)
        raise OSError(error.errno, error.strerror, path)
    os.replace(temporary, path)


class Run:
    def __init__(self, module):
        self.module = module
        self.parameters = module.params
        self.sent = module.params["_sent"] or {}
        self.folder = module.params["folder"]
        self.files = os.path.join(self.folder, "files")
        self.journals = os.path.join(self.folder, "journals")
        self.arrivals = os.path.join(self.files, "arrivals-%s" % uuid.uuid4().hex)
        self.place = self.plan = self.journal = None

    def lay_out(self):
        """Makes the plan's folder: the plan, and its files under the names that it has for them.

        Returns the digests of files that the host has not yet."""
        os.makedirs(self.journals, exist_ok=True)
        if not self.sent:
            self.place, self.plan = os.path.split(os.path.abspath(os.path.expanduser(self.parameters["plan"])))
            return []
        wanted = sorted(set(self.sent["files"].values()))
        os.makedirs(self.files, exist_ok=True)
        self.adopt(self.sent.get("arrivals"), wanted)
        missing = [digest for digest in wanted if not holds(os.path.join(self.files, digest), digest)]
        if not missing:
            self.write_plan()
        return missing

    def adopt(self, arrivals, wanted):
        """Files that arrived whole are kept under their digests."""
        if not arrivals:
            return
        for digest in wanted:
            arrived = os.path.join(arrivals, digest)
            if holds(arrived, digest):
                os.replace(arrived, os.path.join(self.files, digest))
        shutil.rmtree(arrivals, ignore_errors=True)

    def write_plan(self):
        """Equal plans with equal files share a folder: what is in it never changes."""
        self.plan = self.sent["name"]
        text = self.sent["text"].encode("utf-8", "surrogateescape")
        key = hashlib.sha256(json.dumps([self.plan, self.sent["files"]], sort_keys=True).encode() + b"\n" + text)
        self.place = os.path.join(self.folder, "plans", key.hexdigest()[:32])
        os.makedirs(self.place, exist_ok=True)
        for name, digest in self.sent["files"].items():
            link = os.path.join(self.place, name)
            os.makedirs(os.path.dirname(link), exist_ok=True)
            try:
                os.symlink(os.path.join(self.files, digest), link)
            except FileExistsError:
                pass
        put(os.path.join(self.place, self.plan), text)

    def words(self):
        """The command without the program."""
        begin = os.path.join(self.journals, glob.escape(self.plan) + ".")
        earlier = sorted(glob.glob(begin + "*.journal"))
        words = ["run", self.plan, "--json", "--progress", "none"]
        for name, option in (("operator_name", "--operator"), ("station", "--station")):
            if self.parameters[name]:
                words += [option, self.parameters[name]]
        if self.parameters["resume"] and earlier:
            words += ["--resume", earlier[-1]]
        if self.module.check_mode:
            words.append("--dry-run")
        else:
            now = datetime.datetime.now(datetime.timezone.utc).strftime("%Y-%m-%dT%H-%M-%S.%fZ")
            self.journal = os.path.join(self.journals, "%s.%s.journal" % (self.plan, now))
            words += ["--journal", self.journal]
        return words + self.parameters["options"]

    def result(self, outcome):
        """The result of the task."""
        events = outcome.events()

        def of(kind):
            return [event for event in events if event.get("event") == kind]

        ended = (of("result") or [{}])[-1]
        records = [event["record"] for event in of("finished")]
        problems = of("problem")
        planned = [module for event in of("planned") for module in event["modules"]]
        open_ended = sorted({event["module"] for event in of("begun")} - {record["module"] for record in records})
        left_out = {problem["where"] for problem in problems if problem["what"].startswith("it is left out")}
        would_load = ended.get("status") == 0 and any(module["module"] not in left_out for module in planned)
        moved = any(record["attempts"] and record["state"] != "untouched" for record in records) or bool(open_ended)
        lines = [kvn.in_words(problem["where"], problem) for problem in problems if problem["severity"] == "problem"]
        lines += [kvn.in_words("%s: %s" % (record["module"], record["verdict"]), record["failure"])
                  for record in records if record["failure"]]
        if not ended:
            lines.append("kvn run ended without a result: %s; try: run again with resume" % outcome.end())
            lines += ["%s: its load was begun, and its end was not reported" % module for module in open_ended]
        elif ended["failure"]:
            lines.append(kvn.in_words(None, ended["failure"]))
        if outcome.stopped and ended:
            lines.append("kvn run was stopped after %s s, the option timeout" % self.parameters["timeout"])
        result = {"changed": would_load if self.module.check_mode else moved, "records": records,
                  "kept": [event["record"] for event in of("kept")], "problems": problems,
                  "counts": ended.get("counts"), "status": ended.get("status", outcome.status), "journal": None}
        # The records have all of it, and every byte of a result costs the controller time.
        if self.module.check_mode:
            result["planned"] = planned
        if self.module._diff:
            result["diff"] = self.difference(planned)
        if not ended or ended["status"] != 0:
            result.update(failed=True, msg="\n".join(lines) or "kvn run: %s" % ended["class"])
        self.add_journal(result)
        return result

    def add_journal(self, result):
        if self.journal and os.path.exists(self.journal):
            result["journal"] = self.journal
            if self.parameters["journal_to"]:
                with open(self.journal, "rb") as file:
                    result["journal_content"] = base64.b64encode(gzip.compress(file.read(), 1)).decode()

    def difference(self, planned):
        """The last loads that the journals know, and what the plan is for."""
        outcome = kvn.run_kvn(self.module, ["history", "--journals", self.journals, "--json"])
        document = outcome.document() or {}
        names = {module["module"] for module in planned}
        before = {}
        for load in document.get("loads", []):
            known = load["record"] or load["planned"] or {}
            if load["module"] in names and load["journal"] != self.journal:
                before[load["module"]] = {"file": known.get("file"), "digest": known.get("digest"),
                                          "state": known.get("state", "interrupted")}
        after = {module["module"]: {"file": module["file"], "digest": module["digest"], "state": "configured"}
                 for module in planned}
        return {"before_header": "last journal", "after_header": self.plan, "before": before, "after": after}
