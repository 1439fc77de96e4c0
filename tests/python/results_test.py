# SPDX-License-Identifier: Apache-2.0
"""Results have the members of the documents that the installed schemas describe, and the types of their fields."""
import dataclasses
import datetime
import json
import pickle

import kvn
import pytest
from kvn import results

ENVELOPE = {"kvn", "version", "error"}


@pytest.fixture(scope="module")
def schemas(prefix):
    files = (prefix / "share" / "kvn_fpga").rglob("*.schema.json")
    return {file.name: json.loads(file.read_text(encoding="utf-8")) for file in files}


def at(schema, *path):
    for step in path:
        schema = schema[step]
    return schema


def properties(*path):
    return (*path, "properties")


def items(*path):
    return (*path, "items", "properties")


def optional(*path):
    return (*path, "anyOf", 0, "properties")


INSPECTION = ("inspection.schema.json", "properties")
DIFFERENCE = ("difference.schema.json", "properties")
COMMON = ("common.schema.json", "$defs")
ROWS = [
    (results.Failure, properties(*COMMON, "failure")),
    (results.Problem, properties(*COMMON, "problem")),
    (results.Provider, properties(*COMMON, "provider")),
    (results.Stored, properties(*COMMON, "stored")),
    (results.Identity, properties(*COMMON, "identity")),
    (results.DevicePart, optional(*COMMON, "identity", "properties", "device_part")),
    (results.Slot, properties(*COMMON, "slot")),
    (results.Board, properties(*COMMON, "board")),
    (results.Field, properties(*COMMON, "field")),
    (results.Inspection, INSPECTION),
    (results.Header, properties(*INSPECTION, "header")),
    (results.Device, optional(*INSPECTION, "device")),
    (results.Packets, optional(*INSPECTION, "packets")),
    (results.Register, items(*INSPECTION, "packets", "anyOf", 0, "properties", "registers")),
    (results.Command, items(*INSPECTION, "packets", "anyOf", 0, "properties", "commands")),
    (results.Configuration, optional(*INSPECTION, "configuration")),
    (results.Frames, properties(*INSPECTION, "configuration", "anyOf", 0, "properties", "frames")),
    (results.Crc, properties(*INSPECTION, "configuration", "anyOf", 0, "properties", "crc")),
    (results.RunCoded, optional(*INSPECTION, "run_coded")),
    (results.BusTime, optional(*INSPECTION, "bus_time")),
    (results.TriedLoad, optional(*INSPECTION, "check", "properties", "plain")),
    (results.TriedLoad, optional(*INSPECTION, "check", "properties", "compressed")),
    (results.Difference, DIFFERENCE),
    (results.Compared, properties(*DIFFERENCE, "first")),
    (results.Compared, properties(*DIFFERENCE, "second")),
    (results.HeaderDifference, items(*DIFFERENCE, "headers")),
    (results.FrameDifference, items(*DIFFERENCE, "frames", "anyOf", 0)),
    (results.RegisterDifference, items(*DIFFERENCE, "registers", "anyOf", 0)),
    (results.Estimate, properties("estimate.schema.json")),
    (results.PlainLoad, properties("estimate.schema.json", "properties", "plain")),
    (results.CompressedLoad, properties("estimate.schema.json", "properties", "compressed")),
    (results.Conversion, properties("conversion.schema.json")),
    (results.Change, items("conversion.schema.json", "properties", "changes")),
    (results.Record, properties("record.schema.json")),
    (results.ErrorExplanation, items("errors.schema.json", "properties", "errors")),
    (results.AnswerExplanation, items("errors.schema.json", "properties", "statuses")),
]


@pytest.mark.parametrize(("kind", "path"), ROWS, ids=lambda value: getattr(value, "__name__", ""))
def test_fields_are_the_members_of_the_documents(schemas, kind, path):
    members = at(schemas, *path).keys()
    if "kvn" in members:
        members -= ENVELOPE
    assert {field.name.rstrip("_") for field in dataclasses.fields(kind)} == members


def test_a_check_has_the_members_of_the_document_and_its_error(schemas):
    members = at(schemas, *properties(*INSPECTION, "check")).keys()
    assert {field.name for field in dataclasses.fields(results.Check)} == members | {"error"}


def test_words_are_those_of_the_schemas(schemas):
    record = at(schemas, *properties("record.schema.json"))
    assert list(results.Verdict) == record["verdict"]["enum"]
    assert list(results.ModuleState) == at(schemas, *COMMON, "module_state", "enum")
    assert set(results.Origin) == set(record["sources"]["properties"]["module"]["enum"])
    assert list(results.Compression) == at(schemas, *COMMON, "identity", "properties", "compression", "enum")
    assert list(results.SlotKind) == at(schemas, *COMMON, "slot", "properties", "kind", "enum")


def test_a_word_of_a_newer_library_is_a_member_of_its_own():
    word = results.Verdict("put off")
    assert (word, word.name, word.value, isinstance(word, results.Verdict)) == ("put off", "PUT_OFF", "put off", True)


def test_members_of_a_newer_library_are_left_out():
    document = {"what": "w", "remedy": "r", "fatal": True, "colour": "red"}
    assert results.from_document(results.Problem, document) == results.Problem("w", "r", True)


