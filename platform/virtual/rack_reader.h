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
[[nodiscard]] std::shared_ptr<Rack> read_rack(const std::string& text, const std::string& file_name);
[[nodiscard]] std::shared_ptr<Rack> read_rack_file(const std::string& path);

[[nodiscard]] std::string builtin_rack_text();

} // namespace mwvirtual

#endif
