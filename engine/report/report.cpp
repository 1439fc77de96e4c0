// SPDX-License-Identifier: Apache-2.0
// The report of one or more runs: what is known of each module, merged from their journals.
#include "report/report.h"

#include "report/members.h"

#include <algorithm>
#include <map>
#include <tuple>
#include <utility>

namespace kvn
{
namespace
{

/// A load whose end no line tells.
struct OpenLoad {
    std::size_t run = 0;
    std::optional<std::int64_t> at;
};

/// What the journals say of one module, so far.
struct Entry {
    ReportRow row;
    std::optional<OpenLoad> open;
    std::uint64_t begun = 0;    ///< lines in the present run
    std::uint64_t recorded = 0; ///< attempts by a record of the present run
};

std::string display_name(const Json& provider)
{
    std::string name = text_member(provider, "name");
    if (const std::string version = text_member(provider, "version"); !version.empty())
        name += " " + version;
    if (const std::string file = text_member(provider, "file"); !file.empty() && file != name)
        name += " (" + file + ")";
    return name;
}

std::string tool_name(const std::string& version)
{
    return version.empty() || version.find(' ') != std::string::npos ? version : "kvn " + version;
}

void add_once(std::vector<std::string>& texts, std::string text)
{
    if (!text.empty() && std::ranges::find(texts, text) == texts.end())
        texts.push_back(std::move(text));
}

std::optional<ModuleName> name_of_module(const std::string& text)
{
    try {
        return parse_module_name(text);
    } catch (const FailureError&) {
        return {};
    }
}

/// Numbers count by their value: board 2 is before board 10.
std::tuple<std::string, unsigned> bus_order(const std::string& bus)
{
    try {
        const BoardName board = parse_board_name(bus);
        return {board.type, board.number};
    } catch (const FailureError&) {
        return {bus, 0};
    }
}

ReportRow new_row(const std::string& host, const std::string& module)
{
    ReportRow row;
    row.host = host;
    row.module = module;
    if (const std::optional<ModuleName> name = name_of_module(module)) {
        row.bus = to_text(name->board);
        row.board = to_text(BoardName{name->board.type, name->carrier()});
        row.slot = name->slot;
    }
    return row;
}

std::vector<std::string> doubts_of(const JournalContent& journal)
{
    std::vector<std::string> doubts;
    if (journal.damage)
        doubts.push_back("line " + std::to_string(journal.damage->line) + ": " + journal.damage->what +
                         "; nothing from there on is in this report");
    if (journal.torn_bytes != 0)
        doubts.push_back("the last line has no end, and is not in this report");
    return doubts;
}

/// Reads the lines of all journals, one after the other.
class Merger
{
public:
    explicit Merger(Report& report) : report_{report} {}

    void add(JournalContent& journal)
    {
        begin_run(journal);
        for (const Json& module : journal.planned)
            if (Entry* entry = entry_of(module)) {
                entry->row.planned = module;
                ++run().modules;
            }
        for (Json& event : journal.events)
            add_event(event);
        end_run();
    }

    void move_rows()
    {
        for (auto& [key, entry] : entries_) {
            settle(entry);
            report_.rows.push_back(std::move(entry.row));
        }
    }

private:
    ReportRun& run() { return report_.runs.back(); }
    [[nodiscard]] std::size_t run_index() const { return report_.runs.size() - 1; }

    void begin_run(const JournalContent& journal)
    {
        ReportRun run;
        run.journal = journal.file;
        run.header = journal.header;
        run.goes_on = journal.is_being_written;
        run.is_damaged = journal.damage.has_value();
        run.doubts = doubts_of(journal);
        add_once(run.tools, journal.header.tool);
        add_once(run.providers, display_name(journal.header.provider));
        host_ = journal.header.host.value_or("");
        buses_.clear();
        report_.runs.push_back(std::move(run));
    }

    void end_run()
    {
        for (auto& [key, entry] : entries_)
            end_run_of(entry);
        for (auto& [name, spans] : buses_) {
            std::ranges::stable_sort(spans, {}, &ReportSpan::begin);
            run().buses.push_back({name, std::move(spans)});
        }
        std::ranges::sort(run().buses, {}, [](const ReportBus& bus) { return bus_order(bus.name); });
    }

    void end_run_of(Entry& entry)
    {
        entry.row.attempts += std::max(std::exchange(entry.begun, 0), std::exchange(entry.recorded, 0));
        if (entry.open && entry.open->run == run_index() && entry.open->at)
            add_span(entry.row, *entry.open->at, std::max(*entry.open->at, last_moment()), Verdict::failed);
    }

