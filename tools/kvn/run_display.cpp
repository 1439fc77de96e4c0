// SPDX-License-Identifier: Apache-2.0
// Shows a run: its progress and failures on standard error, its events or its report on standard output.
#include "run_display.h"

#include "interruption.h"
#include "provider_options.h"
#include "run/worker_protocol.h"
#include "streams.h"
#include "system/terminal.h"
#include "table.h"

#include <algorithm>
#include <cmath>
#include <iostream>

namespace kvn
{
namespace
{

constexpr std::chrono::milliseconds BETWEEN_ROWS{100};
constexpr std::chrono::seconds BETWEEN_LINES{10};
constexpr std::array VERDICTS{Verdict::configured, Verdict::refused,   Verdict::failed,
                              Verdict::cancelled,  Verdict::timed_out, Verdict::not_tried};

std::string text_in(const Json& json, const char* name)
{
    const Json& value = json.at(name);
    return value.is_string() ? value.get<std::string>() : std::string{};
}

std::string number_in(const Json& json, const char* name)
{
    const Json& value = json.at(name);
    return is_whole_number(value) ? std::to_string(value.get<std::uint64_t>()) : std::string{};
}

/// "2 configured, 1 failed"
std::string in_words(const VerdictCounts& counts)
{
    std::string words;
    for (const Verdict verdict : VERDICTS)
        if (const std::size_t count = counts.of(verdict); count != 0)
            words.append(words.empty() ? "" : ", ")
                .append(std::to_string(count))
                .append(" ")
                .append(name_of(verdict));
    return words.empty() ? "nothing to do" : words;
}

/// "4 min 5 s", "12 s"
std::string duration(double seconds)
{
    // A worker's figures may be any number.
    const long whole = std::lround(std::clamp(seconds, 0.0, 1e9));
    const std::string rest = std::to_string(whole % 60) + " s";
    return whole < 60 ? rest : std::to_string(whole / 60) + " min " + rest;
}

system::TerminalSize terminal_size()
{
    constexpr system::TerminalSize USUAL{.rows = 24, .columns = 80};
    return system::terminal_size(system::STANDARD_ERROR).value_or(USUAL);
}

Complaint complaint_of_problem(const Json& event)
{
    const std::string where = text_in(event, "where");
    const std::string kind = event.at("severity") == "note" ? "note: " : "";
    return {(where.empty() ? "" : where + ": ") + kind,
            {.what = text_in(event, "what"), .remedy = text_in(event, "remedy")}};
}

std::optional<Complaint> complaint_of_record(const Json& record)
{
    if (record.at("failure").is_null())
        return std::nullopt;
    Failure failure = read_failure(record.at("failure"));
    const std::string file = text_in(record, "file");
    const bool names_file = failure.what.starts_with(file + ": ") || failure.what.starts_with("the load of ");
    return Complaint{text_in(record, "module") + ": " + (names_file ? "" : file + ": "), std::move(failure)};
}

} // namespace

std::optional<Complaint> complaint_in(const Json& event)
{
    if (event.at("event") == "problem")
        return complaint_of_problem(event);
    return event.at("event") == "finished" ? complaint_of_record(event.at("record")) : std::nullopt;
}

void RunDisplay::on_provider(const ProviderIdentity& provider)
{
    announce(provider);
}

void RunDisplay::on_text(const BoardName& bus, const std::string& line)
{
    clear();
    tell("bus " + to_text(bus) + ": " + line);
}

void RunDisplay::on_event(const Json& event)
{
    const std::string name = event.at("event").get<std::string>();
    if (json_)
        std::cout << event_line(event) << std::flush;
    if (name == "planned")
        take_planned(event.at("modules"));
    else if (name == "problem")
        tell_complaint(event);
    else if (name == "begun")
        take_begun(event);
    else if (name == "progress")
        take_progress(event);
    else if (name == "finished")
        take_finished(event);
    else if (name == "kept")
        take_kept(event);
    else if (name == "result")
        clear();
}

void RunDisplay::take_planned(const Json& modules)
{
    planned_ = modules;
    for (const Json& module : modules) {
        modules_[text_in(module, "module")] = module;
        const std::string bus = text_in(module, "bus");
        if (rows_.find(bus) == rows_.end())
            buses_.push_back(bus);
        ++rows_[bus].loads_left;
    }
}

void RunDisplay::tell_complaint(const Json& event)
{
    const bool is_note = event.value("severity", "") == "note";
    if (complaints_ == Complaints::left && !is_note)
        return;
    if (const auto complaint = complaint_in(event)) {
        clear();
        tell_failure(complaint->subject, complaint->failure);
    }
}

void RunDisplay::take_begun(const Json& event)
{
    const std::string name = text_in(event, "module");
    const Json& module = modules_.at(name);
    const unsigned attempt = event.at("attempt").get<unsigned>();
    const std::string again = attempt > 1 ? ", attempt " + std::to_string(attempt) : "";
    const std::string words = name + ": loading " + text_in(module, "file") + ", " +
                              number_in(module, "wire_bytes") + " bytes" + again;
    if (style_ == ProgressStyle::lines)
        std::cerr << printable(words) << '\n';
    rows_[text_in(module, "bus")].text = words;
    draw(true);
}

void RunDisplay::take_progress(const Json& event)
{
    const std::string name = text_in(event, "module");
    const auto left = event.find("run_seconds_left");
    seconds_left_ =
        left != event.end() && left->is_number() ? std::optional{left->get<double>()} : std::nullopt;
    const auto bytes = event.at("bytes").get<std::uint64_t>();
    const Json& total = event.at("total");
    const std::uint64_t all = is_whole_number(total) ? total.get<std::uint64_t>() : 0;
    const std::uint64_t percent = all == 0 ? 0 : std::min(bytes, all) * 100 / all;
    rows_[text_in(modules_.at(name), "bus")].text = name + "  " + std::to_string(percent) + " %, " +
                                                    std::to_string(bytes) + " of " + std::to_string(all) +
                                                    " bytes";
    draw(false);
    if (style_ == ProgressStyle::lines && Clock::now() - told_at_ >= BETWEEN_LINES) {
        told_at_ = Clock::now();
        std::cerr << counts() << '\n';
    }
}

void RunDisplay::take_finished(const Json& event)
{
    const Json& record = event.at("record");
    const std::string name = text_in(event, "module");
    verdicts_.add(verdict_named(text_in(record, "verdict")).value_or(Verdict::failed));
    records_[name] = record;
    BusRow& row = rows_[text_in(modules_.at(name), "bus")];
    row.text = name + ": " + text_in(record, "verdict");
    row.is_over = row.loads_left != 0 && --row.loads_left == 0;
    if (style_ == ProgressStyle::lines)
        std::cerr << printable(row.text) << '\n';
    tell_complaint(event);
    draw(true);
}

void RunDisplay::take_kept(const Json& event)
{
    const Json& record = event.at("record");
    const std::string name = text_in(record, "module");
    verdicts_.add(verdict_named(text_in(record, "verdict")).value_or(Verdict::failed));
    records_[name] = record;
    BusRow& row = rows_[text_in(modules_.at(name), "bus")];
    row.is_over = row.loads_left != 0 && --row.loads_left == 0;
}

/// "12 of 64 modules: 11 configured, 1 refused; 41 s left"
std::string RunDisplay::counts() const
{
    std::string words =
        std::to_string(verdicts_.all()) + " of " + std::to_string(planned_.size()) + " modules";
    if (verdicts_.all() != 0)
        words += ": " + in_words(verdicts_);
    if (seconds_left_)
        words += "; " + duration(*seconds_left_) + " left";
    return words;
}

void RunDisplay::clear()
{
    if (drawn_ == 0 || signals_ != Interruption::count()) {
        drawn_ = 0;
        return;
    }
    std::cerr << "\x1B[" << drawn_ << "A\r\x1B[J" << std::flush;
    drawn_ = 0;
}

/// One row for each bus, as far as there is room, and one of counts.
void RunDisplay::draw(bool at_once)
{
    if (style_ != ProgressStyle::bar)
        return;
    const auto now = Clock::now();
    if (!at_once && drawn_at_ && now - *drawn_at_ < BETWEEN_ROWS)
        return;
    drawn_at_ = now;
    const system::TerminalSize size = terminal_size();
    std::vector<std::string> lines;
    const std::size_t room = size.rows < 3 ? 0 : size.rows - 2U;
    for (const std::string& bus : buses_)
        if (lines.size() < room && (rows_.size() <= room || !rows_.at(bus).is_over))
            lines.push_back(rows_.at(bus).text.empty() ? bus : rows_.at(bus).text);
    lines.push_back(counts());
    clear();
    signals_ = Interruption::count();
    std::string all;
    for (const std::string& line : lines)
        all += printable(line).substr(0, size.columns - 1U) + "\n";
    std::cerr << all << std::flush;
    drawn_ = lines.size();
}

void RunDisplay::print_planned() const
{
    Table table{{"Module", "Label", "File", "Device", "Mode", "Bytes"}};
    for (const Json& module : planned_)
        table.add({text_in(module, "module"), text_in(module, "label"), text_in(module, "file"),
                   text_in(module, "device"), text_in(module, "mode"), number_in(module, "wire_bytes")});
    table.print(std::cout);
}

void RunDisplay::print_records() const
{
    Table table{{"Module", "Label", "File", "Verdict", "State", "Bytes", "Attempts"}};
    for (const Json& module : planned_) {
        const auto found = records_.find(text_in(module, "module"));
        if (found == records_.end())
            continue;
        const Json& record = found->second;
        table.add({text_in(module, "module"), text_in(module, "label"), text_in(module, "file"),
                   text_in(record, "verdict"), text_in(record, "state"), number_in(record, "wire_bytes"),
                   number_in(record, "attempts")});
    }
    table.print(std::cout);
}

void RunDisplay::show(const PlanRunResult& result, bool dry_run) const
{
    if (result.failure)
        tell_failure("", *result.failure);
    if (json_)
        return;
    if (!records_.empty())
        print_records();
    else if (dry_run && !planned_.empty())
        print_planned();
    if (result.journal)
        std::cout << "Journal: " << printable(*result.journal) << '\n';
    if (dry_run && result.status == ExitStatus::done)
        std::cout << "Result:  the rehearsal found no problem; nothing was sent\n";
    else if (!planned_.empty() || result.status == ExitStatus::done)
        std::cout << "Result:  " << in_words(result.counts) << '\n';
}

} // namespace kvn
