// SPDX-License-Identifier: Apache-2.0
// The texts of the virtual carriers' own codes.
#ifndef MWVIRTUAL_ERROR_TEXTS_H
#define MWVIRTUAL_ERROR_TEXTS_H

#include <cstdint>
#include <string>

namespace mwvirtual
{

/// The text of a code; other codes are named by their number.
[[nodiscard]] std::string own_text(std::uint32_t code);
[[nodiscard]] std::string hexadecimal(std::uint32_t code);

} // namespace mwvirtual

#endif
