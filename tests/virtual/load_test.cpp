// SPDX-License-Identifier: Apache-2.0
// Loads: what reaches the FPGA, and the verdict that comes of it.
#include "bus_support.h"

#include "support/files.h"
#include "support/special_files.h"
#include "support/temporary_folder.h"

#include <gtest/gtest.h>

namespace
{

using namespace mwvirtual;
using fpga::Defect;
using fpga::Fill;

class Load : public testing::Test
{
protected:
    [[nodiscard]] Contents contents(unsigned slot) const { return carrier.contents("mwc4a", 0, slot); }

    static Carrier rack()
    {
        Carrier carrier;
        carrier.keep_journal(false);
        carrier.board("mwc4a", 0)
            .slot(1, fpga_module(4).device("2v40cs144-4").accepts_compressed())
            .slot(2, fpga_module(3).device("2s15cs144-5"))
            .slot(3, io_module(4).device("s10xlpc84-4").accepts_compressed())
            .slot(4, other_module(7));
        carrier.board("mwc4a", 9)
            .reached_over("mwc4a", 0)
            .slot(1, fpga_module(4).device("2v40cs144-4").accepts_compressed());
        return carrier;
    }

    Carrier carrier = rack();
    Bus bus;
    const Bytes virtex2 = bus_stream("2v40");
    const Bytes spartan2 = bus_stream("2s15");
};

TEST_F(Load, PlainStartsTheFpga)
{
    const Received reply = bus.load(0, 1, PLAIN, virtex2);
    EXPECT_EQ(reply.type, 4U);
    EXPECT_EQ(reply.data, (Bytes{5, 0}));
    const Contents kept = contents(1);
    EXPECT_TRUE(kept.done);
    EXPECT_TRUE(kept.finished);
    EXPECT_FALSE(kept.compressed);
    EXPECT_EQ(kept.verdict, Verdict::success);
    EXPECT_EQ(kept.configuration, virtex2);
    EXPECT_EQ(kept.received.size(), virtex2.size() + 2);
    EXPECT_EQ(kept.loads, 1U);
    EXPECT_EQ(kept.reason, "DONE went high after 338784 bits");
}

TEST_F(Load, AModuleThatKeepsNoDataJudgesAndCountsThem)
{
    carrier.board("mwc4a", 0)
        .slot(1, fpga_module(4).device("2v40cs144-4").accepts_compressed().keeps_no_data());
    for (const auto& command : {PLAIN, COMPRESSED}) {
        const Bytes data = command == PLAIN ? virtex2 : Bytes{fpga::run_code(virtex2)};
        EXPECT_EQ(bus.load(0, 1, command, data).data, (Bytes{5, 0}));
        const Contents counted = contents(1);
        EXPECT_EQ(counted.reason, "DONE went high after 338784 bits");
        EXPECT_EQ(counted.received_bytes, data.size() + 2);
        EXPECT_EQ(counted.configuration_bytes, virtex2.size());
        EXPECT_TRUE(counted.received.empty());
        EXPECT_TRUE(counted.configuration.empty());
    }
}

TEST_F(Load, DataAreCountedWhereTheyAreKept)
{
    (void)bus.load(0, 1, PLAIN, virtex2);
    EXPECT_EQ(contents(1).received_bytes, contents(1).received.size());
    EXPECT_EQ(contents(1).configuration_bytes, contents(1).configuration.size());
}

TEST_F(Load, CompressedStartsTheFpga)
{
    const Bytes pairs = fpga::run_code(virtex2);
    const Received reply = bus.load(0, 1, COMPRESSED, pairs);
    EXPECT_EQ(reply.type, 14U);
    EXPECT_EQ(reply.data, (Bytes{5, 0}));
    EXPECT_EQ(contents(1).configuration, virtex2);
    EXPECT_TRUE(contents(1).compressed);
    EXPECT_EQ(contents(1).received.size(), pairs.size() + 2);
}

TEST_F(Load, PairsMayBeSplitOverPiecesAndRunsOfNothingAddNothing)
{
    Bytes pairs{0, 0xAB};
    for (const std::uint8_t byte : fpga::run_code(virtex2))
        pairs.push_back(byte);
    ASSERT_EQ(bus.start(0, 1), SUCCESS);
    ASSERT_EQ(bus.data(COMPRESSED), SUCCESS);
    for (std::size_t at = 0; at < pairs.size(); at += 3)
        ASSERT_EQ(bus.data(std::span{pairs}.subspan(at, std::min<std::size_t>(3, pairs.size() - at))),
                  SUCCESS);
    ASSERT_EQ(bus.end(), SUCCESS);
    EXPECT_EQ(status_of(bus.reply()), 5);
    EXPECT_EQ(contents(1).configuration, virtex2);
}

TEST_F(Load, ABrokenPairDoesNotReachIntoTheNextLoad)
{
    const Bytes pairs = fpga::run_code(virtex2);
    EXPECT_NE(status_of(bus.load(0, 1, COMPRESSED, std::span{pairs}.first(pairs.size() - 1))), 5);
    EXPECT_EQ(contents(1).verdict, Verdict::run_coding_broken);
    EXPECT_EQ(status_of(bus.load(0, 1, COMPRESSED, pairs)), 5);
    EXPECT_EQ(contents(1).configuration, virtex2);
    EXPECT_NE(status_of(bus.load(0, 1, COMPRESSED, std::span{pairs}.first(pairs.size() - 1))), 5);
    EXPECT_EQ(status_of(bus.load(0, 1, PLAIN, virtex2)), 5);
}

TEST_F(Load, TheHeaderMayArriveByteByByte)
{
    ASSERT_EQ(bus.start(0, 1), SUCCESS);
    ASSERT_EQ(bus.data(std::span{PLAIN}.first(1)), SUCCESS);
    ASSERT_EQ(bus.data(std::span{PLAIN}.last(1)), SUCCESS);
    ASSERT_EQ(bus.data(virtex2), SUCCESS);
    ASSERT_EQ(bus.end(), SUCCESS);
    EXPECT_EQ(status_of(bus.reply()), 5);
}

TEST_F(Load, AWholeMessageLoadsAsWell)
{
    EXPECT_EQ(MwKSBSendMessageEx(bus.handle, 3, 0, 1, virtex2.data(),
                                 static_cast<std::uint32_t>(virtex2.size()), TIMEOUT),
              SUCCESS);
    const Received reply = bus.answer(0, 1);
    EXPECT_EQ(reply.type, 4U);
    EXPECT_EQ(reply.data, (Bytes{5, 0}));
}

TEST_F(Load, ABoardReachedOverTheBusIsLoadedWithTheHeaderOfTheBus)
{
    EXPECT_EQ(status_of(bus.load(9, 1, COMPRESSED, fpga::run_code(virtex2))), 5);
    EXPECT_TRUE(carrier.contents("mwc4a", 9, 1).done);
    EXPECT_EQ(status_of(bus.load(9, 1, {0x0D, 9 << 3 | 5}, fpga::run_code(virtex2))), 7);
}

TEST_F(Load, TheBoardByteFollowsTheOpenedBoard)
{
    Bus ninth{"mwc4a", 9};
    EXPECT_EQ(status_of(ninth.load(9, 1, {0x03, 0x4D}, virtex2)), 5);
    EXPECT_EQ(status_of(ninth.load(9, 1, PLAIN, virtex2)), 7);
}

// Hosts hold back the last words of plain loads of the older families.
TEST_F(Load, TheLastFourWordsMayBeMissingInPacketFamiliesAlone)
{
    const auto load_without = [this](unsigned slot, const Bytes& stream, std::size_t bytes) {
        return status_of(bus.load(0, slot, PLAIN, std::span{stream}.first(stream.size() - bytes)));
    };
    EXPECT_EQ(load_without(2, spartan2, 16), 5);
    EXPECT_EQ(load_without(2, spartan2, 4), 5);
    EXPECT_EQ(load_without(2, spartan2, 20), 4);
    const Bytes spartan_xl = bus_stream("s10xl");
    EXPECT_EQ(status_of(bus.load(0, 3, COMPRESSED, fpga::run_code(spartan_xl))), 5);
    EXPECT_EQ(load_without(3, spartan_xl, 16), 4);
    EXPECT_EQ(load_without(3, spartan_xl, 4), 4);
}

TEST_F(Load, EachDefectIsRefusedWithItsOwnVerdict)
{
    for (const auto& [defect, verdict] : {std::pair{Defect::no_sync, Verdict::no_synchronisation},
                                          {Defect::crc, Verdict::crc_error},
                                          {Defect::flipped_bit, Verdict::crc_error},
                                          {Defect::id, Verdict::wrong_device},
                                          {Defect::short_data, Verdict::data_short}}) {
        const Bytes stream = bus_stream("2v40", {Fill::pattern, 1, defect});
        EXPECT_EQ(status_of(bus.load(0, 1, PLAIN, stream)), static_cast<int>(verdict));
        EXPECT_EQ(status_of(bus.load(0, 1, COMPRESSED, fpga::run_code(stream))), static_cast<int>(verdict));
        EXPECT_FALSE(contents(1).done);
        EXPECT_EQ(contents(1).verdict, verdict);
    }
}

TEST_F(Load, AnOddByteBreaksTheRunCoding)
{
    Bytes pairs = fpga::run_code(virtex2);
    pairs.push_back(7);
    EXPECT_EQ(status_of(bus.load(0, 1, COMPRESSED, pairs)), 6);
    EXPECT_FALSE(contents(1).done);
    EXPECT_EQ(contents(1).reason, "the data end inside a pair of count and value");
}

TEST_F(Load, AWrongOrMissingBoardByteIsAWrongHeader)
{
    EXPECT_EQ(status_of(bus.load(0, 1, {0x03, 0x0D}, virtex2)), 7);
    EXPECT_EQ(contents(1).reason, "the load header names board byte 13, but the bus is that of board byte 5");
    ASSERT_EQ(bus.start(0, 1), SUCCESS);
    ASSERT_EQ(bus.data(std::span{PLAIN}.first(1)), SUCCESS);
    ASSERT_EQ(bus.end(), SUCCESS);
    EXPECT_EQ(status_of(bus.reply()), 7);
}

TEST_F(Load, AModuleWithoutCompressedLoadingRefusesIt)
{
    EXPECT_EQ(status_of(bus.load(0, 2, COMPRESSED, fpga::run_code(spartan2))), 8);
    EXPECT_EQ(status_of(bus.load(0, 2, PLAIN, spartan2)), 5);
}

TEST_F(Load, ForeignPacketsAreAViolation)
{
    Bytes words{0xFF, 0xFF, 0xFF, 0xFF, 0xAA, 0x99, 0x55, 0x66, 0x28, 0x01, 0x80, 0x01};
    EXPECT_EQ(status_of(bus.load(0, 1, PLAIN, fpga::reverse_each(words))), 9);
}

TEST_F(Load, AModuleWithoutAnFpgaRefusesLoads)
{
    EXPECT_EQ(status_of(bus.load(0, 4, PLAIN, virtex2)), 10);
    carrier.board("mwc4a", 0).slot(1, fpga_module(4).device("9x99"));
    EXPECT_EQ(status_of(bus.load(0, 1, PLAIN, virtex2)), 10);
}

TEST_F(Load, ANewLoadForgetsTheOneBefore)
{
    ASSERT_EQ(status_of(bus.load(0, 1, PLAIN, virtex2)), 5);
    ASSERT_EQ(bus.start(0, 1), SUCCESS);
    ASSERT_EQ(bus.data(PLAIN), SUCCESS);
    EXPECT_FALSE(contents(1).done);
    EXPECT_FALSE(contents(1).finished);
    EXPECT_EQ(contents(1).loads, 2U);
    EXPECT_EQ(contents(1).received, (Bytes{3, 5}));
    ASSERT_EQ(bus.end(), SUCCESS);
    EXPECT_EQ(status_of(bus.reply()), 1) << "no data, no synchronisation";
}

TEST_F(Load, IdentificationLeavesTheFpgaRunning)
{
    ASSERT_EQ(status_of(bus.load(0, 1, PLAIN, virtex2)), 5);
    ASSERT_EQ(bus.query(1, 0, 1).result, SUCCESS);
    EXPECT_TRUE(contents(1).done);
}

class Keep : public Load
{
protected:
    /// Loads the module after a file was asked for. @return the result of the call that ends the load
    std::uint32_t load(const std::string& name)
    {
        carrier.board("mwc4a", 0)
            .slot(1, fpga_module(4).device("2v40cs144-4").accepts_compressed().keep(name));
        EXPECT_EQ(bus.start(0, 1), SUCCESS);
        EXPECT_EQ(bus.data(PLAIN), SUCCESS);
        EXPECT_EQ(bus.data(virtex2), SUCCESS);
        return bus.end();
    }
    [[nodiscard]] std::string file(const std::string& name) const { return (folder.path() / name).string(); }

