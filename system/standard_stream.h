// SPDX-License-Identifier: Apache-2.0
// The C library's stdout, as a library in the same process uses it.
#ifndef KVN_SYSTEM_STANDARD_STREAM_H
#define KVN_SYSTEM_STANDARD_STREAM_H

#include <string_view>

namespace kvn::system
{

/// Gives what is written to stdout and flushed to a function instead, until the process ends.
/// @param context handed to the function
/// @return false when stdout stays as it is: for lack of memory, and always on Windows, whose C library
/// cannot do it
[[nodiscard]] bool replace_stdout(void* context, void (*take)(void* context, std::string_view text)) noexcept;

} // namespace kvn::system

#endif
