// SPDX-License-Identifier: Apache-2.0
// The configuration ports on generated streams: what starts a device and what does not.
#include "bits.h"
#include "packets.h"
#include "port_support.h"

#include <gtest/gtest.h>

#include <random>

namespace
{

using fpga::Defect;
using fpga::Device;
using fpga::Fill;
using fpga::Outcome;
using Bytes = std::vector<std::uint8_t>;

const Device& device_named(const char* name)
{
    return *fpga::find_device(name);
}

class EachDevice : public testing::TestWithParam<Device>
{
protected:
    const Device& device = *fpga::find_device(GetParam().name);
    [[nodiscard]] bool length_count() const
    {
        return device.architecture() == fpga::Architecture::length_count;
    }
    [[nodiscard]] bool virtex2() const { return device.architecture() == fpga::Architecture::virtex2; }
    [[nodiscard]] Outcome outcome_with(Defect defect) const
    {
        return configure(device, fpga::make_stream(device, {Fill::pattern, 1, defect})).outcome;
    }
};

TEST_P(EachDevice, StartsWithItsStandardStream)
{
    for (const Fill fill : {Fill::zero, Fill::pattern, Fill::random}) {
        const Bytes stream = fpga::make_stream(device, {fill, 42, Defect::none});
        EXPECT_EQ(stream.size() * 8, device.stream_bits());
        const fpga::PortReport report = configure(device, stream);
        EXPECT_EQ(report.outcome, Outcome::done) << report.reason;
        EXPECT_EQ(report.frames_written, device.frames());
    }
}

// Packet streams end in four words of padding, behind which stands the last CRC word (Virtex class) or the
// command that ends the synchronised state, of two words (Virtex-2 class).
TEST_P(EachDevice, NeedsItsStreamUpToTheLastCrcWord)
{
    const Bytes stream = fpga::make_stream(device);
    const std::size_t spare = length_count() ? 0 : virtex2() ? 6 : 4;
    if (spare != 0) {
        EXPECT_EQ(configure(device, less_words(stream, 1)).outcome, Outcome::done);
        EXPECT_EQ(configure(device, less_words(stream, 4)).outcome, Outcome::done);
        EXPECT_EQ(configure(device, less_words(stream, spare)).outcome, Outcome::done);
    }
    EXPECT_EQ(configure(device, less_words(stream, spare + 1)).outcome, Outcome::data_short);
}

TEST_P(EachDevice, RefusesEachDefectWithItsOwnOutcome)
{
    EXPECT_EQ(outcome_with(Defect::no_sync), Outcome::no_sync);
    EXPECT_EQ(outcome_with(Defect::crc), Outcome::crc_error);
    EXPECT_EQ(outcome_with(Defect::id), Outcome::wrong_device);
    EXPECT_EQ(outcome_with(Defect::short_data), Outcome::data_short);
    EXPECT_EQ(outcome_with(Defect::flipped_bit), Outcome::crc_error);
    if (!length_count()) {
        EXPECT_EQ(outcome_with(Defect::no_start), Outcome::data_short);
    }
}

INSTANTIATE_TEST_SUITE_P(Table, EachDevice, testing::ValuesIn(fpga::devices().begin(), fpga::devices().end()),
                         [](const auto& tested) { return "xc" + std::string{tested.param.name}; });

// One device of each architecture and layout, small enough to try many bits.
using EachSmallDevice = testing::TestWithParam<const char*>;

TEST_P(EachSmallDevice, CatchesSingleFlippedBitsInFrameData)
{
    const Device& device = device_named(GetParam());
    Bytes stream = fpga::make_stream(device, {Fill::random, 3, Defect::none});
    std::mt19937 random{11};
    // Headers of the block RAM columns lie in the last fifth.
    std::uniform_int_distribution<std::size_t> byte{100, stream.size() / 2};
    for (int trial = 0; trial < 100; ++trial) {
        const std::size_t at = byte(random);
        const auto mask = static_cast<std::uint8_t>(1U << trial % 8);
        stream[at] = static_cast<std::uint8_t>(stream[at] ^ mask);
        EXPECT_EQ(configure(device, stream).outcome, Outcome::crc_error) << "byte " << at;
        stream[at] = static_cast<std::uint8_t>(stream[at] ^ mask);
    }
}

TEST_P(EachSmallDevice, SurvivesSpoiltStreams)
{
    const Device& device = device_named(GetParam());
    std::mt19937 random{5};
    const Bytes good = fpga::make_stream(device);
    for (int trial = 0; trial < 40; ++trial) {
        Bytes spoilt = good;
        for (int change = 0; change < 5; ++change)
            spoilt[random() % spoilt.size()] = static_cast<std::uint8_t>(random());
        spoilt.resize(random() % spoilt.size());
        EXPECT_NE(configure(device, spoilt).outcome, Outcome::done);
    }
}

INSTANTIATE_TEST_SUITE_P(Some, EachSmallDevice, testing::Values("s05", "s05xl", "2s15", "v50e", "2v40"),
                         [](const auto& tested) { return "xc" + std::string{tested.param}; });

TEST(ConfigurationPort, TakesPiecesOfAnySize)
{
    const Device& device = device_named("2v40");
    const Bytes bus = fpga::reverse_each(fpga::make_stream(device));
    for (const std::size_t piece : {1U, 3U, 7U, 1000U}) {
        const auto port = fpga::make_port(device);
        for (std::size_t at = 0; at < bus.size(); at += piece)
            port->take(std::span{bus}.subspan(at, std::min(piece, bus.size() - at)));
        EXPECT_TRUE(port->done());
    }
}

TEST(ConfigurationPort, NothingTakenIsNoSynchronisation)
{
    for (const char* name : {"2v40", "v50", "s10"})
        EXPECT_EQ(fpga::make_port(device_named(name))->outcome(), Outcome::no_sync);
}

TEST(ConfigurationPort, StaysConfiguredWhateverFollows)
{
    const Device& device = device_named("2s15");
    Bytes stream = fpga::make_stream(device);
    stream.insert(stream.end(), 64, 0x5A);
    EXPECT_EQ(configure(device, stream).outcome, Outcome::done);
}

// The synchronisation word is found at any bit.
TEST(ConfigurationPort, SynchronisesBetweenBytes)
{
    const Device& device = device_named("2v40");
    const Bytes stream = fpga::make_stream(device);
    for (unsigned shift = 1; shift < 8; ++shift) {
        Bytes shifted(stream.size() + 1, 0xFF);
        for (std::size_t i = 0; i < stream.size(); ++i) {
            const unsigned kept = 0xFF00U >> shift & 0xFF;
            shifted[i] = static_cast<std::uint8_t>((shifted[i] & kept) | stream[i] >> shift);
            shifted[i + 1] = static_cast<std::uint8_t>(stream[i] << (8 - shift));
        }
        const fpga::PortReport report = configure(device, shifted);
        EXPECT_EQ(report.outcome, Outcome::done) << shift;
        EXPECT_EQ(report.sync_bit, 32 + shift);
    }
}

TEST(ConfigurationPort, DevicesWithTheSameArrayTakeEachOthersStreams)
{
    EXPECT_EQ(configure(device_named("2s50"), fpga::make_stream(device_named("v50"))).outcome, Outcome::done);
    EXPECT_EQ(configure(device_named("v150"), fpga::make_stream(device_named("2s150"))).outcome,
              Outcome::done);
}

TEST(ConfigurationPort, StreamsOfOtherDevicesAreRefused)
{
    const std::pair<const char*, const char*> strangers[] = {
        {"v50", "v50e"},  {"v50e", "v50"},  {"v300", "v400"},    {"v400e", "v405e"}, {"v405e", "v400e"},
        {"2v40", "2v80"}, {"2vp4", "2vp7"}, {"2vp20", "2vpx20"}, {"s10", "s20"},     {"s10xl", "s10"}};
    for (const auto& [made_for, given_to] : strangers)
        EXPECT_EQ(configure(device_named(given_to), fpga::make_stream(device_named(made_for))).outcome,
                  Outcome::wrong_device)
            << made_for << " in " << given_to;
}

TEST(ConfigurationPort, OtherArchitecturesAreNoSuccess)
{
    const char* names[] = {"s10", "v50", "2v40"};
    for (const char* made_for : names) {
        for (const char* given_to : names) {
            const Outcome outcome =
                configure(device_named(given_to), fpga::make_stream(device_named(made_for))).outcome;
            EXPECT_EQ(outcome == Outcome::done, made_for == given_to) << made_for << " in " << given_to;
        }
    }
}

/// Builds short packet streams word by word.
class Words
{
public:
    explicit Words(Bytes before = {}) : bytes_{std::move(before)} {}

