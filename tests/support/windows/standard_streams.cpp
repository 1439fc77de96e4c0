// SPDX-License-Identifier: Apache-2.0
// Other streams as standard input and output: the names are fixed places, so what the streams hold is
// exchanged.
#include "support/standard_streams.h"

#include <utility>

StandardStreams::StandardStreams(FILE* input, FILE* output) : input_{input}, output_{output}
{
    std::swap(*stdin, *input_);
    std::swap(*stdout, *output_);
}

StandardStreams::~StandardStreams()
{
    std::swap(*stdin, *input_);
    std::swap(*stdout, *output_);
    std::fclose(input_);
    std::fclose(output_);
}
