// SPDX-License-Identifier: Apache-2.0
// Moments as documents state them: in UTC, to the millisecond.
#ifndef KVN_ENGINE_REPORT_UTC_H
#define KVN_ENGINE_REPORT_UTC_H

#include <chrono>
#include <optional>
#include <string>
#include <string_view>

namespace kvn
{

/// "2026-11-22T03:44:37.125Z"
[[nodiscard]] std::string utc_text(std::chrono::system_clock::time_point moment);
/// The opposite, for the years 1970 to 2261.
/// @return null for any other text
[[nodiscard]] std::optional<std::chrono::system_clock::time_point> utc_time(std::string_view text);

} // namespace kvn

#endif
