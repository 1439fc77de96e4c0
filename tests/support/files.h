// SPDX-License-Identifier: Apache-2.0
// Whole files at once.
#ifndef KVN_FPGA_TESTS_SUPPORT_FILES_H
#define KVN_FPGA_TESTS_SUPPORT_FILES_H

#include <filesystem>
#include <string>
#include <string_view>

/// Writes a file with this content. @throws std::runtime_error when it cannot be written
void write_whole_file(const std::filesystem::path& name, std::string_view content);

/// The content of a file; empty when there is none.
std::string read_whole_file(const std::filesystem::path& name);

#endif
