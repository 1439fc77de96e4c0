// SPDX-License-Identifier: Apache-2.0
// What a load or a conversion of one file must do, as plainly as it can be written: byte by byte, bit by bit.
//
// Shares nothing with the library, so that a difference between the two is a mistake in one of them. Files
// are texts here and never fail; the platform's functions are called as the library must call them.
#ifndef REFERENCE_MODEL_H
#define REFERENCE_MODEL_H

#include "mwapi.h"
#include "support/bytes.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace reference
{

enum class Format { rbt, bit, mcb };

/// One file, what becomes of it, and the module that it is loaded into.
struct Scenario {
    Format format = Format::rbt;
    std::string content;
    bool converts = false; ///< to MCB, or an MCB file to RBT; otherwise the file is loaded
    bool verbose = false;
    bool prompts = false;
    bool never_compresses = false;
    unsigned board = 0;
    unsigned address = 0x02; ///< of the module: its board in the high four bits, its slot in the low four
    std::string device;      ///< of the module
    bool virtex2 = false;    ///< whether that is of the Virtex-2 family
    bool accepts_compressed = false;
    std::uint8_t verdict = 5;     ///< what the module answers to the load
    std::string failing_function; ///< of the platform; empty if none fails
    int failing_call = 1;

    [[nodiscard]] const char* file_name() const;
    [[nodiscard]] const char* output_name() const;
};

/// What remains of a run beside what it printed, asked and sent.
struct Outcome {
    int number = 0;
    std::string text;
    std::optional<std::string> output; ///< content of the file that a conversion made
};

/// What is printed and asked is appended to `log`, in the words of the tests' fixture for runs.
Outcome play(const Scenario& scenario, MW_HANDLE* bus, std::vector<std::string>& log);

} // namespace reference

/// A run made of a seed, the same for the same one: mostly near to a working one, with damage of every kind.
reference::Scenario random_scenario(std::uint64_t seed);

/// Configuration bytes with long runs, with short ones, without or all the same, as the seed decides.
Bytes configuration_of(std::size_t size, std::uint64_t seed);

/// A good file of these bytes for a device.
std::string file_content(reference::Format format, const std::string& device, const Bytes& configuration);

#endif
