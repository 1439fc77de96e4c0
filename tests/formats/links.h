// SPDX-License-Identifier: Apache-2.0
// The ways to give a file a second name.
#ifndef KVN_FPGA_TESTS_FORMATS_LINKS_H
#define KVN_FPGA_TESTS_FORMATS_LINKS_H

#include <filesystem>

inline constexpr void (*linked_as[])(const char* file, const char* name) = {
    [](const char* file, const char* name) { std::filesystem::create_hard_link(file, name); },
    [](const char* file, const char* name) { std::filesystem::create_symlink(file, name); },
};

#endif
