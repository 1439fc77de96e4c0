// SPDX-License-Identifier: Apache-2.0
// A file that is to be converted: its configuration, its header, and what of it no target has.
#ifndef KVN_ENGINE_FILE_SOURCE_H
#define KVN_ENGINE_FILE_SOURCE_H

#include "file/header_conversion.h"
#include "file/loadable.h"

#include <vector>

namespace kvn
{

/// The most configuration data that are converted, in bytes; those of the largest device have 4.3 million.
inline constexpr std::uint64_t MOST_CONVERTED = std::uint64_t{16} << 20;

struct Source {
    Inspection inspection;
    SourceHeader header;
    Configuration data;
    std::vector<Change> changes;
};

/// Reads the whole of an input.
/// Throws FailureError of ExitStatus::damaged when it holds no configuration, or a damaged one, or more than
/// MOST_CONVERTED; as Input::open; and std::bad_alloc.
[[nodiscard]] Source read_source(const Input& input);

/// Leaves out what the last run of an MCB file has beyond the size that its header states.
void cut_to_stated_size(Source& source);

} // namespace kvn

#endif
