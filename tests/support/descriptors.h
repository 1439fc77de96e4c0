// SPDX-License-Identifier: Apache-2.0
// The descriptors of the test's own process.
#ifndef KVN_FPGA_TESTS_SUPPORT_DESCRIPTORS_H
#define KVN_FPGA_TESTS_SUPPORT_DESCRIPTORS_H

#include <cstddef>
#include <string>

/// How many descriptors this process has open.
std::size_t count_descriptors();

/// A descriptor for writing to a file, which is made if missing; -1 when it cannot be opened. The caller
/// closes it.
int open_for_writing(const std::string& file);

#endif
