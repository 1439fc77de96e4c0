# SPDX-License-Identifier: Apache-2.0
"""What runs are made of: bitstreams, random racks and plans, and runs of the programs on them."""
import dataclasses
import gzip
import hashlib
import json
import os
import pathlib
import resource
import signal
import struct
import subprocess
import threading

# Device, and what its modules are: small files, plain and run-coded, of several families.
DEVICES = ["2v40cs144-4", "2v80fg256-5", "v50bg256-4", "2s15vq100-5", "2s30tq144-6"]
COMPRESSIBLE = ("2v",)
COMPRESSED, PLAIN = "compressed", "plain"


@dataclasses.dataclass
class Programs:
    """The programs of the build under test."""
    kvn: str
    rack: str
    bitgen: str
    provider: str


class Bitstreams:
    """Files for devices, made when they are first asked for."""

    def __init__(self, programs, folder):
        self.programs = programs
        self.folder = pathlib.Path(folder)
        self.lock = threading.Lock()
        self.contents = {}

    def get(self, device, seed, extension):
        """The path of a design's file of this kind: rbt, bit, mcb, each perhaps followed by .gz."""
        path = self.folder / f"{device}-{seed}.{extension}"
        with self.lock:
            if not path.exists():
                self._make(path, device, seed, extension)
        return path

    def digest(self, device, seed, size=None):
        """Of the configuration, or of its first bytes, calculated here from the characters of the RBT file."""
        return hashlib.sha256(self.content(device, seed)[:size].rstrip(b"\xff")).hexdigest()

    def content(self, device, seed):
        """The configuration: its first bit is bit 0 of byte 0."""
        path = self.get(device, seed, "rbt")
        with self.lock:
            if path not in self.contents:
                self.contents[path] = content_of_rbt(path)
            return self.contents[path]

    def _make(self, path, device, seed, extension):
        if extension.endswith(".gz"):
            plain = self.folder / path.name[:-len(".gz")]
            if not plain.exists():
                self._make(plain, device, seed, extension[:-len(".gz")])
            path.write_bytes(gzip.compress(plain.read_bytes(), compresslevel=1, mtime=0))
        elif extension == "mcb":
            source = self.folder / f"{device}-{seed}.rbt"
            if not source.exists():
                self._make(source, device, seed, "rbt")
            checked([self.programs.kvn, "convert", source, path])
        else:
            fill = "zero" if seed % 3 == 0 else "random"
            checked([self.programs.bitgen, device, "-o", path, "--fill", fill, "--seed", str(seed)])


