// SPDX-License-Identifier: Apache-2.0
// The error texts of docs/errors.md, for comparison with those of failing runs.
#ifndef KVN_FPGA_TESTS_FAULTS_DOCUMENTED_ERRORS_H
#define KVN_FPGA_TESTS_FAULTS_DOCUMENTED_ERRORS_H

#include <string>

/// Whether a text is that of the page for this number, with the values of a run of these tests in place of
/// its conversions: slot 1, 2 or 3 of board "mwc4a 0", the platform's answer 0x77, and a file in
/// the current folder.
bool is_documented(int number, const std::string& text);

/// The page's texts for a number, for reporting a difference.
std::string documented_texts(int number);

#endif
