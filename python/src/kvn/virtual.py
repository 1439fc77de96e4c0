# SPDX-License-Identifier: Apache-2.0
"""Racks of virtual carriers for tests: boards in software, whose FPGAs check a bitstream as the chips do."""
from __future__ import annotations

import ctypes
import dataclasses
import functools
import json
import os
import pathlib
import re
import tempfile
from collections.abc import Mapping, Sequence
from typing import Any, Final

from kvn.errors import UsageError
from kvn.session import Session

#: A value of a rack description, see docs/virtual-carrier.md.
Value = str | int | bool | Sequence[str] | Sequence[int]
#: The keys of a fault.
Fault = Mapping[str, Value]

_BOARD: Final = re.compile(r"([^\s:/]{1,31}):(\d+)")
_MODULE: Final = re.compile(rf"({_BOARD.pattern})/([1-4])")
_COMPRESSED_LOAD: Final = 13
_FUNCTIONS: Final[dict[str, tuple[Any, tuple[Any, ...]]]] = {
    "MwVirtualPutRack": (ctypes.c_void_p, (ctypes.c_char_p, ctypes.c_char_p, ctypes.c_char_p)),
    "MwVirtualRemoveRack": (None, (ctypes.c_void_p,)),
    "MwVirtualProblem": (ctypes.c_char_p, ()),
}


@dataclasses.dataclass(frozen=True)
class Contents:
    """What a virtual module holds."""

    state: str  #: "empty", "part of its data", "refused" or "running"
    loads: int  #: since the rack exists, with one that has not ended
    size: int  #: of the configuration of the last load, in bytes
    compressed: bool | None  #: whether the last load was compressed
    digest: str | None  #: SHA-256 of the configuration, as Session.digest calculates it
    verdict: int | None  #: of the last load that has ended, 1 to 10
    reason: str | None  #: the verdict in words
    configuration: bytes  #: plain, first configuration bit in bit 0

    @property
    def runs(self) -> bool:
        """Whether the FPGA runs."""
        return self.state == "running"


_EMPTY: Final = Contents("empty", 0, 0, None, None, None, None, b"")


class VirtualModule:
    """A module of a virtual rack."""

    def __init__(self, name: str, device: str | None, folder: pathlib.Path) -> None:
        """Made by VirtualRack.add."""
        #: Its name, such as "mwc4a:0/1": what Session.load takes.
        self.name = name
        #: Its FPGA, such as "2v3000fg676-4"; None for a module without one.
        self.device = device
        self._folder = folder

    def __str__(self) -> str:
        return self.name

    def contents(self) -> Contents:
        """What the module holds now, whichever process loaded it."""
        board, number, slot = re.split("[:/]", self.name)
        escaped = re.sub(rb"[^0-9A-Za-z_]", lambda match: b"%%%02X" % match[0], board.encode()).decode()
        file = self._folder / f"{escaped}-{number}-{slot}.json"
        if not file.exists():
            return _EMPTY
        state = json.loads(file.read_bytes())
        return Contents(
            state=state["state"],
            loads=state["loads"],
            size=state["bytes"],
            compressed=None if state["command"] is None else state["command"] == _COMPRESSED_LOAD,
            digest=state["digest"],
            verdict=state["verdict"],
            reason=state["reason"],
            configuration=file.with_suffix(".bits").read_bytes()[: state["bytes"]],
        )


@dataclasses.dataclass
class _Part:
    """A table of a description: its keys, and the tables in it."""

    keys: dict[str, Value] = dataclasses.field(default_factory=dict)
    faults: Sequence[Fault] = ()
    slots: dict[int, _Part] = dataclasses.field(default_factory=dict)


