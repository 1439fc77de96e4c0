// SPDX-License-Identifier: Apache-2.0
// Loads one file into one module, and tells how it went.
#include "module/load.h"

#include "file/core_load.h"
#include "file/judgement.h"
#include "module/bus_session.h"
#include "module/device_check.h"
#include "module/host.h"
#include "version.h"

namespace kvn
{

/// The steps of a load, in order. What each finds out goes into the record at once.
class LoadRun
{
public:
    LoadRun(const Provider& provider, const LoadRequest& request, LoadControl& control)
        : provider_{provider}, request_{request}, control_{control}, session_{provider, control}
    {
    }

    Record run();

private:
    void note_circumstances();
    void perform();
    void take_up_file();
    void inspect_file();
    void recall_file(const JudgedFile& judged);
    void find_module();
    void compare_devices();
    void require_judged_device(const JudgedFile& judged) const;
    void choose_mode();
    void recall_mode(const JudgedFile& judged);
    void judge_file();
    void send();

    void require_not_cancelled() const;
    [[noreturn]] void stop(Failure failure) const { throw FailureError{std::move(failure)}; }
    void refuse_if_unfit() const;
    void settle(int error);
    [[nodiscard]] Failure cancelled() const;
    [[nodiscard]] Failure empty_answer() const;
    [[nodiscard]] const std::string& file_name() const { return request_.file->name(); }
    [[nodiscard]] std::string module_text() const { return to_text(request_.module); }

