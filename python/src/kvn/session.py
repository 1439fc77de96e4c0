# SPDX-License-Identifier: Apache-2.0
"""Sessions and files: where calls are made."""
from __future__ import annotations

import contextlib
import ctypes
import dataclasses
import json
import os
import threading
import types
import weakref
from collections.abc import Callable, Generator, Iterator, Mapping
from typing import Any, TypeVar

from kvn import _native
from kvn._library import library
from kvn.errors import KvnError, UsageError, error_class
from kvn.loading import Loading
from kvn.results import (
    AnswerExplanation,
    Board,
    Check,
    Conversion,
    Difference,
    ErrorExplanation,
    Estimate,
    Format,
    Inspection,
    Mode,
    Progress,
    Provider,
    Record,
    Slot,
    from_document,
)

T = TypeVar("T")
Path = str | os.PathLike[str]

#: Called with each report of a load; what it raises cancels the load and is raised after it.
ProgressCallback = Callable[[Progress], object]


def _text(value: str | None, name: str) -> bytes | None:
    """A text as the library takes it."""
    return None if value is None else _without_zero(value.encode(), name)


def _path(value: Path, name: str) -> bytes:
    return _without_zero(os.fsencode(value), name)


def _without_zero(value: bytes, name: str) -> bytes:
    if b"\0" in value:
        raise UsageError(f"{name} has a zero character", "texts of the C interface end with a zero", "pass another text")
    return value


def _choice(value: str, choices: Mapping[str, int], name: str) -> int:
    if value not in choices:
        raise UsageError(f'{name} is "{value}"', None, "pass one of: " + ", ".join(choices))
    return choices[value]


def _known(number: float) -> float | None:
    return None if number == _native.UNKNOWN else number


def _as_progress(info: _native.ProgressInfo) -> Progress:
    return Progress(
        bytes=info.bytes,
        total=None if info.total == _native.UNKNOWN else info.total,
        seconds=info.seconds,
        bytes_per_second=_known(info.bytes_per_second),
        seconds_left=_known(info.seconds_left),
        is_running=bool(info.is_running),
    )


# The library calls `send` of the generator that it has as user data. A generator is not entered anew for each report, as a
# function would be: an interrupt (Ctrl-C) that waits for Python code to run is raised inside its try block.
_report = _native.ProgressFunction(types.GeneratorType.send)


class _Observer:
    """Takes the reports of one load."""

    def __init__(self, callback: ProgressCallback | None) -> None:
        self.failure: BaseException | None = None
        self._callback = callback
        self.reports = self._reports()
        next(self.reports)

    def _reports(self) -> Generator[int, Any, None]:
        """Receives pointers to reports, answers 0 to go on and 1 to cancel."""
        while True:
            try:
                while True:
                    report = yield 0 if self.failure is None else 1
                    if self.failure is None and self._callback is not None:
                        self._callback(_as_progress(report.contents))
            except GeneratorExit:
                return
            except BaseException as error:  # raised again after the load
                self.failure = self.failure or error


class File:
    """The content of a bitstream file, unpacked. It belongs to no session; several may use it at once."""

    def __init__(self, handle: ctypes.c_void_p, name: str, size: int) -> None:
        """Made by Session.open and Session.from_bytes."""
        self._handle: ctypes.c_void_p | None = handle
        #: The name as it was given.
        self.name = name
        #: Bytes, unpacked.
        self.size = size
        self._close = weakref.finalize(self, library().kvn_file_close, handle)
        self._close.atexit = False

    def close(self) -> None:
        """Closes the file. Calls that use it at the same time go on with it. A second close does nothing."""
        self._handle = None
        self._close()

    def __enter__(self) -> File:
        return self

    def __exit__(self, *_: object) -> None:
        self.close()


