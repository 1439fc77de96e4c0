// SPDX-License-Identifier: Apache-2.0
// The name of a conversion's output file.
#ifndef KVN_FPGA_FORMATS_OUTPUT_NAME_H
#define KVN_FPGA_FORMATS_OUTPUT_NAME_H

#include "support/text.h"

#include <algorithm>
#include <string_view>

/// The input's name with its last three characters replaced.
struct OutputName {
    char text[256];

    OutputName(std::string_view input, std::string_view extension)
    {
        constexpr std::size_t replaced = 3;
        copy_text(text, input);
        copy_with_extension(text, input.substr(0, input.size() - std::min(replaced, input.size())),
                            extension);
    }
};

#endif
