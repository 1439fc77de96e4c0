# SPDX-License-Identifier: Apache-2.0
"""Compares what a run says with what the carriers' FPGAs hold and with what was on the wire."""
from workplace import COMPRESSED, PLAIN

VERDICTS = ("configured", "refused", "failed", "cancelled", "timed out", "not tried")
BEGUN, END_ASKED, ENDED, ANSWERED = 1, 2, 3, 4
SUCCESS = 5
HEADER = 2  # bytes of a load's message before its data
# Faults after which nobody can know how far a load came.
NO_RETURN = {"hang", "death"}


class Differences(list):
    """What does not fit, each with its module."""

    def require(self, holds, module, what):
        if not holds:
            self.append(f"{module}: {what}")


def loads_since(before, now, place):
    return now.get(place, {}).get("loads", 0) - before.get(place, {}).get("loads", 0)


def holds_the_same(now, then):
    """Whether nothing was loaded in between. A message without a byte makes a state file of an empty module."""
    return all((now or {}).get(name) == (then or {}).get(name) for name in ("digest", "verdict")) and \
        (now or {}).get("loads", 0) == (then or {}).get("loads", 0)


def holds_design(workplace, module, holds):
    """Whether an FPGA runs the module's design. Plain loads of older families are without its last words: 16 bytes, of
    MCB files 4."""
    missing = workplace.size(module) - holds["bytes"]
    tails = [0] if module.device.startswith("2v") or holds["compressed"] else [0, 4, 16]
    return (holds["state"] == "running" and holds["device"] == module.device and missing in tails and
            holds["digest"] == workplace.digest(module, holds["bytes"]))


def compare_record(found, workplace, module, record, carriers, before, loads):
    """One record with one FPGA. @param loads what was on the wire for the module in this run"""
    digest = workplace.digest(module)
    name, place = module.name, module.place
    now, then = carriers.get(place), before.get(place)
    last_bytes, phase, answer = loads[-1] if loads else (0, 0, 0)
    state, verdict = record["state"], record["verdict"]

    def require(holds, what):
        found.require(holds, name, f"{what} (record: {verdict}, {state}, {record['attempts']} attempts, "
                                   f"{record['wire_bytes']} bytes, failure {record['failure']}; carrier: {now}; "
                                   f"wire: {loads}; planted: {sorted(module.planted)})")

    # A process that is killed may not have noted the first byte.
    taken = sum(bool(size) for size, _, _ in loads)
    counted = loads_since(before, carriers, place)
    require(counted == taken or module.planted & NO_RETURN and taken < counted <= len(loads),
            "the carriers count other loads than the wire")
    require(record["digest"] == digest, "the record has another design")
    require(record["file"] == workplace.file_name(module), "the record has another file")
    if not loads:
        require(holds_the_same(now, then), "the FPGA has changed although nothing was on the wire")
        require(state == "untouched" or (state == "unknown" and module.planted & NO_RETURN),
                "nothing was on the wire")
        require(verdict not in ("configured", "refused"), "a verdict without a load")
        require(record["attempts"] == 0 or module.planted & (NO_RETURN | {"bus"}) or verdict == "timed out",
                "an attempt that was not on the wire")
        return
    require(state != "untouched", "something was on the wire")
    require(not counted or now["device"] == module.device, "another device has the load")
    # An attempt may fail before anything is on the wire.
    require(record["attempts"] == len(loads) or (module.planted & (NO_RETURN | {"bus"}) or verdict == "timed out") and
            record["attempts"] > len(loads), "other attempts than loads on the wire")
    if record["wire_bytes"] is not None:
        require(record["sources"]["wire_bytes"] == "observed", "the bytes on the wire were not observed")
        require(record["wire_bytes"] == last_bytes, "other bytes than on the wire")
    if not last_bytes:
        # Whether a call that failed has sent its byte is not known: the careful word is right, and so is the FPGA.
        require(state in ("interrupted", "unknown") and phase == BEGUN, "a message without a byte")
        require(counted or holds_the_same(now, then), "the FPGA has changed without a byte")
        return
    if now["compressed"] is not None and record["mode"] is not None:
        require((record["mode"] == COMPRESSED) == now["compressed"] or phase < ENDED or "lost" in module.planted,
                "another mode than the carrier has seen")
    if state == "configured":
        require(verdict == "configured" and record["failure"] is None, "it runs, and that is no success")
        require(phase == ANSWERED and answer == SUCCESS == record["answer"], "no answer says so")
        require(holds_design(workplace, module, now), "the FPGA does not run the design")
        require(record["mode"] != PLAIN or now["bytes"] == last_bytes - HEADER, "the FPGA has other bytes")
    elif state == "refused":
        require(verdict == "refused" and record["failure"]["status"] == 8, "it is refused, and the verdict differs")
        require(phase == ANSWERED and answer != SUCCESS and answer == record["answer"], "no answer says so")
        require(now["state"] == "refused" or "lie" in module.planted, "the FPGA has not refused it")
        require(now["verdict"] == answer or "lie" in module.planted, "the FPGA gave another answer")
    elif state == "interrupted":
        require(verdict in ("failed", "cancelled"), "it is interrupted, and the verdict differs")
        require(phase == BEGUN, "its message was ended")
        require(now["state"] == "part of its data", "the FPGA has not part of its data")
    elif state == "unknown":
        require(verdict in ("failed", "timed out", "cancelled"), "it is unknown, and the verdict differs")
        reported = bool(module.planted & NO_RETURN) or verdict == "timed out" or phase in (END_ASKED, ENDED)
        require(reported or module.planted & {"silent", "bus", "lost", "other", "room"},
                "what it holds could be known")
    else:
        require(False, "a state without a load")


