// SPDX-License-Identifier: Apache-2.0
// Reads standard input line by line, until a signal comes.
#ifndef KVN_TOOLS_KVN_LINE_INPUT_H
#define KVN_TOOLS_KVN_LINE_INPUT_H

#include "run/controller.h"
#include "run/line_splitter.h"
#include "system/incoming.h"
#include "system/terminal.h"

#include <cstddef>
#include <optional>
#include <string>

namespace kvn
{

/// Nothing else may read standard input meanwhile.
class LineInput
{
public:
    /// @param signals outlives this
    explicit LineInput(const StopSignals& signals) : signals_{signals} {}

    /// Waits for a line. One that is longer than a page loses its end.
    /// @return the line without its line feed, also the last one that has none; null at the end of the input
    ///         and after a signal
    /// @throws FailureError (ExitStatus::file) when standard input cannot be read
    [[nodiscard]] std::optional<std::string> next();

    /// Forgets what was typed until now. Only on a terminal: what other inputs hold has its turn.
    void discard();

private:
    [[nodiscard]] std::optional<std::string> held_line();
    bool read_more();

    static constexpr std::size_t LONGEST_LINE = 4096;
    const StopSignals& signals_;
    system::Incoming input_{system::STANDARD_INPUT};
    LineSplitter lines_{LONGEST_LINE};
    bool is_cut_ = false; ///< the end of a line that was too long is still to come
};

} // namespace kvn

#endif
