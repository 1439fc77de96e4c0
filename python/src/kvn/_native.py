# SPDX-License-Identifier: Apache-2.0
"""kvn.h in ctypes: constants, structures and functions. tests/python/header_test.py compares each with the header."""
import ctypes
from ctypes import POINTER, c_char_p, c_double, c_int, c_int32, c_int64, c_size_t, c_uint32, c_uint64, c_void_p
from typing import Any, Final, TypeVar

Sized = TypeVar("Sized", bound=ctypes.Structure)

INTERFACE_VERSION: Final = 1
DIGEST_SIZE: Final = 65
UNKNOWN: Final = -1
ALL_BOARDS: Final = -1

# The words of modes and formats in documents, as functions take them.
MODES: Final = {"as taken": 0, "plain": 1, "compressed": 2, "smallest": 3}
FORMATS: Final = {"unknown": 0, "RBT": 1, "BIT": 2, "MCB": 3}


class Provider(ctypes.Structure):
    """struct kvn_provider."""

    _fields_ = [
        ("size", c_size_t),
        ("name", c_char_p),
        ("file", c_char_p),
        ("version", c_char_p),
        ("announcement", c_char_p),
        ("simulated", c_int32),
    ]


class Inspection(ctypes.Structure):
    """struct kvn_inspection."""

    _fields_ = [
        ("size", c_size_t),
        ("name", c_char_p),
        ("file_size", c_uint64),
        ("stored_size", c_uint64),
        ("stored_sha256", c_char_p),
        ("digest", c_char_p),
        ("format", c_int32),
        ("is_loadable", c_int32),
        ("part", c_char_p),
        ("device", c_char_p),
        ("family", c_char_p),
        ("design", c_char_p),
        ("tool", c_char_p),
        ("architecture", c_char_p),
        ("date", c_char_p),
        ("time", c_char_p),
        ("stated_bits", c_int64),
        ("found_bits", c_uint64),
        ("run_coded_bytes", c_uint64),
        ("problem_count", c_uint32),
        ("status", c_int32),
    ]


class ProblemInfo(ctypes.Structure):
    """struct kvn_problem_info."""

    _fields_ = [
        ("size", c_size_t),
        ("what", c_char_p),
        ("remedy", c_char_p),
        ("stops", c_int32),
        ("status", c_int32),
    ]


class Judgement(ctypes.Structure):
    """struct kvn_judgement."""

    _fields_ = [
        ("size", c_size_t),
        ("device", c_char_p),
        ("starts", c_int32),
        ("plain_starts", c_int32),
        ("plain_number", c_int32),
        ("compressed_starts", c_int32),
        ("compressed_number", c_int32),
        ("problem_count", c_uint32),
        ("words", c_char_p),
        ("plain_module", c_char_p),
        ("compressed_module", c_char_p),
    ]


class Difference(ctypes.Structure):
    """struct kvn_difference."""

    _fields_ = [
        ("size", c_size_t),
        ("words", c_char_p),
        ("device", c_char_p),
        ("same_configuration", c_int32),
        ("header_count", c_uint32),
        ("first_bits", c_uint64),
        ("second_bits", c_uint64),
        ("bits", c_uint64),
        ("first_bit", c_int64),
        ("frame_count", c_uint64),
        ("register_count", c_uint64),
    ]


class EstimateOptions(ctypes.Structure):
    """struct kvn_estimate_options."""

    _fields_ = [
        ("size", c_size_t),
        ("device", c_char_p),
        ("takes_compressed", c_int32),
        ("mode", c_int32),
        ("bytes_per_second", c_double),
    ]


class EstimateInfo(ctypes.Structure):
    """struct kvn_estimate_info."""

    _fields_ = [
        ("size", c_size_t),
        ("mode", c_int32),
        ("is_loadable", c_int32),
        ("why", c_char_p),
        ("wire_bytes", c_int64),
        ("held_back", c_int64),
        ("seconds", c_double),
        ("plain_wire_bytes", c_int64),
        ("compressed_wire_bytes", c_int64),
    ]


