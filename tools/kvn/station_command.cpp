// SPDX-License-Identifier: Apache-2.0
// kvn station: loads one unit after the other by the same plan, for a person with a scanner.
#include "commands.h"
#include "errors/failure.h"
#include "interruption_signals.h"
#include "line_input.h"
#include "run/plan_run.h"
#include "run/station.h"
#include "run_options.h"
#include "station_display.h"
#include "streams.h"
#include "system/file.h"

#include <memory>
#include <system_error>

namespace kvn
{
namespace
{

void require_folder(const std::string& folder)
{
    const int error = system::try_folder(folder);
    if (error != 0)
        throw FailureError{{.status = ExitStatus::file,
                            .what = "journals cannot be written to " + folder + ": " +
                                    std::generic_category().message(error),
                            .remedy = "make the folder, or name another one by --journals"}};
}

/// The plan as it stands now. What is wrong with it is told by the run, for which a number is asked all the
/// same: a unit is there.
Plan plan_for_questions(const std::string& path)
{
    try {
        return read_plan(path);
    } catch (const FailureError&) {
        return {};
    }
}

/// The units of a person's day, one after the other.
class Session
{
public:
    explicit Session(const RunOptions& options)
        : request_{run_request(options)},
          display_{progress_style(options.progress), options.json},
          input_{signals_}
    {
    }

    ExitStatus run()
    {
        display_.begin_session(request_.plan);
        try {
            while (ask_and_run()) {
            }
        } catch (const FailureError& error) {
            tell_failure("", error.failure());
            display_.end_session(tally_, false);
            display_.end_stream(error.failure().status, tally_, error.failure());
            return error.failure().status;
        }
        display_.end_session(tally_, is_cut_short_);
        const ExitStatus status = Interruption::status_after(tally_.status());
        display_.end_stream(status, tally_, std::nullopt);
        return status;
    }

private:
    /// @return whether there may be another unit
    bool ask_and_run()
    {
        Interruption::set_idle(true);
        const auto numbers = ask();
        Interruption::set_idle(false);
        if (!numbers)
            return false;
        display_.begin_unit();
        const PlanRunResult result = run_plan(request_, display_, signals_);
        tally_.add(result);
        display_.end_unit(tally_.units(), numbers->all(), result, tally_);
        input_.discard(); // what was scanned during the run was not asked for
        return signals_.count() == 0;
    }

    /// Puts the serial numbers into the request.
    /// @return null when the session ends
    std::optional<UnitNumbers> ask()
    {
        UnitNumbers numbers;
        Plan plan = plan_for_questions(request_.plan);
        while (const auto question = numbers.next(plan)) {
            display_.ask(*question);
            const auto line = input_.next();
            if (!line) {
                is_cut_short_ = !numbers.all().empty();
                return std::nullopt;
            }
            if (const auto fault = numbers.answer(*question, *line))
                display_.refuse(*fault);
            plan = plan_for_questions(request_.plan);
        }
        numbers.give_to(request_, plan);
        return numbers;
    }

    PlanRunRequest request_;
    InterruptionSignals signals_;
    StationDisplay display_;
    LineInput input_;
    StationTally tally_;
    bool is_cut_short_ = false;
};

ExitStatus run_station(const RunOptions& options)
{
    // A mistake on the command line shall not cost a unit.
    (void)read_plan(options.run.plan);
    if (!options.run.journal_folder.empty())
        require_folder(options.run.journal_folder);
    return Session{options}.run();
}

} // namespace

Action add_station(CLI::App& program)
{
    auto options = std::make_shared<RunOptions>();
    CLI::App* command =
        add_command(program, "station",
                    "Loads one unit after the other by a plan: asks for serial numbers, shows PASS or FAIL");
    add_plan(*command, *options);
    add_load_options(*command, *options);
    add_option(*command, "--journals", options->run.journal_folder,
               "The folder for the journals, one for each unit; default: beside the plan");
    add_approval_options(*command, *options);
    add_people_options(*command, *options);
    add_common_options(*command, *options);
    add_examples(*command, {"kvn station rack.con", "kvn station rack.con --journals journals --station 3"});
    return [options] { return run_station(*options); };
}

} // namespace kvn