class VirtualRack:
    """A rack in force for this process, and for the programs that it starts, until it is closed::

        with VirtualRack() as rack:
            module = rack.add("mwc4a:0/1", "2v40cs144-4")
            with kvn.Session() as session:
                session.load("design.bit", module.name)
            assert module.contents().runs

    It sets KVN_MWAPI, MWVIRTUAL_RACK and MWVIRTUAL_STATE, and restores them. One rack at a time. As long as nothing was
    added, it has the board mwc4a:0 with empty slots.
    """

    def __init__(self) -> None:
        """
        :raises UsageError: when this process uses another provider than the virtual carriers
        """
        self._carriers = _carriers()
        self._boards: dict[str, _Part] = {}
        self._faults: list[Fault] = []
        self._rack: int | None = None
        self._folder = tempfile.TemporaryDirectory(prefix="kvn-rack-")
        folder = pathlib.Path(self._folder.name)
        #: The description, for other programs.
        self.file = folder / "rack.toml"
        #: The folder with the state of the modules, which `kvn_rack` shows.
        self.state = folder / "state"
        self.state.mkdir()
        wanted = {"KVN_MWAPI": "virtual", "MWVIRTUAL_RACK": str(self.file), "MWVIRTUAL_STATE": str(self.state)}
        self._before = {name: os.environ.get(name) for name in wanted}
        os.environ.update(wanted)
        self._put(self._description())

    def close(self) -> None:
        """Takes the rack out of force. No load may be running."""
        for name, value in self._before.items():
            if value is None:
                os.environ.pop(name, None)
            else:
                os.environ[name] = value
        self._before = {}
        self._remove()
        self._folder.cleanup()

    def __enter__(self) -> VirtualRack:
        return self

    def __exit__(self, *_: object) -> None:
        self.close()

    def add(
        self, module: str, device: str | None = None, *, faults: Sequence[Fault] = (), **keys: Value
    ) -> VirtualModule:
        """Puts a module into a slot, replacing its content; its board is added if missing.

        :param module: such as "mwc4a:0/1"
        :param device: its FPGA, such as "2v3000fg676-4": it is a KAVRIN-FPGA that takes compressed loads, unless
            other keys say so. None: `kind` must be given
        :param faults: wrong answers, each by the keys of [[board.slot.fault]]
        :param keys: other keys of [[board.slot]]
        """
        match = _MODULE.fullmatch(module)
        if match is None:
            raise UsageError(f'"{module}" is no name of a module', None, 'pass a name such as "mwc4a:0/1"')
        if device is not None:
            keys = {"kind": "fpga", "device": device, "compression": "query", **keys}
        slot = int(match[4])
        self._board(match[1]).slots[slot] = _Part({"number": slot, **keys}, faults)
        self._put(self._description())
        return VirtualModule(module, device, self.state)

    def board(self, board: str, *, faults: Sequence[Fault] = (), **keys: Value) -> None:
        """Adds a board, or changes one.

        :param board: such as "mwc4a:0"
        :param faults: of its link, each by the keys of [[board.fault]]
        :param keys: other keys of [[board]], such as bytes_per_second or reached_over
        """
        part = self._board(board)
        part.keys.update(keys)
        part.faults = faults
        self._put(self._description())

    def fail_call(self, **keys: Value) -> None:
        """Lets a platform call fail.

        :param keys: of [[fault]]: call, code, function, text. A rack that is changed counts calls from 1 again
        """
        self._faults.append(keys)
        self._put(self._description())

    def describe(self, toml: str) -> None:
        """Puts a described rack in place of this one, whose modules keep what they hold."""
        self._put(toml)

    def _board(self, name: str) -> _Part:
        match = _BOARD.fullmatch(name)
        if match is None:
            raise UsageError(f'"{name}" is no name of a board', None, 'pass a name such as "mwc4a:0"')
        return self._boards.setdefault(name, _named(match[1], int(match[2])))

    def _description(self) -> str:
        lines = [_table("[[fault]]", fault) for fault in self._faults]
        for board in self._boards.values() or [_named("mwc4a", 0)]:
            lines.append(_table("[[board]]", board.keys))
            lines += [_table("[[board.fault]]", fault) for fault in board.faults]
            for slot in board.slots.values():
                lines.append(_table("[[board.slot]]", slot.keys))
                lines += [_table("[[board.slot.fault]]", fault) for fault in slot.faults]
        return "\n".join(lines)

    def _put(self, toml: str) -> None:
        """Puts a rack in force in place of the one before, which stays when the new one has a mistake."""
        rack = self._carriers.MwVirtualPutRack(toml.encode(), self.file.name.encode(), os.fsencode(self.state))
        if rack is None:
            problem: bytes = self._carriers.MwVirtualProblem()
            raise UsageError(problem.decode(), None, "see docs/virtual-carrier.md")
        self._remove()
        self._rack = rack
        self.file.write_text(toml, encoding="utf-8")

    def _remove(self) -> None:
        self._carriers.MwVirtualRemoveRack(self._rack)
        self._rack = None


def _named(board_type: str, number: int) -> _Part:
    return _Part({"type": board_type, "number": number})


def _table(name: str, keys: Mapping[str, Value]) -> str:
    """A table in TOML, whose texts, numbers and lists are written as in JSON."""
    return "\n".join([name, *(f"{key} = {json.dumps(value, ensure_ascii=False)}" for key, value in keys.items()), ""])


@functools.cache
def _carriers() -> ctypes.CDLL:
    """The virtual carriers that libkvn uses."""
    with Session("virtual") as session:
        file = session.provider.file
    carriers = ctypes.CDLL(file)
    for name, (result, arguments) in _FUNCTIONS.items():
        function = getattr(carriers, name)
        function.restype = result
        function.argtypes = arguments
    return carriers
