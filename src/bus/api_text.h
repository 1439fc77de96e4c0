// SPDX-License-Identifier: Apache-2.0
// The platform's text for an error code.
#ifndef KVN_FPGA_BUS_API_TEXT_H
#define KVN_FPGA_BUS_API_TEXT_H

#include "mwapi.h"

#include <cstdint>

/// Asks the platform on construction, so construct it only where a message needs the text.
class ApiText
{
public:
    explicit ApiText(std::uint32_t code)
    {
        MwErr2Text(code, text_);
        text_[sizeof text_ - 1] = '\0';
    }
    // NOLINTNEXTLINE(google-explicit-constructor): a message takes it as its text
    operator const char*() const { return text_; }

private:
    char text_[256] = {};
};

#endif
