// SPDX-License-Identifier: Apache-2.0
// Errors of Windows' own functions in the words of the C library, which are the same on all systems.
#ifndef KVN_SYSTEM_WINDOWS_ERROR_TEXT_H
#define KVN_SYSTEM_WINDOWS_ERROR_TEXT_H

#include <string>

namespace kvn::system
{

/// The errno that stands for an error of GetLastError(); EIO if there is none.
[[nodiscard]] int errno_of(unsigned long error) noexcept;
/// The words for an error of GetLastError(): the C library's if it has an errno of its own, else Windows' in
/// English.
[[nodiscard]] std::string error_text(unsigned long error);

} // namespace kvn::system

#endif
