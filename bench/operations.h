// SPDX-License-Identifier: Apache-2.0
// The operations to measure, by name, each as one call of the public class.
#ifndef KVN_FPGA_BENCH_OPERATIONS_H
#define KVN_FPGA_BENCH_OPERATIONS_H

#include "test_data.h"

#include <span>
#include <string>
#include <string_view>

struct Operation {
    const char* name;
    std::string BitstreamFiles::*input;
    const char* option; ///< the conversion of the input, or null for a load
    bool compressed;
};

/// Three conversions, then six loads.
std::span<const Operation> operations();

/// @throws std::invalid_argument for an unknown name
const Operation& find_operation(std::string_view name);

/// The file that an operation writes, "" for a load.
std::string output_of(const Operation& operation, const BitstreamFiles& files);

/// Carries out an operation with the files of a folder.
/// @throws std::runtime_error with the library's message when it fails
void run(const Operation& operation, const BitstreamFiles& files);

#endif
