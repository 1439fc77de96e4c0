# SPDX-License-Identifier: Apache-2.0
"""The modules kvn_run and kvn_facts over ssh and by the connection `local`, on virtual carriers."""
import hashlib
import json
import pathlib

ODD_NAME = 'left "camera" \\ \u00fc \U0001f600 \u007f ] # \'\'\''


def add_tasks(bench):
    board, kind, files = bench.board, bench.host.board_type, bench.files
    rehearsal = {"check_mode": True, "diff": True}
    bench.task("facts", "kvn_facts", boards=[board])
    bench.task("facts of a module", "kvn_facts", boards=[f"{board}/1", f"{bench.slow}/1"])
    bench.task("facts in a rehearsal", "kvn_facts", rehearsal, boards=[board])
    bench.task("facts of no board", "kvn_facts")
    bench.task("facts of a missing board", "kvn_facts", boards=[f"{kind}:9"])
    bench.task("facts without kvn", "kvn_facts", program="kvn-that-is-missing")
    bench.task("facts without an end", "kvn_facts", program=bench.program("silent", "exit 0\n"))

    bench.task("rehearsal", keywords=rehearsal, plan="camera.toml")
    bench.task("load", plan="camera.toml", journal_to=str(files / "journals"), operator_name="o 7", station="s 2")
    bench.task("load again", plan="camera.toml")
    bench.task("resumed", plan="camera.toml", resume=True)
    bench.task("resumed rehearsal", keywords=rehearsal, plan="camera.toml", resume=True)
    bench.plan("other.toml", ("0/1", "design2.bit"))
    bench.task("rehearsal of another design", keywords=rehearsal, plan="other.toml")
    bench.task("first resumed", plan="other.toml", resume=True)

    bench.plan("refused.toml", ("0/1", "design1.bit"), ("0/2", "design1.bit"))
    bench.task("refused", plan="refused.toml")
    bench.plan("wrong.toml", ("0/1", "design1.bit"), ("0/3", "design1.bit"), ("0/4", "nothing.bit"))
    bench.task("wrong plan", plan="wrong.toml")
    bench.task("wrong plan in a rehearsal", keywords=rehearsal, plan="wrong.toml")
    bench.file("damaged.toml").write_text("[[module]\n", encoding="utf-8")
    bench.task("damaged plan", plan="damaged.toml")

    design = bench.file("design1.rbt")
    design.write_bytes(bench.bitstream(1, "rbt").read_bytes())
    bench.file("camera.con").write_text(f"design1 {kind} 0 1\n", encoding="utf-8")
    bench.task("con file", plan="camera.con")
    bench.file("wrong.con").write_text(f"design1 {kind} 0\n", encoding="utf-8")
    bench.task("damaged con file", plan="wrong.con")

    bench.file("a/same.bit").write_bytes(bench.bitstream(1).read_bytes())
    bench.file("b/same.bit").write_bytes(bench.bitstream(2).read_bytes())
    bench.task("inline", modules=[
        {"module": f"{board}/1", "file": str(files / "a/same.bit"), "name": ODD_NAME, "retries": 1},
        {"module": f"{bench.slow}/1", "file": str(files / "b/same.bit"), "timeout": 60}])
    bench.task("inline with an unknown key", modules=[{"module": f"{board}/1", "file": str(files / "a/same.bit"),
                                                       'x"\n[[module]]\ny = "': 1}])
    bench.task("inline with a missing file", modules=[{"module": f"{board}/1", "file": "none.bit"}])
    bench.task("plan and modules", plan="camera.toml", modules=[])
    bench.task("nothing to do")

    bench.task("plan on the host", plan=str(files / "camera.toml"), remote_src=True)
    bench.task("missing plan on the host", plan=str(files / "none.toml"), remote_src=True)
    bench.task("missing plan", plan="none.toml")
    bench.file("folder.bit").mkdir()
    bench.plan("unreadable.toml", ("0/1", "folder.bit"))
    bench.task("unreadable file", plan="unreadable.toml")
    bench.plan("outside.toml", ("0/1", "../outside.bit"))
    bench.task("file outside", plan="outside.toml")

    bench.task("no kvn", plan="camera.toml", program="kvn-that-is-missing")
    bench.task("no provider", plan="camera.toml", provider="/none/libmwapi.so")
    bench.task("unknown option", plan="camera.toml", options=["--frob"])
    bench.task("no program for this host", plan="camera.toml", program=bench.program("foreign", "").replace("foreign", "bin"))
    bench.file("bin").write_bytes(b"\x7fELF")
    bench.file("bin").chmod(0o755)
    head = r'{"kvn":"events","version":"1.0","tool":"kvn 1.0.0"}\n'
    begun = r'{"event":"begun","module":"' + board + r'/1","attempt":1,"at":"2026-11-22T10:00:00.000Z"}\n'
    cut = bench.program("cut", f"printf '{head}{begun}{{\"event\":\"fin'; kill -9 $$\n")
    bench.task("output cut off", plan="camera.toml", program=cut)
    bench.task("no output", plan="camera.toml", program=bench.program("mute", "echo 'no such thing' >&2; exit 5\n"))
    bench.task("no JSON", plan="camera.toml", program=bench.program("chatter", "echo 17; echo hello; exit 0\n"))
    asleep = bench.program("asleep", "exec /bin/sleep 600\n")
    bench.task("asleep", plan="camera.toml", program=asleep, timeout=0.2)
    bench.plan("slow.toml", ("1/1", "design1.bit"), ("1/2", "design1.bit"), ("1/3", "design1.bit"))
    bench.task("stopped", plan="slow.toml", timeout=0.5)

    bench.task("no folder", plan="camera.toml", folder="/proc/none")
    bench.task("no folder for the journal's copy", plan="camera.toml", journal_to="/proc/none")
    bench.task("no room for files", plan="camera.toml", folder=deep_folder(bench))
    bench.file("changing.bit").symlink_to("/proc/sys/kernel/random/uuid")
    bench.plan("changing.toml", ("0/1", "changing.bit"))
    bench.task("changing file", plan="changing.toml")


