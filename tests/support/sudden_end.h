// SPDX-License-Identifier: Apache-2.0
// The end of a process that nothing in it takes part in.
#ifndef KVN_FPGA_TESTS_SUPPORT_SUDDEN_END_H
#define KVN_FPGA_TESTS_SUPPORT_SUDDEN_END_H

/// Ends this process as SIGKILL does. Windows, which has no signals, sees the status 9.
[[noreturn]] void end_suddenly();

/// What kvn::system::Process::wait() says of that.
extern const char* const SUDDEN_END;

#endif
