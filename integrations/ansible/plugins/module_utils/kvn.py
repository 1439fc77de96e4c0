# Copyright (c) 2026 kvn_fpga developers
# SPDX-License-Identifier: Apache-2.0
"""Runs kvn on the host, and reads what it prints in JSON."""
import json
import os
import signal
import subprocess

OPTIONS = {
    "program": {"type": "path", "default": "kvn"},
    "provider": {"type": "str"},
    "timeout": {"type": "float"},
}
# Seconds in which loads that are under way may end, then for their being cut off.
GRACE = 10


class Outcome:
    """What a program left: its exit status (negative: the signal), its output, whether it had to be stopped."""

    def __init__(self, status, output, errors, stopped):
        self.status, self.output, self.errors, self.stopped = status, output, errors, stopped

    def end(self):
        """How it ended, in words."""
        ways = ["it was stopped by the time-out"] if self.stopped else []
        ways.append("signal %d" % -self.status if self.status < 0 else "exit status %d" % self.status)
        last = self.errors.strip().splitlines()[-1:]
        return ", ".join(ways + last)

    def document(self):
        """Its output as one JSON document; None where it is none."""
        try:
            document = json.loads(self.output)
        except ValueError:
            return None
        return document if isinstance(document, dict) else None

    def events(self):
        """Its output as a stream of JSON objects, up to the first line that is none."""
        events = []
        for line in self.output.split("\n"):
            try:
                event = json.loads(line)
            except ValueError:
                break
            if not isinstance(event, dict):
                break
            events.append(event)
        return events


def find_program(module):
    """The path of kvn. Fails the task where it is missing."""
    program = module.params["program"]
    if os.path.basename(program) == program:
        program = module.get_bin_path(program) or program
    if not os.access(program, os.X_OK) or os.path.isdir(program):
        module.fail_json(msg="there is no program %s on this host; try: install the package kvn-fpga-tools, for which the "
                             "role kavrin.fpga.kvn is made, or name its path by the option program" % program)
    return program


def run_kvn(module, words, folder=None):
    """Runs kvn. After the time-out it gets what a user would do: a first signal, a second one, and only then the kill."""
    environment = dict(os.environ)
    if module.params["provider"]:
        environment["KVN_MWAPI"] = module.params["provider"]
    process = subprocess.Popen([find_program(module)] + words, cwd=folder, env=environment, stdin=subprocess.DEVNULL,
                               stdout=subprocess.PIPE, stderr=subprocess.PIPE)
    stopped = False
    for seconds, ask in ((module.params["timeout"], signal.SIGTERM), (GRACE, signal.SIGTERM), (GRACE, signal.SIGKILL)):
        try:
            output, errors = process.communicate(timeout=seconds)
            break
        except subprocess.TimeoutExpired:
            stopped = True
            process.send_signal(ask)
    else:
        output, errors = process.communicate()
    return Outcome(process.returncode, output.decode("utf-8", "replace"), errors.decode("utf-8", "replace"), stopped)


def in_words(where, problem):
    """A failure or finding of kvn as one line: where, what, why, remedy."""
    parts = ["%s: %s" % (where, problem["what"]) if where else problem["what"]]
    parts += ["%s: %s" % (name, problem[member]) for name, member in (("why", "why"), ("try", "remedy"))
              if problem.get(member)]
    return "; ".join(parts)
