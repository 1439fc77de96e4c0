# SPDX-License-Identifier: Apache-2.0
"""What a run costs the controller, beside one bare command over the same hosts, for growing numbers of hosts."""
import json
import shutil
import random as randoms

import planting
from controller import Controller
from hosts import Fleet
from oracle import Differences

MOST_PROCESSOR_TIME = 1.5  # of the bare command's
MOST_SECONDS = 3.0  # besides the bus time of the slowest host
BYTES_PER_SECOND = 40000
TIMES = 3  # the median of which counts


class Cost:
    def __init__(self, programs, bitstreams, folder, given):
        self.random = randoms.Random(f"cost/{given.seed}")
        self.full = given.full
        self.fleet = Fleet(programs, bitstreams, folder, given.hosts)
        for host in self.fleet.hosts:
            planting.furnish(self.random, host, given.buses, given.modules, BYTES_PER_SECOND)
            planting.write(self.random, host)
            host.workplace.write_faults([])
        self.controller = Controller(self.fleet)
        self.found = Differences()
        self.facts = {"modules of each host": given.buses * given.modules}

    def run(self):
        with self.fleet:
            self.fleet.start()
            most = len(self.fleet.hosts)
            counts = [most] if self.full else [count for count in (1, 2, 4, 8, 16, 32) if count <= most]
            first = self.load(counts[-1])  # brings the files
            self.facts["processor seconds of a host, first run"] = f"{first.processor_seconds / counts[-1]:.3f}"
            for count in counts:
                self.compare(count, required=count == counts[-1])
        return self.found, self.facts

    def compare(self, count, required):
        bare, loads = [], []
        for _ in range(TIMES if required else 1):
            bare.append(self.bare(count))
            loads.append(self.load(count))
        bare_time, load_time = (median([play.processor_seconds for play in plays]) for plays in (bare, loads))
        bare_seconds, load_seconds = (median([play.seconds for play in plays]) for plays in (bare, loads))
        bus = max(self.bus_seconds(play, host) for play in loads for host in self.fleet.hosts[:count])
        ratio = load_time / bare_time
        self.facts[f"{count} hosts"] = (
            f"processor s a host: bare {bare_time / count:.3f}, run {load_time / count:.3f}, ratio {ratio:.2f}; "
            f"seconds: bare {bare_seconds:.1f}, run {load_seconds:.1f}, slowest bus {bus:.1f}")
        if required:
            self.facts["processor seconds of the main process, a host"] = (
                f"{median([play.main_seconds for play in loads]) / count:.3f}")
            self.facts["memory of the largest process, MB"] = max(play.megabytes for play in loads)
            size = max(len(json.dumps(play.of(host)[1])) for play in loads for host in self.fleet.hosts[:count])
            self.facts["result of a host, KB"] = size // 1024
            self.found.require(ratio <= MOST_PROCESSOR_TIME, f"{count} hosts", f"{ratio:.2f} of the bare command's time")
        if required and not self.full:  # the many workers of the full one share this computer's cores
            self.found.require(load_seconds <= bus + MOST_SECONDS + bare_seconds, f"{count} hosts",
                               f"{load_seconds:.1f} s for {bus:.1f} s of the bus, bare {bare_seconds:.1f} s")

    def chosen(self, count):
        return ",".join(host.name for host in self.fleet.hosts[:count])

    def bare(self, count):
        play = self.controller.run("ansible", self.chosen(count), "-m", "raw", "-a", "true", "-f", count)
        self.found.require(play.status == 0, "bare", play.output)
        return play

    def load(self, count):
        """With one journal of each host to report, and not those of earlier plays."""
        shutil.rmtree(self.controller.folder / "journals", ignore_errors=True)
        words = self.controller.load_words("--limit", self.chosen(count))
        play = self.controller.run(*words)
        self.found.require(play.status == 0, "run", play.output[:2000])
        return play

    @staticmethod
    def bus_seconds(play, host):
        """Of the bus that took longest."""
        _, result = play.of(host)
        seconds = {}
        for record in (result or {}).get("records", []):
            bus = record["module"].partition("/")[0]
            seconds[bus] = seconds.get(bus, 0) + record["seconds_on_wire"]
        return max(seconds.values(), default=0)


def median(values):
    return sorted(values)[len(values) // 2]
