// SPDX-License-Identifier: Apache-2.0
// kvn run: rehearses a plan, loads every module of it and keeps a journal.
#include "commands.h"
#include "interruption_signals.h"
#include "report/report.h"
#include "report/report_files.h"
#include "run/plan_run.h"
#include "run_display.h"
#include "run_options.h"
#include "streams.h"
#include "system/terminal.h"

#include <iostream>
#include <memory>

namespace kvn
{
namespace
{

struct Request : RunOptions {
    bool classic = false;
    std::vector<std::string> serial_numbers;
    std::vector<std::string> reports;
};

std::map<std::string, std::string> serial_numbers(const std::vector<std::string>& words)
{
    std::map<std::string, std::string> numbers;
    for (const std::string& word : words) {
        const std::size_t end = word.find('=');
        if (end == std::string::npos || end + 1 == word.size())
            throw FailureError{{.status = ExitStatus::usage,
                                .what = "--serial " + word + " is no module with its serial number",
                                .remedy = "--serial mwc4a:0/2=0815"}};
        numbers[to_text(parse_module_name(word.substr(0, end)))] = word.substr(end + 1);
    }
    return numbers;
}

std::string ask_serial_number(const PlannedModule& module)
{
    std::cerr << serial_question(module.module, module.label) << std::flush;
    std::string number;
    if (!std::getline(std::cin, number) || number.empty())
        throw FailureError{{.status = ExitStatus::usage,
                            .what = "no serial number was given for " + to_text(module.module),
                            .remedy = "kvn run with --serial " + to_text(module.module) + "=NUMBER"}};
    return number;
}

/// What the command line says, as the engine takes it.
PlanRunRequest complete(const Request& request)
{
    PlanRunRequest run = run_request(request);
    run.reading = request.classic ? ConReading::classic : ConReading::strict;
    run.serial_numbers = serial_numbers(request.serial_numbers);
    if (system::is_terminal(system::STANDARD_INPUT) && system::is_terminal(system::STANDARD_ERROR))
        run.ask_serial_number = &ask_serial_number;
    return run;
}

ExitStatus end_with(RunDisplay& display, const Failure& failure)
{
    display.on_event(result_event(failure.status, {}, failure));
    tell_failure("", failure);
    return failure.status;
}

/// By the extensions of their names.
std::vector<ReportTarget> reports_of(const Request& request)
{
    std::vector<ReportTarget> targets;
    for (const std::string& path : request.reports)
        targets.push_back(report_target(path));
    require_writable(targets, false);
    return targets;
}

/// @return the status of the run, or of a report that cannot be written after a good one
ExitStatus report(const PlanRunResult& result, const std::vector<ReportTarget>& targets)
{
    if (!result.journal || targets.empty())
        return result.status;
    try {
        write_reports(read_report(std::vector{*result.journal}), targets, false);
    } catch (const FailureError& error) {
        tell_failure("", error.failure());
        return result.status == ExitStatus::done ? error.failure().status : result.status;
    }
    return result.status;
}

ExitStatus run_plan(const Request& request)
{
    const InterruptionSignals signals;
    RunDisplay display{progress_style(request.progress), request.json};
    if (request.json)
        std::cout << event_line(stream_head()) << std::flush;
    try {
        const PlanRunRequest run = complete(request);
        const std::vector<ReportTarget> reports = reports_of(request);
        const PlanRunResult result = run_plan(run, display, signals);
        display.show(result, request.run.dry_run);
        return Interruption::status_after(report(result, reports));
    } catch (const FailureError& error) {
        return end_with(display, error.failure());
    }
}

void add_run_options(CLI::App& command, Request& request)
{
    add_flag(command, "--dry-run", request.run.dry_run, "Rehearse only: nothing is sent");
    add_flag(command, "--classic", request.classic, "Read a .con file as KVN_FPGA does");
    add_load_options(command, request);
    add_flag(command, "--force", request.run.force,
             "Load files that cannot be judged; never another device's");
}

void add_record_options(CLI::App& command, Request& request)
{
    PlanRunRequest& run = request.run;
    add_option(command, "--journal", run.journal, "The new file for the journal; default: beside the plan");
    add_option(command, "--resume", run.resume, "Load only what this journal leaves to do");
    add_flag(command, "--resume-anyway", run.resume_anyway, "Resume although plan or files have changed");
    add_option(command, "--report", request.reports,
               "A report of the run: .html, .xml (JUnit), .csv or .json; may be repeated")
        ->allow_extra_args(false);
    add_approval_options(command, request);
    add_option(command, "--serial", request.serial_numbers,
               "A module and its serial number, mwc4a:0/2=0815; may be repeated")
        ->allow_extra_args(false);
    add_people_options(command, request);
}

} // namespace

Action add_run(CLI::App& program)
{
    auto request = std::make_shared<Request>();
    CLI::App* command =
        add_command(program, "run", "Loads all modules of a plan, all buses at once, and keeps a journal");
    add_plan(*command, *request);
    add_run_options(*command, *request);
    add_record_options(*command, *request);
    add_common_options(*command, *request);
    add_examples(*command, {"kvn run rack.con --dry-run", "kvn run rack.con --retries 2 --report rack.html"});
    return [request] { return run_plan(*request); };
}

} // namespace kvn
