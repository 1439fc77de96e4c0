// SPDX-License-Identifier: Apache-2.0
// A .tar.gz archive, made in memory.
#ifndef KVN_TOOLS_KVN_ARCHIVE_H
#define KVN_TOOLS_KVN_ARCHIVE_H

#include <string>
#include <string_view>
#include <vector>

namespace kvn
{

struct ArchiveEntry {
    std::string name; ///< at most LONGEST_ENTRY_NAME characters of ASCII; folders before a slash
    std::string content;
};

inline constexpr std::size_t LONGEST_ENTRY_NAME = 100;

/// The entries as regular files that their owner may write and all may read, of no user and no time.
/// @throws std::invalid_argument for a name that is empty or too long, std::bad_alloc
[[nodiscard]] std::string make_archive(const std::vector<ArchiveEntry>& entries);

} // namespace kvn

#endif
