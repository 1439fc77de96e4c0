// SPDX-License-Identifier: Apache-2.0
// Lines of a journal, each any JSON or any text: every form of the report is whole, and shows no byte as it
// came.
#include "report/csv_report.h"
#include "report/html_report.h"
#include "report/junit_report.h"
#include "report/report_json.h"
#include "report/visible_text.h"
#include "require.h"
#include "target.h"

#include <algorithm>
#include <string>
#include <string_view>

namespace
{

/// What is no JSON becomes the name and the label of a planned module.
void add_line(kvn::JournalContent& journal, std::string_view line)
{
    kvn::Json json = kvn::Json::parse(line, nullptr, false);
    if (json.is_discarded()) {
        journal.planned.push_back({{"module", std::string{line}}, {"label", std::string{line}}});
        return;
    }
    if (json.is_object() && json.contains("event"))
        journal.events.push_back(std::move(json));
    else
        journal.planned.push_back(std::move(json));
}

kvn::JournalContent journal_of(std::string_view text)
{
    kvn::JournalContent journal;
    journal.header.plan = std::string{text.substr(0, text.find('\n'))};
    journal.header.host = journal.header.plan;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find('\n'), text.size());
        add_line(journal, text.substr(0, end));
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return journal;
}

/// Whether all of it may be shown, apart from the ends of lines.
bool is_visible(std::string text, const char* line_ends)
{
    for (const char* end = line_ends; *end != '\0'; ++end)
        std::erase(text, *end);
    return kvn::visible_text(text) == text;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const kvn::Report report = kvn::merge_journals({journal_of({reinterpret_cast<const char*>(data), size})});
    require(report.rows.size() == report.file_of_row.size(), "each row has its file");

    const std::string page = kvn::html_report(report);
    require(is_visible(page, "\n"), "the page is visible text");
    require(page.find("<script") == page.rfind("<script"), "the page has one script");

    const std::string xml = kvn::junit_report(report);
    require(is_visible(xml, "\n"), "the XML is visible text");

    const std::string csv = kvn::csv_report(report);
    require(is_visible(csv, "\r\n"), "the table is visible text");
    require(static_cast<std::size_t>(std::ranges::count(csv, '\n')) == report.rows.size() + 1,
            "the table has a line for each module");

    (void)kvn::to_json(report).dump(-1, ' ', false, kvn::Json::error_handler_t::replace);
    return 0;
}