def content_of_rbt(path):
    lines = path.read_text(encoding="latin-1").splitlines()
    bits = "".join(line for line in lines if line and not line.strip("01"))
    count = int(next(line.split()[-1] for line in lines if line.startswith("Bits:")))
    if len(bits) != count:
        raise ValueError(f"{path} has {len(bits)} of {count} bits")
    return int(bits[::-1], 2).to_bytes((count + 7) // 8, "little")


def checked(words):
    """Runs a program that must succeed."""
    return subprocess.run([str(word) for word in words], check=True, capture_output=True, text=True,
                          stdin=subprocess.DEVNULL).stdout


@dataclasses.dataclass
class Module:
    """A module of a rack, and what the plan wants in it."""
    bus: tuple  # type and number of the board that is opened
    carrier: int
    slot: int
    device: str
    compression: str
    model: int
    seed: int = 1
    extension: str = "bit"
    load: str = "as-module"
    file_device: str = None  # that the file is for, if it is for another
    faults: list = dataclasses.field(default_factory=list)  # of the rack's description, in its words
    planted: set = dataclasses.field(default_factory=set)   # what the oracle must know of

    @property
    def name(self):
        """As kvn writes it."""
        board = f"{self.bus[0]}:{self.bus[1]}"
        return f"{board}/{self.slot}" if self.carrier == self.bus[1] else f"{board}/{self.carrier}.{self.slot}"

    @property
    def place(self):
        """As the carriers write it."""
        return f"{self.bus[0]}:{self.carrier}/{self.slot}"

    @property
    def bus_name(self):
        return f"{self.bus[0]}:{self.bus[1]}"


@dataclasses.dataclass
class Rack:
    """Boards by type and number, each with the number of the board over which it is reached, or None."""
    boards: dict
    modules: list
    bytes_per_second: int = 0

    def text(self, with_faults=True):
        parts = []
        for (kind, number), over in self.boards.items():
            parts.append(f'[[board]]\ntype = "{kind}"\nnumber = {number}\n')
            if self.bytes_per_second:
                parts.append(f"bytes_per_second = {self.bytes_per_second}\n")
            if over is not None:
                parts.append(f'opens = false\nreached_over = "{kind} {over}"\n')
            for module in self.modules:
                if (module.bus[0], module.carrier) == (kind, number):
                    parts.append(f'[[board.slot]]\nnumber = {module.slot}\nkind = "fpga"\nmodel = {module.model}\n'
                                 f'device = "{module.device}"\ncompression = "{module.compression}"\n')
                    parts.extend(f"[[board.slot.fault]]\n{fault}\n" for fault in module.faults if with_faults)
        return "".join(parts)


def random_rack(random, most_boards=8, most_slots=3):
    """Some boards are only reached over others."""
    boards = {}
    modules = []
    # Two types may have equal numbers, but then no module is reached over another board: it might have two names.
    kinds = random.choice([["mwc4a"], ["mwc4a", "mwx2"]])
    for index in range(random.randint(1, most_boards)):
        kind = random.choice(kinds)
        number = random.choice([free for free in range(16) if (kind, free) not in boards])
        openable = [other for (of, other), over in boards.items() if of == kind and over is None]
        reached = index > 0 and openable and len(kinds) == 1 and random.random() < 0.2
        boards[kind, number] = random.choice(openable) if reached else None
    for (kind, number), over in boards.items():
        for slot in random.sample(range(1, 5), random.randint(1, most_slots)):
            device = random.choice(DEVICES)
            compression = random.choice(["none", "query", "query"]) if device.startswith(COMPRESSIBLE) else "none"
            modules.append(Module((kind, number if over is None else over), number, slot, device, compression,
                                  model=random.choice([3, 4]) if compression != "none" else 3))
    return Rack(boards, modules)


def choose_files(random, modules, designs=3, forms=("rbt", "bit", "mcb", "rbt.gz", "bit.gz", "mcb.gz")):
    """What the plan wants in each module."""
    for module in modules:
        module.seed = random.randint(1, designs)
        module.extension = random.choice(forms)
        module.load = random.choice(["as-module", "as-module", "plain", "smallest"])


class Workplace:
    """A folder for one case: rack, plan, files, state of the modules, what was on the wire."""

    def __init__(self, programs, bitstreams, folder):
        self.programs = programs
        self.bitstreams = bitstreams
        self.folder = pathlib.Path(folder)
        for name in ("state", "wire", "locks"):
            (self.folder / name).mkdir(parents=True)
        self.journals = 0

    def path(self, name):
        return self.folder / name

    def write(self, name, text):
        self.path(name).write_text(text, encoding="utf-8")

    def file_name(self, module):
        """As the plan has it."""
        return self.bitstreams.get(module.file_device or module.device, module.seed, module.extension).name

    def put_file(self, module):
        """@return the name by which the plan has it"""
        source = self.bitstreams.get(module.file_device or module.device, module.seed, module.extension)
        if not self.path(source.name).exists():
            os.link(source, self.path(source.name))
        return source.name

    def write_rack(self, rack, with_faults=True):
        self.write("rack.toml", rack.text(with_faults))

    def write_plan(self, random, modules, retries=None):
        """A plan file, or a .con file where that can say it. @return its name"""
        as_con = retries is None and random.random() < 0.25 and all(
            module.load == "as-module" and module.extension in ("rbt", "mcb") for module in modules)
        if as_con:
            lines = [f"{self.put_file(module)} {module.bus[0]} {module.bus[1]} 0x{module.carrier * 16 + module.slot:x}"
                     for module in modules]
            self.write("plan.con", "\n".join(lines) + "\n")
            return "plan.con"
        parts = []
        for index, module in enumerate(modules):
            parts.append(f'[[module]]\nmodule = "{module.name}"\nfile = "{self.put_file(module)}"\n')
            if module.load != "as-module":
                parts.append(f'load = "{module.load}"\n')
            if random.random() < 0.2:
                parts.append(f'name = "module {index}"\n')
            if random.random() < 0.2:
                parts.append(f'device = "{module.device}"\n')
            if random.random() < 0.2:
                parts.append(f'digest = "{self.digest(module)}"\n')
            if retries and retries.get(module.name) is not None:
                parts.append(f"retries = {retries[module.name]}\n")
        self.write("plan.toml", "".join(parts))
        return "plan.toml"

    def digest(self, module, size=None):
        return self.bitstreams.digest(module.file_device or module.device, module.seed, size)

    def size(self, module):
        return len(self.bitstreams.content(module.file_device or module.device, module.seed))

    def write_faults(self, faults):
        """@param faults lines for the faulty provider"""
        self.write("faults.txt", "".join(f"{line}\n" for line in faults))

    def environment(self):
        kept = {name: value for name, value in os.environ.items()
                if not name.startswith(("KVN_", "MWAPI", "MWVIRTUAL_", "MWTRACE_", "MWREPLAY_"))}
        own = {"MWVIRTUAL_RACK": "rack.toml", "MWVIRTUAL_STATE": "state", "KVN_LOCK_FOLDER": "locks",
               "KVN_FAULTY_WIRE": "wire", "KVN_FAULTY_PLAN": "faults.txt"}
        for name, value in own.items():
            kept[name] = str(self.path(value))
        return kept

    def start(self, plan, *options, journal=None):
        """Starts kvn run. @return the run, whose stream is still to be read"""
        self.journals += 1
        name = journal or f"{self.journals}.journal"
        if not self.path("faults.txt").exists():
            self.write_faults([])
        words = [self.programs.kvn, "run", plan, "--provider", self.programs.provider, "--journal", name, "--json",
                 "--progress", "none", *options]
        return Run(self, words, name, self.environment())

    def run(self, plan, *options):
        run = self.start(plan, *options)
        run.read_to_end()
        return run

    def report(self, *journals):
        """The merged report of journals, and the status of the command."""
        outcome = subprocess.run([self.programs.kvn, "report", *journals, "--json", "-"], cwd=self.folder,
                                 capture_output=True, text=True, stdin=subprocess.DEVNULL, check=False)
        return json.loads(outcome.stdout), outcome.returncode

    def verified(self, journal):
        """What `kvn journal verify` says: unchanged, torn, changed or a failure."""
        outcome = subprocess.run([self.programs.kvn, "journal", "verify", journal, "--json"], cwd=self.folder,
                                 capture_output=True, text=True, stdin=subprocess.DEVNULL, check=False)
        return json.loads(outcome.stdout), outcome.returncode

    def carriers(self):
        """What the carriers' FPGAs hold, by their names for the modules."""
        shown = json.loads(checked([self.programs.rack, self.path("state"), "--json"]))
        if shown["problems"]:
            raise AssertionError(f"the state of the carriers is damaged: {shown['problems']}")
        return {module["module"]: module for module in shown["modules"]}

    def wire(self):
        """The loads that were on the wire, by the carriers' names: bytes, phase (1 begun, 2 its end asked for, 3 ended,
        4 answered) and answer of each."""
        loads = {}
        for path in self.path("wire").iterdir():
            kind, number, slot = path.stem.rsplit("-", 2)
            loads[f"{kind}:{number}/{slot}"] = list(struct.iter_unpack("<QII", path.read_bytes()))
        return loads


class Run:
    """A run of a plan: its events, its end, and the end of all its processes."""

    def __init__(self, workplace, words, journal, environment):
        self.workplace = workplace
        self.journal = journal
        self.events = []
        self.errors = ""
        self.torn = b""
        # Every process of the run inherits the writing end: it is closed when the last of them has ended.
        self.alive, inherited = os.pipe()
        self.process = subprocess.Popen(  # pylint: disable=consider-using-with
            [str(word) for word in words], cwd=workplace.folder, env=environment, stdin=subprocess.DEVNULL,
            stdout=subprocess.PIPE, stderr=subprocess.PIPE, pass_fds=[inherited])
        os.close(inherited)
        self.reader = threading.Thread(target=self._read_errors, daemon=True)
        self.reader.start()

    def _read_errors(self):
        self.errors = self.process.stderr.read().decode("utf-8", "replace")

    def next_event(self):
        """@return the next event; None at the end of the stream"""
        line = self.process.stdout.readline()
        if not line.endswith(b"\n"):
            self.torn += line
            return None
        event = json.loads(line)
        self.events.append(event)
        return event

    def read_to_end(self):
        while self.next_event() is not None:
            pass
        return self.wait()

    def wait(self):
        """Waits for the end of the controller and of all workers."""
        self.status = self.process.wait()
        self.process.stdout.close()
        self.reader.join()
        self.process.stderr.close()
        os.read(self.alive, 1)
        os.close(self.alive)
        return self.status

    def kill(self):
        self.process.kill()

    def workers(self):
        """The workers that the controller has started and that have not ended. Other children are no workers: where it
        looks for leaks at its end, the sanitizer's helper must live, or the controller waits for it for ever."""
        try:
            children = pathlib.Path(f"/proc/{self.process.pid}/task/{self.process.pid}/children").read_text("ascii")
        except OSError:
            return []
        return sorted(int(child) for child in children.split() if is_worker(child))

    def of(self, kind):
        return [event for event in self.events if event.get("event") == kind]

    def records(self):
        return {event["module"]: event["record"] for event in self.of("finished")}

    def journal_lines(self):
        """The whole lines of the journal; none where there is no journal."""
        path = self.workplace.path(self.journal)
        if not path.exists():
            return []
        return [json.loads(line) for line in path.read_bytes().split(b"\n")[:-1]]


def is_worker(process):
    try:
        words = pathlib.Path(f"/proc/{process}/cmdline").read_bytes().split(b"\0")
    except OSError:
        return False
    return words[1:2] == [b"worker"]


def limit_files(process, size):
    """From now on the process writes no file beyond this size, as if the disk were full. What it has read into memory
    counts as well: so not before it has read its files."""
    try:
        resource.prlimit(process, resource.RLIMIT_FSIZE, (size, resource.RLIM_INFINITY))
    except ProcessLookupError:
        pass


def kill_process(process):
    try:
        os.kill(process, signal.SIGKILL)
    except ProcessLookupError:
        pass
