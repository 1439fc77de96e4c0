# SPDX-License-Identifier: Apache-2.0
"""What goes wrong: an exception for each class of failure."""
from __future__ import annotations

import enum
from typing import TYPE_CHECKING, ClassVar

if TYPE_CHECKING:
    from kvn.results import Record


class Status(enum.IntEnum):
    """The classes of outcomes; the same numbers are the exit statuses of the programs."""

    DONE = 0
    INTERNAL = 1
    USAGE = 2
    FILE = 3
    DAMAGED = 4
    WRONG_DEVICE = 5
    NO_MODULE = 6
    BUS = 7
    REFUSED = 8
    SEVERAL = 9
    REHEARSAL = 10
    CANCELLED = 11
    TIMED_OUT = 12


class KvnError(Exception):
    """A failure. Its text is all that is known, on up to three lines."""

    #: The class of the failure.
    status: ClassVar[Status]
    #: The name of the class, such as "wrong device".
    kind: ClassVar[str]

    def __init_subclass__(cls) -> None:
        cls.kind = cls.status.name.lower().replace("_", " ")

    def __init__(
        self,
        what: str,
        why: str | None = None,
        remedy: str | None = None,
        number: int | None = None,
        record: Record | None = None,
    ) -> None:
        super().__init__(what, why, remedy, number, record)
        #: What happened, with all names, on one line.
        self.what = what
        #: Why it happened, or None.
        self.why = why
        #: What to do, or None.
        self.remedy = remedy
        #: The number of the loader's error, such as 9103, or None.
        self.number = number
        #: Of a load: what is known of the module after it, or None.
        self.record = record

    def __str__(self) -> str:
        lines = [self.what]
        if self.why:
            lines.append(f"why: {self.why}")
        if self.remedy:
            lines.append(f"try: {self.remedy}")
        return "\n".join(lines)


class InternalError(KvnError):
    """A mistake of the library, or no memory."""

    status = Status.INTERNAL


class UsageError(KvnError):
    """Arguments, the order of calls, or the environment."""

    status = Status.USAGE


class FileError(KvnError):
    """A file cannot be opened, read or written."""

    status = Status.FILE


class DamagedError(KvnError):
    """A file is damaged, or no bitstream."""

    status = Status.DAMAGED


class WrongDeviceError(KvnError):
    """The bitstream is for another device than the module has."""

    status = Status.WRONG_DEVICE


class NoModuleError(KvnError):
    """No such board, slot or module, or the provider cannot be loaded."""

    status = Status.NO_MODULE


class BusError(KvnError):
    """The bus failed."""

    status = Status.BUS


class RefusedError(KvnError):
    """The module refused the configuration."""

    status = Status.REFUSED


class SeveralError(KvnError):
    """Several modules, several outcomes."""

    status = Status.SEVERAL


class RehearsalError(KvnError):
    """A rehearsal found problems; nothing was sent."""

    status = Status.REHEARSAL


class CancelledError(KvnError):
    """A load was cancelled."""

    status = Status.CANCELLED


class TimedOutError(KvnError):
    """The module did not answer in time."""

    status = Status.TIMED_OUT


_CLASSES: dict[int, type[KvnError]] = {error.status: error for error in KvnError.__subclasses__()}


def error_class(status: int) -> type[KvnError]:
    """The exception of a status; of a status that only a newer library has, InternalError."""
    return _CLASSES.get(status, InternalError)
