// SPDX-License-Identifier: Apache-2.0
// The descriptors of the test's own process.
#ifndef KVN_FPGA_TESTS_SUPPORT_DESCRIPTORS_H
#define KVN_FPGA_TESTS_SUPPORT_DESCRIPTORS_H

#include <cstddef>

/// How many descriptors this process has open.
std::size_t count_descriptors();

#endif
