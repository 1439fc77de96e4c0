// SPDX-License-Identifier: Apache-2.0
// Conversions of one source, to be compared with what is in the folder afterwards.
#ifndef KVN_FPGA_TESTS_ENGINE_CONVERT_OUTPUT_FIXTURE_H
#define KVN_FPGA_TESTS_ENGINE_CONVERT_OUTPUT_FIXTURE_H

#include "conversion_fixture.h"

#include <filesystem>
#include <string>

/// Each test has the source a.bit, and only what it says besides.
class ConversionOutput : public ConversionTest
{
protected:
    void SetUp() override
    {
        make("2v40cs144", "a.bit");
        (void)convert_to("a.bit", "good.mcb");
        good = content("good.mcb");
        std::filesystem::remove(path("good.mcb"));
    }

    std::string good; ///< the MCB file of a.bit
};

#endif
