# SPDX-License-Identifier: Apache-2.0
"""Measures a run of 64 modules on 16 buses against the bare calls of its loads, and prints the table of its goals.

    run_bench.py BIN_FOLDER FOLDER

BIN_FOLDER holds kvn, kvn_bitgen, kvn_run_floor and libmwvirtual.so; FOLDER takes the files. The boards are virtual: 250
kB/s and half a millisecond for each message. Floor and run are measured one after the other.
"""
import datetime
import json
import os
import pathlib
import re
import resource
import subprocess
import sys
import time

BUSES = 16
SLOTS = 4
DEVICE = "2v3000fg676-4"
PACED = "latency_us = 500\nbytes_per_second = 250_000\n"
GOALS = {"wall": 1.03, "processor": 0.03, "first byte": 0.2, "read": 1.0, "remaining time": 0.10}


def rack(pace):
    text = ""
    for board in range(BUSES):
        text += f'[[board]]\ntype = "mwc4a"\nnumber = {board}\n{pace}'
        for slot in range(1, SLOTS + 1):
            text += f'[[board.slot]]\nnumber = {slot}\nkind = "fpga"\nmodel = 4\ndevice = "{DEVICE}"\n'
    return text


def plan():
    return "".join(f'[[module]]\nmodule = "mwc4a:{board}/{slot}"\nfile = "design.bit"\n'
                   for board in range(BUSES) for slot in range(1, SLOTS + 1))


def processor_of_children():
    usage = resource.getrusage(resource.RUSAGE_CHILDREN)
    return usage.ru_utime + usage.ru_stime


def moment(text):
    return datetime.datetime.fromisoformat(text.replace("Z", "+00:00")).timestamp()


class Run:
    """kvn run, with the time at which each event was read."""

    def __init__(self, kvn, folder, environment, *options):
        before = processor_of_children()
        command = [kvn, "run", "plan.toml", "--json", "--progress", "none", *options]
        self.events = []
        with subprocess.Popen(command, cwd=folder, env=environment, stdout=subprocess.PIPE,
                              stderr=subprocess.DEVNULL, text=True) as process:
            for line in process.stdout:
                self.events.append((time.time(), json.loads(line)))
        if process.returncode != 0:
            raise RuntimeError(f"kvn run has ended with status {process.returncode}: {self.events[-1]}")
        self.processor = processor_of_children() - before

    def named(self, name):
        return [(at, event) for at, event in self.events if event.get("event") == name]

    def begin(self):
        """The end of the rehearsal."""
        return self.named("planned")[0][0]

    def end(self):
        return max(moment(event["record"]["end"]) for _, event in self.named("finished"))

    def wall(self):
        return self.end() - min(moment(event["at"]) for _, event in self.named("begun"))

    def first_byte(self):
        """Seconds from the end of the rehearsal to the first message of the last bus."""
        first = {}
        for _, event in self.named("finished"):
            record = event["record"]
            bus = event["module"].split("/")[0]
            begin = moment(record["end"]) - record["seconds_on_wire"]
            first[bus] = min(first.get(bus, begin), begin)
        return max(first.values()) - self.begin()

    def remaining_time(self):
        """The largest error of what was foretold after the first quarter, as a part of the whole."""
        begin, end = self.begin(), self.end()
        errors = [abs(at + event["run_seconds_left"] - end) / (end - begin)
                  for at, event in self.named("progress")
                  if event.get("run_seconds_left") is not None and at - begin > (end - begin) / 4]
        return max(errors)


def bytes_read(kvn, folder, environment):
    """What was read of the file, as a multiple of its size."""
    subprocess.run(["strace", "-ff", "-y", "-e", "trace=read,pread64,readv,mmap", "-o", "calls", kvn, "run",
                    "plan.toml", "--dry-run"], cwd=folder, env=environment, check=True, capture_output=True)
    read = 0
    for trace in folder.glob("calls.*"):
        for line in trace.read_text(encoding="ascii", errors="replace").splitlines():
            if result := re.search(r"\((?:\d+)<[^>]*/design\.bit>.* = (\d+)$", line):
                read += int(result[1])
        trace.unlink()
    return read / (folder / "design.bit").stat().st_size


def main(programs, folder):
    programs = pathlib.Path(programs).resolve()
    folder = pathlib.Path(folder)
    folder.mkdir(parents=True, exist_ok=True)
    kvn, floor = str(programs / "kvn"), str(programs / "kvn_run_floor")
    (folder / "fast.toml").write_text(rack(""), encoding="ascii")
    (folder / "paced.toml").write_text(rack(PACED), encoding="ascii")
    (folder / "plan.toml").write_text(plan(), encoding="ascii")
    subprocess.run([programs / "kvn_bitgen", DEVICE, "-o", "design.bit"], cwd=folder, check=True)
    environment = {**os.environ, "KVN_MWAPI": "virtual", "MWVIRTUAL_RACK": "fast.toml"}
    subprocess.run([floor, "capture", "design.bit", "mwc4a:0/1", "message"], cwd=folder, env=environment, check=True)
    environment["MWVIRTUAL_RACK"] = "paced.toml"
    bare = json.loads(subprocess.run([floor, "send", "message", str(BUSES), str(SLOTS)], cwd=folder, env=environment,
                                     check=True, capture_output=True).stdout)
    rehearsal = Run(kvn, folder, environment, "--dry-run")
    run = Run(kvn, folder, environment)
    load_processor = (run.processor - rehearsal.processor - bare["processor"]) / run.wall()
    figures = {"wall": run.wall() / bare["wall"], "processor": load_processor, "first byte": run.first_byte(),
               "remaining time": run.remaining_time()}
    try:
        figures["read"] = bytes_read(kvn, folder, environment)
    except FileNotFoundError:
        print("strace is missing: what was read is not counted", file=sys.stderr)
    print(f"floor: {bare['wall']:.2f} s, {bare['processor']:.2f} s of a processor; run: {run.wall():.2f} s, "
          f"{run.processor:.2f} s of a processor, of which its rehearsal {rehearsal.processor:.2f} s\n")
    print("| Figure | Goal | Measured |\n|---|--:|--:|")
    for name, figure in figures.items():
        print(f"| {name} | {GOALS[name]} | {figure:.3f} |")
    return 0 if all(figure <= GOALS[name] for name, figure in figures.items()) else 1


if __name__ == "__main__":
    if len(sys.argv) != 3:
        sys.exit(__doc__)
    sys.exit(main(*sys.argv[1:]))
