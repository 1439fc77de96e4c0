// SPDX-License-Identifier: Apache-2.0
// Notes the text of every numbered error that a test provokes, so that the missing ones can be reported.
#ifndef KVN_FPGA_TESTS_SUPPORT_SEEN_ERRORS_H
#define KVN_FPGA_TESTS_SUPPORT_SEEN_ERRORS_H

// Programs that link the support have the library's calls of vsnprintf looked at. When KVN_SEEN_ERRORS names
// a file, a numbered text is appended to it the first time that the process meets it.

/// Called with every numbered text that is written; null for none.
extern void (*error_format_listener)(const char* format);

#endif
