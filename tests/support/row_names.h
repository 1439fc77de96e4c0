// SPDX-License-Identifier: Apache-2.0
// Tables of tests, and the names of their rows: each row that ends with an error has its number in its name.
#ifndef KVN_FPGA_TESTS_SUPPORT_ROW_NAMES_H
#define KVN_FPGA_TESTS_SUPPORT_ROW_NAMES_H

#include <gtest/gtest.h>

#include <cctype>
#include <string>

/// A fixture whose tests have a row of a table.
template <class Fixture, class Row>
class With : public Fixture, public testing::WithParamInterface<Row>
{
};

/// The number that an error's text states; 0 of an empty text.
inline int stated_number(const std::string& text)
{
    constexpr std::size_t number_place = sizeof "Error";
    return text.empty() ? 0 : std::stoi(text.substr(number_place, 4));
}

/// "Error9060": the number of a row's text; nothing of an empty text.
template <class Row>
std::string error_name(const Row& row)
{
    const int number = stated_number(row.text);
    return number == 0 ? "" : "Error" + std::to_string(number);
}

/// "Error9101TrailingBlank": the number of a row's text and the row's name.
struct ErrorName {
    template <class Row>
    std::string operator()(const testing::TestParamInfo<Row>& row) const
    {
        return error_name(row.param) + row.param.name;
    }
};

/// "Error9060Row0TypeQuery": the number of a row's text, its place in the table, and the words that it
/// prints.
struct RowName {
    template <class Row>
    std::string operator()(const testing::TestParamInfo<Row>& row) const
    {
        std::string name = error_name(row.param) + "Row" + std::to_string(row.index);
        bool word_begins = true;
        for (const char c : testing::PrintToString(row.param)) {
            const auto character = static_cast<unsigned char>(c);
            if (std::isalnum(character) != 0)
                name += word_begins ? static_cast<char>(std::toupper(character)) : c;
            word_begins = std::isalnum(character) == 0;
        }
        return name;
    }
};

#endif
