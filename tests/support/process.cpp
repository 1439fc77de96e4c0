// SPDX-License-Identifier: Apache-2.0
// Programs run as processes: what all systems share.
#include "support/process.h"

#include <stdexcept>

void Terminal::expect(std::string_view text)
{
    for (;;) {
        const std::size_t found = shown_.find(text, seen_);
        if (found != std::string::npos) {
            seen_ = found + text.size();
            return;
        }
        if (!read_more())
            throw std::runtime_error("not shown: " + std::string{text} + "\nshown so far:\n" + shown_);
    }
}