def test_results_do_not_change(kvn_module, session):
    slot = session.identify(kvn_module.name)
    with pytest.raises(dataclasses.FrozenInstanceError):
        slot.module = "other"


def test_a_record_has_the_types_of_its_fields(kvn_module, session, design):
    record = session.load(design, kvn_module.name, serial_number="S 1", operator_name="Ann", station="7")
    assert record.verdict is kvn.Verdict.CONFIGURED
    assert record.state is kvn.ModuleState.CONFIGURED
    assert record.mode is kvn.Mode.COMPRESSED
    assert record.format is kvn.Format.BIT
    assert record.identity.device_part == results.DevicePart("2v3000", "fg676", "4")
    assert record.begin.tzinfo is datetime.timezone.utc and record.begin <= record.end
    assert record.sources["serial_number"] is kvn.Origin.GIVEN
    assert (record.serial_number, record.operator_name, record.station) == ("S 1", "Ann", "7")
    assert record.provider.simulated and record.provider == session.provider
    assert (record.attempts, record.answer, record.failure, record.problems) == (1, 5, None, ())
    assert record.wire_bytes > 0 and record.seconds_on_wire > 0
    assert pickle.loads(pickle.dumps(record)) == record


def test_boards_and_slots(virtual_rack, session):
    virtual_rack.add("mwc4a:0/1", "2v40cs144-4")
    virtual_rack.add("mwc4a:0/3", kind="processor")
    (board,) = session.list("mwc4a", 0)
    assert (board.board, board.board_type, board.number, board.failure) == ("mwc4a:0", "mwc4a", 0, None)
    kinds = [kvn.SlotKind.MODULE, kvn.SlotKind.EMPTY, kvn.SlotKind.PROCESSOR, kvn.SlotKind.EMPTY]
    assert [slot.kind for slot in board.slots] == kinds
    assert board.slots[0].identity.compression is kvn.Compression.YES
    assert board.slots[0] == session.identify("mwc4a:0/1")
    assert board.slots[1].identity is None
    boards = session.list("mwc4a")
    assert len(boards) == 16 and boards[0] == board
    assert (boards[9].slots, boards[9].failure.kind, boards[9].failure.number) == ((), "no module", 9201)


def test_an_inspection(session, design, damaged):
    good, bad = session.inspect(design), session.inspect(damaged)
    assert (good.format, good.part, good.device.name, good.device.family) == ("BIT", "2v3000fg676", "2v3000", "Virtex-2")
    assert good.is_loadable and good.problems == () and good.configuration.crc.verdict == "right"
    assert not bad.is_loadable and bad.problems[0].fatal and bad.problems[0].remedy
    assert good.digest == session.digest(design) != bad.digest
    assert good.check is None


def test_a_check_is_an_answer_also_if_it_is_no(session, design, damaged):
    good = session.check(design, "2v3000fg676-4")
    assert (good.starts, good.error, good.plain.starts, good.compressed.starts) == (True, None, True, True)
    bad = session.check(damaged)
    assert (bad.starts, type(bad.error)) == (False, kvn.DamagedError)
    other = session.check(design, "2v80cs144-4", kvn.Mode.PLAIN)
    assert (other.starts, type(other.error), other.compressed) == (False, kvn.WrongDeviceError, None)
    assert session.check(session.from_bytes(b"", "empty.bit")).starts is False


def test_a_difference(session, design, damaged):
    difference = session.compare(design, damaged)
    assert (difference.same_configuration, difference.bits, len(difference.frames)) == (False, 1, 1)
    assert difference.frames[0].in_first and difference.frames[0].bits == 1
    assert session.compare(design, design).same_configuration


def test_an_estimate(session, design):
    estimate = session.estimate(design, bytes_per_second=100_000)
    assert (estimate.mode, estimate.takes_compressed, estimate.bytes_per_second) == (kvn.Mode.COMPRESSED, None, 100_000)
    assert estimate.chosen is estimate.compressed and estimate.chosen.seconds == estimate.chosen.bus_bytes / 100_000
    plain = session.estimate(design, takes_compressed=False)
    assert plain.chosen is plain.plain and plain.chosen.seconds is None


def test_a_conversion(session, design, tmp_path):
    target = tmp_path / "design.mcb"
    conversion = session.convert(design, target)
    assert (conversion.source_format, conversion.format) == (kvn.Format.BIT, kvn.Format.MCB)
    assert (conversion.target, conversion.bytes) == (str(target), target.stat().st_size)
    assert conversion.lost == (results.Field("design", "example.ncd"),)
    assert conversion.digest == session.digest(target)
    with pytest.raises(kvn.FileError):
        session.convert(design, target)
    with pytest.raises(kvn.UsageError):
        session.convert(design, target, overwrite=True, part="2v40cs144")
    assert session.convert(design, target, overwrite=True, format="MCB", normalise=True).normalised


def test_explanations(session):
    error = session.explain_error(9103)
    assert (error.number, error.exit_status, error.module_state) == (9103, kvn.Status.WRONG_DEVICE, "untouched")
    assert error.text == "Error 9103. Bitstream %s is not for a %s device."
    assert error.class_ == "the bitstream is for another device than the module has"
    answer = session.explain_answer(5)
    assert answer.success and answer.meaning == "The FPGA has started: DONE is high."
    for wrong in (4, 7777):
        with pytest.raises(kvn.UsageError):
            session.explain_error(wrong)