class ConvertOptions(ctypes.Structure):
    """struct kvn_convert_options."""

    _fields_ = [
        ("size", c_size_t),
        ("target", c_char_p),
        ("format", c_int32),
        ("overwrite", c_int32),
        ("normalise", c_int32),
        ("reserved", c_int32),
        ("part", c_char_p),
    ]


class Conversion(ctypes.Structure):
    """struct kvn_conversion."""

    _fields_ = [
        ("size", c_size_t),
        ("target", c_char_p),
        ("source_format", c_int32),
        ("format", c_int32),
        ("bytes", c_uint64),
        ("bits", c_uint64),
        ("digest", c_char_p),
        ("part", c_char_p),
        ("kept_count", c_uint32),
        ("lost_count", c_uint32),
        ("change_count", c_uint32),
        ("problem_count", c_uint32),
    ]


class BoardInfo(ctypes.Structure):
    """struct kvn_board_info."""

    _fields_ = [
        ("size", c_size_t),
        ("name", c_char_p),
        ("board_type", c_char_p),
        ("number", c_int32),
        ("status", c_int32),
        ("what", c_char_p),
        ("why", c_char_p),
        ("remedy", c_char_p),
        ("info_word", c_int64),
        ("slot_count", c_uint32),
    ]


class SlotInfo(ctypes.Structure):
    """struct kvn_slot_info."""

    _fields_ = [
        ("size", c_size_t),
        ("module", c_char_p),
        ("board_type", c_char_p),
        ("board", c_int32),
        ("carrier", c_int32),
        ("slot", c_int32),
        ("kind", c_int32),
        ("type", c_int32),
        ("model", c_int32),
        ("version", c_int32),
        ("compression", c_int32),
        ("type_name", c_char_p),
        ("device", c_char_p),
        ("device_name", c_char_p),
        ("package", c_char_p),
        ("speed_grade", c_char_p),
        ("status", c_int32),
        ("number", c_int32),
        ("what", c_char_p),
        ("why", c_char_p),
        ("remedy", c_char_p),
    ]


class ProgressInfo(ctypes.Structure):
    """struct kvn_progress_info."""

    _fields_ = [
        ("size", c_size_t),
        ("bytes", c_uint64),
        ("total", c_int64),
        ("seconds", c_double),
        ("bytes_per_second", c_double),
        ("seconds_left", c_double),
        ("is_running", c_int32),
    ]


class LoadOptions(ctypes.Structure):
    """struct kvn_load_options."""

    _fields_ = [
        ("size", c_size_t),
        ("module", c_char_p),
        ("device", c_char_p),
        ("mode", c_int32),
        ("force", c_int32),
        ("serial_number", c_char_p),
        ("operator_name", c_char_p),
        ("station", c_char_p),
        ("progress", c_void_p),
        ("user_data", c_void_p),
        ("progress_step", c_uint64),
    ]


class Record(ctypes.Structure):
    """struct kvn_record."""

    _fields_ = [
        ("size", c_size_t),
        ("module", c_char_p),
        ("file", c_char_p),
        ("file_sha256", c_char_p),
        ("digest", c_char_p),
        ("format", c_char_p),
        ("design", c_char_p),
        ("part", c_char_p),
        ("device", c_char_p),
        ("type", c_int32),
        ("model", c_int32),
        ("version", c_int32),
        ("mode", c_int32),
        ("wire_bytes", c_int64),
        ("begin", c_int64),
        ("end", c_int64),
        ("seconds_on_wire", c_double),
        ("attempts", c_uint32),
        ("verdict", c_int32),
        ("state", c_int32),
        ("answer", c_int32),
        ("status", c_int32),
        ("number", c_int32),
        ("what", c_char_p),
        ("why", c_char_p),
        ("remedy", c_char_p),
        ("problem_count", c_uint32),
        ("simulated", c_int32),
    ]


class Explanation(ctypes.Structure):
    """struct kvn_explanation."""

    _fields_ = [
        ("size", c_size_t),
        ("number", c_int32),
        ("is_answer", c_int32),
        ("status", c_int32),
        ("state", c_int32),
        ("text", c_char_p),
        ("meaning", c_char_p),
        ("causes", c_char_p),
        ("remedy", c_char_p),
    ]


