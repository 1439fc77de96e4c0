// SPDX-License-Identifier: Apache-2.0
// Names of the rows of tables of tests: each row that ends with an error has its number in its name.
#ifndef KVN_FPGA_TESTS_SUPPORT_ROW_NAMES_H
#define KVN_FPGA_TESTS_SUPPORT_ROW_NAMES_H

#include <gtest/gtest.h>

#include <cctype>
#include <string>

/// "Error9060Row0TypeQuery": the row's number unless it is 0, its place in the table, and the words that it
/// prints.
struct RowName {
    template <class Row>
    std::string operator()(const testing::TestParamInfo<Row>& row) const
    {
        std::string name = row.param.number == 0 ? "" : "Error" + std::to_string(row.param.number);
        name += "Row" + std::to_string(row.index);
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