    /// The last moment of the present run that a line tells.
    [[nodiscard]] std::int64_t last_moment() const
    {
        std::int64_t last = 0;
        for (const auto& [name, spans] : buses_)
            for (const ReportSpan& span : spans)
                last = std::max(last, span.end);
        return last;
    }

    /// The entry of the module that a plan or an event names; null for none.
    Entry* entry_of(const Json& object)
    {
        const std::string module = text_member(object, "module");
        if (module.empty())
            return nullptr;
        const auto [found, is_new] = entries_.try_emplace({host_, module});
        if (is_new)
            found->second.row = new_row(host_, module);
        Entry& entry = found->second;
        if (is_new || (entry.row.record.is_null() && !entry.open))
            entry.row.run = run_index();
        return &entry;
    }

    void add_event(Json& event)
    {
        const std::string kind = text_member(event, "event");
        if (kind == "result") {
            if (const auto status = number_member(event, "status"); status && *status <= 255)
                run().status = static_cast<int>(*status);
            return;
        }
        if (kind != "begun" && kind != "finished" && kind != "kept")
            return;
        Entry* entry = entry_of(event);
        if (entry == nullptr)
            return;
        if (kind == "begun")
            begin_load(*entry, event);
        else if (kind == "finished")
            end_load(*entry, event["record"]);
        else if (entry->row.record.is_null() && !entry->open)
            keep(*entry, event["record"]);
    }

    void begin_load(Entry& entry, const Json& event)
    {
        ++entry.begun;
        entry.open = OpenLoad{run_index(), moment_member(event, "at")};
        entry.row.run = run_index();
    }

    void end_load(Entry& entry, Json& record)
    {
        entry.open.reset();
        entry.row.run = run_index();
        entry.recorded = std::max(entry.recorded, number_member(record, "attempts").value_or(0));
        take_record(entry, record);
        const auto begin = moment_member(entry.row.record, "begin");
        const auto end = moment_member(entry.row.record, "end");
        if (begin && end && *begin <= *end && entry.row.verdict != Verdict::not_tried)
            add_span(entry.row, *begin, *end, entry.row.verdict);
    }

    /// A record of an earlier run whose journal is not among these.
    void keep(Entry& entry, Json& record)
    {
        entry.recorded = number_member(record, "attempts").value_or(0);
        take_record(entry, record);
    }

    void take_record(Entry& entry, Json& record)
    {
        entry.row.record = record.is_object() ? std::move(record) : Json::object();
        const Json& taken = entry.row.record;
        entry.row.verdict = verdict_named(text_member(taken, "verdict")).value_or(Verdict::failed);
        entry.row.state = state_named(text_member(taken, "state")).value_or(ModuleState::unknown);
        add_once(run().tools, tool_name(text_member(taken, "tool_version")));
        add_once(run().providers, display_name(member(taken, "provider")));
    }

    void add_span(const ReportRow& row, std::int64_t begin, std::int64_t end, Verdict verdict)
    {
        buses_[row.bus].push_back({row.module, begin, end, verdict});
    }

    /// What was never loaded has the provider of its run.
    void settle(Entry& entry) const
    {
        ReportRow& row = entry.row;
        row.label = text_member(row.planned, "label");
        if (entry.open) {
            row.record = nullptr;
            row.verdict = Verdict::failed;
            row.state = ModuleState::interrupted;
            row.what = "the journal ends while the module was being loaded";
            row.why = report_.runs[row.run].goes_on ? "the run goes on" : "the run was killed";
            row.remedy = "load it again; a run that continues this journal does";
        } else if (row.record.is_null()) {
            row.what = "the module is in the plan, but its load was never begun";
            row.remedy = "load it; a run that continues this journal does";
        } else {
            const Json& failure = member(row.record, "failure");
            row.what = text_member(failure, "what");
            row.why = text_member(failure, "why");
            row.remedy = text_member(failure, "remedy");
        }
        const Json& provider =
            row.record.is_null() ? report_.runs[row.run].header.provider : member(row.record, "provider");
        row.simulated = flag_member(provider, "simulated");
    }

