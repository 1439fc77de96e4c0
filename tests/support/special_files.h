// SPDX-License-Identifier: Apache-2.0
// Files that are not regular.
#ifndef KVN_FPGA_TESTS_SUPPORT_SPECIAL_FILES_H
#define KVN_FPGA_TESTS_SUPPORT_SPECIAL_FILES_H

#include <string>

/// Makes a pipe with a name in a folder. Windows has none.
/// @throws std::runtime_error when none can be made
void make_fifo(const std::string& path);

/// A file whose every write fails for want of space. Windows has none; Wine shows Linux's.
extern const char* const FULL_FILE;

/// A file without an end.
extern const char* const ENDLESS_FILE;

#endif
