// SPDX-License-Identifier: Apache-2.0
// The reader of packets: what each word of a stream is.
#include "bits.h"
#include "packet_reader.h"
#include "packets.h"

#include <gtest/gtest.h>

#include <initializer_list>
#include <string>
#include <vector>

namespace
{

using fpga::Architecture;
using fpga::PacketReader;
using Kind = fpga::PacketWord::Kind;

std::optional<fpga::PacketWord> take(PacketReader& reader, std::uint32_t word)
{
    std::optional<fpga::PacketWord> read;
    for (int shift = 24; shift >= 0; shift -= 8)
        read = reader.take(fpga::reverse_bits(static_cast<std::uint8_t>(word >> shift)));
    return read;
}

/// What the words are, behind a synchronisation word: a letter for each.
std::string kinds(std::optional<Architecture> architecture, std::initializer_list<std::uint32_t> words)
{
    PacketReader reader{architecture};
    (void)take(reader, fpga::SYNC_WORD);
    std::string letters;
    for (const std::uint32_t word : words) {
        const auto read = take(reader, word);
        letters += read ? "wmdcfrt"[static_cast<std::size_t>(read->kind)] : '-';
    }
    return letters;
}

TEST(PacketReader, TellsHeadersFromData)
{
    PacketReader reader{Architecture::virtex};
    EXPECT_EQ(take(reader, 0x30008001), std::nullopt) << "not synchronised";
    EXPECT_EQ(reader.sync_bit(), std::nullopt);
    EXPECT_EQ(take(reader, fpga::SYNC_WORD), std::nullopt);
    EXPECT_EQ(reader.sync_bit(), 32U);
    const auto header = take(reader, 0x30008002);
    ASSERT_TRUE(header);
    EXPECT_EQ(header->kind, Kind::write);
    EXPECT_EQ(header->address, fpga::REG_CMD);
    EXPECT_EQ(header->count, 2U);
    const auto data = take(reader, 0xFFFFFFFF);
    ASSERT_TRUE(data);
    EXPECT_EQ(data->kind, Kind::data);
    EXPECT_EQ(data->address, fpga::REG_CMD);
    EXPECT_EQ(data->word, 0xFFFFFFFFU);
    EXPECT_EQ(reader.bits_read(), 128U);
}

TEST(PacketReader, AType2HeaderNeedsAnEmptyType1Header)
{
    EXPECT_EQ(kinds(Architecture::virtex, {0x30004000, 0x50000001, 7}), "wmd");
    EXPECT_EQ(kinds(Architecture::virtex, {0x50000001}), "t");
    EXPECT_EQ(kinds(Architecture::virtex, {0x30004001, 7, 0x50000001}), "wdt");
    EXPECT_EQ(kinds(Architecture::virtex, {0x30004000, fpga::NOOP_WORD, 0x50000001}), "w-t");
}

TEST(PacketReader, AnAutomaticCrcFollowsFrameDataOfTheVirtex2ClassAlone)
{
    const auto frame = {0x30004001U, 7U, 0x30008001U, 0U};
    EXPECT_EQ(kinds(Architecture::virtex2, frame), "wdcf");
    EXPECT_EQ(kinds(Architecture::virtex, frame), "wdwd");
    EXPECT_EQ(kinds(std::nullopt, frame), "wdwd");
    EXPECT_EQ(kinds(std::nullopt, {0x3001C001, 0x01008093, 0x30004001, 7, 5}), "wdwdc")
        << "a device ID is of the Virtex-2 class";
}

TEST(PacketReader, AZeroWordDoesNothingInTheVirtexClassAlone)
{
    EXPECT_EQ(kinds(Architecture::virtex, {0, fpga::NOOP_WORD}), "--");
    EXPECT_EQ(kinds(std::nullopt, {0}), "-");
    EXPECT_EQ(kinds(Architecture::virtex2, {0}), "f");
}

TEST(PacketReader, TakesBytesUntilAWordEndsTheReading)
{
    PacketReader reader{Architecture::virtex};
    std::vector<std::uint8_t> bytes;
    for (const std::uint32_t word : {fpga::SYNC_WORD, 0x30008002U, 1U, 2U})
        for (int shift = 24; shift >= 0; shift -= 8)
            bytes.push_back(fpga::reverse_bits(static_cast<std::uint8_t>(word >> shift)));
    std::vector<std::uint32_t> words;
    const auto obey = [&](const fpga::PacketWord& word) {
        words.push_back(word.word);
        return word.kind != Kind::data;
    };
    reader.take(bytes, obey);
    EXPECT_EQ(words, (std::vector<std::uint32_t>{0x30008002U, 1U}));
    EXPECT_EQ(reader.bits_read(), 96U);
}

TEST(PacketReader, FaultsAreTold)
{
    EXPECT_EQ(kinds(Architecture::virtex2, {0xFFFFFFFF}), "f");
    EXPECT_EQ(kinds(Architecture::virtex2, {0x28018001}), "r");
    EXPECT_EQ(kinds(Architecture::virtex2, {0x38000001}), "r");
    EXPECT_TRUE((fpga::PacketWord{Kind::no_header, 0}.is_fault()));
    EXPECT_TRUE((fpga::PacketWord{Kind::no_write, 0}.is_fault()));
    EXPECT_TRUE((fpga::PacketWord{Kind::stray_type2, 0}.is_fault()));
    EXPECT_FALSE((fpga::PacketWord{Kind::automatic_crc, 0}.is_fault()));
}

TEST(PacketReader, TheVirtexClassLooksAtFourBitsOfAnAddress)
{
    const std::uint32_t beyond = 0x30000001U | 20U << 13;
    for (const auto& [architecture, address] :
         {std::pair{Architecture::virtex, 4U}, {Architecture::virtex2, 20U}}) {
        PacketReader reader{architecture};
        (void)take(reader, fpga::SYNC_WORD);
        EXPECT_EQ(take(reader, beyond)->address, address);
    }
}

TEST(PacketReader, ReadsOnBehindTheNextSynchronisation)
{
    EXPECT_EQ(kinds(Architecture::virtex2, {0x30008001, 13, 0x30008001, fpga::SYNC_WORD, 0x30008001, 7}),
              "wd--wd");
    EXPECT_EQ(kinds(Architecture::virtex, {0x30008001, 13, 0x30008001}), "wdw") << "no such command there";
}

} // namespace
