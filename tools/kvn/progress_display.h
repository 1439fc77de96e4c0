// SPDX-License-Identifier: Apache-2.0
// Shows on standard error how far a load is.
#ifndef KVN_TOOLS_KVN_PROGRESS_DISPLAY_H
#define KVN_TOOLS_KVN_PROGRESS_DISPLAY_H

#include "module/load.h"

#include <chrono>
#include <optional>
#include <string>

namespace kvn
{

enum class ProgressStyle {
    bar,   ///< one row that is written anew
    lines, ///< a line at begin and end, and at most one in ten seconds between
    none
};

/// @param word "auto" (a bar on a terminal, else lines), "bar", "lines" or "none"
[[nodiscard]] ProgressStyle progress_style(const std::string& word);

class ProgressDisplay
{
public:
    /// @param module and file as they are shown, without control characters
    ProgressDisplay(ProgressStyle style, std::string module, std::string file)
        : style_{style}, module_{std::move(module)}, file_{std::move(file)}
    {
    }

    /// For LoadControl::on_progress.
    void show(const Progress& progress);
    /// The load is over; a row that is open is closed.
    void end(const Record& record);

private:
    using Clock = std::chrono::steady_clock;

    void show_row(const Progress& progress);
    void show_line(const Progress& progress);

    ProgressStyle style_;
    std::string module_;
    std::string file_;
    std::optional<Clock::time_point> shown_at_; ///< null before the first time
    std::size_t row_size_ = 0;
};

} // namespace kvn

#endif
