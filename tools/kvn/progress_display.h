// SPDX-License-Identifier: Apache-2.0
// Shows on standard error how far a load is.
#ifndef KVN_TOOLS_KVN_PROGRESS_DISPLAY_H
#define KVN_TOOLS_KVN_PROGRESS_DISPLAY_H

#include "module/load.h"

#include <chrono>
#include <functional>
#include <iostream>
#include <optional>
#include <string>

namespace kvn
{

enum class ProgressStyle {
    bar,   ///< one row, written again at most every 100 ms, and when all is sent
    lines, ///< a line at begin and end, and at most one in ten seconds between
    none
};

/// @param word "auto" (a bar on a terminal, else lines), "bar", "lines" or "none"
[[nodiscard]] ProgressStyle progress_style(const std::string& word);

class ProgressDisplay
{
public:
    using Clock = std::chrono::steady_clock;

    /// @param module and file as they are shown, without control characters
    /// @param now tells the time
    /// @param out outlives the display
    ProgressDisplay(ProgressStyle style, std::string module, std::string file,
                    std::function<Clock::time_point()> now = &Clock::now, std::ostream& out = std::cerr)
        : style_{style}, module_{std::move(module)}, file_{std::move(file)}, now_{std::move(now)}, out_{out}
    {
    }

    /// For LoadControl::on_progress.
    void show(const Progress& progress);
    /// The load is over; a row that is open is closed.
    void end(const Record& record);

private:
    void show_row(const Progress& progress);
    void show_line(const Progress& progress);

    ProgressStyle style_;
    std::string module_;
    std::string file_;
    std::function<Clock::time_point()> now_;
    std::ostream& out_;
    std::optional<Clock::time_point> shown_at_; ///< null before the first time
    std::size_t row_size_ = 0;
};

} // namespace kvn

#endif
