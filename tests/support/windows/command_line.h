// SPDX-License-Identifier: Apache-2.0
// Names and command lines as Windows takes them.
#ifndef KVN_FPGA_TESTS_SUPPORT_WINDOWS_COMMAND_LINE_H
#define KVN_FPGA_TESTS_SUPPORT_WINDOWS_COMMAND_LINE_H

#include <string>
#include <string_view>
#include <vector>

/// UTF-8 as UTF-16.
std::wstring wide(std::string_view text);

/// Words as one line, of which a program's run-time makes the same words again.
std::wstring command_line(const std::vector<std::string>& words);

#endif
