// SPDX-License-Identifier: Apache-2.0
// Standard output as more than a stream of characters.
#ifndef KVN_SYSTEM_STANDARD_OUTPUT_H
#define KVN_SYSTEM_STANDARD_OUTPUT_H

#include "system/descriptor.h"

namespace kvn::system
{

/// Takes standard output away: what is written to it goes to standard error from now on.
/// @return where standard output led; not inherited by programs that are started
/// @throws std::system_error
[[nodiscard]] Descriptor take_standard_output();

/// Whether nobody reads what is printed: standard output is a pipe whose reader has gone, or was closed when
/// the program started.
[[nodiscard]] bool reader_has_gone() noexcept;

} // namespace kvn::system

#endif
