# SPDX-License-Identifier: Apache-2.0
"""Swaps: files are exchanged while they are approved and loaded; the approved bytes are sent, or none."""
import collections
import hashlib
import os
import random as randoms
import shutil
import threading

from oracle import Differences, compare_journal, compare_stream, holds_design
from workplace import choose_files, random_rack


class Exchange(threading.Thread):
    """Exchanges a file for another and back, until it is told to stop: by a new name, or in place."""

    def __init__(self, path, contents, in_place):
        super().__init__(daemon=True)
        self.path = path
        self.contents = contents
        self.in_place = in_place
        self.is_over = threading.Event()
        self.rounds = 0

    def run(self):
        while not self.is_over.is_set():
            for content in self.contents:
                self.exchange(content)
            self.rounds += 1

    def exchange(self, content):
        if self.in_place:
            with open(self.path, "r+b") as file:
                file.write(content)
                file.truncate()
            return
        other = self.path.with_name(f"{self.path.name}.new")
        other.write_bytes(content)
        os.replace(other, self.path)

    def stop(self):
        self.is_over.set()
        self.join()


class Swap:
    """One race."""

    def __init__(self, seed, index):
        self.random = randoms.Random(f"swaps/{seed}/{index}")

    def run(self, workplace):
        random = self.random
        rack = random_rack(random, most_boards=4, most_slots=2)
        planned = list(rack.modules)
        # Two designs of the same size: with half of each a file is none of both.
        choose_files(random, planned, designs=1, forms=("rbt", "bit", "mcb"))
        for module in planned:
            module.seed = 2
        workplace.write_rack(rack)
        plan = workplace.write_plan(random, planned)
        how = random.choice(["when it is planned", "when it is planned", "all the time"])
        in_place = random.random() < 0.5
        with_manifest = random.random() < 0.5
        designs = {}
        exchanges = []
        for module in {(each.device, each.extension): each for each in planned}.values():
            pair = [workplace.bitstreams.get(module.device, seed, module.extension) for seed in (2, 4)]
            path = workplace.path(pair[0].name)
            path.unlink()
            shutil.copy(pair[0], path)
            designs[pair[0].name] = [hashlib.sha256(file.read_bytes()).hexdigest() for file in pair]
            exchanges.append(Exchange(path, [file.read_bytes() for file in reversed(pair)], in_place))
        options = []
        if with_manifest:
            workplace.write("manifest", "".join(f"{sums[0]}  {name}\n" for name, sums in designs.items()))
            options = ["--manifest", "manifest"]

        run = workplace.start(plan, *options)
        if how == "all the time":
            for exchange in exchanges:
                exchange.start()
        while (event := run.next_event()) is not None:
            if event.get("event") == "planned" and how != "all the time":
                for exchange in exchanges:
                    exchange.start()
        run.wait()
        for exchange in exchanges:
            if exchange.ident is not None:
                exchange.stop()
        facts = collections.Counter({f"exchanged {how}, {'in place' if in_place else 'by name'}": 1,
                                     f"status {run.status}": 1,
                                     "exchanges": sum(2 * exchange.rounds for exchange in exchanges)})
        return self.compare(workplace, run, planned, designs if with_manifest else None, facts), facts

    def compare(self, workplace, run, planned, approved, facts):
        found = Differences()
        compare_stream(found, run)
        if found:
            return found
        compare_journal(found, run, is_whole=True)
        carriers = workplace.carriers()
        told = {module["module"]: module for event in run.of("planned") for module in event["modules"]}
        records = run.records()
        for module in planned:
            holds, record, plan = carriers.get(module.place), records.get(module.name), told.get(module.name, {})
            context = f"(planned {plan}, record {record}, carrier {holds})"
            if record is None or record["state"] == "untouched":
                found.require(holds is None, module.name, f"nothing was to be loaded {context}")
                facts["refused before the load"] += 1
                continue
            facts["loaded"] += 1
            # Which of the two designs was approved.
            approved_seed = [seed for seed in (2, 4) if workplace.bitstreams.digest(module.device, seed) == plan["digest"]]
            found.require(len(approved_seed) == 1, module.name, f"a mixture {context}")
            module.seed = (approved_seed or [0])[0]
            found.require(record["verdict"] == "configured" and holds_design(workplace, module, holds), module.name,
                          f"other bytes than those approved {context}")
            found.require(record["digest"] == plan["digest"], module.name, f"another digest {context}")
            found.require(approved is None or module.seed == 2, module.name, f"not in the manifest {context}")
            found.require(record["file_sha256"] == plan["file_sha256"], module.name, f"another file {context}")
        if run.status not in (0, 10):
            found.append(f"status {run.status}: {run.errors[-400:]}")
        return found
