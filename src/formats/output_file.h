// SPDX-License-Identifier: Apache-2.0
// Opens the output file of a conversion.
#ifndef KVN_FPGA_FORMATS_OUTPUT_FILE_H
#define KVN_FPGA_FORMATS_OUTPUT_FILE_H

#include "formats/output_name.h"
#include "support/owned.h"

/// Creates or empties the output file of a conversion.
/// @return null if the file cannot be opened, or is the input under another name
File open_output(const OutputName& name, const char* input, const char* mode);

#endif
