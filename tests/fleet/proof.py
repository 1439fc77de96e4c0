# SPDX-License-Identifier: Apache-2.0
"""A fleet with planted faults: the rehearsal names what can be known, and every record is what the carrier holds."""
import random as randoms
import re

import planting
from controller import Controller
from hosts import Fleet
from oracle import Differences, compare_record, compare_untouched, holds_design


class Proof:
    def __init__(self, programs, bitstreams, folder, given):
        self.random = randoms.Random(f"fleet/{given.seed}")
        self.fleet = Fleet(programs, bitstreams, folder, given.hosts)
        for host in self.fleet.hosts:
            planting.furnish(self.random, host, given.buses, given.modules)
        self.faults = planting.plant(self.random, self.fleet, 0.05)
        for host in self.fleet.hosts:
            planting.write(self.random, host)
            host.workplace.write_faults(host.hangs)
        self.controller = Controller(self.fleet)
        self.found = Differences()
        self.records = {}  # the last record of each module of each host
        self.facts = {"hosts": given.hosts, "modules": given.hosts * given.buses * given.modules,
                      "planted faults": len(self.faults)}

    def run(self):
        with self.fleet:
            self.fleet.start([host for host in self.fleet.hosts if not self.has(host, "unreachable")])
            self.rehearse()
            self.load_all()
            self.settle()
            self.load_the_rest()
            self.compare_end()
        return self.found, self.facts

    def has(self, host, *kinds):
        return any(fault.host is host and fault.kind in kinds for fault in self.faults)

    def require(self, holds, host, what):
        self.found.require(holds, host.name, what)

    def rehearse(self):
        """Check mode: nothing is sent, and each fault that can be known is named with its remedy."""
        play = self.controller.load("--check", "--diff")
        self.facts["seconds of the rehearsal"] = round(play.seconds, 1)
        for host in self.fleet.hosts:
            outcome, result = play.of(host)
            if self.has(host, "unreachable"):
                self.require(outcome == "unreachable" and host.address in result["msg"], host, f"it is called {outcome}")
                continue
            known = [fault for fault in self.faults if fault.host is host and fault.known_before]
            self.require(outcome == ("failed" if known else "ok"), host, f"rehearsal {outcome}: {result}")
            self.require(result and result["changed"] == (not known), host, "changed does not say what would be loaded")
            for fault in known:
                self.require(self.is_named(fault, result), host, f"{fault} is not named in {result['msg']}")
            problems = [problem for problem in result["problems"] if problem["severity"] == "problem"]
            self.require(len(problems) == len(known), host, f"{len(known)} faults are known, found {problems}")
            self.require_nothing_sent(host)
        self.facts["faults that the rehearsal named"] = sum(fault.known_before for fault in self.faults)

    def is_named(self, fault, result):
        """By the line of the plan, or by the module, and with a remedy."""
        plan = fault.host.workplace.path(fault.host.plan).read_text("utf-8")
        line = line_of(plan, fault.module)
        places = (f"{fault.host.plan}:{line}", fault.module.name)
        return any(problem["where"] in places and problem["remedy"] and
                   f"{problem['where']}: {problem['what']}" in result["msg"] and f"try: {problem['remedy']}" in result["msg"]
                   for problem in result["problems"])

    def require_nothing_sent(self, host):
        self.require(not host.workplace.wire() and not host.workplace.carriers(), host, "something was sent to a module")

    def load_all(self):
        play = self.controller.load()
        self.facts["seconds of the loads"] = round(play.seconds, 1)
        for host in self.fleet.hosts:
            outcome, result = play.of(host)
            if self.has(host, *planting.KNOWN_BEFORE, "unreachable"):
                self.require(outcome == ("unreachable" if self.has(host, "unreachable") else "failed"), host, outcome)
                self.require(not result.get("changed"), host, "it is called changed")
                self.require_nothing_sent(host)
            else:
                expected = "failed" if self.has(host, *planting.FOUND_IN_LOAD, "full disk") else "ok"
                self.require(outcome == expected, host, f"it is {outcome}: {result.get('msg')}")
                self.compare(host, result)
                if self.has(host, "full disk"):
                    self.require(result["status"] == 3, host, f"status {result['status']}: {result.get('msg')}")

    def settle(self):
        for fault in self.faults:
            planting.settle(fault)
        for host in self.fleet.hosts:
            host.begin()
            if self.has(host, *planting.KNOWN_BEFORE):
                planting.write(self.random, host)
        self.fleet.start([host for host in self.fleet.hosts if self.has(host, "unreachable")])

    def load_the_rest(self):
        """On the hosts that have loaded nothing or not all; what is configured is left out."""
        rest = [host for host in self.fleet.hosts if self.has(host, *planting.KNOWN_BEFORE, "unreachable", "full disk")]
        play = self.controller.load("--limit", ",".join(host.name for host in rest) + ",localhost", resume=True)
        for host in rest:
            outcome, result = play.of(host)
            self.require(outcome == "ok", host, f"it is {outcome}: {result}")
            self.compare(host, result)

    def compare(self, host, result):
        """Each record with the FPGA and the wire, and the copy of the journal with the records."""
        carriers, wire = host.workplace.carriers(), host.workplace.wire()
        records = {record["module"]: record for record in result["records"]}
        kept = {record["module"]: record for record in result["kept"]}
        names = sorted([*records, *kept])
        self.require(names == sorted(module.name for module in host.rack.modules), host, f"records of {names}")
        for module in host.rack.modules:
            if module.name in records:
                compare_record(self.found, host.workplace, module, records[module.name], carriers, host.before,
                               wire.get(module.place, []))
            elif module.name in kept:
                holds = carriers.get(module.place)
                self.require(holds and holds_design(host.workplace, module, holds) and not wire.get(module.place), host,
                             f"{module.name} was kept, and holds {holds}, wire {wire.get(module.place)}")
        compare_untouched(self.found, host.rack, host.rack.modules, carriers, host.before, wire)
        self.require(result["changed"] == bool(wire), host, f"changed is {result['changed']}")
        self.records.update(records)
        self.records.update(kept)

    def compare_end(self):
        """The merged report of the controller has each module once, with its last record."""
        report, status = self.controller.report()
        self.found.require(status == 0, "report", f"status {status}")
        rows = {row["module"]: row for row in report["modules"]}
        self.found.require(len(rows) == len(report["modules"]) == self.facts["modules"], "report", f"{len(rows)} modules")
        for name, record in self.records.items():
            row = {**(rows.get(name, {}).get("record") or {}), **rows.get(name, {})}
            for member in ("verdict", "state", "digest", "file", "answer"):
                self.found.require(row.get(member) == record[member], name,
                                   f"the report has {member} {row.get(member)}, the record {record[member]}")
        self.facts["records"] = len(self.records)
        for verdict in sorted({record["verdict"] for record in self.records.values()}):
            self.facts[f"records {verdict}"] = sum(record["verdict"] == verdict for record in self.records.values())
        html = self.controller.folder / "report.html"
        self.found.require(html.exists() and all(name in html.read_text("utf-8") for name in rows), "report",
                           "the playbook has written no page of all modules")


def line_of(plan, module):
    """The line with which a module begins in a plan file, or that it is in a .con file."""
    lines = plan.splitlines()
    for number, line in enumerate(lines, 1):
        if line == f'module = "{module.name}"':
            return number - 1
        if re.search(rf" {module.bus[0]} {module.bus[1]} 0x{module.carrier * 16 + module.slot:x}$", line):
            return number
    raise ValueError(module.name)
