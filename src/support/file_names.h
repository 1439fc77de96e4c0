// SPDX-License-Identifier: Apache-2.0
// What names of files lead to, as the caller's C library reads them.
#ifndef KVN_FPGA_SUPPORT_FILE_NAMES_H
#define KVN_FPGA_SUPPORT_FILE_NAMES_H

/// Whether two names lead to one file, as links do; true if that is not known for lack of memory.
bool name_one_file(const char* a, const char* b) noexcept;

#endif
