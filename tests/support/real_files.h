// SPDX-License-Identifier: Apache-2.0
// Real bitstreams, in the folder that KVN_REAL_BITSTREAMS names.
#ifndef KVN_FPGA_TESTS_SUPPORT_REAL_FILES_H
#define KVN_FPGA_TESTS_SUPPORT_REAL_FILES_H

#include <filesystem>
#include <string>
#include <vector>

/// The RBT and BIT files, also packed by xz, in the order of their names, which begin with the name of a
/// part. None when the variable names no folder.
std::vector<std::filesystem::path> real_files();

/// The content of a file, unpacked.
std::string real_content(const std::filesystem::path& file);

#endif
