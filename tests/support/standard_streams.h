// SPDX-License-Identifier: Apache-2.0
// Other streams as standard input and output.
#ifndef KVN_FPGA_TESTS_SUPPORT_STANDARD_STREAMS_H
#define KVN_FPGA_TESTS_SUPPORT_STANDARD_STREAMS_H

#include <cstdio>

/// Other streams as standard input and output, for the duration of a scope, which closes them.
class StandardStreams
{
public:
    StandardStreams(FILE* input, FILE* output);
    ~StandardStreams();
    StandardStreams(const StandardStreams&) = delete;
    StandardStreams& operator=(const StandardStreams&) = delete;

private:
    FILE* input_;
    FILE* output_;
};

#endif
