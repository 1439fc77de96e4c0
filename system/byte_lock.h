// SPDX-License-Identifier: Apache-2.0
// Locks of an open file: numbered, and apart from its content, which others may read and write meanwhile.
#ifndef KVN_SYSTEM_BYTE_LOCK_H
#define KVN_SYSTEM_BYTE_LOCK_H

namespace kvn::system
{

/// A lock belongs to the opening of the file over which it was taken, and ends with it, at the latest with
/// the process. One opening takes each lock once.
/// @param lock its number; that of the byte of the file on POSIX systems, which need not exist
/// @param exclusive needs a descriptor open for writing
/// @return 0 when it has been taken, after waiting for others; else the number of the error
[[nodiscard]] int wait_for_lock(int descriptor, unsigned lock, bool exclusive) noexcept;

/// @return false if another one holds the lock
[[nodiscard]] bool try_lock(int descriptor, unsigned lock) noexcept;
void unlock(int descriptor, unsigned lock) noexcept;

/// Whether another one holds the lock.
[[nodiscard]] bool is_locked(int descriptor, unsigned lock) noexcept;

} // namespace kvn::system

#endif