    const TemporaryFolder folder;
    const std::string kept{virtex2.begin(), virtex2.end()};
};

TEST_F(Keep, TheBytesAreWrittenToAFileInTheFolder)
{
    carrier.keep_folder(folder.path().string());
    write_whole_file(file("kept"), std::string(kept.size() + 1, 'x'));
    ASSERT_EQ(load("kept"), SUCCESS);
    EXPECT_EQ(status_of(bus.reply()), 5);
    EXPECT_EQ(read_whole_file(file("kept")), kept);
    ASSERT_EQ(status_of(bus.load(0, 1, COMPRESSED, fpga::run_code(virtex2))), 5);
    EXPECT_EQ(read_whole_file(file("kept")), kept) << "the plain bytes, in place of the last ones";
}

TEST_F(Keep, WithoutAFolderTheLoadEndsInACode)
{
    EXPECT_EQ(load("kept"), KEEP_FAILED);
    EXPECT_EQ(error_text(KEEP_FAILED),
              "cannot keep kept: no folder for kept files; name one in MWVIRTUAL_KEEP");
    EXPECT_EQ(bus.reply().result, NO_REQUEST) << "there is no reply";
    EXPECT_EQ(carrier.misuse().size(), 1U) << "asking for that reply, nothing else";
}

TEST_F(Keep, AFileThatCannotBeWrittenEndsTheLoadInACode)
{
    EXPECT_EQ(error_text(KEEP_FAILED), "the file of a load cannot be kept");
    carrier.keep_folder(file("none"));
    EXPECT_EQ(load("kept"), KEEP_FAILED);
    EXPECT_EQ(error_text(KEEP_FAILED), "cannot keep kept in " + file("none") + ": No such file or directory");
}

TEST_F(Keep, WhatIsNoRegularFileIsLeftAlone)
{
    carrier.keep_folder(folder.path().string());
    write_whole_file(file("elsewhere"), "mine");
    std::filesystem::create_symlink(file("elsewhere"), file("link"));
    make_fifo(file("fifo"));
    std::filesystem::create_directory(file("folder"));
    for (const char* name : {"link", "fifo", "folder"}) {
        EXPECT_EQ(load(name), KEEP_FAILED);
        EXPECT_EQ(error_text(KEEP_FAILED), std::string{"cannot keep "} + name + " in " +
                                               folder.path().string() + ": it is no regular file");
    }
    EXPECT_EQ(read_whole_file(file("elsewhere")), "mine");
}

TEST_F(Keep, NamesWithFoldersAreRefused)
{
    for (const char* name : {"", ".", "..", "/kept", "a/b", "../kept"}) {
        EXPECT_THROW((void)fpga_module(4).keep(name), std::invalid_argument) << name;
        Module module = fpga_module(4).device("2v40cs144-4");
        module.keep_file = name;
        if (*name != '\0') {
            EXPECT_THROW(carrier.board("mwc4a", 0).slot(1, module), std::invalid_argument) << name;
        }
    }
}

TEST_F(Load, RunsExpandNoFurtherThanTheModuleKeeps)
{
    ASSERT_EQ(bus.start(0, 1), SUCCESS);
    ASSERT_EQ(bus.data(COMPRESSED), SUCCESS);
    const Bytes flood(1U << 20, 0xFF);
    ASSERT_EQ(bus.data(flood), SUCCESS);
    ASSERT_EQ(bus.end(), SUCCESS);
    EXPECT_EQ(status_of(bus.reply()), 1);
    EXPECT_EQ(contents(1).configuration.size(), std::size_t{32} << 20);
}

} // namespace
