// SPDX-License-Identifier: Apache-2.0
// Racks built in code: the journal, the count of calls, and the exported names.
#include "bus_support.h"
#include "support/process.h"

#include <gtest/gtest.h>

#include <array>
#include <sstream>
#include <stdexcept>

namespace
{

using namespace mwvirtual;

using Lines = std::vector<std::string>;

TEST(Builder, TheJournalTellsCallsWithArgumentsAndBytes)
{
    Carrier carrier;
    carrier.board("mwc4a", 3).slot(2, fpga_module(4).device("2v40cs144-4").accepts_compressed());
    {
        Bus bus{"mwc4a", 3};
        std::uint32_t status = 0;
        std::array<std::uint32_t, 21> record{};
        MwInitIoStatus(bus.handle, &status);
        MwGetBoardInfo("mwc4a", 3, record.data());
        bus.query(11, 3, 2);
        bus.load(3, 2, {0x0D, 0x1D}, Bytes{1, 0xFF});
        bus.ask(1, 3, 4);
        error_text(0x77);
    }
    EXPECT_EQ(carrier.journal_text(),
              (Lines{"MwOpenS(\"mwc4a\", 3, \"ksb\")", "MwInitIoStatus()", "MwGetBoardInfo(\"mwc4a\", 3)",
                     "MwKSBSendMessageEx(type 11, board 3, slot 2, 5000)",
                     "MwKSBReceiveMessageEx(board 3, slot 2, size 30, 5000) -> type 12: 01",
                     "MwKSBStartSendMessageEx(board 3, slot 2, 5000)", "MwKSBSendMessageDataEx(0D 1D, 5000)",
                     "MwKSBSendMessageDataEx(01 FF, 5000)", "MwKSBEndOfSendMessageEx(5000)",
                     "MwKSBStartReceiveMessageEx(5000) -> type 14",
                     "MwKSBReceiveMessageDataEx(size 2, 5000) -> 01 00", "MwKSBEndOfReceiveMessageEx(5000)",
                     "MwKSBSendMessageEx(type 1, board 3, slot 4, 5000) = 0xE0000009",
                     "MwErr2Text(0x00000077)", "MwClose()"}));
    EXPECT_EQ(carrier.calls(), 13U) << "MwErr2Text and MwClose are not counted";
    EXPECT_EQ(carrier.journal_text(false).size(), 14U);
    EXPECT_EQ(carrier.journal().front().handle, 1U);
    EXPECT_TRUE(carrier.misuse().empty());
}

TEST(Builder, MisuseIsWrittenDown)
{
    Carrier carrier;
    carrier.board("mwc4a", 0);
    Bus bus;
    bus.end();
    EXPECT_EQ(carrier.misuse(), Lines{"MwKSBEndOfSendMessageEx(5000) = 0xE000000C: no message was started"});
    carrier.forget_calls();
    EXPECT_TRUE(carrier.misuse().empty());
    EXPECT_TRUE(carrier.journal().empty());
}

TEST(Builder, TheYoungestCarrierIsInForce)
{
    Carrier older;
    older.board("mwc4a", 0);
    {
        Carrier younger;
        EXPECT_EQ(Bus().opened, NO_SUCH_BOARD);
        Carrier moved{std::move(younger)};
        EXPECT_EQ(Bus().opened, NO_SUCH_BOARD);
    }
    EXPECT_EQ(Bus().opened, SUCCESS);
}

TEST(Builder, NumbersOutOfRangeAreRefused)
{
    Carrier carrier;
    EXPECT_THROW((void)carrier.board("mwc4a", 16), std::invalid_argument);
    EXPECT_THROW(carrier.board("mwc4a", 0).slot(0, fpga_module()), std::invalid_argument);
    EXPECT_THROW(carrier.board("mwc4a", 0).slot(5, fpga_module()), std::invalid_argument);
    EXPECT_THROW(carrier.board("mwc4a", 0).empty_slot(5), std::invalid_argument);
    EXPECT_EQ(carrier.contents("mwc4a", 0, 9).loads, 0U);
}

TEST(Builder, ASlotCanBeEmptied)
{
    Carrier carrier;
    carrier.board("mwc4a", 0).slot(1, fpga_module(4).device("2v40cs144-4"));
    Bus bus;
    ASSERT_EQ(bus.start(0, 1), SUCCESS);
    carrier.board("mwc4a", 0).empty_slot(1);
    EXPECT_EQ(bus.data(PLAIN), NO_OPEN_MESSAGE);
    EXPECT_EQ(bus.ask(1, 0, 1), NO_MODULE);
}

// The exported names of the shared library.
TEST(Builder, TheLibraryExportsThePlatformFunctionsAndItsHeaderAlone)
{
    std::istringstream symbols{run({"nm", {"-DC", "--defined-only", MWVIRTUAL_LIBRARY}}).output};
    unsigned functions = 0;
    unsigned announcements = 0;
    unsigned versions = 0;
    for (std::string text; std::getline(symbols, text);) {
        const bool platform = text.find(" T Mw") != std::string::npos;
        const bool ours = text.find("mwvirtual::") != std::string::npos;
        functions += platform ? 1 : 0;
        announcements += text.ends_with(" T MwProviderAnnouncement") ? 1 : 0;
        versions += text.ends_with(" T MwProviderVersion") ? 1 : 0;
        EXPECT_TRUE(platform || ours) << text;
        for (const char* hidden : {"Rack::", "ModuleModel", "fpga::", "toml::"})
            EXPECT_EQ(text.find(hidden), std::string::npos) << text;
    }
    EXPECT_EQ(functions, 21U) << "the sixteen, the announcement, the version, and three for racks";
    EXPECT_EQ(announcements, 1U);
    EXPECT_EQ(versions, 1U);
}

} // namespace
