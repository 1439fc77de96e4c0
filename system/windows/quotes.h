// SPDX-License-Identifier: Apache-2.0
// Quotes of command lines.
#ifndef KVN_SYSTEM_WINDOWS_QUOTES_H
#define KVN_SYSTEM_WINDOWS_QUOTES_H

#include <string>
#include <string_view>

namespace kvn::system::windows
{

/// A word in quotation marks, as programs of Windows take it: backslashes count double in front of such a
/// mark.
[[nodiscard]] std::string in_quotes(std::string_view word);

} // namespace kvn::system::windows

#endif
