// SPDX-License-Identifier: Apache-2.0
// Files that exist to be locked, in folders that several users share. Their content says who holds the lock.
#ifndef KVN_SYSTEM_LOCK_FILE_H
#define KVN_SYSTEM_LOCK_FILE_H

#include "system/descriptor.h"

#include <string>
#include <string_view>

namespace kvn::system
{

/// Opens the file, or makes it so that every user may open it. Does not follow a link, and does not wait.
/// @return a closed one on an error, with its number in errno
[[nodiscard]] Descriptor open_lock_file(const std::string& path);

/// Takes the lock, which ends with the descriptor, at the latest with the process. The content can be read
/// and written whoever holds it.
/// @return 0, or the number of the error: EWOULDBLOCK when another one holds it
[[nodiscard]] int take_lock_file(const Descriptor& file);

/// Replaces the content. What cannot be written does not hurt the lock.
void rewrite(const Descriptor& file, std::string_view content) noexcept;

} // namespace kvn::system

#endif
