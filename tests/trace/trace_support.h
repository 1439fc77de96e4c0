// SPDX-License-Identifier: Apache-2.0
// Traces as tests write and read them.
#ifndef KVN_FPGA_TESTS_TRACE_SUPPORT_H
#define KVN_FPGA_TESTS_TRACE_SUPPORT_H

#include "support/folder_test.h"

#include <string>

inline const std::string FIRST_LINE =
    R"({"trace":"mwapi","version":1,"provider":"test","started":"2006-02-17T12:00:00Z"})"
    "\n";

#endif
