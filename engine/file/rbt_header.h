// SPDX-License-Identifier: Apache-2.0
// The header of an RBT file, whoever wrote it.
#ifndef KVN_ENGINE_FILE_RBT_HEADER_H
#define KVN_ENGINE_FILE_RBT_HEADER_H

#include "file/inspection.h"
#include "formats/rbt_format.h"

#include <cstdio>
#include <optional>
#include <vector>

namespace kvn
{

struct RbtHeader {
    std::vector<RbtLine> lines;
    bool is_taken = false;            ///< the library takes it, its title aside
    bool has_title = false;           ///< line 1 is the title, to the letter
    bool is_mask = false;             ///< it says that the file is a mask for reading back
    std::optional<long> data_begin;   ///< where the data lines begin; null when there are none
    std::optional<std::int32_t> bits; ///< stated, wherever
    std::size_t bits_line = 0;        ///< where the bits are stated
    std::size_t part_line = 0;        ///< where the label "Part:" stands; 0 when nowhere
    std::string part;
};

/// Reads the lines in front of the data: those that the library takes for the header, else those before the
/// first line that looks like data. Notes what they say, and what is wrong with them.
[[nodiscard]] RbtHeader read_rbt_header(FILE* file, Inspection& inspection);

inline constexpr const char* CONVERT_LINE_ENDS =
    "convert the line ends (dos2unix, or sed -i 's/\\r$//'), or transfer the file in binary mode";

} // namespace kvn

#endif
