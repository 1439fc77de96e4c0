// SPDX-License-Identifier: Apache-2.0
// Works on all buses of a run at once, one worker process for each.
#include "run/controller.h"

#include "errors/failure.h"
#include "report/module_json.h"

#include <algorithm>

namespace kvn
{
namespace
{

constexpr std::chrono::milliseconds BETWEEN_PROGRESS{100};
constexpr std::size_t ENTRIES_PER_BUS = 3;

Failure because_of(const Failure& failure, const ModuleName& module)
{
    Failure own = failure;
    own.what = "the load of " + to_text(module) + " was not begun: " + failure.what;
    return own;
}

ExitStatus status_in(const Json& record)
{
    const Json& failure = record.at("failure");
    return failure.is_null() ? ExitStatus::done : read_failure(failure).status;
}

} // namespace

Controller::Controller(RunSettings settings, std::span<const BoardName> buses, RunWatcher& watcher,
                       const StopSignals& signals)
    : settings_{std::move(settings)}, watcher_{watcher}, signals_{signals}
{
    for (const BoardName& bus : buses)
        buses_.push_back({.link = std::unique_ptr<BusLink>{new BusLink{buses_.size(), bus, *this}}});
}

Controller::~Controller() = default;

// The inventory.

void Controller::begin_inventory(std::span<const PlannedModule> modules)
{
    for (BusWork& bus : buses_)
        bus.modules = modules_on(bus.link->bus(), modules);
    start_asking();
}

void Controller::send_ahead(const BoardName& bus, const Input& file)
{
    if (!keeps_workers())
        return;
    for (BusWork& each : buses_)
        if (each.link->bus() == bus && each.link->is_running())
            each.link->give(file, sha256_of(file));
}

std::vector<BusInventory> Controller::finish_inventory()
{
    serve_until([this] {
        return signals_.count() != 0 || std::ranges::all_of(buses_, [](const BusWork& bus) {
                   return bus.inventory && !bus.link->has_files_on_the_way();
               });
    });
    std::vector<BusInventory> all;
    for (const BusWork& bus : buses_)
        all.push_back(bus.inventory.value_or(BusInventory{
            .bus = bus.link->bus(),
            .failure = Failure{.status = ExitStatus::cancelled, .what = "the run was ended by a signal"}}));
    return all;
}

void Controller::start_asking()
{
    for (std::size_t i = 0; i < buses_.size() && has_room(); ++i)
        if (!buses_[i].inventory && !buses_[i].link->is_running())
            (void)start(i);
}

/// @return false if there is no worker; then the bus is lost
bool Controller::start(std::size_t bus)
{
    try {
        buses_[bus].link->start(settings_.worker, settings_.module_timeout);
        return true;
    } catch (const FailureError& error) {
        on_lost(bus, error.failure());
        return false;
    }
}

std::optional<Failure> Controller::take_lock(BusWork& bus)
{
    const auto prefix = settings_.lock_prefix(*provider_);
    if (bus.is_settled || !prefix)
        return std::nullopt;
    const BoardName& name = bus.link->bus();
    try {
        auto taken = BusLock::take(settings_.lock_folder, *prefix, name, "kvn run");
        if (const auto* holder = std::get_if<BusHolder>(&taken))
            return Failure{.status = ExitStatus::bus,
                           .what = "bus " + to_text(name) + " is held by " + holder->text(),
                           .remedy = "start the run again when that one has ended"};
        bus.lock = std::get<BusLock>(std::move(taken));
    } catch (const FailureError& error) {
        return error.failure();
    }
    bus.is_settled = true;
    return std::nullopt;
}

void Controller::settle_inventory(std::size_t bus, BusInventory inventory)
{
    BusWork& work = buses_[bus];
    if (!work.inventory)
        work.inventory = std::move(inventory);
    if (!keeps_workers())
        work.link->end();
}

// The loads.

void Controller::load(std::span<const ModuleLoad> loads)
{
    is_loading_ = true;
    loads_ = loads;
    records_.assign(loads.size(), Json{});
    std::vector<std::uint64_t> bytes(buses_.size());
    for (std::size_t i = 0; i < loads.size(); ++i) {
        const auto bus = std::ranges::find_if(
            buses_, [&](const BusWork& each) { return each.link->bus() == loads[i].module.board; });
        bus->queue.push_back(i);
        bytes[static_cast<std::size_t>(bus - buses_.begin())] += loads[i].judged.wire_bytes;
    }
    remaining_.emplace(bytes, settings_.jobs);
    for (std::size_t i = 0; i < buses_.size(); ++i)
        if (buses_[i].queue.empty())
            end_bus(i);
        else if (buses_[i].link->is_running() && keeps_workers())
            give_files(i);
    serve_until([this] {
        return std::ranges::all_of(buses_,
                                   [](const BusWork& bus) { return bus.is_over && !bus.link->is_running(); });
    });
}

std::optional<double> Controller::seconds_left() const
{
    return remaining_ ? remaining_->seconds_left(BusLink::Clock::now()) : std::nullopt;
}

void Controller::start_loading()
{
    for (std::size_t i = 0; i < buses_.size(); ++i) {
        BusWork& bus = buses_[i];
        if (bus.is_over || bus.link->is_running())
            continue;
        if (const auto failure = why_nothing_begins())
            leave_out(i, *failure);
        else if (has_room())
            (void)start(i);
    }
}

void Controller::give_files(std::size_t bus)
{
    BusWork& work = buses_[bus];
    for (const std::size_t load : work.queue)
        work.link->give(*loads_[load].file, sha256_of(*loads_[load].file));
    if (!work.link->has_files_on_the_way())
        next_load(bus);
}

void Controller::next_load(std::size_t bus)
{
    BusWork& work = buses_[bus];
    if (work.queue.empty())
        return end_bus(bus);
    if (const auto failure = why_nothing_begins())
        return leave_out(bus, *failure);
    work.current = work.queue.front();
    work.queue.pop_front();
    work.attempt = 0;
    work.earlier.reset();
    remaining_->begin(bus, BusLink::Clock::now());
    begin_load(bus);
}

/// Not before it is known that the attempt is kept.
void Controller::begin_load(std::size_t bus)
{
    BusWork& work = buses_[bus];
    const ModuleLoad& load = loads_[*work.current];
    if (!tell(begun_event(load.module, work.attempt + 1, std::chrono::system_clock::now()))) {
        leave_current(bus);
        return leave_out(bus, *failure_);
    }
    ++work.attempt;
    work.link->load(load, facts(), load.timeout.value_or(settings_.module_timeout));
}

/// The load that is to begin does not: what became of its attempts stays.
void Controller::leave_current(std::size_t bus)
{
    BusWork& work = buses_[bus];
    if (work.earlier)
        return finish_load(bus, *work.earlier);
    work.queue.push_front(*work.current);
    work.current.reset();
}

bool Controller::is_to_be_retried(const BusWork& bus, const Json& record) const
{
    const unsigned retries = loads_[*bus.current].retries.value_or(settings_.retries);
    return status_in(record) == ExitStatus::bus && bus.attempt <= retries && !why_nothing_begins();
}

void Controller::finish_load(std::size_t bus, Json record)
{
    BusWork& work = buses_[bus];
    const std::size_t load = *work.current;
    work.current.reset();
    work.done_bytes += loads_[load].judged.wire_bytes;
    remaining_->note(bus, work.done_bytes, BusLink::Clock::now());
    if (work.earlier)
        record = after_attempts(std::move(record), *work.earlier);
    if (work.attempt > 1)
        record["attempts"] = work.attempt;
    const ExitStatus status = status_in(record);
    if (status != ExitStatus::done && settings_.stop_on_failure && !stopped_by_) {
        stopped_by_ = to_text(loads_[load].module);
        stopped_status_ = status;
    }
    (void)tell(finished_event(record));
    records_[load] = std::move(record);
}

/// Ends a bus; what was not begun on it is not begun any more.
void Controller::leave_out(std::size_t bus, const Failure& failure)
{
    BusWork& work = buses_[bus];
    for (const std::size_t load : std::exchange(work.queue, {})) {
        Json record = to_json(not_tried(loads_[load], facts(), because_of(failure, loads_[load].module)));
        (void)tell(finished_event(record));
        records_[load] = std::move(record);
    }
    end_bus(bus);
}

void Controller::end_bus(std::size_t bus)
{
    BusWork& work = buses_[bus];
    work.is_over = true;
    remaining_->end(bus, BusLink::Clock::now());
    if (work.link->is_running())
        work.link->end();
}

std::optional<Failure> Controller::why_nothing_begins() const
{
    if (signals_.count() != 0)
        return Failure{.status = ExitStatus::cancelled, .what = "the run was ended by a signal"};
    if (failure_)
        return failure_;
    if (stopped_by_)
        return Failure{.status = stopped_status_,
                       .what = "the load of " + *stopped_by_ + " failed, and the run stops on a failure"};
    return std::nullopt;
}

/// @return whether the event is kept
bool Controller::tell(const Json& event)
{
    try {
        watcher_.on_event(event);
        return true;
    } catch (const FailureError& error) {
        if (!failure_)
            failure_ = error.failure();
        return false;
    }
}

RunFacts Controller::facts() const
{
    return {.provider = provider_.value_or(ProviderIdentity{}),
            .operator_name = settings_.operator_name,
            .station = settings_.station,
            .approved_by = settings_.approved_by,
            .approval_key = settings_.approval_key};
}

const std::string& Controller::sha256_of(const Input& file)
{
    const auto known = content_sums_.find(file.stored().sha256);
    if (known != content_sums_.end())
        return known->second;
    return content_sums_.emplace(file.stored().sha256, content_sha256(file)).first->second;
}

// What the buses say.

void Controller::on_ready(std::size_t bus, const ProviderIdentity& provider)
{
    BusWork& work = buses_[bus];
    if (!provider_) {
        provider_ = provider;
        watcher_.on_provider(provider);
    }
    if (auto failure = take_lock(work)) {
        if (is_loading_)
            return leave_out(bus, *failure);
        settle_inventory(bus, {.bus = work.link->bus(), .failure = std::move(failure)});
        return work.link->end();
    }
    if (is_loading_)
        give_files(bus);
    else
        work.link->ask(work.modules);
}

void Controller::on_inventory(std::size_t bus, BusInventory inventory)
{
    settle_inventory(bus, std::move(inventory));
}

void Controller::on_files(std::size_t bus)
{
    if (is_loading_ && !buses_[bus].is_over && !buses_[bus].current)
        next_load(bus);
}

void Controller::on_progress(std::size_t bus, std::uint64_t bytes, Json event)
{
    BusWork& work = buses_[bus];
    const std::uint64_t total = loads_[*work.current].judged.wire_bytes;
    const auto now = BusLink::Clock::now();
    remaining_->note(bus, work.done_bytes + std::min(bytes, total), now);
    if (now - work.told_at < BETWEEN_PROGRESS)
        return;
    work.told_at = now;
    const auto left = remaining_->seconds_left(now);
    event["run_seconds_left"] = left ? Json(*left) : Json{};
    (void)tell(event);
}

void Controller::on_finished(std::size_t bus, Json record)
{
    BusWork& work = buses_[bus];
    if (is_to_be_retried(work, record)) {
        work.earlier = work.earlier ? after_attempts(std::move(record), *work.earlier) : std::move(record);
        return begin_load(bus);
    }
    finish_load(bus, std::move(record));
    next_load(bus);
}

void Controller::on_lost(std::size_t bus, const Failure& failure)
{
    BusWork& work = buses_[bus];
    if (!is_loading_)
        return settle_inventory(bus, {.bus = work.link->bus(), .failure = failure});
    if (work.current)
        finish_load(bus, to_json(lost(loads_[*work.current], facts(), work.link->seen(), failure)));
    leave_out(bus, failure);
}

void Controller::on_text(std::size_t bus, const std::string& line)
{
    watcher_.on_text(buses_[bus].link->bus(), line);
}

// Waiting.

std::size_t Controller::running() const
{
    return static_cast<std::size_t>(
        std::ranges::count_if(buses_, [](const BusWork& bus) { return bus.link->is_running(); }));
}

template <class Done>
void Controller::serve_until(Done is_done)
{
    for (;;) {
        heed_signals();
        if (is_loading_)
            start_loading();
        else
            start_asking();
        if (is_done())
            return;
        serve_once();
    }
}

void Controller::serve_once()
{
    std::vector<system::Awaited> waiting{{.what = signals_.waitable()}};
    std::optional<BusLink::Clock::time_point> first;
    for (const BusWork& bus : buses_) {
        bus.link->add_to(waiting);
        if (const auto deadline = bus.link->deadline(); deadline && (!first || *deadline < *first))
            first = deadline;
    }
    const bool is_any_ready = system::wait(waiting, milliseconds_until(first));
    if (waiting.front().is_ready)
        signals_.acknowledge();
    if (is_any_ready)
        for (std::size_t i = 0; i < buses_.size(); ++i)
            buses_[i].link->serve(std::span{waiting}.subspan(1 + i * ENTRIES_PER_BUS, ENTRIES_PER_BUS));
    // After what has arrived meanwhile was heard.
    const auto now = BusLink::Clock::now();
    for (const BusWork& bus : buses_)
        bus.link->check_deadline(now);
}

void Controller::heed_signals()
{
    if (!is_loading_ || signals_.count() == 0)
        return;
    for (std::size_t i = 0; i < buses_.size(); ++i)
        if (!buses_[i].is_over && !buses_[i].current)
            leave_out(i, *why_nothing_begins());
    if (signals_.count() < 2 || std::exchange(has_cancelled_, true))
        return;
    for (const BusWork& bus : buses_)
        bus.link->cancel();
}

} // namespace kvn
