# SPDX-License-Identifier: Apache-2.0
"""What calls find out: the JSON documents of kvn as frozen dataclasses with the same names.

What is not known is None. Members that only a newer library has are left out.
"""
from __future__ import annotations

import dataclasses
import datetime
import enum
import functools
import types
import typing
from collections.abc import Hashable, Mapping
from typing import Any, TypeVar, Union

from kvn.errors import KvnError, error_class

T = TypeVar("T")


class _Words(enum.StrEnum):
    """Words of documents. A word that only a newer library has becomes a member of its own."""

    @classmethod
    def _missing_(cls, value: object) -> _Words | None:
        if not isinstance(value, str):
            return None
        member = str.__new__(cls, value)
        member._name_ = value.upper().replace(" ", "_")
        member._value_ = value
        return member


class Format(_Words):
    """The form of a bitstream file."""

    UNKNOWN = "unknown"
    RBT = "RBT"
    BIT = "BIT"
    MCB = "MCB"


class SlotKind(_Words):
    """What is in a slot."""

    UNKNOWN = "unknown"  #: the board's information could not be read, or does not cover the slot
    EMPTY = "empty"
    PROCESSOR = "processor"
    WITHOUT_BUS = "without bus"
    MODULE = "module"  #: a module that answers, or should answer, on the serial bus


class Compression(_Words):
    """Whether a module takes compressed loads."""

    UNKNOWN = "unknown"
    NO = "no"
    YES = "yes"


class Mode(_Words):
    """How a load sends the configuration."""

    AS_TAKEN = "as taken"  #: compressed if the module takes that, else plain
    PLAIN = "plain"
    COMPRESSED = "compressed"
    SMALLEST = "smallest"  #: whichever of both is shorter on the bus


class Verdict(_Words):
    """How a load ended."""

    CONFIGURED = "configured"
    REFUSED = "refused"
    FAILED = "failed"
    CANCELLED = "cancelled"
    TIMED_OUT = "timed out"
    NOT_TRIED = "not tried"


class ModuleState(_Words):
    """What a module holds after an attempt to load it."""

    UNTOUCHED = "untouched"  #: what it held before
    INTERRUPTED = "interrupted"  #: part of the data; it does not run
    REFUSED = "refused"  #: all data; it does not run
    CONFIGURED = "configured"  #: all data; it runs
    UNKNOWN = "unknown"  #: whether it runs cannot be known


class Origin(_Words):
    """Who says a fact of a record."""

    OBSERVED = "observed"  #: the module, the wire or the file
    GIVEN = "given"  #: the user
    INTENDED = "intended"  #: it is what would have been done


@dataclasses.dataclass(frozen=True)
class Failure:
    """Why something failed."""

    status: int
    class_: str
    number: int | None
    what: str
    why: str | None
    remedy: str | None

    @property
    def kind(self) -> str:
        """The name of the class, such as "wrong device"."""
        return error_class(self.status).kind


@dataclasses.dataclass(frozen=True)
class Problem:
    """A problem of a file. A fatal one stops loads."""

    what: str
    remedy: str
    fatal: bool


@dataclasses.dataclass(frozen=True)
class Provider:
    """The library through which boards are reached."""

    name: str
    file: str | None
    version: str | None
    announcement: str | None  #: what users must be told: that no hardware is reached
    simulated: bool


@dataclasses.dataclass(frozen=True)
class Stored:
    """A file as it is stored, perhaps packed."""

    size: int
    sha256: str
    packing: str


@dataclasses.dataclass(frozen=True)
class DevicePart:
    """The parts of a device's name."""

    device: str | None
    package: str | None
    speed_grade: str | None


@dataclasses.dataclass(frozen=True)
class Identity:
    """What a module says of itself."""

    type: int
    type_name: str
    model: int | None
    version: int | None
    device: str | None
    device_part: DevicePart | None
    compression: Compression


@dataclasses.dataclass(frozen=True)
class Slot:
    """A slot of a board."""

    module: str  #: its name, "mwc4a:0/2"
    slot: int
    kind: SlotKind
    info_words: tuple[int, ...] | None
    identity: Identity | None
    failure: Failure | None


@dataclasses.dataclass(frozen=True)
class Board:
    """A board with its slots; without slots, and with a failure, if it could not be opened."""

    board: str  #: its name, "mwc4a:0"
    board_type: str
    number: int
    info_word: int | None
    slots: tuple[Slot, ...]
    failure: Failure | None


