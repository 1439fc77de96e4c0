# SPDX-License-Identifier: Apache-2.0
"""Racks, plans and faults of a fleet's hosts."""
import dataclasses
import pathlib
import sys

sys.path.append(str(pathlib.Path(__file__).resolve().parent.parent / "run_soak"))
from workplace import COMPRESSIBLE, DEVICES, Module, Rack, choose_files  # noqa: E402 # pylint: disable=wrong-import-position

KNOWN_BEFORE = ("wrong device", "no answer")
FOUND_IN_LOAD = ("silent", "hang", "verdict")


@dataclasses.dataclass
class Fault:
    """@param kind one of those above, "unreachable" or "full disk" @param module None for a whole host"""
    kind: str
    host: object
    module: object = None

    @property
    def known_before(self):
        return self.kind in KNOWN_BEFORE + ("unreachable",)

    def __str__(self):
        return f"{self.kind} on {self.host.name}" + (f", {self.module.name}" if self.module else "")


def furnish(random, host, buses, modules, bytes_per_second=0):
    """Boards with modules of random devices, and a plan that wants a random design in each."""
    boards = {(host.board_type, number): None for number in range(buses)}
    placed = []
    for kind, number in boards:
        for slot in range(1, modules + 1):
            device = random.choice(DEVICES)
            compression = "query" if device.startswith(COMPRESSIBLE) and random.random() < 0.5 else "none"
            placed.append(Module((kind, number), number, slot, device, compression,
                                 model=4 if compression != "none" else 3))
    host.rack = Rack(boards, placed, bytes_per_second)
    choose_files(random, placed)
    host.options = ["--module-timeout", "60"]


def write(random, host):
    host.workplace.write_rack(host.rack)
    host.plan = host.workplace.write_plan(random, host.rack.modules)


def plant(random, fleet, share):
    """Faults for this share of all modules; also one host that does not answer, and one whose disk is full.

    What the rehearsal knows keeps a host from loading, so a few hosts have all of that."""
    hosts = list(fleet.hosts)
    random.shuffle(hosts)
    faults = [Fault("unreachable", hosts.pop()), Fault("full disk", hosts.pop())]
    refused = [hosts.pop() for _ in range(max(1, len(hosts) // 5))]
    number = max(5, round(share * sum(len(host.rack.modules) for host in fleet.hosts)))
    free = {host.name: list(host.rack.modules) for host in fleet.hosts}
    for index in range(number):
        kind = (KNOWN_BEFORE + FOUND_IN_LOAD)[index % 5]
        host = random.choice(refused if kind in KNOWN_BEFORE else hosts)
        if not free[host.name]:
            continue
        module = free[host.name].pop(random.randrange(len(free[host.name])))
        faults.append(Fault(kind, host, module))
    for fault in faults:
        apply(random, fault)
    return faults


def apply(random, fault):
    module, host = fault.module, fault.host
    if fault.kind == "wrong device":
        family = module.device[:2]
        module.file_device = random.choice([device for device in DEVICES if not device.startswith(family)])
    elif fault.kind == "no answer":
        module.faults.append('kind = "no-reply"\nreply = "identification"')
        module.planted.add("silent")
    elif fault.kind == "silent":
        module.faults.append('kind = "no-reply"\nreply = "load"')
        module.planted.add("silent")
    elif fault.kind == "verdict":
        module.faults.append(f'kind = "wrong-status"\nstatus = {random.choice([1, 2, 3, 4, 6, 9])}')
        module.planted.add("lie")
    elif fault.kind == "hang":
        module.planted.add("hang")
        host.hangs.append(f"data hang {module.place} 0 {random.randint(0, 300)} 0")
        host.options = ["--module-timeout", "3"]
    elif fault.kind == "full disk":
        host.program = pathlib.Path(__file__).with_name("short_disk.py").resolve()
        host.extra = {"KVN_FLEET_PROGRAM": host.workplace.programs.kvn, "KVN_FLEET_FULL_AFTER": "6"}


def settle(fault):
    """What an operator does after the rehearsal or the run has named the fault."""
    if fault.kind == "wrong device":
        fault.module.file_device = None
    elif fault.kind == "no answer":
        fault.module.faults.clear()
        fault.module.planted.clear()
    elif fault.kind == "full disk":
        fault.host.program = fault.host.workplace.programs.kvn
