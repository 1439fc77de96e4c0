// SPDX-License-Identifier: Apache-2.0
// The lines of a report, a name and a text each.
#ifndef KVN_TOOLS_KVN_LINES_H
#define KVN_TOOLS_KVN_LINES_H

#include "streams.h"

#include <iomanip>
#include <ostream>
#include <string>
#include <string_view>

namespace kvn
{

class Lines
{
public:
    explicit Lines(std::ostream& out) : out_{out} {}

    /// @param text as it is to be shown
    void add(std::string_view name, const std::string& text)
    {
        constexpr int width = 16;
        out_ << std::left << std::setw(width) << (printable(name) + ":") << text << '\n';
    }

private:
    std::ostream& out_;
};

} // namespace kvn

#endif
