// SPDX-License-Identifier: Apache-2.0
// Reads the runs of an MCB file, which follow its header.
#ifndef KVN_FPGA_FORMATS_MCB_RUNS_H
#define KVN_FPGA_FORMATS_MCB_RUNS_H

#include "formats/block_file.h"
#include "formats/run_coding.h"
#include "kvnfpgai.h"

#include <span>

/// Messages for a failed read; each names the MCB file.
struct McbReadMessages {
    Message<const char*> count_error;
    Message<const char*> count_end;
    Message<const char*> value_error;
    Message<const char*> value_end;
};

class McbRunReader
{
public:
    explicit McbRunReader(FILE* stream) : input_{stream} {}

    /// Returns the pairs at hand. Empty at end of file or error, even mid-pair.
    std::span<const std::uint8_t> pairs()
    {
        const auto bytes = input_.peek(PAIR_SIZE);
        at_value_ = bytes.size() == 1;
        return bytes.first(bytes.size() / PAIR_SIZE * PAIR_SIZE);
    }

    /// Skips bytes of pairs.
    void skip(std::size_t count) { input_.skip(count); }

    /// The message for what stopped the stream.
    [[nodiscard]] const Message<const char*>& failure(const McbReadMessages& messages) const
    {
        if (at_value_)
            return input_.failed() ? messages.value_error : messages.value_end;
        return input_.failed() ? messages.count_error : messages.count_end;
    }

private:
    BlockReader input_;
    bool at_value_ = false;
};

#endif
