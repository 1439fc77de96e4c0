# SPDX-License-Identifier: Apache-2.0
"""Truth: after a run on a random rack with planted faults, every record says what the carrier's FPGA holds."""
import collections
import random as randoms

from oracle import (Differences, compare_journal, compare_record, compare_report, compare_stream, compare_untouched,
                    holds_the_same)
from workplace import DEVICES, choose_files, kill_process, limit_files, random_rack

# How often each kind of fault is planted.
KINDS = {"none": 2, "wrong device": 1, "other module": 1, "silent": 2, "hang": 2, "death": 4, "verdict": 3, "lost": 4,
         "bus": 3, "disk": 2, "room": 1, "killed": 2}
SIZES = {"2v40": 45000, "2v80": 79000, "v50": 69000, "2s15": 24000, "2s30": 42000}


class Planting:
    """Plants faults into a rack, a plan and a driver."""

    def __init__(self, random, rack, planned):
        self.random = random
        self.rack = rack
        self.planned = planned
        self.driver = []       # lines for the faulty provider
        self.options = []
        self.file_limit = 0
        self.full_after = None           # lines of the stream
        self.full_carriers_after = None
        self.kill_worker_after = None  # lines of the stream
        self.may_fail_rehearsal = False
        self.kinds = collections.Counter()

    def plant(self, kind):
        self.kinds[kind] += 1
        getattr(self, "plant_" + kind.replace(" ", "_"))(self.random.choice(self.planned))

    def plant_none(self, module):
        pass

    def plant_wrong_device(self, module):
        """The plan has a file for another device."""
        others = [device for device in DEVICES if device.split("-")[0] != module.device.split("-")[0]]
        module.file_device = self.random.choice(others)
        self.may_fail_rehearsal = True

    def plant_other_module(self, module):
        """A module of another kind answers once the files were approved."""
        when = self.random.choice([1, 2, 2, 2])
        kind = self.random.choice([3, 4, 9])
        module.faults.append(f'kind = "other-type"\nreply = "identification"\ntype = {kind}\nnth = {when}')
        module.planted.add("other")
        self.may_fail_rehearsal |= when == 1

    def plant_silent(self, module):
        reply = self.random.choice(["identification", "load", "load"])
        nth = self.random.choice([1, 2, 2]) if reply == "identification" else 1
        kind = self.random.choice(['kind = "no-reply"', f'kind = "short-reply"\nlength = {self.random.randint(0, 1)}'])
        module.faults.append(f'{kind}\nreply = "{reply}"\nnth = {nth}')
        module.planted.add("silent")
        self.may_fail_rehearsal |= reply == "identification" and nth == 1

    def place_in_load(self, module, places=("start", "data", "data", "data", "end", "answer")):
        """@return a place with its target, message and count"""
        place = self.random.choice(places)
        size = SIZES[next(name for name in sorted(SIZES, reverse=True) if module.device.startswith(name))]
        # A run-coded design is shorter: then nothing happens.
        count = self.random.choice([self.random.randint(0, 300), self.random.randint(0, size)])
        return place, module.place, 1, count if place == "data" else 0

    def plant_in_driver(self, module, action, value=0):
        """In the load, seldom before it."""
        early = self.random.random()
        place, target, message, count = self.place_in_load(module)
        if early < 0.06:
            place, target, count = "open", module.bus_name, 0
        elif early < 0.15:
            place, message, count = "ask", self.random.choice([1, 2]), 0
        self.may_fail_rehearsal |= early < 0.15
        self.driver.append(f"{place} {action} {target} {message} {count} {value}")

    def plant_hang(self, module):
        module.planted.add("hang")
        self.plant_in_driver(module, "hang")
        self.options = [*self.options, "--module-timeout", str(self.random.choice([1, 1.5]))]

    def plant_death(self, module):
        module.planted.add("death")
        if self.random.random() < 0.5:
            self.plant_in_driver(module, "exit", self.random.choice([0, 1, 3, 12, 255]))
        else:
            self.plant_in_driver(module, "kill")

    def plant_verdict(self, module):
        status = self.random.choice([1, 2, 3, 4, 6, 7, 8, 9, 10, 0, 77, 255])
        if self.random.random() < 0.5:
            module.faults.append(f'kind = "wrong-status"\nstatus = {status}')
        else:
            self.driver.append(f"answer lie {module.place} 0 0 {status}")
        module.planted.add("lie")

    def plant_lost(self, module):
        """In the frames, whose check sums the device compares."""
        module.planted.add("lost")
        module.load, module.compression = "plain", "none"
        size = SIZES[next(name for name in sorted(SIZES, reverse=True) if module.device.startswith(name))]
        byte = self.random.randint(size // 4, size * 3 // 4)
        action = self.random.choice(["lose", f"flip {1 << self.random.randint(0, 7)}"])
        word, _, mask = action.partition(" ")
        self.driver.append(f"data {word} {module.place} {self.random.choice([0, 1])} {byte} {mask or 0}")

    def plant_bus(self, module):
        """A call fails, once or for each attempt; the run may try again, and fail in another place."""
        module.planted.add("bus")
        code = 0x80000001
        place, target, _, count = self.place_in_load(module)
        self.driver.append(f"{place} fail {target} {self.random.choice([0, 1])} {count} {code}")
        if self.random.random() < 0.3:
            # Asked in the rehearsal, before the first load and before the second.
            place, message = self.random.choice([("start", 2), ("ask", 3), ("open", 3)])
            self.driver.append(f"{place} fail {module.bus_name if place == 'open' else target} {message} 0 {code}")
        if self.random.random() < 0.7:
            self.options = [*self.options, "--retries", str(self.random.randint(1, 3))]

    def plant_disk(self, module):
        """From some line of the stream on the journal finds no room; the carriers do."""
        self.full_after = self.random.randint(2, len(self.planned) + 2)
        self.file_limit = self.random.choice([0, self.random.randint(0, 3000), self.random.randint(0, 40000)])

    def plant_room(self, module):
        """From some line of the stream on the carriers find no room for the state of modules."""
        self.full_carriers_after = self.random.randint(2, len(self.planned) + 2)
        for each in self.planned:
            each.planted.add("room")

    def plant_killed(self, module):
        """One of the workers is killed from outside."""
        self.kill_worker_after = self.random.randint(3, 3 * len(self.planned) + 2)
        for each in self.planned:
            each.planted.add("death")


class Truth:
    """One case."""

    def __init__(self, seed, index):
        self.random = random = randoms.Random(f"truth/{seed}/{index}")
        self.rack = random_rack(random)
        modules = list(self.rack.modules)
        random.shuffle(modules)
        self.planned = modules[:min(random.randint((len(modules) + 1) // 2, len(modules)), 14)]
        choose_files(random, self.planned)
        self.planting = Planting(random, self.rack, self.planned)
        kinds = random.choices(list(KINDS), KINDS.values(), k=random.choice([1, 1, 1, 2, 3]))
        for kind in dict.fromkeys(kinds):
            self.planting.plant(kind)
        if random.random() < 0.3:
            self.planting.options += ["--jobs", str(random.randint(1, 3))]
        if random.random() < 0.15:
            self.planting.options += ["--stop-on-failure"]

    def run(self, workplace):
        """@return what does not fit, and what the case was about"""
        plan = workplace.write_plan(self.random, self.planned)
        before = self.load_before(workplace, plan)
        workplace.write_rack(self.rack)
        workplace.write_faults(self.planting.driver)
        run = workplace.start(plan, *self.planting.options)
        self.follow(run)
        run.wait()
        return self.compare(workplace, run, before), self.facts(run)

    def load_before(self, workplace, plan):
        """Some modules hold something already."""
        if self.random.random() > 0.15:
            return {}
        workplace.write_rack(self.rack, with_faults=False)
        workplace.run(plan)
        for path in workplace.path("wire").iterdir():
            path.unlink()
        return workplace.carriers()

    def follow(self, run):
        count = 0
        while run.next_event() is not None:
            count += 1
            if count == self.planting.full_after:
                limit_files(run.process.pid, self.planting.file_limit)
            if count == self.planting.full_carriers_after:
                for worker in run.workers():
                    limit_files(worker, 4096)
            if count == self.planting.kill_worker_after:
                workers = run.workers()
                if workers:
                    kill_process(self.random.choice(workers))

    def compare(self, workplace, run, before):
        found = Differences()
        carriers, wire = workplace.carriers(), workplace.wire()
        compare_stream(found, run)
        if found:
            return found
        records = run.records()
        is_whole = self.planting.full_after is None
        for module in self.planned:
            loads = wire.get(module.place, [])
            if module.name in records:
                compare_record(found, workplace, module, records[module.name], carriers, before, loads)
            else:
                same = holds_the_same(carriers.get(module.place), before.get(module.place))
                found.require(not loads and same, module.name,
                              f"no record, and {loads} on the wire, {carriers.get(module.place)}")
        compare_untouched(found, self.rack, self.planned, carriers, before, wire)
        compare_journal(found, run, is_whole)
        if is_whole:
            compare_report(found, run)
        self.compare_end(found, run)
        return found

    def compare_end(self, found, run):
        """The status, and that the run came to nothing only where that was planted."""
        records = run.records()
        verdicts = {record["verdict"] for record in records.values()}
        if run.status == 0:
            found.require(verdicts == {"configured"}, "run", f"status 0 with {verdicts}")
        elif run.status == 10:
            found.require(not run.of("begun") and not records, "run", "status 10, and loads were begun")
            problems = [event for event in run.of("problem") if event["severity"] == "problem"]
            slow = all("has not answered" in event["what"] or "timed out" in event["what"] for event in problems)
            found.require(problems and (self.planting.may_fail_rehearsal or "killed" in self.planting.kinds or slow),
                          "run", f"the rehearsal found what was not planted: {problems}")
        elif run.status == 3:
            found.require(self.planting.full_after is not None, "run", "status 3 with room on the disk")
        else:
            found.require(run.status in (5, 6, 7, 8, 9, 12), "run", f"status {run.status}: {run.errors[-400:]}")
            found.require(bool(records), "run", f"status {run.status} without records: {run.errors[-400:]}")

    def facts(self, run):
        facts = collections.Counter({f"planted {kind}": number for kind, number in self.planting.kinds.items()})
        for record in run.records().values():
            facts[f"records {record['verdict']}"] += 1
            facts[f"states {record['state']}"] += 1
        facts["records"] = len(run.records())
        facts[f"status {run.status}"] += 1
        return facts
