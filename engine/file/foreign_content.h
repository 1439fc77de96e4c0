// SPDX-License-Identifier: Apache-2.0
// Recognises files that are no bitstreams by how they begin.
#ifndef KVN_ENGINE_FILE_FOREIGN_CONTENT_H
#define KVN_ENGINE_FILE_FOREIGN_CONTENT_H

#include <string_view>

namespace kvn
{

enum class Foreign { none, gzip, xz, zstd, bzip2, zip, zeros, text };

/// What a beginning is of; Foreign::zeros and Foreign::text hold for as much as is given.
/// @param head the first bytes of the file
[[nodiscard]] Foreign recognise_foreign(std::string_view head);

/// "compressed by gzip", as in "the file is ...". Not for Foreign::none.
[[nodiscard]] const char* foreign_words(Foreign content);

/// What to do about it. Not for Foreign::none.
[[nodiscard]] const char* foreign_remedy(Foreign content);

} // namespace kvn

#endif
