// SPDX-License-Identifier: Apache-2.0
// The last load of each module that a folder of journals has seen.
#include "run/history.h"

#include "errors/failure.h"
#include "report/utc.h"
#include "run/event.h"
#include "run/journal_file.h"
#include "system/path_text.h"

#include <algorithm>
#include <filesystem>
#include <map>
#include <string_view>
#include <unordered_map>
#include <utility>

namespace kvn
{
namespace
{

/// A place in a journal.
struct LinePlace {
    std::uint64_t offset = 0;
    std::size_t number = 0;
};

/// A load as far as its lines were seen in passing; they are read again if it is the last one of its module.
struct Candidate {
    std::string begun_at;
    std::size_t journal = 0; ///< in the list of journals
    LinePlace begun;
    std::optional<LinePlace> finished;
};

struct KnownJournal {
    std::string name;
    JournalHeader header;
    std::optional<LinePlace> planned;
};

/// How a line begins that this program has written. Any other line is read as a whole.
constexpr std::string_view FINISHED = R"({"event":"finished","module":")";
constexpr std::string_view PLANNED = R"({"event":"planned",)";
constexpr std::string_view BEGUN = R"({"event":"begun","module":")";
constexpr std::string_view BEFORE_AT = R"(,"at":")";

/// The text at the beginning of a line, after `before` and up to the next quote; null for any other line.
std::optional<std::string_view> text_after(std::string_view line, std::string_view before)
{
    if (!line.starts_with(before))
        return std::nullopt;
    line.remove_prefix(before.size());
    line = line.substr(0, line.find('"'));
    return line.find('\\') == std::string_view::npos ? std::optional{line} : std::nullopt;
}

struct Begun {
    std::string_view module;
    std::string_view at;
};

/// Reads {"event":"begun","module":"...","attempt":1,"at":"...",...}; null for any other line.
std::optional<Begun> read_begun(std::string_view line)
{
    const auto module = text_after(line, BEGUN);
    const std::size_t place = line.find(BEFORE_AT);
    if (!module || place == std::string_view::npos)
        return std::nullopt;
    const std::string_view attempt =
        line.substr(BEGUN.size() + module->size(), place - BEGUN.size() - module->size());
    constexpr std::string_view BEFORE_ATTEMPT = R"(","attempt":)";
    const bool is_plain =
        attempt.starts_with(BEFORE_ATTEMPT) &&
        attempt.find_first_not_of("0123456789", BEFORE_ATTEMPT.size()) == std::string_view::npos;
    const auto at = text_after(line.substr(place), BEFORE_AT);
    return is_plain && at && utc_time(*at) ? std::optional{Begun{*module, *at}} : std::nullopt;
}

/// Notes where the loads of one journal are.
class Scan
{
public:
    using Loads = std::unordered_map<std::string, std::vector<Candidate>>;

    Scan(JournalFile& file, KnownJournal& journal, std::size_t place)
        : file_{file}, journal_{journal}, place_{place}
    {
    }

    /// Reads as far as the journal fits.
    void run()
    {
        while (file_.next())
            take_line();
    }

    [[nodiscard]] Loads& loads() { return loads_; }
    [[nodiscard]] std::size_t records() const { return records_; }

private:
    [[nodiscard]] LinePlace here() const { return {file_.offset(), file_.number()}; }

    void take_line()
    {
        const std::string_view line = file_.line();
        if (const auto module = text_after(line, FINISHED))
            take_finished(std::string{*module});
        else if (const auto begun = read_begun(line))
            take_begun(std::string{begun->module}, std::string{begun->at});
        else if (line.starts_with(PLANNED))
            journal_.planned = here();
        else
            take_event(read_event(line));
    }

    void take_event(const Event& event)
    {
        if (event.kind == EventKind::begun)
            take_begun(event.module(), event.json.at("at").get<std::string>());
        else if (event.kind == EventKind::finished)
            take_finished(event.module());
        else if (event.kind == EventKind::planned)
            journal_.planned = here();
    }

    void take_begun(const std::string& module, std::string at)
    {
        loads_[module].push_back({std::move(at), place_, here(), std::nullopt});
    }

    /// The record of the load that was begun last; there is none for a module that was not tried.
    void take_finished(const std::string& module)
    {
        ++records_;
        const auto begun = loads_.find(module);
        if (begun != loads_.end() && !begun->second.back().finished)
            begun->second.back().finished = here();
    }

    JournalFile& file_;
    KnownJournal& journal_;
    std::size_t place_;
    Loads loads_;
    std::size_t records_ = 0;
};

/// Host and module. Hosts without a name come first.
using ModuleKey = std::pair<std::optional<std::string>, std::string>;

bool is_later(const Candidate& a, const Candidate& b)
{
    return std::tie(a.begun_at, a.journal, a.begun.number) > std::tie(b.begun_at, b.journal, b.begun.number);
}

