// SPDX-License-Identifier: Apache-2.0
// Texts from outside as they may stand in HTML and XML.
#ifndef KVN_ENGINE_REPORT_VISIBLE_TEXT_H
#define KVN_ENGINE_REPORT_VISIBLE_TEXT_H

#include <string>
#include <string_view>

namespace kvn
{

/// The text in valid UTF-8 in which nothing is hidden: `\x1B` for a control character, a line feed and a byte
/// that is no UTF-8, `\u{202E}` for a character that changes the direction or the lines of the text around
/// it, or is none. All that is left is allowed in XML 1.0.
/// @param text any bytes
[[nodiscard]] std::string visible_text(std::string_view text);

/// The visible text for HTML and XML, between tags and in a quoted attribute.
[[nodiscard]] std::string markup_text(std::string_view text);

} // namespace kvn

#endif
