// SPDX-License-Identifier: Apache-2.0
// Shows the units of a station: the progress of each, PASS or FAIL over the whole width, and the counts.
#include "station_display.h"

#include "interruption.h"
#include "provider_options.h"
#include "run_options.h"
#include "streams.h"
#include "system/terminal.h"

#include <algorithm>
#include <iostream>

namespace kvn
{
namespace
{

constexpr std::size_t LOG_COLUMNS = 72;
constexpr std::size_t USUAL_COLUMNS = 80;
constexpr std::size_t FEWEST_COLUMNS = 20;
constexpr std::size_t MOST_COLUMNS = 200;

/// As they are now: a window may have another size for each unit.
std::size_t columns_of(int descriptor)
{
    if (!system::is_terminal(descriptor))
        return LOG_COLUMNS;
    const auto size = system::terminal_size(descriptor);
    return std::clamp(size ? std::size_t{size->columns} : USUAL_COLUMNS, FEWEST_COLUMNS, MOST_COLUMNS);
}

} // namespace

StationDisplay::StationDisplay(ProgressStyle style, bool json)
    : style_{style},
      json_{json},
      descriptor_{json ? system::STANDARD_ERROR : system::STANDARD_OUTPUT},
      out_{json ? std::cerr : std::cout},
      prompts_{system::is_terminal(system::STANDARD_INPUT) && system::is_terminal(system::STANDARD_ERROR)}
{
}

void StationDisplay::begin_session(const std::string& plan)
{
    if (json_)
        std::cout << event_line(stream_head()) << std::flush;
    if (prompts_)
        std::cerr << printable("Station for " + plan + ". Ctrl-D ends.") << "\n\n";
}

void StationDisplay::ask(const SerialQuestion& question)
{
    if (!prompts_)
        return;
    std::cerr << (question.module ? serial_question(*question.module, question.label) : "Serial number: ")
              << std::flush;
}

void StationDisplay::refuse(const std::string& why)
{
    tell(why);
}

void StationDisplay::begin_unit()
{
    run_.emplace(style_, false, Complaints::left);
    labels_.clear();
    complaints_.clear();
}

void StationDisplay::on_provider(const ProviderIdentity& provider)
{
    if (announced_ == provider)
        return;
    announced_ = provider;
    announce(provider);
}

void StationDisplay::on_text(const BoardName& bus, const std::string& line)
{
    run_->on_text(bus, line);
}

void StationDisplay::on_event(const Json& event)
{
    // `unit` takes the place of a run's `result`, which ends the stream.
    if (json_ && event.at("event") != "result")
        std::cout << event_line(event) << std::flush;
    run_->on_event(event);
    if (event.at("event") == "planned")
        keep_labels(event.at("modules"));
    if (event.value("severity", "") == "note")
        return;
    if (auto complaint = complaint_in(event)) {
        const auto label = labels_.find(event.value("module", ""));
        if (label != labels_.end())
            complaint->subject.insert(label->first.size(), " (" + label->second + ")");
        complaints_.push_back(std::move(*complaint));
    }
}

void StationDisplay::keep_labels(const Json& modules)
{
    for (const Json& module : modules)
        if (module.at("label").is_string())
            labels_[module.at("module").get<std::string>()] = module.at("label").get<std::string>();
}

void StationDisplay::end_unit(std::size_t number, const std::vector<std::string>& serial_numbers,
                              const PlanRunResult& result, const StationTally& tally)
{
    if (json_)
        std::cout << event_line(unit_event(number, serial_numbers, result)) << std::flush;
    print_banner(result.status == ExitStatus::done, serial_numbers);
    print_complaints(result);
    if (result.journal)
        out_ << "Journal: " << printable(*result.journal) << '\n';
    out_ << in_words(tally) << "\n\n" << std::flush;
}

void StationDisplay::print_banner(bool passed, const std::vector<std::string>& serial_numbers)
{
    const bool is_coloured = shows_colours(descriptor_);
    for (const std::string& row : banner(passed, serial_numbers, columns_of(descriptor_))) {
        if (is_coloured)
            out_ << (passed ? "\x1B[1;7;32m" : "\x1B[1;7;31m");
        out_ << row << (is_coloured ? "\x1B[0m\n" : "\n");
    }
    if (!passed && system::is_terminal(descriptor_))
        out_ << '\a';
}

void StationDisplay::print_complaints(const PlanRunResult& result)
{
    if (result.status == ExitStatus::cancelled && Interruption::signal_name() != nullptr)
        out_ << "cancelled by " << Interruption::signal_name() << '\n';
    for (const Complaint& complaint : complaints_)
        print_failure(out_, complaint.subject, complaint.failure);
    // That there were problems is seen, and each has its own remedy.
    if (result.failure && result.status != ExitStatus::rehearsal && result.status != ExitStatus::cancelled)
        print_failure(out_, "", *result.failure);
}

void StationDisplay::end_session(const StationTally& tally, bool is_cut_short)
{
    if (prompts_)
        std::cerr << '\n';
    if (is_cut_short)
        tell("the last unit was not begun: serial numbers of it are missing");
    out_ << "Session: " << in_words(tally) << '\n' << std::flush;
}

void StationDisplay::end_stream(ExitStatus status, const StationTally& tally,
                                const std::optional<Failure>& failure)
{
    if (json_)
        std::cout << event_line(session_result_event(status, tally, failure)) << std::flush;
}

} // namespace kvn
