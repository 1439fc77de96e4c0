// SPDX-License-Identifier: Apache-2.0
// The time lines of the HTML report: what each bus did when. Without styles the table still has its figures.
#include "report/html_parts.h"
#include "report/members.h"
#include "report/visible_text.h"

#include <algorithm>
#include <array>
#include <limits>

namespace kvn::html
{
namespace
{

constexpr int TICKS = 4;
/// Units of a picture's width.
constexpr std::int64_t WIDTH = 4000;
constexpr std::int64_t NARROWEST = 8;

/// The section of time that the lanes of a run show.
struct Axis {
    std::int64_t begin = 0; ///< milliseconds since 1970
    std::int64_t end = 0;
    std::int64_t step = 1; ///< milliseconds from tick to tick

    /// Where a moment is, from 0 to WIDTH.
    [[nodiscard]] std::int64_t position(std::int64_t moment) const
    {
        const double part = static_cast<double>(moment - begin) / static_cast<double>(step * TICKS);
        return static_cast<std::int64_t>(part * static_cast<double>(WIDTH));
    }
};

/// The smallest round step with which the ticks reach to the end.
std::int64_t round_step(std::int64_t milliseconds)
{
    constexpr std::array<std::int64_t, 36> steps{
        1,          2,          5,           10,         25,        50,        100,        150,
        250,        500,        1'000,       1'500,      2'000,     2'500,     3'000,      4'000,
        5'000,      7'500,      10'000,      15'000,     20'000,    30'000,    60'000,     120'000,
        300'000,    600'000,    900'000,     1'800'000,  3'600'000, 7'200'000, 10'800'000, 21'600'000,
        43'200'000, 86'400'000, 172'800'000, 345'600'000};
    const auto found =
        std::ranges::find_if(steps, [&](std::int64_t step) { return step * TICKS >= milliseconds; });
    constexpr std::int64_t day = 86'400'000;
    return found != steps.end() ? *found : (milliseconds / TICKS / day + 1) * day;
}

Axis axis_of(const ReportRun& run)
{
    Axis axis{std::numeric_limits<std::int64_t>::max(), std::numeric_limits<std::int64_t>::min(), 1};
    for (const ReportBus& bus : run.buses)
        for (const ReportSpan& span : bus.spans) {
            axis.begin = std::min(axis.begin, span.begin);
            axis.end = std::max(axis.end, span.end);
        }
    axis.step = round_step(axis.end - axis.begin);
    return axis;
}

/// "1.5 s", "10 min", "3 h", "2 d"
std::string duration_text(std::int64_t milliseconds)
{
    constexpr std::int64_t minute = 60'000;
    constexpr std::int64_t hour = 60 * minute;
    constexpr std::int64_t day = 24 * hour;
    if (milliseconds >= 2 * day && milliseconds % day == 0)
        return std::to_string(milliseconds / day) + " d";
    if (milliseconds >= hour && milliseconds % hour == 0)
        return std::to_string(milliseconds / hour) + " h";
    if (milliseconds >= minute && milliseconds % minute == 0)
        return std::to_string(milliseconds / minute) + " min";
    std::string seconds = seconds_text(milliseconds);
    seconds.erase(seconds.find_last_not_of('0') + 1);
    if (seconds.ends_with('.'))
        seconds.pop_back();
    return seconds + " s";
}

void add_bar(std::string& page, const Axis& axis, const ReportSpan& span)
{
    const std::int64_t left = std::min(axis.position(span.begin), WIDTH - NARROWEST);
    const std::int64_t width = std::max(axis.position(span.end) - left - NARROWEST / 2, NARROWEST);
    page += "<path class=";
    page += class_of(span.verdict);
    page += " d=M" + std::to_string(left) + ",10h" + std::to_string(width) + "><title>" +
            markup_text(span.module) + " " + name_of(span.verdict) + ", " +
            seconds_text(span.end - span.begin) + " s</title></path>";
}

std::int64_t busy_time(const ReportBus& bus)
{
    std::int64_t busy = 0;
    for (const ReportSpan& span : bus.spans)
        busy += span.end - span.begin;
    return busy;
}

/// "4 loads in 9.812 s, 1 failed"
std::string bus_figures(const ReportBus& bus)
{
    VerdictCounts counts;
    for (const ReportSpan& span : bus.spans)
        counts.add(span.verdict);
    std::string text = counted(bus.spans.size(), "load") + " in " + seconds_text(busy_time(bus)) + " s";
    for (const Verdict verdict : {Verdict::refused, Verdict::failed, Verdict::cancelled, Verdict::timed_out})
        if (const std::size_t count = counts.of(verdict))
            text += ", " + grouped(count) + " " + name_of(verdict);
    return text;
}

void add_lane(std::string& page, const Axis& axis, const ReportBus& bus)
{
    page += "<tr><th scope=row>" + markup_text(bus.name.empty() ? "unknown bus" : bus.name) +
            "<td><svg viewBox=\"0 0 " + std::to_string(WIDTH) +
            " 20\" preserveAspectRatio=none width=100% height=20 role=img aria-label=\"" +
            counted(bus.spans.size(), "load") + "\"><g stroke=gray stroke-width=12>";
    for (const ReportSpan& span : bus.spans)
        add_bar(page, axis, span);
    page += "</g></svg><td>" + bus_figures(bus) + "\n";
}

void add_run(std::string& page, const Report& report, std::size_t index)
{
    const ReportRun& run = report.runs[index];
    const Axis axis = axis_of(run);
    page += "<table class=lanes>\n<caption>";
    if (report.runs.size() > 1)
        page += "Run " + std::to_string(index + 1) + ": " + markup_text(run.header.plan) + " on " +
                host_markup(run.header.host.value_or("")) + ", ";
    page += "from " + moment_text(axis.begin) + " UTC, " + duration_text(axis.end - axis.begin) +
            "</caption>\n<thead><tr><th scope=col>Bus<th scope=col class=axis>";
    for (int tick = 0; tick < TICKS; ++tick)
        page += "<span>" + duration_text(tick * axis.step) + "</span>";
    page += "<th scope=col>Loads\n</thead>\n<tbody>\n";
    for (const ReportBus& bus : run.buses)
        add_lane(page, axis, bus);
    page += "</tbody></table>\n";
}

} // namespace

void add_time_lines(std::string& page, const Report& report)
{
    if (std::ranges::all_of(report.runs, [](const ReportRun& run) { return run.buses.empty(); }))
        return;
    page += "<section aria-labelledby=time>\n<h2 id=time>Time line of the buses</h2>\n";
    for (std::size_t i = 0; i < report.runs.size(); ++i)
        if (!report.runs[i].buses.empty())
            add_run(page, report, i);
    page += "</section>\n";
}

} // namespace kvn::html
