// SPDX-License-Identifier: Apache-2.0
// Shows a run: its progress and failures on standard error, its events or its report on standard output.
#ifndef KVN_TOOLS_KVN_RUN_DISPLAY_H
#define KVN_TOOLS_KVN_RUN_DISPLAY_H

#include "progress_display.h"
#include "run/controller.h"
#include "run/plan_run.h"

#include <chrono>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace kvn
{

/// Something that went wrong in a run.
struct Complaint {
    std::string subject; ///< "mwc4a:0/1: design.bit: ", "rack.con:3: "; may be empty
    Failure failure;
};

/// Of an event `problem`, a note included, or of the record in `finished`; null where nothing went wrong.
[[nodiscard]] std::optional<Complaint> complaint_in(const Json& event);

enum class Complaints {
    told, ///< at once, on standard error
    left  ///< to somebody else, but for notes
};

class RunDisplay final : public RunWatcher
{
public:
    RunDisplay(ProgressStyle style, bool json, Complaints complaints = Complaints::told)
        : style_{style}, json_{json}, complaints_{complaints}
    {
    }

    void on_provider(const ProviderIdentity& provider) override;
    void on_event(const Json& event) override;
    void on_text(const BoardName& bus, const std::string& line) override;

    /// The report on standard output, unless the events are there.
    void show(const PlanRunResult& result, bool dry_run) const;

private:
    using Clock = std::chrono::steady_clock;

    /// A row of a terminal.
    struct BusRow {
        std::string text = {};
        bool is_over = false;
        std::size_t loads_left = 0;
    };

    void take_planned(const Json& modules);
    void tell_complaint(const Json& event);
    void take_begun(const Json& event);
    void take_progress(const Json& event);
    void take_finished(const Json& event);
    void take_kept(const Json& event);
    [[nodiscard]] std::string counts() const;
    void draw(bool at_once);
    void clear();
    void print_planned() const;
    void print_records() const;

    ProgressStyle style_;
    bool json_;
    Complaints complaints_;
    Json planned_ = Json::array();
    std::map<std::string, Json> modules_; ///< of `planned`, by name
    std::map<std::string, Json> records_; ///< by module
    std::map<std::string, BusRow> rows_;  ///< by bus
    std::vector<std::string> buses_;      ///< in the order of the plan
    VerdictCounts verdicts_;
    std::optional<double> seconds_left_;
    std::size_t drawn_ = 0; ///< lines on the terminal that may be written over
    unsigned signals_ = 0;  ///< whose words are below the rows
    std::optional<Clock::time_point> drawn_at_;
    Clock::time_point told_at_ = Clock::now(); ///< counts, as a line
};

} // namespace kvn

#endif
