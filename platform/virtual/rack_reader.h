// SPDX-License-Identifier: Apache-2.0
// Reads rack descriptions; reports mistakes with file, line and what was expected.
#ifndef MWVIRTUAL_RACK_READER_H
#define MWVIRTUAL_RACK_READER_H

#include "rack.h"

#include <memory>
#include <string>

namespace mwvirtual
{

/// Both throw RackError.
/// @param keep_folder the folder for kept files; without one, a description with "keep" is a mistake
[[nodiscard]] std::shared_ptr<Rack> read_rack(const std::string& text, const std::string& file_name,
                                              const std::string& keep_folder);
/// @param path must lead to a regular file
[[nodiscard]] std::shared_ptr<Rack> read_rack_file(const std::string& path, const std::string& keep_folder);

[[nodiscard]] std::string builtin_rack_text();

} // namespace mwvirtual

#endif
