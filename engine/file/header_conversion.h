// SPDX-License-Identifier: Apache-2.0
// Turns the header of one format into that of another.
#ifndef KVN_ENGINE_FILE_HEADER_CONVERSION_H
#define KVN_ENGINE_FILE_HEADER_CONVERSION_H

#include "file/conversion.h"
#include "file/input.h"

#include <cstdint>
#include <string>
#include <vector>

namespace kvn
{

/// What a header holds for those that are made of it.
struct SourceHeader {
    Format format = Format::unknown;
    Header texts;
    std::string part;       ///< as the library's own converters copy it
    std::string timestamp;  ///< as an MCB file of this source holds it
    std::string head;       ///< all before the stated size, for a target of the same format; empty: made anew
    std::uint64_t size = 0; ///< bytes of the header
    bool is_mended = false; ///< lines of an RBT header were written anew
};

/// @param inspection of the input, which holds data
/// Throws as Input::open.
[[nodiscard]] SourceHeader read_source_header(const Input& input, const Inspection& inspection);

/// Whether headers of the format can hold the text as a part.
[[nodiscard]] bool can_hold_part(Format format, const std::string& part);

/// The header of a file of so many configuration bits, up to its data. Texts that its fields cannot hold are
/// left out.
[[nodiscard]] std::string make_header(const SourceHeader& source, Format format, std::uint64_t bits);

/// Tells the texts of the source's header that the result's has too from those that it has not.
void compare_headers(const Header& source, const Header& result, Conversion& conversion);

} // namespace kvn

#endif
