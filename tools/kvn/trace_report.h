// SPDX-License-Identifier: Apache-2.0
// A recording of platform calls, counted, and as JSON.
#ifndef KVN_TOOLS_KVN_TRACE_REPORT_H
#define KVN_TOOLS_KVN_TRACE_REPORT_H

#include "recording.h"
#include "report/json.h"

#include <cstdint>
#include <map>
#include <optional>
#include <string>

namespace kvn
{

struct FunctionSummary {
    std::uint64_t calls = 0;
    std::uint64_t failed = 0;
    std::optional<std::uint64_t> taken; ///< microseconds; null where the trace does not tell
};

struct TraceSummary {
    std::uint64_t calls = 0;
    std::uint64_t failed = 0;
    std::uint64_t threads = 0;
    std::uint64_t data_bytes = 0;     ///< of messages that are sent in pieces
    std::optional<std::uint64_t> end; ///< microseconds to the end of the last call
    std::map<std::string, FunctionSummary> functions;
};

/// Sums of hostile numbers stop at the largest one.
[[nodiscard]] TraceSummary trace_summary(const mwtrace::Recording& recording);

/// A document of the kind "trace".
/// @param summary_only without the calls
[[nodiscard]] Json trace_json(const mwtrace::Recording& recording, bool summary_only);

/// The calls that a record stands for: one, or the pieces of a message.
[[nodiscard]] std::uint64_t calls_of(const mwtrace::Record& record);

} // namespace kvn

#endif
