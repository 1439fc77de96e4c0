// SPDX-License-Identifier: Apache-2.0
// The memory that this process has allocated.
#ifndef KVN_FPGA_TESTS_SUPPORT_MEMORY_IN_USE_H
#define KVN_FPGA_TESTS_SUPPORT_MEMORY_IN_USE_H

#include <cstddef>

/// The bytes that malloc has given out and that were not released.
std::size_t memory_in_use();

#endif