    Words& put(std::uint32_t word)
    {
        for (int shift = 24; shift >= 0; shift -= 8)
            bytes_.push_back(static_cast<std::uint8_t>(word >> shift));
        return *this;
    }
    Words& sync() { return put(fpga::PAD_WORD).put(fpga::SYNC_WORD); }
    Words& write(fpga::Register address, std::uint32_t word)
    {
        return put(fpga::type1_write(address, 1)).put(word);
    }
    [[nodiscard]] Outcome given_to(const char* name) const
    {
        return configure(device_named(name), bytes_).outcome;
    }
    [[nodiscard]] const Bytes& bytes() const { return bytes_; }
    [[nodiscard]] std::string reason(const char* name) const
    {
        return configure(device_named(name), bytes_).reason;
    }

private:
    Bytes bytes_;
};

TEST(PacketPort, ReadsReservedTypesAndUnknownRegistersAreViolations)
{
    EXPECT_EQ(Words{}.sync().put(0x28018001).given_to("2v40"), Outcome::violation);
    EXPECT_EQ(Words{}.sync().put(0xFFFFFFFF).given_to("2v40"), Outcome::violation);
    EXPECT_EQ(Words{}.sync().put(0x38000001).given_to("v50"), Outcome::violation);
    EXPECT_EQ(Words{}.sync().put(0x3001E001).given_to("2v40"), Outcome::violation);
    EXPECT_EQ(Words{}.sync().put(0x3001C001).given_to("v50"), Outcome::violation);
    EXPECT_EQ(Words{}.sync().put(0x50000001).given_to("v50"), Outcome::violation);
}

TEST(PacketPort, AZeroWordIsPaddingInTheVirtexClassAlone)
{
    EXPECT_EQ(Words{}.sync().put(0).given_to("v50"), Outcome::data_short);
    EXPECT_EQ(Words{}.sync().put(0).given_to("2v40"), Outcome::violation);
}

TEST(PacketPort, NoOperationsCarryNoData)
{
    EXPECT_EQ(Words{}.sync().put(fpga::NOOP_WORD).put(0x20000005).put(fpga::NOOP_WORD).given_to("2v40"),
              Outcome::data_short);
}

TEST(PacketPort, FrameDataNeedTheDeviceIdTheFrameLengthAndTheCommand)
{
    EXPECT_EQ(Words{}.sync().put(0x30004001).reason("2v40"), "frame data come before a device ID");
    EXPECT_EQ(Words{}.sync().put(0x30004001).reason("v50"), "frame data come before a frame length");
    EXPECT_EQ(Words{}.sync().write(fpga::REG_FLR, 11).put(0x30004001).reason("v50"),
              "frame data come without the command to write them");
}

TEST(PacketPort, AnotherDeviceIdIsNamed)
{
    EXPECT_EQ(Words{}.sync().write(fpga::REG_IDCODE, 0x01040093).reason("2v40"),
              "device ID 01040093 (2v3000) differs from 01008093 of a 2v40");
}

TEST(PacketPort, TheVersionInADeviceIdIsNotCompared)
{
    EXPECT_EQ(Words{}.sync().write(fpga::REG_IDCODE, 0x31008093).given_to("2v40"), Outcome::data_short);
}

TEST(PacketPort, ACrcWordThatDiffersIsToldAndLoutIsNotInIt)
{
    const Words words = Words{}.sync().write(fpga::REG_CMD, 7).write(fpga::REG_FLR, 0x19);
    EXPECT_EQ(Words{words}.write(fpga::REG_CRC, 0x1234).reason("2v40"),
              "CRC word 1234, but the data before it give 2AE0 (byte 32)");
    EXPECT_EQ(Words{words}.write(fpga::REG_CRC, 0x2AE0).given_to("2v40"), Outcome::data_short);
    EXPECT_EQ(Words{words}.write(fpga::REG_LOUT, 0xDEADBEEF).write(fpga::REG_CRC, 0x2AE0).given_to("2v40"),
              Outcome::data_short);
}

TEST(PacketPort, AnUncheckedStreamPassesWithAnyCrcWord)
{
    Words words;
    words.sync().write(fpga::REG_COR, 0x20043FE5).write(fpga::REG_CRC, fpga::UNCHECKED_CRC_WORD);
    EXPECT_EQ(words.given_to("2v40"), Outcome::data_short);
    EXPECT_EQ(words.given_to("v50"), Outcome::crc_error);
}

TEST(PacketPort, TheDesynchronisedStateIgnoresWordsUntilTheNextSynchronisation)
{
    Words words;
    words.sync().write(fpga::REG_CMD, fpga::CMD_DESYNCH).put(0xFFFFFFFF).put(0x28018001);
    EXPECT_EQ(words.given_to("2v40"), Outcome::data_short);
    words.put(fpga::SYNC_WORD).put(0x28018001);
    EXPECT_EQ(words.given_to("2v40"), Outcome::violation);
}

/// The stream of a 2v40 with other commands behind its frames, and the CRC word that fits them.
Bytes stream_ending_in(std::initializer_list<std::uint32_t> commands)
{
    const Device& device = device_named("2v40");
    constexpr std::size_t TAIL_WORDS = 12 + 26 + 4; // six packets and words that do nothing
    Bytes stream = fpga::make_stream(device);
    stream.resize(stream.size() - 4 * TAIL_WORDS);
    Words words{stream};
    fpga::PacketCrc crc{5};
    for (const std::uint32_t command : commands) {
        words.write(fpga::REG_CMD, command);
        crc.feed(command, fpga::REG_CMD);
    }
    return words.write(fpga::REG_CRC, crc.value()).bytes();
}

TEST(PacketPort, StartUpNeedsTheLastFrameCommandInForce)
{
    using namespace fpga;
    const Device& device = device_named("2v40");
    EXPECT_EQ(configure(device, stream_ending_in({CMD_LFRM, CMD_START})).outcome, Outcome::done);
    for (const auto& commands : {std::initializer_list<std::uint32_t>{CMD_START},
                                 {CMD_GRESTORE, CMD_START},
                                 {CMD_LFRM, CMD_AGHIGH, CMD_START}}) {
        const PortReport report = configure(device, stream_ending_in(commands));
        EXPECT_EQ(report.outcome, Outcome::violation);
        EXPECT_EQ(report.reason, "start-up was requested without the last-frame command");
    }
    EXPECT_EQ(configure(device, stream_ending_in({CMD_LFRM, CMD_AGHIGH, CMD_LFRM, CMD_START})).outcome,
              Outcome::done);
}

TEST(PacketPort, ReportsWhatTheStreamWrote)
{
    const Device& device = device_named("2v40");
    const fpga::PortReport report = configure(device, fpga::make_stream(device));
    EXPECT_EQ(report.sync_bit, 32U);
    EXPECT_EQ(report.idcode, 0x01008093U);
    EXPECT_EQ(report.frame_size, 26U);
    EXPECT_EQ(report.frames_expected, 404U);
    EXPECT_EQ(report.crc_checks_passed, 2U);
    EXPECT_EQ(report.bytes, 42372U);
    EXPECT_EQ(report.reason, "DONE went high after 338784 bits");
    std::string registers;
    for (const fpga::RegisterWrites& writes : report.registers)
        registers += std::string{writes.name} + " " + std::to_string(writes.words) + ", ";
    EXPECT_EQ(registers, "CRC 1, FAR 1, FDRI 10530, CMD 6, CTL 1, MASK 1, COR 1, FLR 1, IDCODE 1, ");
}

TEST(LengthCountPort, NeedsAsManyBitsAsTheLengthCountTells)
{
    const Device& device = device_named("s10");
    const Bytes stream = fpga::make_stream(device);
    EXPECT_EQ(configure(device, stream).length_count, 95001U);
    EXPECT_EQ(configure(device, std::span{stream}.first(stream.size() - 1)).outcome, Outcome::data_short);
}

/// The stream with bytes of fill in front.
Bytes with_fill(const Bytes& stream, std::size_t bytes)
{
    Bytes filled(bytes, 0xFF);
    filled.insert(filled.end(), stream.begin(), stream.end());
    return filled;
}

Bytes with_length_count(Bytes stream, std::uint32_t count)
{
    const std::uint32_t placed = count << 4 | 0xF;
    stream[1] = static_cast<std::uint8_t>(0x20U | placed >> 24);
    for (std::size_t at = 2; at < 5; ++at)
        stream[at] = static_cast<std::uint8_t>(placed >> 8 * (4 - at));
    return stream;
}

// The frames of an XCS10 end 9 bits before the length count, those of an XCS10XL 14.
TEST(LengthCountPort, FillInFrontMovesTheFramesBehindTheLengthCount)
{
    for (const char* name : {"s10", "s10xl"}) {
        const Device& device = device_named(name);
        const Bytes stream = fpga::make_stream(device);
        EXPECT_EQ(configure(device, with_fill(stream, 1)).outcome, Outcome::done) << name;
        for (const std::size_t fill : {2U, 3U, 100U}) {
            Bytes moved = with_fill(stream, fill);
            moved.insert(moved.end(), 64, 0xFF);
            const fpga::PortReport report = configure(device, moved);
            EXPECT_EQ(report.outcome, Outcome::data_short) << name << fill;
            EXPECT_EQ(report.frames_written, device.frames());
            EXPECT_EQ(report.reason, "the length count " + std::to_string(device.stream_bits() - 7) +
                                         " was reached before all frames were loaded, so it starts nothing");
        }
    }
}

TEST(LengthCountPort, TheCountMatchesAgainWhenItHasGoneRound)
{
    constexpr std::size_t ROUND = std::size_t{1} << 24;
    const Device& device = device_named("s05");
    Bytes moved = with_fill(fpga::make_stream(device), 2);
    moved.resize((53977 + ROUND) / 8, 0xFF);
    EXPECT_EQ(configure(device, moved).outcome, Outcome::data_short);
    moved.push_back(0xFF);
    const fpga::PortReport report = configure(device, moved);
    EXPECT_EQ(report.outcome, Outcome::done);
    EXPECT_EQ(report.bits_to_done, 53977 + ROUND);
}

TEST(LengthCountPort, AnyLengthCountBetweenTheFramesAndTheEndStartsTheDevice)
{
    const Device& device = device_named("s10");
    const Bytes stream = fpga::make_stream(device);
    constexpr std::uint32_t FRAMES_END = 40 + 166 * 572;
    EXPECT_EQ(configure(device, with_length_count(stream, 95001)).outcome, Outcome::done);
    for (std::uint32_t count = FRAMES_END; count <= device.stream_bits(); ++count) {
        const fpga::PortReport report = configure(device, with_length_count(stream, count));
        EXPECT_EQ(report.outcome, Outcome::done) << count;
        EXPECT_EQ(report.bits_to_done, count);
        EXPECT_EQ(report.length_count, count);
    }
    for (const std::uint32_t count : {0U, 40U, FRAMES_END - 1, device.stream_bits() + 1}) {
        const fpga::PortReport report = configure(device, with_length_count(stream, count));
        EXPECT_EQ(report.outcome, Outcome::wrong_device) << count;
        EXPECT_EQ(report.reason, "length count " + std::to_string(count) + " differs from 95001 of a s10");
    }
    Bytes longer = with_length_count(stream, device.stream_bits() + 1);
    longer.push_back(0xFF);
    EXPECT_EQ(configure(device, longer).outcome, Outcome::done) << "more clocks reach it";
}

void set_bit(Bytes& stream, std::size_t bit, bool one)
{
    const auto mask = static_cast<std::uint8_t>(0x80U >> bit % 8);
    stream[bit / 8] = static_cast<std::uint8_t>(one ? stream[bit / 8] | mask : stream[bit / 8] & ~mask);
}

TEST(LengthCountPort, ConstantCheckBitsAreTakenWhereTheStreamSaysSo)
{
    const Device& device = device_named("s05");
    Bytes stream = fpga::make_stream(device, {Fill::zero, 1, Defect::none});
    set_bit(stream, 42, true); // the second data bit of the first frame
    EXPECT_EQ(configure(device, stream).outcome, Outcome::crc_error);
    for (std::size_t end = 40 + 126; end <= 40 + std::size_t{126} * 428; end += 126) {
        set_bit(stream, end - 4, false);
        set_bit(stream, end - 3, true);
        set_bit(stream, end - 2, true);
        set_bit(stream, end - 1, false);
    }
    EXPECT_EQ(configure(device, stream).outcome, Outcome::done);
}

unsigned bit_of(const Bytes& stream, std::size_t at)
{
    return stream[at / 8] >> (7 - at % 8) & 1U;
}

/// The check register in front of the last check bits.
fpga::FrameCheck check_up_to(const Bytes& stream, std::size_t end)
{
    constexpr std::size_t FIRST_FRAME = 40;
    fpga::FrameCheck check;
    check.feed(1);
    check.feed(bit_of(stream, FIRST_FRAME + 1));
    check.feed(bit_of(stream, FIRST_FRAME + 1));
    for (std::size_t at = FIRST_FRAME + 3; at < end; ++at)
        check.feed(bit_of(stream, at));
    return check;
}

TEST(LengthCountPort, EachOfTheElevenLastCheckBitsCounts)
{
    constexpr unsigned CHECK_BITS = 11;
    const Device& device = device_named("s05");
    const Bytes good = fpga::make_stream(device, {Fill::random, 4, Defect::none});
    const std::size_t end = 40 + std::size_t{126} * 428;
    const fpga::FrameCheck before = check_up_to(good, end - CHECK_BITS);
    unsigned tried = 0;
    for (unsigned bits = 0; bits < 1U << CHECK_BITS; ++bits) {
        fpga::FrameCheck check = before;
        for (unsigned place = CHECK_BITS; place-- > 0;)
            check.feed(bits >> place & 1U);
        const unsigned rest = check.low(CHECK_BITS);
        if ((rest & (rest - 1)) != 0)
            continue; // one bit alone, or none, is left of the register
        Bytes stream = good;
        for (unsigned place = 0; place < CHECK_BITS; ++place)
            set_bit(stream, end - 1 - place, (bits >> place & 1U) != 0);
        EXPECT_EQ(configure(device, stream).outcome, rest == 0 ? Outcome::done : Outcome::crc_error) << rest;
        ++tried;
    }
    EXPECT_EQ(tried, CHECK_BITS + 1);
}

TEST(LengthCountPort, ASpoiltPostambleIsAViolation)
{
    const Device& device = device_named("s10");
    Bytes stream = fpga::make_stream(device);
    stream[stream.size() - 2] ^= 0x01;
    EXPECT_EQ(configure(device, stream).outcome, Outcome::violation);
}

} // namespace
