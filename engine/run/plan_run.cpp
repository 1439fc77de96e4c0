// SPDX-License-Identifier: Apache-2.0
// A whole run: plan, rehearsal, journal, loads, result.
#include "run/plan_run.h"

#include "errors/failure.h"
#include "report/module_json.h"
#include "run/journal.h"
#include "run/rehearsal.h"
#include "run/resume.h"
#include "system/host.h"
#include "version.h"

#include <algorithm>
#include <memory>
#include <utility>

namespace kvn
{
namespace
{

/// Writes the loads' events into the journal before anybody else hears of them.
class JournalWatcher final : public RunWatcher
{
public:
    explicit JournalWatcher(RunWatcher& behind) : behind_{behind} {}

    /// @param kept what it has of modules that are left out
    void keep(Journal journal, std::span<const Json> kept)
    {
        journal_.emplace(std::move(journal));
        for (const Json& event : kept)
            behind_.on_event(event);
    }
    [[nodiscard]] const std::optional<Journal>& journal() const { return journal_; }

    void on_provider(const ProviderIdentity& provider) override { behind_.on_provider(provider); }
    void on_text(const BoardName& bus, const std::string& line) override { behind_.on_text(bus, line); }
    void on_event(const Json& event) override
    {
        std::optional<Failure> not_kept;
        try {
            if (journal_ && event.at("event") != "progress")
                journal_->append(event);
        } catch (const FailureError& error) {
            not_kept = error.failure();
        }
        // A load that is not begun is not told of; one that is over is, kept or not. A result that is not
        // kept is another one.
        if (!not_kept || event.at("event") == "finished")
            behind_.on_event(event);
        if (not_kept)
            throw FailureError{*not_kept};
    }

    /// Leaves the journal out.
    void tell(const Json& event) { behind_.on_event(event); }

private:
    RunWatcher& behind_;
    std::optional<Journal> journal_;
};

/// The steps of a run, in order.
class PlanRun
{
public:
    PlanRun(const PlanRunRequest& request, RunWatcher& watcher, const StopSignals& signals)
        : request_{request}, watcher_{watcher}, signals_{signals}
    {
    }

    PlanRunResult run()
    {
        try {
            perform();
        } catch (const FailureError& error) {
            fail(error.failure());
        } catch (const std::exception& error) {
            fail({.status = ExitStatus::internal, .what = error.what()});
        }
        return end();
    }

private:
    void perform();
    void read_request();
    void settle_serial_numbers();
    void rehearse_plan();
    void take_inventory();
    void tell_rehearsal();
    void compare_journal();
    void begin_journal();
    void load();
    [[nodiscard]] PlanRunResult end();

    void tell_finding(const Finding& finding)
    {
        watcher_.on_event(
            problem_event(finding.severity, finding.place.text(), finding.what, finding.remedy));
    }
    void tell_note(const std::string& where, const std::string& what)
    {
        watcher_.on_event(problem_event(Severity::note, where, what, ""));
    }
    void fail(const Failure& failure)
    {
        result_.failure = failure;
        result_.status = failure.status;
    }
    [[nodiscard]] bool is_stopped() const { return signals_.count() != 0; }
    [[nodiscard]] Json provider_json() const
    {
        return controller_ && controller_->provider() ? to_json(*controller_->provider()) : Json{};
    }

