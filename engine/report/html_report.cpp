// SPDX-License-Identifier: Apache-2.0
// A report as one HTML file for people.
#include "report/html_report.h"

#include "hashing/sha256.h"
#include "report/html_parts.h"
#include "report/members.h"
#include "report/page_assets.h"
#include "report/visible_text.h"
#include "version.h"

#include <array>
#include <cstdio>

namespace kvn
{
namespace html
{

char class_of(Verdict verdict)
{
    switch (verdict) {
    case Verdict::configured:
        return 'c';
    case Verdict::refused:
        return 'r';
    case Verdict::failed:
        return 'f';
    case Verdict::cancelled:
        return 'x';
    case Verdict::timed_out:
        return 't';
    default:
        return 'n';
    }
}

std::string counted(std::size_t count, const char* thing)
{
    return grouped(count) + " " + thing + (count == 1 ? "" : "s");
}

std::string grouped(std::uint64_t number)
{
    constexpr const char* narrow_blank = "\u202F";
    std::string text = std::to_string(number);
    for (std::size_t i = text.size(); i > 3;) {
        i -= 3;
        text.insert(i, narrow_blank);
    }
    return text;
}

std::string seconds_text(std::int64_t milliseconds)
{
    std::array<char, 32> text{};
    (void)std::snprintf(text.data(), text.size(), "%lld.%03lld", static_cast<long long>(milliseconds / 1000),
                        static_cast<long long>(milliseconds % 1000));
    return text.data();
}

std::string time_text(std::chrono::system_clock::time_point moment)
{
    return moment_text(std::chrono::floor<std::chrono::milliseconds>(moment.time_since_epoch()).count());
}

std::string host_markup(const std::string& host)
{
    return host.empty() ? "unknown host" : markup_text(host);
}

std::string row_link(std::size_t row, const std::string& markup)
{
    return "<a href=#m" + std::to_string(row) + ">" + markup + "</a>";
}

} // namespace html

namespace
{

int value_of_digit(char digit)
{
    return digit <= '9' ? digit - '0' : digit - 'a' + 10;
}

/// What a content security policy calls a text by.
std::string policy_source(std::string_view text)
{
    hashing::Sha256 sum;
    sum.take({reinterpret_cast<const std::uint8_t*>(text.data()), text.size()});
    const std::string digits = sum.finish();
    constexpr std::string_view alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string base64;
    unsigned bits = 0;
    unsigned held = 0;
    for (const char digit : digits) {
        held = held << 4U | static_cast<unsigned>(value_of_digit(digit));
        bits += 4;
        if (bits >= 6) {
            bits -= 6;
            base64 += alphabet[held >> bits & 0x3FU];
        }
    }
    base64 += alphabet[held << (6 - bits) & 0x3FU];
    return "'sha256-" + base64 + "='"; // 32 bytes: one sign is left to fill up
}

std::string title_of(const Report& report)
{
    std::string title;
    for (const ReportRun& run : report.runs)
        if (title.find(run.header.plan) == std::string::npos)
            title += (title.empty() ? "" : ", ") + run.header.plan;
    return std::to_string(report.counts().of(Verdict::configured)) + " of " +
           std::to_string(report.rows.size()) + " configured" + (title.empty() ? "" : ": " + title);
}

void add_head(std::string& page, const Report& report)
{
    page += "<!DOCTYPE html>\n<html lang=en>\n<head>\n<meta charset=utf-8>\n"
            "<meta http-equiv=Content-Security-Policy content=\"default-src 'none'; style-src ";
    page += policy_source(PAGE_STYLE);
    page += "; script-src ";
    page += policy_source(PAGE_SCRIPT);
    page += "; img-src data:; base-uri 'none'; form-action 'none'\">\n"
            "<meta name=viewport content=\"width=device-width, initial-scale=1\">\n"
            "<meta name=color-scheme content=\"light dark\">\n<meta name=referrer content=no-referrer>\n"
            "<link rel=icon href=\"data:,\">\n<title>";
    page += markup_text(title_of(report));
    page += "</title>\n<style>";
    page += PAGE_STYLE;
    page += "</style>\n</head>\n";
}

void add_foot(std::string& page)
{
    page += "<footer>\n<p>Written by kvn ";
    page += TOOL_VERSION;
    page +=
        ". All times are UTC. A digest is the SHA-256 of the plain configuration data, equal for all files of one "
        "design.\n<p>What a module holds now cannot be read back from it: it may have been loaded by other means "
        "since, or have lost its configuration with the power.\n</footer>\n";
}

} // namespace

std::string html_report(const Report& report)
{
    constexpr std::size_t bytes_of_row = 700;
    std::string page;
    page.reserve(PAGE_STYLE.size() + PAGE_SCRIPT.size() + (report.rows.size() + 8) * bytes_of_row);
    add_head(page, report);
    page += "<body>\n<main>\n";
    html::add_summary(page, report);
    html::add_remedies(page, report);
    html::add_rack(page, report);
    html::add_time_lines(page, report);
    html::add_modules(page, report);
    html::add_files(page, report);
    html::add_runs(page, report);
    page += "</main>\n";
    add_foot(page);
    page += "<script>";
    page += PAGE_SCRIPT;
    page += "</script>\n</body>\n</html>\n";
    return page;
}

} // namespace kvn
