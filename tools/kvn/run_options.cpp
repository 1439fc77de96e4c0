// SPDX-License-Identifier: Apache-2.0
// The options that kvn run and kvn station share.
#include "run_options.h"

#include "commands.h"
#include "streams.h"
#include "system/process.h"

#include <cstdlib>

namespace kvn
{
namespace
{

/// A run is rehearsed under the policy of the host, so its workers need not ask for it.
WorkerProgram worker_program(const ProviderOptions& provider)
{
    WorkerProgram worker{system::own_program(), worker_words(provider)};
    worker.arguments.emplace_back("--approved");
    return worker;
}

} // namespace

void add_plan(CLI::App& command, RunOptions& options)
{
    add_option(command, "plan", options.run.plan, "A .con file, or a plan file in .toml")->required();
}

void add_load_options(CLI::App& command, RunOptions& options)
{
    RunSettings& settings = options.run.settings;
    add_option(command, "--jobs", settings.jobs, "Buses at the same time; default: all")
        ->check(CLI::Range(std::size_t{1}, std::size_t{4096}));
    CLI::Option* goes_on = add_flag(command, "--keep-going", options.keep_going,
                                    "Load what can be loaded after a failure (default)");
    add_flag(command, "--stop-on-failure", settings.stop_on_failure, "Begin nothing new after a failure")
        ->excludes(goes_on);
    add_module_timeout(command, settings.module_timeout,
                       "Seconds without a byte moved after which a bus is given up");
    add_option(command, "--retries", settings.retries, "Further attempts after a failure of the bus")
        ->check(CLI::Range(0U, 100U))
        ->default_str("0");
}

void add_approval_options(CLI::App& command, RunOptions& options)
{
    ApprovalFiles& approval = options.run.approval;
    add_option(command, "--manifest", approval.manifest,
               "The approved files, as sha256sum writes them: others are not loaded");
    add_option(command, "--signature", approval.signature, "The signature of the manifest");
    add_option(command, "--signers", approval.signers, "Those who may sign it");
}

void add_people_options(CLI::App& command, RunOptions& options)
{
    RunSettings& settings = options.run.settings;
    add_option(command, "--operator", settings.operator_name, "Who loads, for the records");
    add_option(command, "--station", settings.station, "Where, for the records");
}

void add_common_options(CLI::App& command, RunOptions& options)
{
    add_option(
        command, "--progress", options.progress,
        "What standard error shows: auto, bar, lines or none; auto is a row for each bus on a terminal, "
        "else lines")
        ->check(one_of({"auto", "bar", "lines", "none"}))
        ->default_str("auto");
    add_provider_options(command, options.provider);
    add_json(command, options.json);
}

PlanRunRequest run_request(const RunOptions& options)
{
    PlanRunRequest run = options.run;
    RunSettings& settings = run.settings;
    settings.worker = worker_program(options.provider);
    settings.lock_folder = lock_folder();
    settings.lock_prefix = [](const ProviderIdentity& provider) {
        return lock_prefix(provider,
                           std::getenv("MWVIRTUAL_STATE")); // NOLINT(concurrency-mt-unsafe): the only thread
    };
    return run;
}

std::string serial_question(const ModuleName& module, const std::string& label)
{
    return printable("Serial number of " + to_text(module) + (label.empty() ? "" : " (" + label + ")")) +
           ": ";
}

} // namespace kvn
