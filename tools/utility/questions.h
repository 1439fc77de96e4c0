// SPDX-License-Identifier: Apache-2.0
// The library's questions for lines, asked here: for systems whose stdout cannot be replaced.
#ifndef KVN_TOOLS_UTILITY_QUESTIONS_H
#define KVN_TOOLS_UTILITY_QUESTIONS_H

class kvn_fpga;

namespace utility
{

/// Asks what the library would ask, with the same texts and answers, so that the console knows where a
/// question ends.
/// @param fpga outlives all questions
void ask_here(kvn_fpga& fpga);

} // namespace utility

#endif
