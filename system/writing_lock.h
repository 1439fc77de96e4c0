// SPDX-License-Identifier: Apache-2.0
// Tells readers of a file that somebody is still writing it. It hinders neither.
#ifndef KVN_SYSTEM_WRITING_LOCK_H
#define KVN_SYSTEM_WRITING_LOCK_H

namespace kvn::system
{

/// Marks an open file as being written, until it is closed, at the latest until the process ends.
/// @return 0, or the number of the error
[[nodiscard]] int mark_as_written(int descriptor);

/// @param descriptor of another opening of the file
[[nodiscard]] bool is_being_written(int descriptor);

} // namespace kvn::system

#endif
