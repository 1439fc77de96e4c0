# SPDX-License-Identifier: Apache-2.0
"""A load whose reports are iterated over."""
from __future__ import annotations

import queue
import threading
from collections.abc import Callable, Iterator

from kvn.errors import UsageError
from kvn.results import Progress, Record



class Loading:
    """A load on a thread of its own. Iterate over its reports, then ask for its result::

        with session.loading("design.bit", "mwc4a:0/1") as load:
            for progress in load:
                print(progress.bytes)
            record = load.result()

    The end of the `with` statement cancels a load that is still running, and waits for it.
    """

    def __init__(self, load: Callable[[Callable[[Progress], None]], Record], cancel: Callable[[], None]) -> None:
        """Made by Session.loading."""
        self._load = load
        self._cancel = cancel
        self._reports: queue.SimpleQueue[Progress | None] = queue.SimpleQueue()
        self._stop = threading.Event()
        self._record: Record | None = None
        self._error: BaseException | None = None
        self._thread = threading.Thread(target=self._run, name="kvn load")

    def __enter__(self) -> Loading:
        self._thread.start()
        return self

    def __exit__(self, *_: object) -> None:
        if self._thread.is_alive():
            self.cancel()
        self._thread.join()

    def __iter__(self) -> Iterator[Progress]:
        """The reports of the load, until it is over."""
        while (progress := self._reports.get()) is not None:
            yield progress
        self._reports.put(None)  # for the next iteration

    def cancel(self) -> None:
        """Stops the load, before its next call that sends data; it does not wait for that. Any thread."""
        self._stop.set()
        try:
            self._cancel()
        except UsageError:
            pass  # it is over, or has not begun: then its first report ends it

    def result(self) -> Record:
        """Waits for the end of the load.

        :return: the record of a module that runs
        :raises KvnError: for any other outcome, with the record
        """
        self._thread.join()
        if self._error is not None:
            raise self._error
        assert self._record is not None
        return self._record

    def _run(self) -> None:
        try:
            self._record = self._load(self._report)
        except BaseException as error:
            self._error = error
        finally:
            self._reports.put(None)

    def _report(self, progress: Progress) -> None:
        self._reports.put(progress)
        if self._stop.is_set():
            self._cancel()