def deep_folder(bench):
    """A folder so deep that its files can have names of 20 characters, and not of 40."""
    longest = 4095 - len("/files/") - 20
    begin = bench.folder + "-deep"
    rest = longest - len(begin)
    return begin + ("/" + "d" * 199) * (rest // 200) + ("/" + "d" * (rest % 200 - 1) if rest % 200 > 1 else "")


def lines_of(result):
    """The journal of a run."""
    return [json.loads(line) for line in pathlib.Path(result["journal"]).read_text("utf-8").splitlines()]


def failed(bench, name):
    result = bench.results[name]
    assert result.get("failed"), result
    return result["msg"]


def test_facts_are_the_modules_of_the_boards(bench):
    facts = bench.results["facts"]["ansible_facts"]["kvn"]
    assert [(row["module"], row["device"], row["type"], row["failure"]) for row in facts["modules"]] == [
        (f"{bench.board}/1", "2v40cs144-4", "KAVRIN-FPGA", None), (f"{bench.board}/2", "2v40cs144-4", "KAVRIN-FPGA", None),
        (f"{bench.board}/3", "v50bg256-4", "KAVRIN-FPGA", None)]
    assert facts["provider"]["simulated"] is True
    assert [board["board"] for board in facts["boards"]] == [bench.board]
    assert bench.results["facts"]["changed"] is False
    assert bench.results["facts in a rehearsal"]["ansible_facts"] == bench.results["facts"]["ansible_facts"]


def test_facts_of_modules_have_a_row_for_each(bench):
    rows = bench.results["facts of a module"]["ansible_facts"]["kvn"]["modules"]
    assert [row["module"] for row in rows] == [f"{bench.board}/1", f"{bench.slow}/1"]


def test_facts_fail_with_the_reason_and_the_remedy(bench):
    assert failed(bench, "facts of no board").startswith("no board is named, by the command line or by MWAPIKSB; why: ")
    assert failed(bench, "facts of a missing board").startswith(
        f"{bench.host.board_type}:9: Error 9201. Cannot open KSB device on board \"{bench.host.board_type} 9\"")
    assert failed(bench, "facts without kvn") == failed(bench, "no kvn")
    assert failed(bench, "facts without an end") == "kvn list ended without a result: exit status 0"


def test_a_rehearsal_says_what_would_be_loaded_and_sends_nothing(bench):
    result = bench.results["rehearsal"]
    assert result["changed"] is True and result["records"] == [] and result["journal"] is None
    module = f"{bench.board}/1"
    digest = bench.place.bitstreams.digest("2v40cs144-4", 1)
    assert result["diff"] == {"before_header": "last journal", "after_header": "camera.toml", "before": {},
                              "after": {module: {"file": "design1.bit", "digest": digest, "state": "configured"}}}


def test_every_load_was_on_the_wire_and_no_other(bench):
    """Of module 1: load, load again, first resumed, refused, con file, inline, plan on the host, no copy of the journal."""
    wire = bench.place.wire()
    assert len(wire[f"{bench.board}/1"]) == 8
    assert len(wire[f"{bench.board}/2"]) == 1
    assert f"{bench.board}/3" not in wire


def test_a_load_changes_and_returns_records_and_the_journal(bench):
    result = bench.results["load"]
    assert result["changed"] is True and result["status"] == 0 and not result.get("failed")
    record, = result["records"]
    assert (record["module"], record["verdict"], record["file"]) == (f"{bench.board}/1", "configured", "design1.bit")
    assert (record["operator_name"], record["station"]) == ("o 7", "s 2")
    assert result["counts"]["configured"] == 1
    copy = pathlib.Path(result["journal_copy"])
    assert copy.parent == bench.files / "journals"
    assert copy.name == f"{bench.host.name}-{pathlib.Path(result['journal']).name}"
    assert copy.read_bytes() == pathlib.Path(result["journal"]).read_bytes()
    assert "journal_content" not in result
    assert bench.results["load again"]["changed"] is True


def test_files_are_kept_once_by_their_digest(bench):
    """Both designs, one of them as two files, one in two formats."""
    kept = {path.name for path in pathlib.Path(bench.folder, "files").iterdir()}
    sent = [bench.files / name for name in ("design1.bit", "design2.bit", "design1.rbt")]
    assert kept == {hashlib.sha256(path.read_bytes()).hexdigest() for path in sent}


def test_a_resumed_run_keeps_what_is_configured_and_changes_nothing(bench):
    result = bench.results["resumed"]
    assert result["changed"] is False and result["records"] == []
    assert [record["module"] for record in result["kept"]] == [f"{bench.board}/1"]
    assert bench.results["resumed rehearsal"]["changed"] is False
    assert bench.results["first resumed"]["changed"] is True


def test_a_difference_is_that_to_the_last_journal(bench):
    result = bench.results["rehearsal of another design"]
    module = f"{bench.board}/1"
    digests = [bench.place.bitstreams.digest("2v40cs144-4", seed) for seed in (1, 2)]
    assert result["diff"]["before"] == {module: {"file": "design1.bit", "digest": digests[0], "state": "configured"}}
    assert result["diff"]["after"] == {module: {"file": "design2.bit", "digest": digests[1], "state": "configured"}}


def test_a_module_that_refuses_fails_the_task_and_counts_as_changed(bench):
    message = failed(bench, "refused")
    result = bench.results["refused"]
    assert message.startswith(f"{bench.board}/2: refused: Error 9366. Configuration was unsuccessful (2).; why: ")
    assert result["changed"] is True and result["counts"]["configured"] == 1 and result["counts"]["refused"] == 1
    assert pathlib.Path(result["journal"]).exists()


def test_all_problems_of_a_plan_are_named_with_line_and_remedy(bench):
    for name in ("wrong plan", "wrong plan in a rehearsal"):
        message = failed(bench, name).splitlines()
        assert message[0] == (f"wrong.toml:4: design1.bit is for a 2v40cs144 (by its header); the module in {bench.board}/3 "
                              "has a v50bg256-4 (by its own word); try: use the bitstream that was made for the module's "
                              "device")
        assert message[1].startswith("wrong.toml:7: there is no file nothing.bit; try: ")
        assert message[-1].startswith("the rehearsal of wrong.toml found problems, and nothing was sent; try: ")
        assert bench.results[name]["changed"] is False
    assert failed(bench, "damaged plan").startswith("damaged.toml:1: ")


def test_con_files_bring_their_files(bench):
    assert bench.results["con file"]["records"][0]["file"] == "design1.rbt"
    assert failed(bench, "damaged con file").startswith("wrong.con:1: ")


def test_inline_modules_may_have_any_name_and_files_of_equal_names(bench):
    result = bench.results["inline"]
    assert not result.get("failed"), result
    labels = [line["label"] for line in lines_of(result)[1]["modules"]]
    assert labels == [ODD_NAME, None]
    assert sorted(record["file"] for record in result["records"]) == ["2/same.bit", "same.bit"]
    digests = {record["module"]: record["digest"] for record in result["records"]}
    assert digests == {f"{bench.board}/1": bench.place.bitstreams.digest("2v40cs144-4", 1),
                       f"{bench.slow}/1": bench.place.bitstreams.digest("2v40cs144-4", 2)}


def test_inline_modules_are_problems_of_the_plan_that_they_make(bench):
    assert failed(bench, "inline with an unknown key").startswith("modules.toml:4: unknown key ")
    assert failed(bench, "inline with a missing file").startswith("modules.toml:1: there is no file none.bit; try: ")
    assert failed(bench, "plan and modules") == "parameters are mutually exclusive: plan|modules"
    assert failed(bench, "nothing to do") == "one of the following is required: plan, modules"


def test_plans_of_the_host_are_used_where_they_are(bench):
    assert bench.results["plan on the host"]["records"][0]["verdict"] == "configured"
    assert "none.toml: the plan cannot be read: No such file or directory" in failed(bench, "missing plan on the host")


def test_files_that_cannot_be_read_or_sent_are_named(bench):
    assert "none.toml" in failed(bench, "missing plan")
    assert failed(bench, "unreadable file") == f"{bench.files}/folder.bit cannot be read on the controller: Is a directory"
    assert failed(bench, "file outside").startswith("outside.toml names ../outside.bit, outside of its folder; try: ")
    assert failed(bench, "no room for files").startswith("the files cannot be sent: mkdir: ")
    assert f"; try: make room and rights for {deep_folder(bench)}/files/arrivals-" in failed(bench, "no room for files")
    assert failed(bench, "changing file") == ("the host has no room for the files, or they changed while they were sent: "
                                              "changing.bit")
    assert failed(bench, "no folder").startswith("/proc/none: ")
    assert "; try: make room and rights for it, or name another folder" in failed(bench, "no folder")


def test_a_journal_that_the_controller_cannot_keep_fails_the_task_after_the_load(bench):
    message = failed(bench, "no folder for the journal's copy")
    assert message.startswith("the journal cannot be kept on the controller: /proc/none/")
    assert bench.results["no folder for the journal's copy"]["records"][0]["verdict"] == "configured"


def test_without_kvn_the_task_says_what_to_install(bench):
    assert failed(bench, "no kvn") == (
        "there is no program kvn-that-is-missing on this host; try: install the package kvn-fpga-tools, for which the role "
        "kavrin.fpga.kvn is made, or name its path by the option program")


def test_a_provider_or_an_option_that_kvn_refuses_is_told_in_its_words(bench):
    assert f"{bench.board}: the provider /none/libmwapi.so cannot be used: " in failed(bench, "no provider")
    assert failed(bench, "unknown option").startswith("there is no option --frob")
    assert bench.results["unknown option"]["status"] == 2
    assert "Exec format error" in failed(bench, "no program for this host")


def test_output_that_is_cut_off_is_a_failure_that_may_have_changed_a_module(bench):
    assert failed(bench, "output cut off").splitlines() == [
        "kvn run ended without a result: signal 9; try: run again with resume",
        f"{bench.board}/1: its load was begun, and its end was not reported"]
    assert bench.results["output cut off"]["changed"] is True
    assert bench.results["output cut off"]["counts"] is None


def test_a_program_that_is_not_kvn_is_a_failure(bench):
    assert failed(bench, "no output") == (
        "kvn run ended without a result: exit status 5, no such thing; try: run again with resume")
    assert failed(bench, "no JSON").startswith("kvn run ended without a result: exit status 0")
    assert bench.results["no output"]["changed"] is False


def test_the_time_out_stops_kvn_and_tells_what_is_known(bench):
    assert failed(bench, "asleep") == ("kvn run ended without a result: it was stopped by the time-out, signal 15; "
                                       "try: run again with resume")
    message = failed(bench, "stopped")
    result = bench.results["stopped"]
    assert message.splitlines()[-1] == "kvn run was stopped after 0.5 s, the option timeout"
    assert result["status"] == 11 and result["counts"]["not tried"] + result["counts"]["cancelled"] >= 1
    assert len(result["records"]) == 3


def test_every_result_is_one_that_the_documentation_names(bench):
    documented = {"records", "kept", "problems", "counts", "status", "journal", "journal_copy"}
    general = {"changed", "failed", "msg", "diff", "invocation"}
    for name, result in bench.results.items():
        if "records" in result:
            shown = {key for key in result if not key.startswith("_")}
            assert documented - {"journal_copy"} <= shown <= documented | general | {"planned"}, name
            assert ("planned" in shown) == ("rehearsal" in name), name
            json.dumps(result)