class Session:
    """Where calls are made, one at a time: each thread has a session of its own.

    A call that meets another one in the same session is a UsageError and changes nothing; only `cancel` and
    `progress` may be called meanwhile, from any thread.
    """

    def __init__(self, provider: str | None = None) -> None:
        """
        :param provider: "virtual", "replay:FILE", or the path or soname of a library; a process has one provider.
            None: opened when boards are first needed, the one that KVN_MWAPI names, else the board maker's
        :raises NoModuleError: when the provider cannot be loaded
        :raises UsageError: when the process uses another provider, or libkvn cannot be loaded
        """
        self._library = library()
        self._turn = threading.Lock()
        self._has_provider = False
        self._last_record: Record | None = None
        self._handle: ctypes.c_void_p | None = ctypes.c_void_p()
        self._demand(self._library.kvn_open(ctypes.byref(self._handle)))
        self._close = weakref.finalize(self, self._library.kvn_close, self._handle)
        self._close.atexit = False
        if provider is not None:
            with self._call():
                self._open_provider(provider)

    def close(self) -> None:
        """Closes the session. Files stay open. A second close does nothing.

        :raises UsageError: while a call runs in the session, which stays open
        """
        with self._call():
            self._handle = None
            self._close()

    def __enter__(self) -> Session:
        return self

    def __exit__(self, *_: object) -> None:
        self.close()

    # Files.

    def open(self, path: Path) -> File:
        """Reads a file to its end and keeps the content, unpacked if it was packed by gzip, xz or zstd.

        :param path: of a regular file or a named pipe; "-" is standard input
        :raises FileError: when it cannot be opened or read
        :raises DamagedError: for damaged packed content, and for more than 1 GiB
        """
        with self._call():
            return self._opened(self._library.kvn_file_open, _path(path, "path"))

    def from_bytes(self, content: bytes, name: str | None = None) -> File:
        """The same for bytes in memory, which are copied.

        :param name: for messages
        """
        with self._call():
            return self._opened(self._library.kvn_file_from_memory, content, len(content), _text(name, "name"))

    def inspect(self, file: File | Path) -> Inspection:
        """Reports what a file is and what is wrong with it. A bad file is no failure."""
        info = _native.sized(_native.Inspection)
        with self._call(), self._lent(file) as lent:
            return self._result(Inspection, self._library.kvn_inspect(self._handle, lent, ctypes.byref(info)))

    def check(self, file: File | Path, device: str | None = None, mode: Mode | str = Mode.AS_TAKEN) -> Check:
        """Finds out whether a module would start with a file, by loading it into a model of the device.

        :param device: of the module, such as "2v3000fg676-4"; None: the one that the file names
        :param mode: PLAIN or COMPRESSED: that load must succeed; AS_TAKEN: both must
        :return: the answer, also if it is no
        """
        judgement = _native.sized(_native.Judgement)
        name, wish = _text(device, "device"), _choice(mode, _native.MODES, "mode")
        with self._call(), self._lent(file) as lent:
            status = self._library.kvn_check(self._handle, lent, name, wish, ctypes.byref(judgement))
            error = self._error(status) if status else None
            document = self._document()
        if error is not None and "check" not in document:
            raise error
        found = from_document(Check, document["check"])
        return dataclasses.replace(found, error=error)

    def digest(self, file: File | Path) -> str:
        """The fingerprint of a design, whatever form of file holds it: 64 hexadecimal digits.

        :raises DamagedError: for a file without whole configuration data
        """
        digits = ctypes.create_string_buffer(_native.DIGEST_SIZE)
        with self._call(), self._lent(file) as lent:
            self._demand(self._library.kvn_digest(self._handle, lent, digits, _native.DIGEST_SIZE))
        return digits.value.decode()

    def compare(self, first: File | Path, second: File | Path) -> Difference:
        """Compares two files as configuration, whatever their forms.

        :raises DamagedError: for a file without whole configuration data
        """
        difference = _native.sized(_native.Difference)
        with self._call(), self._lent(first) as one, self._lent(second) as other:
            status = self._library.kvn_compare(self._handle, one, other, ctypes.byref(difference))
            return self._result(Difference, status)

    def estimate(
        self,
        file: File | Path,
        *,
        device: str | None = None,
        takes_compressed: bool | None = None,
        mode: Mode | str = Mode.AS_TAKEN,
        bytes_per_second: float | None = None,
    ) -> Estimate:
        """Computes what one load of a file sends. Nothing is sent.

        :param device: of the module; None: the one that the file names
        :param takes_compressed: whether the module takes compressed loads; None: not known
        :param bytes_per_second: of the bus; None: no seconds are wanted
        :raises DamagedError: when the file is no bitstream
        """
        options = _native.sized(_native.EstimateOptions)
        options.device = _text(device, "device")
        options.takes_compressed = _native.UNKNOWN if takes_compressed is None else takes_compressed
        options.mode = _choice(mode, _native.MODES, "mode")
        options.bytes_per_second = 0 if bytes_per_second is None else bytes_per_second
        info = _native.sized(_native.EstimateInfo)
        with self._call(), self._lent(file) as lent:
            status = self._library.kvn_estimate(self._handle, lent, ctypes.byref(options), ctypes.byref(info))
            return self._result(Estimate, status)

    def convert(
        self,
        file: File | Path,
        target: Path | None = None,
        *,
        format: Format | str = Format.UNKNOWN,
        overwrite: bool = False,
        normalise: bool = False,
        part: str | None = None,
    ) -> Conversion:
        """Converts a file; after a failure the target is as it was.

        :param target: the file to write; None: the source's name with the extension of the format
        :param format: UNKNOWN: the one that the target's extension names
        :param overwrite: replace a target that exists
        :param normalise: make the result loadable, plain and compressed, or write nothing
        :param part: to name where the source names none
        :raises DamagedError: for a source that cannot be converted, or not be made loadable
        :raises FileError: for a target that exists or cannot be written
        """
        options = _native.sized(_native.ConvertOptions)
        options.target = None if target is None else _path(target, "target")
        options.format = _choice(format, _native.FORMATS, "format")
        options.overwrite = overwrite
        options.normalise = normalise
        options.part = _text(part, "part")
        info = _native.sized(_native.Conversion)
        with self._call(), self._lent(file) as lent:
            status = self._library.kvn_convert(self._handle, lent, ctypes.byref(options), ctypes.byref(info))
            return self._result(Conversion, status)

    # Boards and modules.

    @property
    def provider(self) -> Provider:
        """The provider; opened if it is not open. Show its announcement to users: no hardware is reached."""
        with self._call():
            self._open_provider(None)
            info = _native.sized(_native.Provider)
            self._demand(self._library.kvn_provider_info(self._handle, ctypes.byref(info)))
            texts = {name: None if text is None else text.decode() for name, text in
                     (("file", info.file), ("version", info.version), ("announcement", info.announcement))}
            return Provider(name=info.name.decode(), simulated=bool(info.simulated), **texts)

    def list(self, board_type: str, board: int | None = None) -> tuple[Board, ...]:
        """Asks the modules of boards what they are. Nothing is loaded.

        :param board_type: such as "mwc4a"
        :param board: 0 to 15; None: all of them, those that cannot be opened with a failure
        :raises KvnError: when the one board cannot be opened
        """
        name = _text(board_type, "board_type")
        with self._call():
            self._open_provider(None)
            number = _native.ALL_BOARDS if board is None else board
            self._demand(self._library.kvn_list(self._handle, name, number))
            return tuple(from_document(Board, each) for each in self._document()["boards"])

    def identify(self, module: str) -> Slot:
        """Asks one module what it is. Nothing is loaded.

        :param module: "mwc4a:0/2", or "mwc4a:0/1.2" for slot 2 of board 1 over the bus of board 0
        :raises KvnError: when less is known than could be
        """
        info = _native.sized(_native.SlotInfo)
        name = _text(module, "module")
        with self._call():
            self._open_provider(None)
            self._demand(self._library.kvn_identify(self._handle, name, ctypes.byref(info)))
            return from_document(Slot, self._document()["slots"][0])

    def load(
        self,
        file: File | Path,
        module: str,
        *,
        progress: ProgressCallback | None = None,
        progress_step: int = 4096,
        mode: Mode | str = Mode.AS_TAKEN,
        force: bool = False,
        device: str | None = None,
        serial_number: str | None = None,
        operator_name: str | None = None,
        station: str | None = None,
    ) -> Record:
        """Loads a file into a module and waits for the module's answer.

        :param module: "mwc4a:0/2", or "mwc4a:0/1.2" for slot 2 of board 1 over the bus of board 0
        :param progress: called on this thread; it may call `cancel` and `progress` of this session. What it raises
            cancels the load and is raised after it, as is KeyboardInterrupt
        :param progress_step: least number of bytes between two reports
        :param force: load although it cannot be told whether the module would start
        :param device: that is expected in the module
        :param serial_number: of the module, for the record, as are operator_name and station
        :return: the record of a module that runs
        :raises KvnError: for any other outcome, with the record
        """
        observer = _Observer(progress)
        options = _native.sized(_native.LoadOptions)
        options.module = _text(module, "module")
        options.device = _text(device, "device")
        options.mode = _choice(mode, _native.MODES, "mode")
        options.force = force
        options.serial_number = _text(serial_number, "serial_number")
        options.operator_name = _text(operator_name, "operator_name")
        options.station = _text(station, "station")
        options.progress = ctypes.cast(_report, ctypes.c_void_p)
        options.user_data = id(observer.reports)
        options.progress_step = progress_step
        record = _native.sized(_native.Record)
        with self._call(), self._lent(file) as lent:
            self._last_record = None
            self._open_provider(None)
            status = self._library.kvn_load(self._handle, lent, ctypes.byref(options), ctypes.byref(record))
            error = self._error(status) if status else None
            document = self._document()
            if document["kvn"] == "record":
                self._last_record = from_document(Record, document)
        return self._outcome(error, observer.failure)

    def loading(self, file: File | Path, module: str, **options: Any) -> Loading:
        """A load that reports by iteration; it begins with the `with` statement and runs on a thread of its own.

        :param options: as those of `load`, except progress
        """
        return Loading(lambda progress: self.load(file, module, progress=progress, **options), self.cancel)

    @property
    def last_record(self) -> Record | None:
        """The record of the last load, also if a progress function's exception ended it."""
        return self._last_record

    def progress(self) -> Progress:
        """How far the load that is running is, or how far the last one came. Any thread, at any time."""
        info = _native.sized(_native.ProgressInfo)
        self._demand_of_thread(self._library.kvn_progress(self._handle, ctypes.byref(info)))
        return _as_progress(info)

    def cancel(self) -> None:
        """Stops the load that is running, before its next call that sends data. Any thread, at any time.

        :raises UsageError: when no load is running
        """
        self._demand_of_thread(self._library.kvn_cancel(self._handle))

    # Errors.

    def explain_error(self, number: int) -> ErrorExplanation:
        """Explains an error of the loader, such as 9103.

        :raises UsageError: for a number that no error has
        """
        return from_document(ErrorExplanation, self._explanation(number, "errors"))

    def explain_answer(self, answer: int) -> AnswerExplanation:
        """Explains a module's answer to a load, 0 to 255."""
        return from_document(AnswerExplanation, self._explanation(answer, "statuses"))

    def result_json(self) -> str:
        """The result of the last operation as the document that `kvn --json` prints.

        :raises UsageError: before the first operation with a result
        """
        with self._call():
            return self._json()

    # What calls share.

    @contextlib.contextmanager
    def _call(self) -> Iterator[None]:
        """One call at a time, with all that is read after it."""
        if not self._turn.acquire(blocking=False):
            raise UsageError(
                "another call is running in this session",
                "a session serves one call at a time",
                "use a session for each thread, or wait for the other call",
            )
        try:
            yield
        finally:
            self._turn.release()

    @contextlib.contextmanager
    def _lent(self, file: File | Path) -> Iterator[ctypes.c_void_p | None]:
        """The handle of a file, which is open during the call."""
        if isinstance(file, File):
            yield file._handle
            return
        with self._opened(self._library.kvn_file_open, _path(file, "file")) as opened:
            yield opened._handle

    def _opened(self, function: Any, *arguments: object) -> File:
        handle = ctypes.c_void_p()
        self._demand(function(self._handle, *arguments, ctypes.byref(handle)))
        document = self._document()
        return File(handle, document["file"], document["size"])

    def _open_provider(self, name: str | None) -> None:
        if self._has_provider:
            return
        self._demand(self._library.kvn_provider_open(self._handle, _text(name, "provider")))
        self._has_provider = True

    def _explanation(self, number: int, member: str) -> Mapping[str, Any]:
        explanation = _native.sized(_native.Explanation)
        with self._call():
            self._demand(self._library.kvn_explain(self._handle, number, ctypes.byref(explanation)))
            found = self._document()[member]
        if not found:
            raise UsageError(f"{number} is no number of the kind that is asked for")
        return dict(found[0])

    def _outcome(self, error: KvnError | None, failure: BaseException | None) -> Record:
        """What a load returns or raises: first what a progress function raised."""
        record = self._last_record
        if failure is not None:
            if record is not None:
                failure.add_note(f"{record.module} is {record.state}")
            raise failure
        if error is not None:
            raise type(error)(error.what, error.why, error.remedy, error.number, record)
        assert record is not None, "a load without a failure has a record"
        return record

    def _result(self, kind: type[T], status: int) -> T:
        self._demand(status)
        return from_document(kind, self._document())

    def _document(self) -> dict[str, Any]:
        document: dict[str, Any] = json.loads(self._json())
        return document

    def _json(self) -> str:
        text = ctypes.c_char_p()
        self._demand(self._library.kvn_result_json(self._handle, ctypes.byref(text)))
        return (text.value or b"").decode()

    def _demand(self, status: int) -> None:
        if status:
            raise self._error(status)

    def _demand_of_thread(self, status: int) -> None:
        if status:
            raise self._error(status, of_thread=True)

    def _error(self, status: int, *, of_thread: bool = False) -> KvnError:
        """What the last call left; in its thread, where it had no session or took no turn."""
        session = None if of_thread else self._handle

        def text(function: Any) -> str | None:
            value: bytes = function(session)
            return value.decode() or None

        return error_class(status)(
            text(self._library.kvn_error_text) or f"the library failed with status {status}",
            text(self._library.kvn_error_why),
            text(self._library.kvn_error_remedy),
            self._library.kvn_error_number(session) or None,
        )
