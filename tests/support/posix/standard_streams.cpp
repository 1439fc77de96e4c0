// SPDX-License-Identifier: Apache-2.0
// Other streams as standard input and output: the names are variables.
#include "support/standard_streams.h"

#include <utility>

StandardStreams::StandardStreams(FILE* input, FILE* output)
    : input_{std::exchange(stdin, input)}, output_{std::exchange(stdout, output)}
{
}

StandardStreams::~StandardStreams()
{
    std::fclose(std::exchange(stdin, input_));
    std::fclose(std::exchange(stdout, output_));
}
