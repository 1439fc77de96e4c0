// SPDX-License-Identifier: Apache-2.0
// Loads one file into one module, and tells how it went.
#include "module/load.h"

#include "file/core_load.h"
#include "module/bus_session.h"
#include "module/load_preparation.h"

namespace kvn
{

/// The steps of a load, in order. What each finds out goes into the record at once.
class LoadRun
{
public:
    LoadRun(const Provider& provider, const LoadRequest& request, LoadControl& control)
        : request_{request},
          control_{control},
          session_{provider, control},
          preparation_{request, provider.identity(), record_}
    {
    }

    Record run();

private:
    void perform();
    void find_module();
    void send();

    void require_not_cancelled() const;
    [[noreturn]] void stop(Failure failure) const { throw FailureError{std::move(failure)}; }
    void settle(int error);
    [[nodiscard]] Failure cancelled() const;
    [[nodiscard]] Failure empty_answer() const;
    [[nodiscard]] const std::string& file_name() const { return request_.file->name(); }
    [[nodiscard]] std::string module_text() const { return to_text(request_.module); }

    const LoadRequest& request_;
    LoadControl& control_;
    BusSession session_;
    Record record_;
    LoadPreparation preparation_;
};

Record LoadRun::run()
{
    record_.begin = control_.clocks.system();
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
    preparation_.take_up_file();
    require_not_cancelled();
    find_module();
    preparation_.compare_devices();
    preparation_.choose_mode();
    if (record_.wire_bytes)
        control_.total_ = record_.wire_bytes->value;
    preparation_.judge_file();
    require_not_cancelled();
    send();
}

void LoadRun::find_module()
{
    if (auto failure = session_.open(request_.module.board))
        stop(*std::move(failure));
    const SlotRow slot = session_.ask(request_.module);
    preparation_.note_module(slot);
    if (slot.kind != SlotKind::module)
        stop(session_.failure());
}

void LoadRun::send()
{
    kvn_fpga_imp& core = session_.core();
    core.never_compress = preparation_.mode() == LoadKind::plain ? 1 : 0;
    settle(load_input(core, *request_.file, preparation_.inspection().format()));
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
