# SPDX-License-Identifier: Apache-2.0
"""Lists boards, examines bitstream files and loads KAVRIN-FPGA and KAVRIN-IO modules, through libkvn.

    with kvn.Session() as session:
        record = session.load("design.bit", "mwc4a:0/1")
"""
from kvn._library import version
from kvn.errors import (
    BusError,
    CancelledError,
    DamagedError,
    FileError,
    InternalError,
    KvnError,
    NoModuleError,
    RefusedError,
    RehearsalError,
    SeveralError,
    Status,
    TimedOutError,
    UsageError,
    WrongDeviceError,
)
from kvn.loading import Loading
from kvn.results import (
    AnswerExplanation,
    Board,
    Check,
    Compression,
    Conversion,
    Difference,
    ErrorExplanation,
    Estimate,
    Failure,
    Format,
    Identity,
    Inspection,
    Mode,
    ModuleState,
    Origin,
    Problem,
    Progress,
    Provider,
    Record,
    Slot,
    SlotKind,
    Verdict,
)
from kvn.session import File, ProgressCallback, Session

__all__ = [
    "AnswerExplanation", "Board", "BusError", "CancelledError", "Check", "Compression", "Conversion", "DamagedError",
    "Difference", "ErrorExplanation", "Estimate", "Failure", "File", "FileError", "Format", "Identity", "Inspection",
    "InternalError", "KvnError", "Loading", "Mode", "ModuleState", "NoModuleError", "Origin", "Problem", "Progress",
    "ProgressCallback", "Provider", "Record", "RefusedError", "RehearsalError", "SeveralError", "Session", "Slot",
    "SlotKind", "Status", "TimedOutError", "UsageError", "Verdict", "WrongDeviceError", "version",
]
