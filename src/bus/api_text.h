// The platform's words for an error code.
#ifndef KVN_FPGA_BUS_API_TEXT_H
#define KVN_FPGA_BUS_API_TEXT_H

#include "mwapi.h"

#include <cstdint>

/// Fetches the words when it is made, so it is made only where a message needs them.
class ApiText
{
public:
    explicit ApiText(std::uint32_t code)
    {
        MwErr2Text(code, text_);
        text_[sizeof text_ - 1] = '\0';
    }
    // NOLINTNEXTLINE(google-explicit-constructor): it stands for its text in a message
    operator const char*() const { return text_; }

private:
    char text_[256] = {};
};

#endif
