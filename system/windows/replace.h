// SPDX-License-Identifier: Apache-2.0
// Puts a file in place of another one, also when that one is open.
#ifndef KVN_SYSTEM_WINDOWS_REPLACE_H
#define KVN_SYSTEM_WINDOWS_REPLACE_H

#include <string>

namespace kvn::system::windows
{

/// Gives a file another name in a single step. A file that has the name stays there for those that have it
/// open, if they let others delete it; where the file system cannot do that, they are waited for, two seconds
/// at most.
/// @return 0, or the number of the error
[[nodiscard]] int replace_file(const std::wstring& from, const std::wstring& to);

} // namespace kvn::system::windows

#endif