STRUCTURES: Final[dict[str, type[ctypes.Structure]]] = {
    "kvn_provider": Provider,
    "kvn_inspection": Inspection,
    "kvn_problem_info": ProblemInfo,
    "kvn_judgement": Judgement,
    "kvn_difference": Difference,
    "kvn_estimate_options": EstimateOptions,
    "kvn_estimate_info": EstimateInfo,
    "kvn_convert_options": ConvertOptions,
    "kvn_conversion": Conversion,
    "kvn_board_info": BoardInfo,
    "kvn_slot_info": SlotInfo,
    "kvn_progress_info": ProgressInfo,
    "kvn_load_options": LoadOptions,
    "kvn_record": Record,
    "kvn_explanation": Explanation,
}

# The user data is the Python object that reports go to.
ProgressFunction = ctypes.CFUNCTYPE(c_int, ctypes.py_object, POINTER(ProgressInfo))

# Result and arguments. Handles are c_void_p.
FUNCTIONS: Final[dict[str, tuple[Any, tuple[Any, ...]]]] = {
    "kvn_version": (c_char_p, ()),
    "kvn_interface_version": (c_int, ()),
    "kvn_open": (c_int, (POINTER(c_void_p),)),
    "kvn_close": (c_int, (c_void_p,)),
    "kvn_error_text": (c_char_p, (c_void_p,)),
    "kvn_error_why": (c_char_p, (c_void_p,)),
    "kvn_error_remedy": (c_char_p, (c_void_p,)),
    "kvn_error_number": (c_int, (c_void_p,)),
    "kvn_result_json": (c_int, (c_void_p, POINTER(c_char_p))),
    "kvn_provider_open": (c_int, (c_void_p, c_char_p)),
    "kvn_provider_info": (c_int, (c_void_p, POINTER(Provider))),
    "kvn_file_open": (c_int, (c_void_p, c_char_p, POINTER(c_void_p))),
    "kvn_file_from_memory": (c_int, (c_void_p, c_void_p, c_size_t, c_char_p, POINTER(c_void_p))),
    "kvn_file_close": (c_int, (c_void_p,)),
    "kvn_inspect": (c_int, (c_void_p, c_void_p, POINTER(Inspection))),
    "kvn_problem": (c_int, (c_void_p, c_size_t, POINTER(ProblemInfo))),
    "kvn_check": (c_int, (c_void_p, c_void_p, c_char_p, c_int, POINTER(Judgement))),
    "kvn_digest": (c_int, (c_void_p, c_void_p, c_char_p, c_size_t)),
    "kvn_compare": (c_int, (c_void_p, c_void_p, c_void_p, POINTER(Difference))),
    "kvn_estimate": (c_int, (c_void_p, c_void_p, POINTER(EstimateOptions), POINTER(EstimateInfo))),
    "kvn_convert": (c_int, (c_void_p, c_void_p, POINTER(ConvertOptions), POINTER(Conversion))),
    "kvn_list": (c_int, (c_void_p, c_char_p, c_int)),
    "kvn_board_count": (c_int, (c_void_p, POINTER(c_size_t))),
    "kvn_board": (c_int, (c_void_p, c_size_t, POINTER(BoardInfo))),
    "kvn_slot_count": (c_int, (c_void_p, POINTER(c_size_t))),
    "kvn_slot": (c_int, (c_void_p, c_size_t, POINTER(SlotInfo))),
    "kvn_identify": (c_int, (c_void_p, c_char_p, POINTER(SlotInfo))),
    "kvn_load": (c_int, (c_void_p, c_void_p, POINTER(LoadOptions), POINTER(Record))),
    "kvn_progress": (c_int, (c_void_p, POINTER(ProgressInfo))),
    "kvn_cancel": (c_int, (c_void_p,)),
    "kvn_explain": (c_int, (c_void_p, c_int, POINTER(Explanation))),
}


def declare(library: ctypes.CDLL) -> None:
    """Gives the functions of a library their prototypes.

    :raises AttributeError: when it lacks one
    """
    for name, (result, arguments) in FUNCTIONS.items():
        function = getattr(library, name)
        function.restype = result
        function.argtypes = arguments


def sized(kind: type[Sized]) -> Sized:
    """A structure that states its size and is zero otherwise."""
    return kind(ctypes.sizeof(kind))