class Reader
{
public:
    Reader(std::string folder, const std::string& module) : folder_{std::move(folder)}, module_{module} {}

    History history() &&
    {
        for (const std::string& name : file_names())
            read(name);
        for (auto& [key, candidates] : loads_)
            find_last(key, candidates);
        return std::move(history_);
    }

private:
    [[nodiscard]] std::vector<std::string> file_names() const
    {
        std::vector<std::string> names;
        std::error_code error;
        for (std::filesystem::directory_iterator each{system::path_of(folder_), error}, end;
             !error && each != end; each.increment(error))
            if (std::error_code ignored; each->is_regular_file(ignored))
                names.push_back(system::text_of(each->path().filename()));
        if (error)
            throw FailureError{{ExitStatus::file, 0, folder_ + ": " + error.message(), "", ""}};
        std::ranges::sort(names);
        return names;
    }

    void read(const std::string& name)
    {
        try {
            JournalFile file{path_of(name)};
            if (file.looks_like_journal())
                read(name, file);
            else if (name.ends_with(".journal"))
                report(name, "it does not begin as a journal");
        } catch (const FailureError& error) {
            report(name, error.failure().what);
        }
    }

    void read(const std::string& name, JournalFile& file)
    {
        const std::size_t place = journals_.size();
        journals_.push_back({.name = name, .header = {}, .planned = {}});
        Scan scan{file, journals_.back(), place};
        try {
            if (file.next()) {
                journals_.back().header = journal_header(file);
                ++history_.journals;
                scan.run();
            } else if (!file.damage()) {
                report_line(name, 1, "it has no end");
            }
        } catch (const EventError& error) {
            report_line(name, file.number(), error.what());
        }
        if (file.damage())
            report_line(name, file.damage()->line, file.damage()->what);
        history_.records += scan.records();
        add(scan, journals_.back().header.host);
    }

    void add(Scan& scan, const std::optional<std::string>& host)
    {
        for (auto& [module, candidates] : scan.loads()) {
            if (!module_.empty() && module != module_)
                continue;
            std::vector<Candidate>& all = loads_[{host, module}];
            all.insert(all.end(), std::make_move_iterator(candidates.begin()),
                       std::make_move_iterator(candidates.end()));
        }
    }

    void find_last(const ModuleKey& key, std::vector<Candidate>& candidates)
    {
        while (!candidates.empty()) {
            const auto last = std::ranges::min_element(candidates, is_later);
            if (take_load(key, *last))
                return;
            *last = std::move(candidates.back());
            candidates.pop_back();
        }
    }

    /// @return false when nothing was sent after all, or the lines are no longer there
    bool take_load(const ModuleKey& key, const Candidate& candidate)
    {
        const KnownJournal& journal = journals_[candidate.journal];
        SeenLoad load{.host = key.first,
                      .module = key.second,
                      .begun_at = candidate.begun_at,
                      .record = nullptr,
                      .planned = nullptr,
                      .operator_name = journal.header.operator_name,
                      .station = journal.header.station,
                      .journal = journal.name,
                      .line = candidate.finished.value_or(candidate.begun).number};
        try {
            JournalFile file{path_of(journal.name)};
            if (candidate.finished)
                load.record = event_at(file, *candidate.finished).at("record");
            else if (journal.planned)
                load.planned = planned_of(key.second, event_at(file, *journal.planned));
        } catch (const EventError& error) {
            report_line(journal.name, load.line, error.what());
            return false;
        } catch (const FailureError& error) {
            report(journal.name, error.failure().what);
            return false;
        }
        if (!load.record.is_null() && load.record.at("state") == name_of(ModuleState::untouched))
            return false;
        history_.loads.push_back(std::move(load));
        return true;
    }

    static Json event_at(JournalFile& file, const LinePlace& place)
    {
        if (!file.read_at(place.offset))
            throw EventError{"it has changed while it was read"};
        return read_event(file.line()).json;
    }

    static Json planned_of(const std::string& module, const Json& event)
    {
        for (const Json& each : event.at("modules"))
            if (each.at("module") == module)
                return each;
        return nullptr;
    }

    [[nodiscard]] std::string path_of(const std::string& name) const
    {
        return system::text_of(system::path_of(folder_) / system::path_of(name));
    }

    void report(const std::string& name, std::string what)
    {
        history_.problems.push_back({name, std::move(what)});
    }
    void report_line(const std::string& name, std::size_t line, const std::string& what)
    {
        report(name, "line " + std::to_string(line) + ": " + what);
    }

    std::string folder_;
    std::string module_;
    std::vector<KnownJournal> journals_;
    std::map<ModuleKey, std::vector<Candidate>> loads_;
    History history_;
};

} // namespace

History read_history(const std::string& folder, const std::string& module)
{
    return Reader{folder, module}.history();
}

} // namespace kvn
