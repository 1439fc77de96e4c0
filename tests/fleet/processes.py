# SPDX-License-Identifier: Apache-2.0
"""The processes that this program has started, and theirs: nothing else is ever ended."""
import ctypes
import os
import pathlib
import signal
import time

PR_SET_PDEATHSIG, PR_SET_CHILD_SUBREAPER = 1, 36


def adopt_orphans():
    """From now on this process is the parent of every descendant that has lost its own, so that none gets away."""
    if ctypes.CDLL(None, use_errno=True).prctl(PR_SET_CHILD_SUBREAPER, 1, 0, 0, 0) != 0:
        raise OSError(ctypes.get_errno(), "prctl")


def end_with_parent():
    """For a child before its program: it ends when this process is gone, however that ended."""
    ctypes.CDLL(None).prctl(PR_SET_PDEATHSIG, signal.SIGTERM, 0, 0, 0)


def parents():
    """The parent of each process of the system."""
    found = {}
    for path in pathlib.Path("/proc").glob("[0-9]*/stat"):
        try:
            text = path.read_text(encoding="latin-1")
        except OSError:
            continue
        found[int(path.parent.name)] = int(text.rsplit(")", 1)[1].split()[1])
    return found


def descendants(process):
    """All processes below this one."""
    children = {}
    for child, parent in parents().items():
        children.setdefault(parent, []).append(child)
    found, waiting = [], [process]
    while waiting:
        below = children.get(waiting.pop(), [])
        found += below
        waiting += below
    return found


def has_variable(process, assignment):
    """Whether a process was started with this variable, such as "NAME=value"."""
    try:
        return assignment.encode() in pathlib.Path(f"/proc/{process}/environ").read_bytes().split(b"\0")
    except OSError:
        return False


def words_of(process):
    try:
        return pathlib.Path(f"/proc/{process}/cmdline").read_bytes().decode("utf-8", "replace").split("\0")[:-1]
    except OSError:
        return []


def reap():
    """Forgets adopted children that have ended. Only where no child is waited for elsewhere."""
    for process, parent in parents().items():
        if parent == os.getpid():
            try:
                if pathlib.Path(f"/proc/{process}/stat").read_text(encoding="latin-1").rsplit(")", 1)[1].split()[0] == "Z":
                    os.waitpid(process, os.WNOHANG)
            except (OSError, ChildProcessError):
                pass


def is_alive(process):
    try:
        return pathlib.Path(f"/proc/{process}/stat").read_text(encoding="latin-1").rsplit(")", 1)[1].split()[0] != "Z"
    except OSError:
        return False


def end(chosen, number=signal.SIGKILL):
    """Ends processes, and waits for their end. @param chosen answers with those that are still there"""
    while True:
        alive = [process for process in chosen() if is_alive(process)]
        if not alive:
            return
        for process in alive:
            try:
                os.kill(process, number)
            except ProcessLookupError:
                pass
        time.sleep(0.01)
