# SPDX-License-Identifier: Apache-2.0
"""Kills: controller, worker or both are killed at a random moment; the resumed run does the rest and nothing twice."""
import collections
import random as randoms

from oracle import (Differences, compare_journal, compare_report, compare_stream, holds_design, loads_since,
                    without_chain)
from workplace import choose_files, kill_process, random_rack

# A journal without its first two lines is that of a run that has not begun.
HEAD_LINES = 2
VICTIMS = {"controller": "kill-controller", "worker": "kill", "both": "kill-both"}


class Kill:
    """One case: a run that is killed, perhaps its continuation too, and the run that ends it."""

    def __init__(self, seed, index):
        self.random = randoms.Random(f"kills/{seed}/{index}")
        self.facts = collections.Counter()
        self.found = Differences()

    def run(self, workplace):
        self.workplace = workplace
        random = self.random
        rack = random_rack(random, most_boards=5)
        self.planned = list(rack.modules)
        random.shuffle(self.planned)
        self.planned = self.planned[:8]
        choose_files(random, self.planned)
        workplace.write_rack(rack)
        self.plan = workplace.write_plan(random, self.planned)
        self.options = random.choice([[], [], ["--jobs", "1"], ["--jobs", "2"]])
        self.approved = {module.name: workplace.digest(module) for module in self.planned}

        journals = []
        before = {}
        kills = random.choice([1, 1, 1, 2, 3])
        for _ in range(kills):
            run = self.killed_run(workplace, journals)
            before = self.examine(workplace, run, before, journals)
            if len(run.journal_lines()) >= HEAD_LINES:
                journals.append(run.journal)
        workplace.write_faults([])
        run = self.start(workplace, journals)
        run.read_to_end()
        self.found.require(run.status == 0, "resumed run", f"status {run.status}: {run.errors[-600:]} {run.events[-1]}")
        compare_stream(self.found, run)
        self.examine(workplace, run, before, journals)
        compare_journal(self.found, run, is_whole=True)
        compare_report(self.found, run)
        self.require_all_configured(workplace, [*journals, run.journal])
        return self.found, self.facts

    def start(self, workplace, journals):
        resume = ["--resume", journals[-1]] if journals else []
        return workplace.start(self.plan, *self.options, *resume)

    def killed_run(self, workplace, journals):
        """Kills in a call of the driver, or when a line of the stream has come."""
        victim = self.random.choice(list(VICTIMS))
        how = self.random.choice(["driver", "driver", "stream"])
        self.facts[f"kills of {victim}, by {how}"] += 1
        if how == "driver":
            place = self.random.choice(["open", "ask", "start", "data", "data", "data", "data", "end", "answer"])
            module = self.random.choice(self.planned)
            target = module.bus_name if place == "open" else module.place
            count = self.random.choice([self.random.randint(0, 40), self.random.randint(0, 70000)])
            workplace.write_faults([f"{place} {VICTIMS[victim]} {target} 1 {count if place == 'data' else 0} 0"])
            run = self.start(workplace, journals)
            run.read_to_end()
            return self.checked_end(run, victim)
        workplace.write_faults([])
        moment = self.random.randint(1, 2 * len(self.planned) + 4)
        run = self.start(workplace, journals)
        for _ in range(moment):
            if run.next_event() is None:
                break
        workers = run.workers()
        if victim != "controller" and workers:
            kill_process(self.random.choice(workers))
        if victim != "worker":
            run.kill()
        run.read_to_end()
        return self.checked_end(run, victim)

    def checked_end(self, run, victim):
        """A run that loses a worker ends as every run."""
        self.facts[f"status {run.status}"] += 1
        if victim == "worker":
            compare_stream(self.found, run)
            compare_journal(self.found, run, is_whole=True)
            self.found.require(run.status in (0, 7, 9, 10), "run", f"status {run.status}: {run.errors[-400:]}")
        return run

    def examine(self, workplace, run, before, journals):
        """What the journal says after a run, however it ended. @return what the carriers hold"""
        carriers = workplace.carriers()
        lines = [without_chain(line) for line in run.journal_lines()]
        begun = collections.Counter(line["module"] for line in lines if line.get("event") == "begun")
        finished = {line["module"]: line["record"] for line in lines if line.get("event") == "finished"}
        kept = {line["module"]: line["record"] for line in lines if line.get("event") == "kept"}
        self.facts["records"] += len(finished)
        self.require_stream_in_journal(run, lines)
        if len(lines) < HEAD_LINES:
            self.facts["killed before the journal"] += 1
        else:
            verification, status = workplace.verified(run.journal)
            fits = verification.get("result") in ("unchanged", "torn")
            self.found.require(fits, run.journal, f"status {status}, {verification}")
        if journals:
            self.require_only_the_rest(workplace, journals, begun, kept)
        known = {}
        if len(lines) >= HEAD_LINES:
            known = {row["module"]: row for row in workplace.report(*journals, run.journal)[0]["modules"]}
        for module in self.planned:
            self.examine_module(module, carriers, before, begun, finished, kept, known)
        self.found.require(len(finished) == sum(line.get("event") == "finished" for line in lines), run.journal,
                           "a record is there twice")
        return carriers

    def examine_module(self, module, carriers, before, begun, finished, kept, known):
        name, holds = module.name, carriers.get(module.place, {})
        loads = loads_since(before, carriers, module.place)

        def require(condition, what):
            self.found.require(condition, name, f"{what} (carrier {holds}, before {before.get(module.place)}, begun "
                                                f"{begun[name]}, finished {finished.get(name)})")

        require(loads <= begun[name], "it was loaded more often than the journal has begun")
        require(not (name in kept and loads), "it was kept, and loaded")
        require(not (name in kept and begun[name]), "it was kept, and begun")
        for record in filter(None, (finished.get(name), kept.get(name))):
            if record["verdict"] == "configured":
                require(holds and holds_design(self.workplace, module, holds), "it is called configured, and is not")
                require(record["digest"] == self.approved[name], "it is said to hold another design")
            elif record["state"] == "interrupted":
                require(holds.get("state") == "part of its data", "it is called interrupted")
            elif record["state"] == "untouched":
                require(loads == 0, "it is called untouched")
        if begun[name] and name not in finished:
            self.facts["begun and not finished"] += 1
            require(known[name]["state"] == "interrupted", f"the report calls it {known[name]['state']}")
        if known and known[name]["state"] == "configured":
            require(holds.get("state") == "running", "the report calls it configured")

    def require_stream_in_journal(self, run, lines):
        told = [event for event in run.events if event.get("event") in ("begun", "finished", "kept")]
        for event in told:
            self.found.require(event in lines, run.journal, f"a line of the stream is lost: {event}")

    def require_only_the_rest(self, workplace, journals, begun, kept):
        """What all journals so far have as configured is not loaded again, and all of it is kept."""
        done = {row["module"] for row in workplace.report(*journals)[0]["modules"] if row["verdict"] == "configured"}
        if begun:
            self.found.require(set(kept) == done, journals[-1], f"it has {sorted(done)}, kept {sorted(kept)}")
        self.found.require(not set(begun) & done, journals[-1], f"loaded again: {sorted(set(begun) & done)}")

    def require_all_configured(self, workplace, journals):
        report, status = workplace.report(*journals)
        self.found.require(status == 0, "report", f"status {status}")
        names = [row["module"] for row in report["modules"]]
        self.found.require(sorted(names) == sorted(self.approved), "report", f"modules {names}")
        self.found.require(report["counts"]["configured"] == len(self.planned), "report", f"{report['counts']}")
        carriers = workplace.carriers()
        for module in self.planned:
            holds = carriers.get(module.place)
            self.found.require(holds and holds_design(workplace, module, holds), module.name, f"in the end it holds {holds}")
        self.facts["modules configured in the end"] += len(self.planned)
