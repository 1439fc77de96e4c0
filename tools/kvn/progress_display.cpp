// SPDX-License-Identifier: Apache-2.0
// Shows on standard error how far a load is.
#include "progress_display.h"

#include "streams.h"
#include "system/terminal.h"

#include <algorithm>

namespace kvn
{
namespace
{

constexpr std::chrono::milliseconds BETWEEN_ROWS{100};
constexpr std::chrono::seconds BETWEEN_LINES{10};

/// "45 %, 19068 of 42374 bytes, 2 s left"
std::string state_of(const Progress& progress)
{
    if (!progress.total)
        return std::to_string(progress.bytes) + " bytes";
    const std::uint64_t total = *progress.total;
    const std::uint64_t percent = total == 0 ? 0 : std::min(progress.bytes, total) * 100 / total;
    std::string words = std::to_string(percent) + " %, " + std::to_string(progress.bytes) + " of " +
                        std::to_string(total) + " bytes";
    if (progress.seconds_left)
        words += ", " + fixed(*progress.seconds_left, 0) + " s left";
    return words;
}

} // namespace

ProgressStyle progress_style(const std::string& word)
{
    if (word == "none")
        return ProgressStyle::none;
    if (word == "bar" || (word == "auto" && system::is_terminal(system::STANDARD_ERROR)))
        return ProgressStyle::bar;
    return ProgressStyle::lines;
}

void ProgressDisplay::show(const Progress& progress)
{
    if (style_ == ProgressStyle::bar)
        show_row(progress);
    if (style_ == ProgressStyle::lines)
        show_line(progress);
}

void ProgressDisplay::show_row(const Progress& progress)
{
    const auto now = now_();
    const bool is_last = progress.total && progress.bytes >= *progress.total;
    if (shown_at_ && !is_last && now - *shown_at_ < BETWEEN_ROWS)
        return;
    shown_at_ = now;
    std::string row = module_ + "  " + state_of(progress);
    const std::size_t size = row.size();
    row.resize(std::max(size, row_size_), ' '); // covers a longer row
    row_size_ = size;
    out_ << '\r' << row << std::flush;
}

void ProgressDisplay::show_line(const Progress& progress)
{
    const auto now = now_();
    if (!shown_at_) {
        const std::string total = progress.total ? ", " + std::to_string(*progress.total) + " bytes" : "";
        out_ << module_ << ": loading " << file_ << total << '\n';
    } else if (now - *shown_at_ >= BETWEEN_LINES) {
        out_ << module_ << ": " << state_of(progress) << '\n';
    } else {
        return;
    }
    shown_at_ = now;
}

void ProgressDisplay::end(const Record& record)
{
    if (!shown_at_)
        return;
    if (style_ == ProgressStyle::bar)
        out_ << '\n';
    if (style_ == ProgressStyle::lines)
        out_ << module_ << ": " << name_of(record.verdict) << '\n';
}

} // namespace kvn
