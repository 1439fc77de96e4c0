// SPDX-License-Identifier: Apache-2.0
// Encodes bytes and texts of any content in a trace's JSON, and decodes them.
//
// A few bytes are {"hex": "0D 05"}, which people can read, more are {"base64": "..."}.
// A text is a JSON string, or bytes in hex if it is not UTF-8. A null pointer is null.
#ifndef MWTRACE_ENCODING_H
#define MWTRACE_ENCODING_H

#include "json.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace mwtrace
{

using Bytes = std::vector<std::uint8_t>;

/// "0D 05" for two bytes.
[[nodiscard]] std::string hex(std::span<const std::uint8_t> bytes);

[[nodiscard]] Json bytes_to_json(std::span<const std::uint8_t> bytes);
/// @return nothing for a value that bytes_to_json does not make
[[nodiscard]] std::optional<Bytes> bytes_from_json(const Json& value);

[[nodiscard]] Json text_to_json(std::string_view text);
[[nodiscard]] std::optional<std::string> text_from_json(const Json& value);

/// A number from 0 to 2^32 - 1.
[[nodiscard]] std::optional<std::uint32_t> number_from_json(const Json& value);

} // namespace mwtrace

#endif
