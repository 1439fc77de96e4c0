// SPDX-License-Identifier: Apache-2.0
// The picture of the rack in the HTML report: each board with its four slots. Without styles it is a list.
#include "report/html_parts.h"
#include "report/visible_text.h"

#include <algorithm>
#include <array>
#include <map>
#include <utility>

namespace kvn::html
{
namespace
{

constexpr unsigned SLOTS = 4;
/// With more boards than this the picture shows symbols only; the words stay in the text.
constexpr std::size_t MANY_BOARDS = 48;

struct Board {
    std::string name;
    std::array<std::vector<std::size_t>, SLOTS> slots; ///< rows in each; more than one by different buses
    bool simulated = false;
};

struct Host {
    std::string name;
    std::vector<Board> boards;
    std::vector<std::size_t> others; ///< rows whose names are no modules' names
};

std::vector<Host> hosts_of(const Report& report)
{
    std::vector<Host> hosts;
    std::map<std::string, std::size_t> boards; ///< of the last host
    for (std::size_t i = 0; i < report.rows.size(); ++i) {
        const ReportRow& row = report.rows[i];
        if (hosts.empty() || hosts.back().name != row.host) {
            hosts.push_back({row.host, {}, {}});
            boards.clear();
        }
        Host& host = hosts.back();
        if (row.slot == 0) {
            host.others.push_back(i);
            continue;
        }
        const auto [found, is_new] = boards.try_emplace(row.board, host.boards.size());
        if (is_new)
            host.boards.push_back({row.board, {}, false});
        Board& board = host.boards[found->second];
        board.slots[row.slot - 1].push_back(i);
        board.simulated = board.simulated || row.simulated;
    }
    return hosts;
}

void add_cell(std::string& page, const Report& report, std::size_t index)
{
    const ReportRow& row = report.rows[index];
    page += "<a class=\"v ";
    page += class_of(row.verdict);
    page += "\" href=#m" + std::to_string(index) + ">" + name_of(row.verdict);
    if (!row.label.empty())
        page += " <small>" + markup_text(row.label) + "</small>";
    page += "</a>";
}

void add_board(std::string& page, const Report& report, const Board& board)
{
    page += board.simulated ? "<li class=s><h4>" : "<li><h4>";
    page += markup_text(board.name);
    if (board.simulated)
        page += " <small>simulated</small>";
    page += "</h4><ol>";
    for (const std::vector<std::size_t>& rows : board.slots) {
        page += rows.empty() ? "<li>not planned" : "<li class=m>";
        for (const std::size_t row : rows)
            add_cell(page, report, row);
    }
    page += "</ol>\n";
}

void add_host(std::string& page, const Report& report, const Host& host)
{
    page += "<h3>" + host_markup(host.name) + "</h3>\n<ul class=\"rack" +
            (host.boards.size() > MANY_BOARDS ? " dense" : "") + "\">\n";
    for (const Board& board : host.boards)
        add_board(page, report, board);
    if (!host.others.empty()) {
        page += "<li><h4>in no slot that is known</h4><ol>";
        for (const std::size_t row : host.others) {
            page += "<li class=m>";
            add_cell(page, report, row);
        }
        page += "</ol>\n";
    }
    page += "</ul>\n";
}

} // namespace

void add_rack(std::string& page, const Report& report)
{
    if (report.rows.empty())
        return;
    page += "<section aria-labelledby=rack>\n<h2 id=rack>Boards and slots</h2>\n";
    for (const Host& host : hosts_of(report))
        add_host(page, report, host);
    page += "</section>\n";
}

} // namespace kvn::html