@dataclasses.dataclass(frozen=True)
class Header:
    """The texts of a file's header."""

    tool: str | None
    design: str | None
    architecture: str | None
    date: str | None
    time: str | None
    other: tuple[str, ...]


@dataclasses.dataclass(frozen=True)
class Device:
    """The device that a file is for."""

    name: str
    family: str
    frames: int
    standard_bits: int


@dataclasses.dataclass(frozen=True)
class Register:
    """How often a configuration register is written."""

    name: str
    packets: int
    words: int


@dataclasses.dataclass(frozen=True)
class Command:
    """How often a configuration command is given."""

    name: str
    count: int


@dataclasses.dataclass(frozen=True)
class Packets:
    """The packets of a configuration."""

    sync_bit: int
    idcode: str | None
    registers: tuple[Register, ...]
    commands: tuple[Command, ...]


@dataclasses.dataclass(frozen=True)
class Frames:
    """Frames that are written, and those that the device has."""

    written: int
    expected: int


@dataclasses.dataclass(frozen=True)
class Crc:
    """The checks of a configuration: "right", "wrong" or "not reached"."""

    verdict: str
    checks_passed: int


@dataclasses.dataclass(frozen=True)
class Configuration:
    """What a model of the device makes of a configuration."""

    starts: bool
    outcome: str
    reason: str
    frames: Frames
    crc: Crc
    length_count: int | None


@dataclasses.dataclass(frozen=True)
class RunCoded:
    """The configuration as runs of equal bytes."""

    bytes: int
    ratio: float


@dataclasses.dataclass(frozen=True)
class BusTime:
    """Seconds on a bus."""

    bytes_per_second: float
    plain_seconds: float | None
    compressed_seconds: float | None


@dataclasses.dataclass(frozen=True)
class TriedLoad:
    """How one kind of load ends."""

    starts: bool
    error: str
    module: str
    bus_bytes: int


@dataclasses.dataclass(frozen=True)
class Check:
    """Whether a module would start with a file."""

    device: str  #: that was assumed in the module
    plain: TriedLoad | None
    compressed: TriedLoad | None
    result: str  #: "yes", "no" or "unknown"
    words: str
    error: KvnError | None = None  #: why it would not start, or why that is not known

    @property
    def starts(self) -> bool | None:
        """Whether it would start; None if that is not known."""
        return {"yes": True, "no": False}.get(self.result)


@dataclasses.dataclass(frozen=True)
class Inspection:
    """What a file is and what is wrong with it."""

    file: str
    size: int
    stored: Stored
    format: Format  #: by the content, else by the name
    named: Format  #: by the name
    header: Header
    part: str  #: that the header names; "" if it names none
    device: Device | None
    devices_by_data: tuple[str, ...]
    other_family: str | None
    stated_bits: int | None
    found_bits: int
    digest: str | None
    packets: Packets | None
    packets_unread: str | None
    configuration: Configuration | None
    run_coded: RunCoded | None
    bus_time: BusTime | None
    problems: tuple[Problem, ...]
    check: Check | None = None

    @property
    def is_loadable(self) -> bool:
        """Whether no problem stops loads."""
        return not any(problem.fatal for problem in self.problems)


@dataclasses.dataclass(frozen=True)
class Compared:
    """One of two files that were compared."""

    file: str
    bits: int


@dataclasses.dataclass(frozen=True)
class HeaderDifference:
    """A text of the headers that differs."""

    name: str
    first: str
    second: str


@dataclasses.dataclass(frozen=True)
class FrameDifference:
    """A frame that differs."""

    block: int
    major: int
    minor: int
    bits: int
    in_first: bool
    in_second: bool


@dataclasses.dataclass(frozen=True)
class RegisterDifference:
    """A register that is written differently."""

    name: str
    first: tuple[str, ...]
    second: tuple[str, ...]


@dataclasses.dataclass(frozen=True)
class Difference:
    """How two files differ as configuration."""

    first: Compared
    second: Compared
    same_configuration: bool
    headers: tuple[HeaderDifference, ...]
    device: str | None
    frames_compared: int
    frames: tuple[FrameDifference, ...] | None
    registers: tuple[RegisterDifference, ...] | None
    bits: int
    first_bit: int | None
    words: str


@dataclasses.dataclass(frozen=True)
class PlainLoad:
    """What a plain load sends."""

    loadable: bool
    number: int
    error: str
    bus_bytes: int
    words: int
    held_back: int
    seconds: float | None


@dataclasses.dataclass(frozen=True)
class CompressedLoad:
    """What a compressed load sends."""

    loadable: bool
    number: int
    error: str
    bus_bytes: int
    pairs: int
    held_back: int
    seconds: float | None


