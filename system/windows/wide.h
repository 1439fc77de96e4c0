// SPDX-License-Identifier: Apache-2.0
// Texts of this project are UTF-8; Windows' own functions take UTF-16.
#ifndef KVN_SYSTEM_WINDOWS_WIDE_H
#define KVN_SYSTEM_WINDOWS_WIDE_H

#include <string>
#include <string_view>

namespace kvn::system
{

/// A text for Windows. What is no UTF-8 becomes U+FFFD.
[[nodiscard]] std::wstring wide(std::string_view text);
/// A text of Windows. A surrogate without its other half becomes U+FFFD.
[[nodiscard]] std::string narrow(std::wstring_view text);

} // namespace kvn::system

#endif
