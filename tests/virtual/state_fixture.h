// SPDX-License-Identifier: Apache-2.0
// Modules whose state is kept in a folder.
#ifndef KVN_FPGA_TESTS_VIRTUAL_STATE_FIXTURE_H
#define KVN_FPGA_TESTS_VIRTUAL_STATE_FIXTURE_H

#include "bus_support.h"

#include "support/files.h"
#include "support/folder_test.h"

inline constexpr std::size_t BLOCK = 65536;
inline constexpr const char* STATE_FILE = "mwc4a-0-1.json";
inline constexpr const char* BITS_FILE = "mwc4a-0-1.bits";

class State : public FolderTest
{
protected:
    /// A rack as a program of its own would have it, with its state in the folder.
    [[nodiscard]] mwvirtual::Carrier rack() const
    {
        using mwvirtual::fpga_module;
        mwvirtual::Carrier carrier;
        carrier.keep_journal(false);
        carrier.state_folder(folder.string());
        carrier.board("mwc4a", 0)
            .slot(1, fpga_module(4).device("2v250fg456-4").accepts_compressed())
            .slot(2, fpga_module(4).device("2v40cs144-4"))
            .slot(3, mwvirtual::other_module(7));
        carrier.board("mwc4a", 1).reached_over("mwc4a", 0).slot(1, fpga_module(4).device("2v40cs144-4"));
        return carrier;
    }
    [[nodiscard]] mwvirtual::Contents contents(unsigned slot = 1) const
    {
        return rack().contents("mwc4a", 0, slot);
    }

    [[nodiscard]] bool state_has(const std::string& member) const
    {
        return content(STATE_FILE).find(member) != std::string::npos;
    }

    /// Loads in the middle: the message is open, and this many bytes of data are sent.
    static void begin_load(Bus& bus, std::span<const std::uint8_t> data)
    {
        EXPECT_EQ(bus.start(0, 1), mwvirtual::SUCCESS);
        EXPECT_EQ(bus.data(PLAIN), mwvirtual::SUCCESS);
        EXPECT_EQ(bus.data(data), mwvirtual::SUCCESS);
    }

    const Bytes design = bus_stream("2v250");
    const Bytes small = bus_stream("2v40");
};

#endif