    const PlanRunRequest& request_;
    JournalWatcher watcher_;
    const StopSignals& signals_;
    RunSettings settings_ = request_.settings;
    Plan plan_;
    Policy policy_;
    std::optional<Approved> approved_;
    std::optional<RehearsedFiles> files_;
    std::vector<BusInventory> inventory_;
    std::unique_ptr<Controller> controller_;
    Rehearsal rehearsal_;
    std::optional<Resumption> resumption_;
    std::vector<ModuleLoad> loads_;
    RunStatus records_;
    PlanRunResult result_;
};

void PlanRun::perform()
{
    read_request();
    settle_serial_numbers();
    rehearse_plan();
    tell_rehearsal();
    if (is_stopped())
        return fail(
            {.status = ExitStatus::cancelled, .what = "the run was ended by a signal in its rehearsal"});
    if (rehearsal_.has_problem())
        return fail({.status = ExitStatus::rehearsal,
                     .what = "the rehearsal of " + plan_.file + " found problems, and nothing was sent",
                     .remedy = "settle each of them, and start the run again"});
    if (!request_.resume.empty())
        compare_journal();
    if (result_.failure || request_.dry_run || plan_.modules.empty())
        return;
    begin_journal();
    load();
}

void PlanRun::read_request()
{
    plan_ = read_plan(request_.plan, request_.reading);
    policy_ = read_policy(request_.policy);
    approved_ = read_approval(request_.approval, policy_);
    if (!approved_ || !approved_->by)
        return;
    settings_.approved_by = approved_->by->signer;
    settings_.approval_key = approved_->by->key;
}

void PlanRun::settle_serial_numbers()
{
    for (PlannedModule& module : plan_.modules) {
        const auto given = request_.serial_numbers.find(to_text(module.module));
        if (given != request_.serial_numbers.end())
            module.serial_number = given->second;
        else if (module.asks_serial_number && request_.ask_serial_number && !is_stopped())
            module.serial_number = request_.ask_serial_number(module);
        if (module.serial_number)
            module.asks_serial_number = false;
    }
    for (const auto& given : request_.serial_numbers) {
        const std::string& name = given.first;
        if (std::ranges::none_of(plan_.modules,
                                 [&](const PlannedModule& each) { return to_text(each.module) == name; }))
            throw FailureError{
                {.status = ExitStatus::usage,
                 .what = "the plan has no module " + name + ", for which a serial number is given"}};
    }
}

void PlanRun::rehearse_plan()
{
    if (plan_.modules.empty())
        files_ = read_files({});
    else
        take_inventory();
    rehearsal_ = rehearse({.plan = &plan_,
                           .files = &*files_,
                           .inventory = inventory_,
                           .manifest = approved_ ? &approved_->manifest : nullptr,
                           .policy = policy_,
                           .force = request_.force});
}

/// The modules are asked while the files are read.
void PlanRun::take_inventory()
{
    controller_ = std::make_unique<Controller>(settings_, buses_of(plan_.modules), watcher_, signals_);
    controller_->begin_inventory(plan_.modules);
    files_ = read_files(plan_.modules);
    if (!request_.dry_run && !plan_.has_problem())
        for (const PlannedModule& module : plan_.modules)
            if (const auto& input = files_->of(module).input)
                controller_->send_ahead(module.module.board, *input);
    inventory_ = controller_->finish_inventory();
}

void PlanRun::tell_rehearsal()
{
    watcher_.on_event(planned_event(rehearsal_.planned));
    for (const Finding& finding : rehearsal_.findings)
        tell_finding(finding);
}

void PlanRun::compare_journal()
{
    resumption_ =
        resume(read_journal(request_.resume), {.planned = planned_event(rehearsal_.planned)["modules"],
                                               .plan_sha256 = plan_.sha256,
                                               .host = system::host_name(),
                                               .boot_id = system::boot_id(),
                                               .provider = provider_json(),
                                               .despite_changes = request_.resume_anyway});
    for (const std::string& change : resumption_->changes)
        tell_note(request_.resume, change);
    for (const std::string& note : resumption_->notes)
        tell_note(request_.resume, note);
    if (resumption_->refusal)
        return fail(*resumption_->refusal);
    for (const KeptModule& kept : resumption_->kept)
        tell_note(kept.module, "it is left out: " + kept.why);
}

void PlanRun::begin_journal()
{
    const JournalHeader header{.at = std::chrono::system_clock::now(),
                               .tool = std::string{"kvn "} + TOOL_VERSION,
                               .host = system::host_name(),
                               .boot_id = system::boot_id(),
                               .operator_name = settings_.operator_name,
                               .station = settings_.station,
                               .plan = plan_.file,
                               .plan_sha256 = plan_.sha256,
                               .provider = provider_json(),
                               .continues =
                                   resumption_ ? std::optional{resumption_->continues} : std::nullopt};
    const Json planned = planned_event(rehearsal_.planned);
    std::vector<Json> kept;
    if (resumption_)
        for (const KeptModule& module : resumption_->kept)
            kept.push_back(kept_event(module.record));
    watcher_.keep(request_.journal.empty()
                      ? Journal::beside_plan(header, planned, kept, request_.journal_folder)
                      : Journal{request_.journal, header, planned, kept},
                  kept);
    result_.journal = watcher_.journal()->path();
    for (const Json& event : kept)
        records_.add(event["record"]);
}

void PlanRun::load()
{
    for (std::size_t i = 0; i < plan_.modules.size(); ++i) {
        const PlannedModule& module = plan_.modules[i];
        const std::string name = to_text(module.module);
        if (resumption_ && std::ranges::find(resumption_->remaining, name) == resumption_->remaining.end())
            continue;
        ModuleLoad load{.module = module.module,
                        .file = &*files_->of(module).input,
                        .judged = rehearsal_.judged.at(i).value(),
                        .device = module.device.value_or(""),
                        .serial_number =
                            request_.unit_serial_number ? request_.unit_serial_number : module.serial_number,
                        .retries = module.retries};
        if (module.timeout)
            load.timeout = std::chrono::seconds{*module.timeout};
        loads_.push_back(std::move(load));
    }
    controller_->load(loads_);
    for (const Json& record : controller_->records())
        records_.add(record);
    result_.status = records_.status();
    if (controller_->failure())
        fail(*controller_->failure());
    if (is_stopped())
        result_.status = ExitStatus::cancelled;
}

/// The last event, on every path.
PlanRunResult PlanRun::end()
{
    result_.counts = records_.counts();
    // Where no load was to be begun, there are no records.
    for (std::size_t i = result_.counts.all(); i < plan_.modules.size(); ++i)
        result_.counts.add(Verdict::not_tried);
    try {
        watcher_.on_event(result_event(result_.status, result_.counts, result_.failure));
    } catch (const FailureError& error) {
        if (!result_.failure)
            fail(error.failure());
        watcher_.tell(result_event(result_.status, result_.counts, result_.failure));
    }
    return result_;
}

} // namespace

PlanRunResult run_plan(const PlanRunRequest& request, RunWatcher& watcher, const StopSignals& signals)
{
    return PlanRun{request, watcher, signals}.run();
}

} // namespace kvn
