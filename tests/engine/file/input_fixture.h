// SPDX-License-Identifier: Apache-2.0
// Inputs that leave no descriptor behind.
#ifndef KVN_FPGA_TESTS_ENGINE_FILE_INPUT_FIXTURE_H
#define KVN_FPGA_TESTS_ENGINE_FILE_INPUT_FIXTURE_H

#include "examples.h"
#include "packing.h"
#include "support/descriptors.h"

#include <cstddef>
#include <cstdint>
#include <string>

/// A text that is longer than any block, and does not pack well.
inline std::string long_text(std::size_t size = 300'000)
{
    std::string text(size, '\0');
    std::uint32_t state = 1;
    for (char& c : text)
        c = static_cast<char>((state = state * 1664525U + 1013904223U) >> 24U);
    text[0] = 'x'; // no magic bytes
    return text;
}

class InputTest : public ExampleTest
{
protected:
    ~InputTest() override { EXPECT_EQ(count_descriptors(), descriptors_) << "a descriptor is left open"; }

private:
    std::size_t descriptors_ = count_descriptors();
};

#endif
