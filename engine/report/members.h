// SPDX-License-Identifier: Apache-2.0
// Members of JSON objects that may be anything: what has another type than expected is as good as missing.
#ifndef KVN_ENGINE_REPORT_MEMBERS_H
#define KVN_ENGINE_REPORT_MEMBERS_H

#include "report/json.h"

#include <cstdint>
#include <optional>
#include <string>

namespace kvn
{

/// A member of an object; null when there is none. Valid as long as the object.
[[nodiscard]] const Json& member(const Json& object, const char* name);

/// Empty for anything but a text.
[[nodiscard]] std::string text_member(const Json& object, const char* name);

/// Null for anything but a whole number from 0.
[[nodiscard]] std::optional<std::uint64_t> number_member(const Json& object, const char* name);

/// False for anything but true.
[[nodiscard]] bool flag_member(const Json& object, const char* name);

/// A moment as utc_text() writes it.
/// @return milliseconds since 1970; null for anything else
[[nodiscard]] std::optional<std::int64_t> moment_member(const Json& object, const char* name);

/// "2026-11-22 03:44:37"
[[nodiscard]] std::string moment_text(std::int64_t milliseconds);

} // namespace kvn

#endif
