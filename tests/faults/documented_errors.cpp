// SPDX-License-Identifier: Apache-2.0
// The error texts of docs/errors.md.
#include "documented_errors.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <map>
#include <regex>
#include <stdexcept>
#include <string_view>
#include <utility>

namespace
{
/// The rows of the page look like this: | 9000 | `Error 9000. ...` | cause | remedy |
std::multimap<int, std::string> read_page()
{
    constexpr std::string_view row_begin = "| 0000 | `";
    std::ifstream page{KVN_ERRORS_PAGE};
    std::multimap<int, std::string> texts;
    for (std::string line; std::getline(page, line);) {
        const std::size_t end = line.find("` |");
        const bool is_row = end != std::string::npos && line.find_first_of("0123456789") == 2 &&
                            line.compare(6, 4, row_begin.substr(6)) == 0;
        if (is_row)
            texts.emplace(std::stoi(line.substr(2, 4)),
                          line.substr(row_begin.size(), end - row_begin.size()));
    }
    if (texts.empty())
        throw std::runtime_error{"no error texts in " KVN_ERRORS_PAGE};
    return texts;
}

/// Whether a whole text matches a pattern.
bool matches(const std::string& text, const std::string& pattern)
{
    return std::regex_match(text, std::regex{pattern, std::regex::extended});
}

const std::multimap<int, std::string>& page()
{
    static const std::multimap<int, std::string> texts = read_page();
    return texts;
}

/// The possible values of a conversion, by the words around it. The first match is used.
constexpr std::pair<const char*, const char*> values[] = {
    {"%s %d", "mwc4a 0"},
    {"(API error 0x%lx)", "(API error 0x77)"},
    {"slot 0x%x", "slot 0x[1-3]"},
    {"slot %d", "slot [1-3]"},
    {"RBT file %s", "RBT file [a-z]+\\.rbt"},
    {"RTB file %s", "RTB file [a-z]+\\.rbt"},
    {"BIT file %s", "BIT file [a-z]+\\.bit"},
    {"MCB file %s", "MCB file [a-z]+\\.mcb"},
    {"mcb file %s", "mcb file [a-z]+\\.mcb"},
    {"find/open %s.rbt or %s.mcb", "find/open three.rbt or three.mcb"},
    {"find/open %s.[rbt/mcb/bit]", "find/open [a-z]+.[rbt/mcb/bit]"},
    {"find/open %s", "find/open [a-z]+\\.[a-z]+"},
    {"\"%s\"", "\"rack.con\""},
    {"(%s)", "(api 0x77)"},
    {"%d", "-?[0-9]+"},
};

std::string escaped_pattern(std::string_view text)
{
    std::string escaped;
    for (const char c : text) {
        if (std::string_view{".^$|()[]{}*+?\\"}.find(c) != std::string_view::npos)
            escaped += '\\';
        escaped += c;
    }
    return escaped;
}

std::string pattern_of(const std::string& format)
{
    std::string pattern;
    for (std::size_t at = 0; at < format.size();) {
        const auto* fits = std::find_if(std::begin(values), std::end(values), [&](const auto& value) {
            return format.compare(at, std::string{value.first}.size(), value.first) == 0;
        });
        if (fits == std::end(values)) {
            pattern += escaped_pattern(format.substr(at++, 1));
            continue;
        }
        const std::string value = fits->second;
        // A value in parentheses has no pattern of its own.
        pattern += value[0] == '(' ? escaped_pattern(value) : value;
        at += std::string{fits->first}.size();
    }
    return pattern;
}
} // namespace

bool is_documented(int number, const std::string& text)
{
    const auto [first, last] = page().equal_range(number);
    return std::any_of(first, last, [&](const auto& row) { return matches(text, pattern_of(row.second)); });
}

std::string documented_texts(int number)
{
    std::string all;
    const auto [first, last] = page().equal_range(number);
    for (auto row = first; row != last; ++row)
        all += "\n    " + row->second;
    return all;
}
