# SPDX-License-Identifier: Apache-2.0
"""Sessions, hosts, runs, workers and the controller are killed in plays; resumed plays then load exactly the rest."""
import collections
import json
import os
import random as randoms
import shutil
import signal
import time

import planting
import processes
from controller import Controller
from hosts import Fleet
from oracle import Differences, holds_design, loads_since

BYTES_PER_SECOND = 60000
MOST_PLAYS = 3  # with kills, before one without
# What is killed on a host. A session's end leaves its run alone, which goes on.
KINDS = ("session", "host", "run", "worker")


class Kills:
    def __init__(self, programs, bitstreams, folder, given):
        self.random = randoms.Random(f"fleet kills/{given.seed}")
        self.wanted = given.kills
        self.size = given.buses, given.modules
        self.fleet = Fleet(programs, bitstreams, folder, given.hosts)
        for host in self.fleet.hosts:
            host.workplace.write_faults([])
            self.furnish(host)
        self.controller = Controller(self.fleet)
        self.found = Differences()
        self.facts = collections.Counter()

    def run(self):
        with self.fleet:
            self.fleet.start()
            while sum(self.facts[f"killed {kind}"] for kind in (*KINDS, "controller")) < self.wanted and not self.found:
                self.case()
        return self.found, dict(sorted(self.facts.items()))

    def furnish(self, host):
        planting.furnish(self.random, host, *self.size, BYTES_PER_SECOND)
        planting.write(self.random, host)

    def case(self):
        """A new line: modules without data, no journals."""
        for host in self.fleet.hosts:
            for folder in (host.workplace.path("state"), host.workplace.path("wire"), host.home / "state"):
                shutil.rmtree(folder, ignore_errors=True)
            host.workplace.path("state").mkdir()
            host.workplace.path("wire").mkdir()
            self.furnish(host)
        shutil.rmtree(self.controller.folder / "journals", ignore_errors=True)
        for _ in range(self.random.randint(1, MOST_PLAYS)):
            self.play(kills=True)
        play = self.play(kills=False)
        self.found.require(play.status == 0, "last play", play.output[-2000:])
        self.facts["lines of hosts"] += 1
        for host in self.fleet.hosts:
            self.require_all_configured(host, play)

    def play(self, kills):
        self.facts["plays"] += 1
        before = {host.name: (host.workplace.carriers(), host.journals(), self.done(host)) for host in self.fleet.hosts}
        process = self.controller.start(self.controller.load_words(resume=True))
        if kills:
            self.follow(process)
        play = self.controller.finish(process)
        self.wait_for_runs()
        for host in self.fleet.hosts:
            if host.sshd is None:
                host.start(self.fleet.folder / "key.pub")
            self.examine(host, play, *before[host.name])
        return play

    def follow(self, process):
        """Kills when as many lines as the case says are in the journals of this play."""
        lines = 2 + 2 * self.size[0] * self.size[1]
        earlier = {host.name: set(host.journals()) for host in self.fleet.hosts}
        pending = {host: (self.random.choice(KINDS), self.random.randint(1, lines)) for host in self.fleet.hosts
                   if self.random.random() < 0.6}
        controller = self.random.randint(0, lines * len(self.fleet.hosts)) if self.random.random() < 0.4 else None
        while process.poll() is None:
            written = {host: sum(path.read_bytes().count(b"\n") for path in set(host.journals()) - earlier[host.name])
                       for host in self.fleet.hosts}
            for host, (kind, after) in list(pending.items()):
                if written[host] >= after:
                    del pending[host]
                    self.facts[f"killed {kind}"] += self.kill(host, kind)
            if controller is not None and sum(written.values()) >= controller:
                below = [process.pid, *processes.descendants(process.pid)]
                processes.end(lambda chosen=below: chosen)
                self.facts["killed controller"] += 1
                return
            time.sleep(0.005)

    def kill(self, host, kind):
        """@return whether there was something to kill"""
        if kind == "host":
            host.stop()
            return True
        chosen = host.sessions() if kind == "session" else host.runs()[kind]
        if kind == "worker" and chosen:
            chosen = [self.random.choice(chosen)]
        for process in chosen:
            try:
                os.kill(process, signal.SIGKILL)
            except ProcessLookupError:
                pass
        return bool(chosen)

    def wait_for_runs(self):
        """Runs whose session or controller is gone go on to their end."""
        while any(sum(host.runs().values(), []) for host in self.fleet.hosts):
            time.sleep(0.05)
        processes.reap()

    def report(self, host):
        """What all journals of the host say of each module."""
        journals = host.journals()
        return {row["module"]: row for row in host.workplace.report(*journals)[0]["modules"]} if journals else {}

    def done(self, host):
        return {name for name, row in self.report(host).items() if row["verdict"] == "configured"}

    def examine(self, host, play, before, earlier, done):
        """What the play has left on one host."""
        carriers = host.workplace.carriers()
        journals = [path for path in host.journals() if path not in earlier]
        self.found.require(len(journals) <= 1, host.name, f"one play has left {journals}")
        self.found.require(all(path in host.journals() for path in earlier), host.name, "a journal is lost")
        for path in host.journals():
            verification, status = host.workplace.verified(path)
            self.found.require(verification.get("result") in ("unchanged", "torn"), host.name, f"{path}: {status}")
        events = [json.loads(line) for line in journals[0].read_bytes().split(b"\n")[:-1]] if journals else []
        begun = collections.Counter(event["module"] for event in events if event.get("event") == "begun")
        records = {event["module"]: event["record"] for event in events if event.get("event") in ("finished", "kept")}
        kept = {event["module"] for event in events if event.get("event") == "kept"}
        self.found.require(not begun or kept == done, host.name, f"kept {sorted(kept)}, configured before {sorted(done)}")
        rows = self.report(host)
        for module in host.rack.modules:
            name, holds = module.name, carriers.get(module.place)
            loads = loads_since(before, carriers, module.place)

            def require(condition, what, name=name, holds=holds):
                self.found.require(condition, name, f"{what} (carrier {holds}, begun {begun[name]}, {records.get(name)})")

            require(loads <= begun[name], "it was loaded without a line in the journal")
            require(not (name in done and (begun[name] or loads)), "it was configured, and is loaded again")
            if begun[name] and name not in records:
                self.facts["loads without a record"] += 1
                require(rows[name]["state"] == "interrupted", f"the report calls it {rows[name]['state']}")
            state = rows.get(name, {}).get("state")
            if state == "configured":
                require(holds and holds_design(host.workplace, module, holds), "it is called configured")
            if records.get(name, {}).get("state") == "interrupted":
                require(holds and holds["state"] == "part of its data", "it is called interrupted")
        outcome, result = play.of(host)
        if result and outcome != "unreachable":
            for record in result.get("records", []):
                self.found.require(records.get(record["module"]) == record, record["module"],
                                   "the play's record is not that of the journal")
        for path in self.controller.journals():
            if path.name.startswith(host.name + "-"):
                of_host = host.home / "state/journals" / path.name[len(host.name) + 1:]
                self.found.require(path.read_bytes() == of_host.read_bytes(), host.name, f"the copy {path.name} differs")

    def require_all_configured(self, host, play):
        outcome, result = play.of(host)
        self.found.require(outcome == "ok", host.name, f"it is {outcome}: {(result or {}).get('msg')}")
        if outcome != "ok":
            return
        records = [record["module"] for record in result["records"] + result["kept"]]
        self.found.require(sorted(records) == sorted(module.name for module in host.rack.modules), host.name,
                           f"records of {records}")
        self.found.require(result["changed"] == bool(result["records"]), host.name, "changed")
        carriers = host.workplace.carriers()
        for module in host.rack.modules:
            holds = carriers.get(module.place)
            self.found.require(holds and holds_design(host.workplace, module, holds), module.name,
                               f"in the end it holds {holds}")
        self.facts["modules configured in the end"] += len(records)
        self.facts["of these not loaded again in the last play"] += len(result["kept"])
