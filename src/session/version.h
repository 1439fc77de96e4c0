// SPDX-License-Identifier: Apache-2.0
// The version that the library reports and the help shows.
#ifndef KVN_FPGA_SESSION_VERSION_H
#define KVN_FPGA_SESSION_VERSION_H

inline constexpr int VERSION_MAJOR = 2;
inline constexpr int VERSION_MINOR = 7;
inline constexpr char VERSION_TEXT[] = "2.7 17/02/06";

#endif
