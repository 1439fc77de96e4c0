// SPDX-License-Identifier: Apache-2.0
// What the systems' C libraries tell in different ways about a stream.
#ifndef KVN_FPGA_SUPPORT_CONSOLE_STREAM_H
#define KVN_FPGA_SUPPORT_CONSOLE_STREAM_H

#include <cstdio>

/// Whether a stream shows its text to a user who waits for it, so that it must be flushed. Makes no system
/// call where the C library knows.
bool is_console_stream(FILE* stream);

#endif
