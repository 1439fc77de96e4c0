// SPDX-License-Identifier: Apache-2.0
// Shows the units of a station: the progress of each, PASS or FAIL over the whole width, and the counts.
#ifndef KVN_TOOLS_KVN_STATION_DISPLAY_H
#define KVN_TOOLS_KVN_STATION_DISPLAY_H

#include "progress_display.h"
#include "run/station.h"
#include "run_display.h"
#include "station_banner.h"

#include <map>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

namespace kvn
{

/// Verdicts are on standard output; with the events there, they are on standard error.
class StationDisplay final : public RunWatcher
{
public:
    StationDisplay(ProgressStyle style, bool json);

    /// Before the first question.
    void begin_session(const std::string& plan);
    void ask(const SerialQuestion& question);
    void refuse(const std::string& why);
    void begin_unit();
    void end_unit(std::size_t number, const std::vector<std::string>& serial_numbers,
                  const PlanRunResult& result, const StationTally& tally);
    /// @param is_cut_short the last unit was not begun, because serial numbers of it are missing
    void end_session(const StationTally& tally, bool is_cut_short);
    void end_stream(ExitStatus status, const StationTally& tally, const std::optional<Failure>& failure);

    void on_provider(const ProviderIdentity& provider) override;
    void on_event(const Json& event) override;
    void on_text(const BoardName& bus, const std::string& line) override;

private:
    void keep_labels(const Json& modules);
    void print_banner(bool passed, const std::vector<std::string>& serial_numbers);
    void print_complaints(const PlanRunResult& result);

    ProgressStyle style_;
    bool json_;
    int descriptor_;
    std::ostream& out_;
    bool prompts_; ///< a person reads the questions, and answers
    std::optional<RunDisplay> run_;
    std::optional<ProviderIdentity> announced_;
    std::map<std::string, std::string> labels_; ///< by module
    std::vector<Complaint> complaints_;         ///< about the unit
};

} // namespace kvn

#endif