@dataclasses.dataclass(frozen=True)
class Estimate:
    """What one load of a file sends."""

    file: str
    format: Format
    device: str
    takes_compressed: bool | None
    mode: Mode
    why: str
    bytes_per_second: float | None
    plain: PlainLoad
    compressed: CompressedLoad

    @property
    def chosen(self) -> PlainLoad | CompressedLoad:
        """The load of the mode that is chosen."""
        return self.plain if self.mode is Mode.PLAIN else self.compressed


@dataclasses.dataclass(frozen=True)
class Field:
    """A field of a header."""

    name: str
    text: str


@dataclasses.dataclass(frozen=True)
class Change:
    """What a conversion made different."""

    kind: str
    count: int
    what: str


@dataclasses.dataclass(frozen=True)
class Conversion:
    """A file that was written from another one."""

    source: str
    source_format: Format
    target: str
    format: Format
    bytes: int
    bits: int
    digest: str
    part: str
    kept: tuple[Field, ...]
    lost: tuple[Field, ...]
    normalised: bool
    changes: tuple[Change, ...]
    problems: tuple[Problem, ...]


@dataclasses.dataclass(frozen=True)
class Record:
    """What is known of a module after an attempt to load it."""

    module: str
    file: str | None
    file_size: int | None
    file_sha256: str | None
    digest: str | None
    format: Format | None
    design: str | None
    part: str | None
    problems: tuple[Problem, ...]
    identity: Identity | None
    device: str | None
    mode: Mode | None
    wire_bytes: int | None
    begin: datetime.datetime | None
    end: datetime.datetime | None
    seconds_on_wire: float | None
    attempts: int
    verdict: Verdict
    state: ModuleState
    answer: int | None
    failure: Failure | None
    serial_number: str | None
    operator_name: str | None
    station: str | None
    host: str | None
    approved_by: str | None  #: who signed the manifest that has the file
    approval_key: str | None  #: the key of that signature
    tool_version: str
    provider: Provider
    sources: Mapping[str, Origin]  #: who says a fact, by the name of its member


@dataclasses.dataclass(frozen=True)
class ErrorExplanation:
    """An error of the loader."""

    number: int
    text: str  #: with its conversions (%s, %d)
    meaning: str
    causes: str | None
    remedy: tuple[str, ...]
    module_state: ModuleState
    class_: str
    exit_status: int


@dataclasses.dataclass(frozen=True)
class AnswerExplanation:
    """A module's answer to a load."""

    status: int
    meaning: str
    remedy: str | None
    virtual: bool
    real_modules: str
    success: bool


@dataclasses.dataclass(frozen=True)
class Progress:
    """How far a load is."""

    bytes: int  #: of the load's message that the provider has taken
    total: int | None  #: of the whole message
    seconds: float  #: since the message was begun
    bytes_per_second: float | None
    seconds_left: float | None  #: at this rate
    is_running: bool

    @property
    def fraction(self) -> float | None:
        """The part that is sent, from 0 to 1; None before the total is known."""
        return self.bytes / self.total if self.total else None


@functools.cache
def _hints(kind: Hashable) -> dict[str, Any]:
    return typing.get_type_hints(kind)


def _dataclass(kind: type[Any], value: Mapping[str, Any]) -> Any:
    members = {}
    hints = _hints(typing.cast(Hashable, kind))
    for field in dataclasses.fields(kind):
        name = field.name.rstrip("_")
        if name in value:
            members[field.name] = _value(hints[field.name], value[name])
    return kind(**members)


def _value(hint: Any, value: Any) -> Any:
    """A JSON value as the type that a field has."""
    origin = typing.get_origin(hint)
    if origin in (Union, types.UnionType):
        (hint,) = (each for each in typing.get_args(hint) if each is not types.NoneType)
        return None if value is None else _value(hint, value)
    if origin is tuple:
        return tuple(_value(typing.get_args(hint)[0], each) for each in value)
    if origin is Mapping:
        return {name: _value(typing.get_args(hint)[1], each) for name, each in value.items()}
    if dataclasses.is_dataclass(hint):
        return _dataclass(typing.cast(type[Any], hint), value)
    if hint is datetime.datetime:
        return datetime.datetime.fromisoformat(value)
    if isinstance(hint, type) and issubclass(hint, enum.Enum):
        return hint(value)
    return value


def from_document(kind: type[T], value: Mapping[str, Any]) -> T:
    """A document, or a part of one, as a dataclass."""
    return typing.cast(T, _dataclass(kind, value))
