// SPDX-License-Identifier: Apache-2.0
// Opens the output file of a conversion.
#include "formats/output_file.h"

#include "support/file_names.h"

// Choice: a conversion does not write into its input (docs/decisions/0021-output-that-is-the-input.md).
File open_output(const OutputName& name, const char* input, const char* mode)
{
    return File{name_one_file(name.text, input) ? nullptr : std::fopen(name.text, mode)};
}
