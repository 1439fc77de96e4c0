// SPDX-License-Identifier: Apache-2.0
// The application's tests: each sets up a rack, runs the application, and examines what the modules hold.
#include "front_panel.h"

#include <gtest/gtest.h>
#include <virtual_carrier.h>

#include <fstream>
#include <iterator>

namespace
{

const std::string good = BITSTREAMS "/good.bit";
const std::string damaged = BITSTREAMS "/damaged.bit";
const std::string for_another_device = BITSTREAMS "/other.bit";

class FrontPanel : public testing::Test
{
protected:
    FrontPanel()
    {
        carrier.board("mwc4a", 0)
            .slot(1, mwvirtual::fpga_module(4).device("2v40cs144-4").accepts_compressed())
            .slot(2, mwvirtual::processor_module());
    }

    mwvirtual::Contents module() { return carrier.contents("mwc4a", 0, 1); }

    // While it lives, the platform functions act on this rack.
    mwvirtual::Carrier carrier;
};

/// The configuration bytes at the end of a BIT file, as they reach the FPGA: the first bit in bit 0.
std::vector<std::uint8_t> configuration(const std::string& file, std::size_t size)
{
    std::ifstream stream{file, std::ios::binary};
    std::vector<std::uint8_t> bytes{std::istreambuf_iterator<char>{stream}, {}};
    bytes.erase(bytes.begin(), bytes.end() - static_cast<std::ptrdiff_t>(size));
    for (std::uint8_t& byte : bytes) {
        unsigned reversed = 0;
        for (unsigned bit = 0; bit < 8; ++bit)
            reversed |= (byte >> bit & 1U) << (7 - bit);
        byte = static_cast<std::uint8_t>(reversed);
    }
    return bytes;
}

TEST_F(FrontPanel, StartsTheFpgaWithTheWholeBitstream)
{
    EXPECT_EQ(configure_module(1, good), "ready");
    EXPECT_TRUE(module().done);
    EXPECT_TRUE(module().compressed);
    EXPECT_EQ(module().configuration.size(), 338'976U / 8);
    EXPECT_EQ(module().configuration, configuration(good, 338'976 / 8));
    EXPECT_TRUE(carrier.misuse().empty());
}

TEST_F(FrontPanel, ReportsABitstreamThatTheFpgaRefuses)
{
    EXPECT_EQ(configure_module(1, damaged), "Error 9366. Configuration was unsuccessful (2).");
    EXPECT_FALSE(module().done);
    EXPECT_EQ(module().verdict, mwvirtual::Verdict::crc_error);
    EXPECT_EQ(module().loads, 2U) << "it was tried again";
}

TEST_F(FrontPanel, SendsNothingToAModuleWithAnotherDevice)
{
    EXPECT_EQ(configure_module(1, for_another_device),
              "Error 9336. Bitstream " + for_another_device + " is not for a 2v40cs144-4 device.");
    EXPECT_EQ(module().loads, 0U);
}

TEST_F(FrontPanel, TriesAgainWhenTheBusFails)
{
    carrier.fail_call(mwvirtual::Function::MwKSBEndOfSendMessageEx, 1, 0x77, "cable loose");
    EXPECT_EQ(configure_module(1, good), "ready");
    EXPECT_TRUE(module().done);
}

TEST_F(FrontPanel, TellsAProcessorModuleFromAnFpga)
{
    EXPECT_EQ(configure_module(2, good),
              "Error 9221. The module in slot 2 of board mwc4a 0 is a processor module.");
}

} // namespace
