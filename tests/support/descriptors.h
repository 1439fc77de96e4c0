// SPDX-License-Identifier: Apache-2.0
// The descriptors of the test's own process.
#ifndef KVN_FPGA_TESTS_SUPPORT_DESCRIPTORS_H
#define KVN_FPGA_TESTS_SUPPORT_DESCRIPTORS_H

#include <array>
#include <cstddef>
#include <string>

/// How many descriptors this process has open.
std::size_t count_descriptors();

/// A descriptor for writing to a file, which is made if missing; -1 when it cannot be opened. The caller
/// closes it.
int open_for_writing(const std::string& file);

/// A pipe's end to read from and its end to write to, which programs do not inherit. The caller closes both.
/// @throws std::runtime_error when there is none
std::array<int, 2> make_pipe();

/// Lets a descriptor lead elsewhere for the duration of a scope.
class Redirected
{
public:
    /// @param to another descriptor, which is closed
    /// @throws std::runtime_error when that is not open
    Redirected(int descriptor, int to);
    ~Redirected();
    Redirected(const Redirected&) = delete;
    Redirected& operator=(const Redirected&) = delete;

private:
    int descriptor_;
    int before_;
};

#endif
