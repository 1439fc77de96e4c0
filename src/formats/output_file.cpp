// SPDX-License-Identifier: Apache-2.0
// Opens the output file of a conversion.
#include "formats/output_file.h"

#include <filesystem>
#include <system_error>

namespace
{
/// Whether two names lead to one file, as links do.
bool name_one_file(const char* a, const char* b) noexcept
{
    try {
        std::error_code absent; // also set for an output that is yet to be created
        return std::filesystem::equivalent(a, b, absent);
    } catch (...) {
        return true; // not known, for lack of memory: leave the file alone
    }
}
} // namespace

// Choice: a conversion does not write into its input (docs/decisions/0021-output-that-is-the-input.md).
File open_output(const OutputName& name, const char* input, const char* mode)
{
    return File{name_one_file(name.text, input) ? nullptr : std::fopen(name.text, mode)};
}
