// SPDX-License-Identifier: Apache-2.0
// The lines of a journal: how each is tied to the one before it, and how a change shows.
#ifndef KVN_ENGINE_RUN_JOURNAL_LINE_H
#define KVN_ENGINE_RUN_JOURNAL_LINE_H

#include "report/json.h"

#include <optional>
#include <string>
#include <string_view>

namespace kvn
{

/// Whether a text is 64 lower-case hexadecimal digits.
[[nodiscard]] bool is_sha256(std::string_view text);

/// A line in its final form, and its SHA-256 without the line feed, which the next line repeats.
struct SealedLine {
    std::string text; ///< with its line feed
    std::string sha256;
};

/// Writes a line: the members of the object, then "previous", the SHA-256 of the line before or null, and
/// "sum", the SHA-256 of all bytes of this line that come before `,"sum"`.
/// @param members an object with members, without these two
/// @throws std::bad_alloc
[[nodiscard]] SealedLine seal_line(const Json& members, const std::optional<std::string>& previous);

/// What the bytes of a line say of the chain.
struct LineSeal {
    std::string sha256;                  ///< of the whole line
    std::optional<std::string> previous; ///< what the line repeats; null: "previous" is null
};

/// Checks a line, which may be any bytes, against its own sum.
/// @param line without its line feed
/// @return null when the line does not end as seal_line() ends it, or has another sum
[[nodiscard]] std::optional<LineSeal> check_seal(std::string_view line);

/// Whether bytes without a line feed hold a whole line and more: nothing that a write that was cut off
/// leaves.
[[nodiscard]] bool goes_on_after_seal(std::string_view bytes);

} // namespace kvn

#endif
