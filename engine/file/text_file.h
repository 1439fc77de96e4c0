// SPDX-License-Identifier: Apache-2.0
// Small files that are read whole: plans, manifests, signatures, policies.
#ifndef KVN_ENGINE_FILE_TEXT_FILE_H
#define KVN_ENGINE_FILE_TEXT_FILE_H

#include "system/ownership.h"

#include <cstddef>
#include <optional>
#include <string>

namespace kvn
{

inline constexpr std::size_t MEGABYTE = std::size_t{1} << 20;

/// What a file must be like, and what is said when it is not.
struct TextFileKind {
    std::string what; ///< "plan": as in "rack.con: the plan cannot be read: ..."
    std::string remedy = {};
    std::size_t largest = MEGABYTE; ///< whole megabytes
    /// Who must own the file; then nobody else may be able to write it. Null: anybody.
    std::optional<system::UserId> owner = {};
};

/// Reads a regular file to its end.
/// @return its bytes, whatever they are
/// @throws FailureError (ExitStatus::file) for a file that cannot be read, is of another kind, larger, or
///         not as its owner must keep it; std::bad_alloc
[[nodiscard]] std::string read_text_file(const std::string& path, const TextFileKind& kind);

} // namespace kvn

#endif