    Report& report_;
    std::map<std::pair<std::string, std::string>, Entry> entries_;
    std::map<std::string, std::vector<ReportSpan>> buses_; ///< of the present run
    std::string host_;
};

/// Removes journals of which another one is a copy, or a later state.
void remove_copies(std::vector<JournalContent>& journals)
{
    std::vector<JournalContent> distinct;
    for (JournalContent& journal : journals) {
        const auto same = std::ranges::find(distinct, journal.header, &JournalContent::header);
        if (same == distinct.end())
            distinct.push_back(std::move(journal));
        else if (same->lines < journal.lines)
            *same = std::move(journal);
    }
    journals = std::move(distinct);
}

/// The order of rows: numbers count by their value, board 2 before board 10.
auto place_of(const ReportRow& row)
{
    const std::optional<ModuleName> name = name_of_module(row.module);
    const ModuleName place = name.value_or(ModuleName{});
    return std::tuple{row.host,        !name.has_value(), place.board.type, place.board.number,
                      place.carrier(), place.slot,        row.module};
}

void sort_by_place(std::vector<ReportRow>& rows)
{
    std::vector<std::pair<decltype(place_of(rows.front())), std::size_t>> places;
    places.reserve(rows.size());
    for (std::size_t i = 0; i < rows.size(); ++i)
        places.emplace_back(place_of(rows[i]), i);
    std::ranges::sort(places);
    std::vector<ReportRow> sorted;
    sorted.reserve(rows.size());
    for (const auto& [place, index] : places)
        sorted.push_back(std::move(rows[index]));
    rows = std::move(sorted);
}

using FileKey = std::tuple<std::string, std::string, std::string>;

/// Name and digests of the file for a module; all empty when none is known.
FileKey file_key(const ReportRow& row)
{
    return {text_fact(row, "file"), text_fact(row, "file_sha256"), text_fact(row, "digest")};
}

void describe(ReportFile& file, const ReportRow& row)
{
    ++file.modules;
    if (file.format.empty())
        file.format = text_fact(row, "format");
    if (file.design.empty())
        file.design = text_fact(row, "design");
    if (file.part.empty())
        file.part = text_fact(row, "part");
}

/// The bitstreams of the rows, each once.
void collect_files(Report& report)
{
    std::map<FileKey, std::size_t> known;
    for (const ReportRow& row : report.rows)
        if (FileKey key = file_key(row); key != FileKey{})
            known.try_emplace(std::move(key), 0);
    for (auto& [key, index] : known) {
        index = report.files.size();
        ReportFile file;
        std::tie(file.name, file.sha256, file.digest) = key;
        report.files.push_back(std::move(file));
    }
    for (const ReportRow& row : report.rows) {
        const auto found = known.find(file_key(row));
        report.file_of_row.push_back(found == known.end() ? report.files.size() : found->second);
        if (found != known.end())
            describe(report.files[found->second], row);
    }
}

} // namespace

VerdictCounts Report::counts() const
{
    VerdictCounts counts;
    for (const ReportRow& row : rows)
        counts.add(row.verdict);
    return counts;
}

std::size_t Report::simulated() const
{
    return static_cast<std::size_t>(std::ranges::count(rows, true, &ReportRow::simulated));
}

std::vector<std::string> Report::hosts() const
{
    std::vector<std::string> hosts;
    for (const ReportRow& row : rows)
        if (hosts.empty() || hosts.back() != row.host)
            hosts.push_back(row.host);
    return hosts;
}

const Json& fact_of(const ReportRow& row, const char* name)
{
    const Json& recorded = member(row.record, name);
    return recorded.is_null() ? member(row.planned, name) : recorded;
}

std::string text_fact(const ReportRow& row, const char* name)
{
    const Json& fact = fact_of(row, name);
    return fact.is_string() ? fact.get<std::string>() : std::string{};
}

Report merge_journals(std::vector<JournalContent> journals)
{
    std::ranges::sort(journals, {}, [](const JournalContent& journal) {
        return std::tuple{journal.header.at, journal.header.host.value_or(""), journal.file, journal.lines};
    });
    remove_copies(journals);
    Report report;
    Merger merger{report};
    for (JournalContent& journal : journals)
        merger.add(journal);
    merger.move_rows();
    sort_by_place(report.rows);
    collect_files(report);
    return report;
}

Report read_report(std::span<const std::string> journals)
{
    std::vector<JournalContent> contents;
    contents.reserve(journals.size());
    for (const std::string& journal : journals)
        contents.push_back(inspect_journal(journal));
    return merge_journals(std::move(contents));
}

} // namespace kvn