    const Provider& provider_;
    const LoadRequest& request_;
    LoadControl& control_;
    BusSession session_;
    Inspection inspection_;
    KnownDevice device_;
    LoadKind mode_ = LoadKind::plain;
    Record record_;
};

namespace
{

template <class Value>
std::optional<Fact<Value>> observed(std::optional<Value> value)
{
    if (!value)
        return std::nullopt;
    return Fact<Value>{*std::move(value), Source::observed};
}

std::optional<Fact<std::string>> given(const std::optional<std::string>& value)
{
    if (!value)
        return std::nullopt;
    return Fact<std::string>{*value, Source::given};
}

std::optional<std::string> if_any(std::string text)
{
    return text.empty() ? std::nullopt : std::optional{std::move(text)};
}

} // namespace

Record LoadRun::run()
{
    record_.begin = control_.clocks.system();
    note_circumstances();
    try {
        perform();
    } catch (const FailureError& error) {
        record_.failure = error.failure();
        if (error.failure().status == ExitStatus::cancelled)
            record_.verdict = Verdict::cancelled;
    }
    record_.end = control_.clocks.system();
    return std::move(record_);
}

void LoadRun::perform()
{
    require_valid(request_.module);
    require_not_cancelled();
    take_up_file();
    require_not_cancelled();
    find_module();
    compare_devices();
    if (request_.judged != nullptr) {
        recall_mode(*request_.judged);
    } else {
        choose_mode();
        judge_file();
    }
    require_not_cancelled();
    send();
}

void LoadRun::note_circumstances()
{
    record_.module = {request_.module, Source::given};
    record_.file = Fact<std::string>{file_name(), Source::given};
    record_.serial_number = given(request_.serial_number);
    record_.operator_name = given(request_.operator_name);
    record_.station = given(request_.station);
    record_.approved_by = observed(request_.approved_by);
    record_.approval_key = observed(request_.approval_key);
    record_.device = given(if_any(request_.device));
    record_.host = observed(host_name());
    record_.tool_version = TOOL_VERSION;
    record_.provider = provider_.identity();
}

void LoadRun::take_up_file()
{
    const Input& file = *request_.file;
    record_.file_size = observed(std::optional{file.stored().size});
    record_.file_sha256 = observed(if_any(file.stored().sha256));
    if (request_.judged != nullptr)
        recall_file(*request_.judged);
    else
        inspect_file();
    if (inspection_.format() == Format::unknown)
        refuse_if_unfit();
    record_.format = observed(std::optional<std::string>{format_name(inspection_.format())});
}

/// The bytes are those that were inspected before: so is all that they say.
void LoadRun::recall_file(const JudgedFile& judged)
{
    if (judged.file_sha256 != request_.file->stored().sha256)
        stop({.status = ExitStatus::rehearsal,
              .what = file_name() + " is not the file that was approved",
              .why = "its SHA-256 differs",
              .remedy = "start the run again"});
    inspection_.content = judged.format;
    inspection_.part = judged.part;
    inspection_.device = fpga::find_device(judged.part);
    inspection_.other_family = other_family(judged.part);
    inspection_.problems = judged.problems;
    record_.problems = judged.problems;
    record_.digest = observed(if_any(judged.digest));
    record_.design = observed(judged.design);
    record_.part = observed(if_any(judged.part));
}

void LoadRun::inspect_file()
{
    inspection_ = inspect(*request_.file);
    record_.problems = inspection_.problems;
    record_.digest = observed(if_any(inspection_.digest));
    record_.design = observed(inspection_.header.design);
    record_.part = observed(if_any(inspection_.part));
}

void LoadRun::find_module()
{
    if (auto failure = session_.open(request_.module.board))
        stop(*std::move(failure));
    SlotRow slot = session_.ask(request_.module);
    record_.identity = observed(std::move(slot.module));
    if (record_.identity)
        if (auto device = record_.identity->value.device; device && !device->empty())
            record_.device = observed(std::move(device));
    if (slot.failure || slot.kind != SlotKind::module)
        stop(slot.failure ? *std::move(slot.failure) : session_.failure());
}

void LoadRun::compare_devices()
{
    device_ = {.own = session_.core().device_name, .given = request_.device};
    if (auto failure = unexpected_device(request_.module, device_))
        stop(*std::move(failure));
    if (request_.judged != nullptr)
        require_judged_device(*request_.judged);
    if (auto failure = unsuitable_file(file_name(), inspection_, request_.module, device_))
        stop(*std::move(failure));
}

/// A file is judged for a device: a module that was exchanged since has not been approved.
void LoadRun::require_judged_device(const JudgedFile& judged) const
{
    if (device_.name() == judged.device)
        return;
    stop({.status = ExitStatus::wrong_device,
          .what = device_in_words(request_.module, device_) + "; " + file_name() + " was approved for a " +
                  judged.device,
          .remedy = "check the slot, and start the run again"});
}

void LoadRun::choose_mode()
{
    const bool takes_compressed = session_.core().supports_compressed_loading != 0;
    if (request_.mode == ModeWish::compressed && !takes_compressed)
        stop({.status = ExitStatus::usage,
              .what = "the module in " + module_text() + " takes no compressed loads",
              .remedy = "load the file plain"});
    const Estimate sizes = estimate(*request_.file, inspection_,
                                    {.device = device_.name(),
                                     .takes_compressed = takes_compressed,
                                     .wish = request_.mode,
                                     .bytes_per_second = std::nullopt});
    mode_ = sizes.mode;
    record_.mode = Fact<LoadKind>{mode_, Source::intended};
    if (!sizes.chosen().is_loadable)
        return;
    record_.wire_bytes = Fact<std::uint64_t>{sizes.chosen().wire_bytes, Source::intended};
    control_.total_ = sizes.chosen().wire_bytes;
}

void LoadRun::recall_mode(const JudgedFile& judged)
{
    if (judged.mode == LoadKind::compressed && session_.core().supports_compressed_loading == 0)
        stop({.status = ExitStatus::wrong_device,
              .what = "the module in " + module_text() + " takes no compressed loads any more",
              .why = "it did when the file was approved",
              .remedy = "check the slot, and start the run again"});
    mode_ = judged.mode;
    record_.mode = Fact<LoadKind>{mode_, Source::intended};
    record_.wire_bytes = Fact<std::uint64_t>{judged.wire_bytes, Source::intended};
    control_.total_ = judged.wire_bytes;
}

/// Only a load that succeeds on a virtual module is tried on a real one.
void LoadRun::judge_file()
{
    const Judgement judgement =
        judge(*request_.file, inspection_, device_.name(), {mode_}, Selection::by_content);
    record_.problems = inspection_.problems;
    refuse_if_unfit();
    // Without a device the trial was on a module that suits the file, which says nothing of this one.
    const bool is_judged = judgement.answer == Answer::yes && !device_.name().empty();
    if (!is_judged && !request_.force)
        stop(not_judged(file_name(), request_.module, device_, judgement.words));
}

void LoadRun::send()
{
    kvn_fpga_imp& core = session_.core();
    core.never_compress = mode_ == LoadKind::plain ? 1 : 0;
    settle(load_input(core, *request_.file, inspection_.format()));
}

/// What became of the module is told by the wire, not by the error.
void LoadRun::settle(int error)
{
    const Wire& wire = session_.wire();
    record_.attempts = 1;
    record_.state = wire.state();
    record_.answer = wire.answer();
    record_.seconds_on_wire = wire.seconds();
    if (wire.state() != ModuleState::untouched)
        record_.mode->source = Source::observed;
    record_.wire_bytes = Fact<std::uint64_t>{wire.bytes(), Source::observed};
    if (wire.was_cancelled())
        stop(cancelled());
    if (wire.has_empty_answer()) {
        record_.verdict = Verdict::failed;
        stop(empty_answer());
    }
    if (error != 0)
        record_.failure = session_.failure();
    if (error == 0)
        record_.verdict = Verdict::configured;
    else
        record_.verdict = wire.state() == ModuleState::refused ? Verdict::refused : Verdict::failed;
}

void LoadRun::require_not_cancelled() const
{
    if (control_.must_not_begin())
        stop(cancelled());
}

Failure LoadRun::cancelled() const
{
    const bool begun = session_.wire().state() != ModuleState::untouched;
    return {.status = ExitStatus::cancelled,
            .what = "the load of " + file_name() + " into " + module_text() + " was cancelled",
            .why = begun ? "the module has part of the data and does not run" : "the module was sent nothing",
            .remedy = begun ? "load the module again" : ""};
}

Failure LoadRun::empty_answer() const
{
    return {.status = ExitStatus::bus,
            .what = "the answer of " + module_text() + " to the load of " + file_name() + " is empty",
            .why = "the module has all data, and whether it runs is not known",
            .remedy = "load the module again"};
}

void LoadRun::refuse_if_unfit() const
{
    if (const Problem* fatal = first_fatal(inspection_.problems))
        stop({.status = fatal->status, .what = file_name() + ": " + fatal->what, .remedy = fatal->remedy});
}

Record load(const Provider& provider, const LoadRequest& request, LoadControl& control)
{
    return LoadRun{provider, request, control}.run();
}

namespace
{

std::chrono::steady_clock::time_point moment(std::int64_t ticks)
{
    return std::chrono::steady_clock::time_point{std::chrono::steady_clock::duration{ticks}};
}

} // namespace

Progress LoadControl::progress() const
{
    Progress progress{.bytes = bytes_.load(std::memory_order_relaxed)};
    if (const std::uint64_t total = total_; total != 0)
        progress.total = total;
    const std::int64_t begin = begin_;
    const std::int64_t end = end_;
    if (begin == NEVER)
        return progress;
    const std::chrono::duration<double> taken =
        (end == NEVER ? clocks.steady() : moment(end)) - moment(begin);
    progress.seconds = taken.count();
    if (progress.seconds <= 0 || progress.bytes == 0)
        return progress;
    progress.bytes_per_second = static_cast<double>(progress.bytes) / progress.seconds;
    if (progress.total && *progress.total >= progress.bytes)
        progress.seconds_left =
            static_cast<double>(*progress.total - progress.bytes) / *progress.bytes_per_second;
    return progress;
}

} // namespace kvn
