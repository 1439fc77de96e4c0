# SPDX-License-Identifier: Apache-2.0
"""The constants, structures and functions of the package are those of the installed kvn.h."""
import ctypes
import re

import kvn
import pytest
from kvn import _native

SIMPLE = {
    "int": ctypes.c_int,
    "int32_t": ctypes.c_int32,
    "uint32_t": ctypes.c_uint32,
    "int64_t": ctypes.c_int64,
    "uint64_t": ctypes.c_uint64,
    "size_t": ctypes.c_size_t,
    "double": ctypes.c_double,
    "char*": ctypes.c_char_p,
    "char**": ctypes.POINTER(ctypes.c_char_p),
    "size_t*": ctypes.POINTER(ctypes.c_size_t),
    "void*": ctypes.c_void_p,
    "kvn_session*": ctypes.c_void_p,
    "kvn_file*": ctypes.c_void_p,
    "kvn_session**": ctypes.POINTER(ctypes.c_void_p),
    "kvn_file**": ctypes.POINTER(ctypes.c_void_p),
    "kvn_progress_function": ctypes.c_void_p,
}


@pytest.fixture(scope="module")
def header(prefix):
    text = (prefix / "include" / "kvn.h").read_text(encoding="utf-8")
    return re.sub(r"//[^\n]*|/\*.*?\*/", "", text, flags=re.DOTALL)


def declared(text):
    """Type and name of a declaration such as "const char* name"."""
    words = re.sub(r"\s*\*", "* ", text.replace("const ", "")).split()
    return "".join(words[:-1]), words[-1]


def as_ctypes(kind):
    if kind in SIMPLE:
        return SIMPLE[kind]
    return ctypes.POINTER(_native.STRUCTURES[kind.removesuffix("*")])


def enumeration(header, name):
    body = re.search(rf"enum {name} \{{(.*?)\}}", header, re.DOTALL)[1]
    return {word: int(number) for word, number in re.findall(r"(\w+) = (\d+)", body)}


def test_constants_are_those_of_the_header(header):
    defined = dict(re.findall(r"#define KVN_(\w+) \(?(-?\d+)\)?", header))
    for name in ("INTERFACE_VERSION", "DIGEST_SIZE", "UNKNOWN", "ALL_BOARDS"):
        assert getattr(_native, name) == int(defined[name]), name


def test_statuses_are_those_of_the_header(header):
    assert {f"KVN_{each.name}": each.value for each in kvn.Status} == enumeration(header, "kvn_status")


@pytest.mark.parametrize(
    ("name", "start", "numbers"), [("kvn_mode", "KVN_MODE_", _native.MODES), ("kvn_format", "KVN_FORMAT_", _native.FORMATS)]
)
def test_words_have_the_numbers_of_the_header(header, name, start, numbers):
    found = {start + word.upper().replace(" ", "_"): number for word, number in numbers.items()}
    assert found == enumeration(header, name)


@pytest.mark.parametrize(
    ("name", "start", "kind"),
    [
        ("kvn_format", "KVN_FORMAT_", kvn.Format),
        ("kvn_slot_kind", "KVN_SLOT_", kvn.SlotKind),
        ("kvn_mode", "KVN_MODE_", kvn.Mode),
        ("kvn_verdict", "KVN_VERDICT_", kvn.Verdict),
        ("kvn_state", "KVN_STATE_", kvn.ModuleState),
    ],
)
def test_words_of_results_are_those_of_the_header(header, name, start, kind):
    assert [start + each.name for each in kind] == list(enumeration(header, name))


def test_every_structure_is_that_of_the_header(header):
    found = {}
    for name, body in re.findall(r"typedef struct (\w+) \{(.*?)\} \1;", header, re.DOTALL):
        found[name] = [declared(member)[::-1] for member in body.split(";") if member.strip()]
    assert found.keys() == _native.STRUCTURES.keys()
    for name, members in found.items():
        expected = [(member, as_ctypes(kind)) for member, kind in members]
        assert _native.STRUCTURES[name]._fields_ == expected, name


def test_every_function_has_the_prototype_of_the_header(header):
    found = {}
    for result, name, arguments in re.findall(r"KVN_API ((?:const )?\w+\*?) (\w+)\((.*?)\);", header, re.DOTALL):
        kinds = [declared(each)[0] for each in arguments.split(",") if each.strip() != "void"]
        found[name] = (as_ctypes(result.replace("const ", "")), tuple(as_ctypes(kind) for kind in kinds))
    assert "kvn_load" in found
    assert found == _native.FUNCTIONS


def test_the_progress_function_has_the_prototype_of_the_header(header):
    result, arguments = re.search(r"typedef (\w+) \(\*kvn_progress_function\)\((.*?)\);", header, re.DOTALL).groups()
    assert (result, [declared(each)[0] for each in arguments.split(",")]) == ("int", ["void*", "kvn_progress_info*"])
    assert _native.ProgressFunction._restype_ is ctypes.c_int
    # A void* that is taken as the object it leads to.
    assert _native.ProgressFunction._argtypes_ == (ctypes.py_object, ctypes.POINTER(_native.ProgressInfo))
