// SPDX-License-Identifier: Apache-2.0
// One bus of a run: its worker, what the worker was asked for, and what it may say now.
#include "run/bus_link.h"

#include "errors/failure.h"
#include "version.h"

#include <algorithm>
#include <sstream>
#include <utility>

namespace kvn
{
namespace
{

/// What a provider may print before nobody believes any more that it is a banner.
constexpr std::size_t MOST_FOREIGN_LINES = 1'000;
constexpr std::size_t MOST_FOREIGN_BYTES = 65'536;
/// Lines of its standard error that are passed on.
constexpr std::size_t MOST_ERROR_TEXTS = 100;
/// How long a worker may take to end, or to cut a load off.
constexpr std::chrono::seconds TO_END{10};

/// Where an event begins in a line, perhaps after text without a line feed.
std::size_t event_in(const std::string& line)
{
    return line.starts_with('{') ? 0 : std::min(line.find("{\"event\":"), line.find("{\"kvn\":"));
}

std::string beginning_of(std::string line)
{
    constexpr std::size_t enough = 60;
    if (line.size() > enough) {
        line.resize(enough);
        line += "...";
    }
    return line;
}

BusInventory inventory_in(const Json& json)
{
    try {
        return read_bus_inventory(json);
    } catch (const FailureError& error) {
        throw EventError{error.what()};
    }
}

LoadJob job_of(const ModuleLoad& load, const RunFacts& facts)
{
    return {.module = load.module,
            .file = file_key(load.file->name(), load.file->stored().sha256),
            .judged = load.judged,
            .device = load.device,
            .serial_number = load.serial_number,
            .operator_name = facts.operator_name,
            .station = facts.station,
            .approved_by = facts.approved_by,
            .approval_key = facts.approval_key};
}

/// "12 s", "0.25 s"
std::string in_seconds(std::chrono::milliseconds duration)
{
    std::ostringstream text;
    text << std::chrono::duration<double>{duration}.count() << " s";
    return text.str();
}

} // namespace

int milliseconds_until(std::optional<BusLink::Clock::time_point> moment)
{
    if (!moment)
        return -1;
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(*moment - BusLink::Clock::now());
    return static_cast<int>(std::clamp<std::chrono::milliseconds::rep>(left.count(), 0, 3'600'000));
}

void BusLink::start(const WorkerProgram& program, std::chrono::milliseconds timeout)
{
    has_head_ = false;
    via_ = program.via;
    worker_ = std::make_unique<WorkerProcess>(program);
    lines_ = LineSplitter{LONGEST_WORKER_LINE};
    error_lines_ = LineSplitter{LONGEST_WORKER_LINE};
    foreign_lines_ = foreign_bytes_ = error_texts_ = 0;
    is_ready_ = is_asked_ = is_ending_ = false;
    files_.clear();
    files_on_the_way_.clear();
    load_.reset();
    cancelled_at_.reset();
    timeout_ = timeout;
    sent_ = 0;
    note_sign_of_life();
}

void BusLink::ask(std::span<const ModuleName> modules)
{
    is_asked_ = true;
    worker_->send(event_line(inventory_job(bus_, modules)));
    worker_->write_some();
    note_sign_of_life();
}

void BusLink::give(const Input& file, const std::string& sha256)
{
    if (!files_.insert(file_key(file.name(), file.stored().sha256)).second)
        return;
    files_on_the_way_.insert(sha256);
    worker_->send(event_line(file_job(file, sha256)));
    worker_->send(file);
    worker_->write_some();
    note_sign_of_life();
}

void BusLink::load(const ModuleLoad& load, const RunFacts& facts, std::chrono::milliseconds timeout)
{
    load_ = job_of(load, facts);
    load_timeout_ = timeout;
    cancelled_at_.reset();
    seen_ = {.begin = std::chrono::system_clock::now(), .end = {}};
    worker_->send(event_line(load_job(*load_)));
    worker_->write_some();
    note_sign_of_life();
}

void BusLink::cancel()
{
    if (!load_ || cancelled_at_)
        return;
    cancelled_at_ = Clock::now();
    worker_->send(event_line(cancel_job()));
    worker_->write_some();
}

void BusLink::end()
{
    if (!is_running() || is_ending_)
        return;
    is_ending_ = true;
    note_sign_of_life();
    worker_->send(event_line(end_job()));
    worker_->end_input();
}

void BusLink::add_to(std::vector<system::Awaited>& waiting) const
{
    using system::Awaited;
    using system::Waitable;
    const Waitable input = worker_ && worker_->has_to_send() ? worker_->input() : Waitable::none;
    waiting.push_back(Awaited{.what = worker_ ? worker_->output() : Waitable::none});
    waiting.push_back(Awaited{.what = worker_ ? worker_->errors() : Waitable::none});
    waiting.push_back(Awaited{.what = input, .to_write = true});
}

void BusLink::serve(std::span<const system::Awaited> ready)
{
    if (worker_ && ready[1].is_ready)
        serve_errors();
    if (worker_ && ready[2].is_ready)
        worker_->write_some();
    if (worker_ && ready[0].is_ready)
        serve_output();
    if (worker_ && worker_->sent() != sent_) {
        sent_ = worker_->sent();
        note_sign_of_life();
    }
}

/// "the worker of bus mwc4a:0", and where it is if that is not here.
std::string BusLink::worker_words() const
{
    return "the worker of bus " + to_text(bus_) + (via_.empty() ? "" : " behind " + via_);
}

/// What a worker says of its host must not read as if it were said of this one.
Failure BusLink::told_there(Failure failure) const
{
    if (!via_.empty())
        failure.what.insert(0, "behind " + via_ + ": ");
    return failure;
}

bool BusLink::is_awaited() const
{
    return is_running() && (!is_ready_ || is_asked_ || has_files_on_the_way() || is_loading() || is_ending_);
}

std::optional<BusLink::Clock::time_point> BusLink::deadline() const
{
    if (!is_awaited())
        return std::nullopt;
    if (is_ending_)
        return last_sign_ + TO_END;
    const auto limit = last_sign_ + (load_ ? load_timeout_ : timeout_);
    return cancelled_at_ ? std::min<Clock::time_point>(limit, *cancelled_at_ + TO_END) : limit;
}

void BusLink::check_deadline(Clock::time_point now)
{
    const auto limit = deadline();
    if (!limit || now < *limit)
        return;
    if (is_ending_)
        return note_end();
    if (cancelled_at_)
        return lose({.status = ExitStatus::cancelled,
                     .what = "the load of " + to_text(load_->module) + " was cancelled, and did not end",
                     .why = "a call of the provider has not returned",
                     .remedy = "load the module again; restart what drives the bus if it hangs again"});
    const std::string during = load_ ? "the load of " + to_text(load_->module) +
                                           " has not moved a byte for " + in_seconds(load_timeout_)
                                     : worker_words() + " has not answered for " + in_seconds(timeout_);
    lose(
        {.status = ExitStatus::timed_out,
         .what = during,
         .why = "a call of the provider does not return, or the bus is slower than the time-out allows",
         .remedy =
             "load the module again, with a longer --module-timeout for a slow bus; restart what drives the bus "
             "if it hangs again"});
}

void BusLink::serve_errors()
{
    const bool goes_on = worker_->read_errors(error_lines_);
    while (auto line = error_lines_.next())
        if (!line->empty() && error_texts_++ < MOST_ERROR_TEXTS)
            listener_.on_text(index_, *line);
    if (error_lines_.is_too_long())
        error_lines_ = LineSplitter{LONGEST_WORKER_LINE};
    if (!goes_on && !error_lines_.rest().empty() && error_texts_++ < MOST_ERROR_TEXTS)
        listener_.on_text(index_, std::string{error_lines_.rest()});
}

void BusLink::serve_output()
{
    const bool goes_on = worker_->read_output(lines_);
    try {
        while (worker_) {
            const auto line = lines_.next();
            if (!line)
                break;
            take_line(*line);
        }
        if (worker_ && lines_.is_too_long())
            throw EventError{"a line is longer than a megabyte"};
    } catch (const EventVersionError& error) {
        return lose_for_version(error);
    } catch (const EventError& error) {
        return lose_for_words(error.what());
    }
    if (worker_ && !goes_on)
        note_end();
}

void BusLink::take_line(const std::string& line)
{
    const std::size_t begin = event_in(line);
    if (begin != 0 && !line.empty())
        take_foreign(line.substr(0, begin));
    if (begin >= line.size())
        return;
    try {
        take(read_worker_event(std::string_view{line}.substr(begin)));
    } catch (const EventVersionError&) {
        throw;
    } catch (const EventError& error) {
        throw EventError{std::string{error.what()} + ": " + beginning_of(line.substr(begin))};
    }
}

void BusLink::take_foreign(const std::string& line)
{
    ++foreign_lines_;
    foreign_bytes_ += line.size();
    if (foreign_lines_ > MOST_FOREIGN_LINES || foreign_bytes_ > MOST_FOREIGN_BYTES)
        throw EventError{"more text than a banner has"};
    listener_.on_text(index_, line);
}

void BusLink::take(WorkerEvent event)
{
    if (has_head_ == (event.kind == WorkerEventKind::head))
        throw EventError{"the stream's head must come first, and once"};
    const bool opens = event.kind == WorkerEventKind::head || event.kind == WorkerEventKind::ready ||
                       event.kind == WorkerEventKind::failed;
    if (is_ready_ == opens && event.kind != WorkerEventKind::failed)
        throw EventError{"it comes too early or twice"};
    note_sign_of_life();
    switch (event.kind) {
    case WorkerEventKind::head:
        has_head_ = true;
        return;
    case WorkerEventKind::ready:
        is_ready_ = true;
        return listener_.on_ready(index_, read_provider(event.json["provider"]));
    case WorkerEventKind::failed:
        return lose(told_there(read_failure(event.json["failure"])));
    case WorkerEventKind::received:
        take_received(event.json["sha256"].get<std::string>());
        if (files_on_the_way_.empty())
            listener_.on_files(index_);
        return;
    case WorkerEventKind::inventory: {
        if (!std::exchange(is_asked_, false))
            throw EventError{"nobody has asked"};
        BusInventory inventory = inventory_in(event.json["inventory"]);
        if (inventory.bus != bus_)
            throw EventError{"it is of another bus"};
        return listener_.on_inventory(index_, std::move(inventory));
    }
    case WorkerEventKind::step:
        return take_step(event.json);
    case WorkerEventKind::progress:
        return take_progress(std::move(event.json));
    case WorkerEventKind::finished:
        return take_finished(event.json);
    default:
        return;
    }
}

void BusLink::require_module(const Json& json) const
{
    if (!load_ || json["module"] != to_text(load_->module))
        throw EventError{"this module is not being loaded"};
}

void BusLink::take_received(const std::string& sha256)
{
    const auto sent = files_on_the_way_.find(sha256);
    if (sent == files_on_the_way_.end())
        throw EventError{"no such file was sent"};
    files_on_the_way_.erase(sent);
}

void BusLink::take_step(const Json& json)
{
    require_module(json);
    const bool begins = json["step"] == "begin";
    if (begins ? seen_.was_begun : (!seen_.was_begun || seen_.may_have_ended))
        throw EventError{"the steps of a load come once and in order"};
    (begins ? seen_.was_begun : seen_.may_have_ended) = true;
}

void BusLink::take_progress(Json json)
{
    require_module(json);
    const auto bytes = json["bytes"].get<std::uint64_t>();
    if (!seen_.was_begun || bytes <= seen_.bytes)
        throw EventError{"the bytes of a load become more, after its begin"};
    seen_.bytes = bytes;
    listener_.on_progress(index_, bytes, std::move(json));
}

void BusLink::take_finished(const Json& json)
{
    require_module(json);
    const Json& record = json["record"];
    const auto verdict = verdict_named(record["verdict"].get<std::string>());
    if (!seen_.may_have_ended && (verdict == Verdict::configured || verdict == Verdict::refused))
        throw EventError{"a module has no verdict before its load has ended"};
    if (!record["failure"].is_null())
        (void)read_failure(record["failure"]);
    load_.reset();
    cancelled_at_.reset();
    listener_.on_finished(index_, record);
}

void BusLink::lose_for_words(const std::string& what)
{
    lose({.status = ExitStatus::bus,
          .what = worker_words() + " has said what it must not say: " + what,
          .why = "the provider writes to standard output what looks like the worker's own words, or the "
                 "worker is another program",
          .remedy = "kvn run with --jobs 1 and another provider"});
}

void BusLink::lose_for_version(const EventVersionError& error)
{
    has_head_ = true;
    lose({.status = ExitStatus::no_module,
          .what = worker_words() + " is " + beginning_of(error.tool().empty() ? "unknown" : error.tool()) +
                  ", whose events have the version " + beginning_of(error.version()) + "; this is kvn " +
                  TOOL_VERSION + ", which reads " + EVENTS_VERSION,
          .remedy = "install the same version of kvn on both hosts"});
}

/// The output has ended, or must end now.
void BusLink::note_end()
{
    // What it has said at last tells why.
    if (worker_->errors() != system::Waitable::none)
        serve_errors();
    worker_->kill();
    const std::string how = worker_->wait();
    if (is_ending_) {
        worker_.reset();
        is_ending_ = false;
        return;
    }
    lose({.status = ExitStatus::bus,
          .what = worker_words() + " " + how,
          .why = via_.empty() ? "the provider has crashed, or somebody has killed the process"
                              : "the connection has broken, the provider has crashed, or somebody has killed "
                                "the process",
          .remedy = "load the module again; if it happens again, record the calls: see docs/traces.md"});
}

void BusLink::lose(const Failure& failure)
{
    worker_->kill();
    (void)worker_->wait();
    worker_.reset();
    seen_.end = std::chrono::system_clock::now();
    load_.reset();
    cancelled_at_.reset();
    is_asked_ = false;
    is_ending_ = false;
    files_.clear();
    files_on_the_way_.clear();
    listener_.on_lost(index_, failure);
}

} // namespace kvn