def compare_stream(found, run):
    """The stream by itself: its head, its last line, one record for each module, its counts."""
    events = run.events
    found.require(bool(events) and events[0].get("kvn") == "events", "stream", "it has no head")
    found.require(not run.torn, "stream", f"its last line is torn: {run.torn[:80]!r}")
    found.require(bool(events) and events[-1].get("event") == "result" and len(run.of("result")) == 1, "stream",
                  "its last line is no result")
    if found:
        return
    result = events[-1]
    found.require(result["status"] == run.status, "stream", f"the status is {run.status}, and the result {result}")
    planned = [module["module"] for module in run.of("planned")[0]["modules"]] if run.of("planned") else []
    finished = [event["module"] for event in run.of("finished")] + [event["module"] for event in run.of("kept")]
    found.require(len(finished) == len(set(finished)), "stream", f"a module is finished twice: {finished}")
    counts = dict.fromkeys(VERDICTS, 0)
    for event in run.of("finished") + run.of("kept"):
        counts[event["record"]["verdict"]] += 1
    if finished:
        found.require(sorted(finished) == sorted(planned), "stream", f"records of {finished}, planned {planned}")
    else:
        counts["not tried"] = len(planned)
    found.require(counts == result["counts"], "stream", f"counts {result['counts']}, records {counts}")
    begun = {}
    for event in run.events:
        if event.get("event") == "begun":
            found.require(event["attempt"] == begun.get(event["module"], 0) + 1, event["module"],
                          f"attempt {event['attempt']} out of turn")
            begun[event["module"]] = event["attempt"]
        elif event.get("event") == "finished":
            attempts = event["record"]["attempts"]
            found.require(attempts <= begun.get(event["module"], 0), event["module"],
                          f"{attempts} attempts, {begun.get(event['module'], 0)} begun")


def of_journal(event):
    return event.get("event") in ("planned", "kept", "begun", "finished", "result")


def without_chain(line):
    return {name: value for name, value in line.items() if name not in ("previous", "sum")}


def compare_journal(found, run, is_whole):
    """The journal with the stream.

    @param is_whole whether the run could write it to its end
    """
    lines = [without_chain(line) for line in run.journal_lines()[1:] if line.get("event") != "problem"]
    told = [event for event in run.events if of_journal(event)]
    if not lines:
        found.require(not run.of("begun"), "journal", "there is none, and a load was begun")
        return
    verification, status = run.workplace.verified(run.journal)
    found.require(status == 0 and verification["result"] == "unchanged", "journal", f"it is {verification}")
    if is_whole:
        found.require(lines == told, "journal", f"it differs from the stream:\n{lines}\n{told}")
        return
    # What the journal has was told. What is not in it was told only if it had happened.
    rest = iter(told)
    found.require(all(line in rest for line in lines), "journal", f"it has what the stream has not: {lines}")
    missing = [event for event in told if event not in lines]
    found.require(all(event["event"] in ("finished", "result") for event in missing), "journal",
                  f"a load was begun that it does not have: {missing}")


def compare_report(found, run):
    """The report of the journal with the stream."""
    if not run.journal_lines() or not run.of("planned"):
        return
    report, status = run.workplace.report(run.journal)
    found.require(status == 0 and report.get("error") is None, "report", f"status {status}: {report.get('error')}")
    if found:
        return
    rows = {row["module"]: row for row in report["modules"]}
    found.require(len(rows) == len(report["modules"]), "report", "a module is there twice")
    found.require(report["counts"] == run.events[-1]["counts"], "report", f"counts {report['counts']}")
    for module, record in run.records().items():
        row = rows.get(module)
        found.require(row is not None, module, "it is not in the report")
        if row is not None:
            found.require(row["record"] == record, module, f"the report's record {row['record']} is not {record}")
            for name in ("verdict", "state"):
                found.require(row[name] == record[name], module, f"{name} in the report: {row[name]}")
            begun = sum(event["module"] == module for event in run.of("begun"))
            found.require(row["attempts"] == begun, module, f"attempts in the report: {row['attempts']}")


def compare_untouched(found, rack, planned, carriers, before, wire):
    """Modules that the plan does not name hold what they held."""
    names = {module.place for module in planned}
    for module in rack.modules:
        if module.place not in names:
            found.require(holds_the_same(carriers.get(module.place), before.get(module.place)), module.place,
                          "it has changed, and is not in the plan")
            found.require(module.place not in wire, module.place, "it was sent something, and is not in the plan")
