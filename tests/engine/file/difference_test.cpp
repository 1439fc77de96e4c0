// SPDX-License-Identifier: Apache-2.0
#include "file/difference.h"

#include "examples.h"
#include "packing.h"
#include "support/bitstreams.h"

namespace
{
using kvn::Difference;

class DifferenceTest : public ExampleTest
{
protected:
    const fpga::Device& v2 = device("2v40");
    const Data data = fpga::make_stream(v2);

    [[nodiscard]] Difference compare_with(const Data& other) const
    {
        return kvn::compare(bit(v2, data, "a.bit"), bit(v2, other, "b.bit"));
    }
    /// Where the frames begin: behind the type 2 header that counts their words.
    [[nodiscard]] std::size_t begin_of_frames() const
    {
        std::size_t header = 0;
        while (data.at(header) != 0x50)
            header += 4;
        return header + 4;
    }
    /// The data with bits of a byte inverted.
    [[nodiscard]] static Data spoilt(Data data, std::size_t place, std::uint8_t mask)
    {
        data.at(place) ^= mask;
        return data;
    }
};

TEST_F(DifferenceTest, AFileEqualsItselfInAllForms)
{
    const kvn::Input forms[] = {bit(v2, data), rbt(v2, data), mcb(v2, data)};
    for (const kvn::Input& first : forms)
        for (const kvn::Input& second : forms) {
            const Difference difference = kvn::compare(first, second);
            EXPECT_TRUE(difference.same_configuration);
            EXPECT_EQ(difference.words, "same configuration") << first.name() << second.name();
            EXPECT_EQ(difference.device, &v2);
            EXPECT_EQ(difference.frames_compared, 404U);
            EXPECT_EQ(difference.frames.size() + difference.registers.size() + difference.bits, 0U);
            EXPECT_EQ(difference.first_bit, std::nullopt);
        }
}

TEST_F(DifferenceTest, SaysWhichTextsOfTheHeaderDiffer)
{
    fpga::FileLabels later = labels(v2);
    later.bit_date = "2007/03/18";
    later.design = "other.ncd";
    fpga::write_bit(path("b.bit"), data, later);
    const Difference difference = kvn::compare(bit(v2, data), kvn::Input::from_path(path("b.bit")));
    EXPECT_EQ(difference.words, "same configuration; header design, date differ");
    ASSERT_EQ(difference.headers.size(), 2U);
    EXPECT_EQ(difference.headers[1].name, "date");
    EXPECT_EQ(difference.headers[1].first, "2006/02/17");
    EXPECT_EQ(difference.headers[1].second, "2007/03/18");
    later = labels(v2);
    later.bit_time = "12:00:01";
    fpga::write_bit(path("b.bit"), data, later);
    EXPECT_EQ(kvn::compare(bit(v2, data), kvn::Input::from_path(path("b.bit"))).words,
              "same configuration; header time differs");
}

TEST_F(DifferenceTest, ADateIsTheSameHoweverItIsWritten)
{
    fpga::FileLabels later = labels(v2);
    later.rbt_date = "Sat Dec  1 02:03:04 2007";
    later.bit_date = "2007/12/01";
    later.bit_time = "02:03:04";
    fpga::write_bit(path("b.bit"), data, later);
    fpga::write_rbt(path("b.rbt"), data, later);
    const auto words = [&](const char* a, const char* b) {
        return kvn::compare(kvn::Input::from_path(path(a)), kvn::Input::from_path(path(b))).words;
    };
    EXPECT_EQ(words("b.bit", "b.rbt"), "same configuration");
    (void)bit(v2, data);
    EXPECT_EQ(words("a.bit", "b.rbt"), "same configuration; header date, time differ");
    later.rbt_date = "some day";
    fpga::write_rbt(path("c.rbt"), data, later);
    EXPECT_EQ(words("b.rbt", "c.rbt"), "same configuration; header date, time differ");
}

TEST_F(DifferenceTest, MonthsHaveTheirNumbers)
{
    const char* const months[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                  "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
    for (std::size_t i = 0; i < std::size(months); ++i) {
        fpga::FileLabels made = labels(v2);
        made.rbt_date = std::string{"Sat "} + months[i] + " 1 02:03:04 2007";
        made.bit_date = "2007/" + std::string(i < 9 ? "0" : "") + std::to_string(i + 1) + "/01";
        made.bit_time = "02:03:04";
        fpga::write_bit(path("b.bit"), data, made);
        fpga::write_rbt(path("b.rbt"), data, made);
        EXPECT_EQ(
            kvn::compare(kvn::Input::from_path(path("b.bit")), kvn::Input::from_path(path("b.rbt"))).words,
            "same configuration")
            << months[i];
    }
}

TEST_F(DifferenceTest, NamesFramesThatDifferByTheirAddress)
{
    const std::size_t middle = data.size() / 2;
    const Difference one = compare_with(spoilt(data, middle, 0x11));
    EXPECT_FALSE(one.same_configuration);
    ASSERT_EQ(one.frames.size(), 1U);
    EXPECT_EQ(one.bits, 2U);
    EXPECT_EQ(one.frames[0].bits, 2U);
    EXPECT_TRUE(one.frames[0].in_first && one.frames[0].in_second);
    EXPECT_EQ(one.words, "2 bits of configuration differ, in 1 of 404 frames");
    EXPECT_EQ(one.first_bit, middle * 8 + 3) << "bit 4 of the byte in the file";
    const std::size_t frame_bytes = v2.frame_size * 4;
    const Difference two = compare_with(spoilt(spoilt(data, middle, 0x80), middle + frame_bytes, 0x01));
    ASSERT_EQ(two.frames.size(), 2U);
    const auto address = [](const kvn::FrameDifference& frame) {
        return fpga::frame_address(frame.block, frame.major, frame.minor);
    };
    EXPECT_LT(address(two.frames[0]), address(two.frames[1]));
    EXPECT_EQ(address(two.frames[0]), address(one.frames[0]));
    EXPECT_EQ(two.words, "2 bits of configuration differ, in 2 of 404 frames");
    EXPECT_EQ(compare_with(spoilt(data, middle, 0x80)).words,
              "1 bit of configuration differs, in 1 of 404 frames");
}

TEST_F(DifferenceTest, TheFirstAndTheLastFrameHaveTheirAddresses)
{
    const std::size_t begin = begin_of_frames();
    const Difference first = compare_with(spoilt(data, begin, 1));
    ASSERT_EQ(first.frames.size(), 1U);
    EXPECT_EQ(first.frames[0].block + first.frames[0].major + first.frames[0].minor, 0U);
    const std::size_t last = begin + std::size_t{404} * v2.frame_size * 4 - 1;
    const Difference end = compare_with(spoilt(data, last, 1));
    ASSERT_EQ(end.frames.size(), 1U);
    const fpga::Column column = fpga::frame_columns(v2).back();
    EXPECT_EQ(end.frames[0].block, column.block);
    EXPECT_EQ(end.frames[0].major, column.major);
    EXPECT_EQ(end.frames[0].minor, column.frames - 1);
    const Difference pad = compare_with(spoilt(data, last + 1, 1));
    EXPECT_TRUE(pad.frames.empty());
    EXPECT_EQ(pad.words, "the frames are the same; words around them differ");
}

TEST_F(DifferenceTest, AFrameThatOneFileDoesNotWriteDiffersInAllItsBits)
{
    constexpr std::size_t LEFT_OUT = 2;
    const std::size_t words = LEFT_OUT * v2.frame_size;
    Data partial = data;
    const std::size_t begin = begin_of_frames();
    const std::size_t header = begin - 4;
    const std::size_t count =
        std::size_t{partial[header + 1]} << 16 | std::size_t{partial[header + 2]} << 8 | partial[header + 3];
    const std::size_t end = begin + count * 4;
    for (std::size_t i = 1; i <= 3; ++i)
        partial[header + i] = static_cast<std::uint8_t>((count - words) >> (24 - 8 * i));
    // The word behind the frames is their check sum, wherever they end.
    for (std::size_t at = end - words * 4; at <= end; at += 4) {
        partial[at] = 0x20; // a packet without an operation
        partial[at + 1] = partial[at + 2] = partial[at + 3] = 0;
    }
    const Difference less = compare_with(partial);
    const Difference more = kvn::compare(bit(v2, partial, "a.bit"), bit(v2, data, "b.bit"));
    for (const Difference& difference : {less, more}) {
        ASSERT_EQ(difference.frames.size(), LEFT_OUT) << difference.words;
        EXPECT_EQ(difference.bits, words * 32);
        EXPECT_EQ(difference.frames_compared, 404U);
    }
    EXPECT_TRUE(less.frames[0].in_first && !less.frames[0].in_second);
    EXPECT_TRUE(!more.frames[0].in_first && more.frames[0].in_second);
}

TEST_F(DifferenceTest, NamesRegistersThatDiffer)
{
    Data other = data;
    const std::vector<std::uint8_t> header{0x30, 0x01, 0x20, 0x01}; // one word for COR
    const auto found = std::search(other.begin(), other.end(), header.begin(), header.end());
    ASSERT_NE(found, other.end());
    found[7] ^= 1;
    const Difference difference = compare_with(other);
    ASSERT_EQ(difference.registers.size(), 1U);
    EXPECT_EQ(difference.registers[0].name, "COR");
    ASSERT_EQ(difference.registers[0].first.size(), 1U);
    EXPECT_EQ(difference.registers[0].first[0] ^ difference.registers[0].second[0], 1U);
    EXPECT_EQ(difference.words, "the frames are the same; register COR differs");
}

TEST_F(DifferenceTest, FilesForOtherDevicesAreComparedByOffset)
{
    const fpga::Device& other = device("2v80");
    const Difference difference = kvn::compare(bit(v2, data), bit(other, fpga::make_stream(other), "b.bit"));
    EXPECT_EQ(difference.device, nullptr);
    EXPECT_TRUE(difference.frames.empty());
    ASSERT_TRUE(difference.first_bit.has_value());
    EXPECT_EQ(difference.words.substr(0, difference.words.find("; header")),
              std::to_string(difference.bits) + " bits differ, from bit " +
                  std::to_string(*difference.first_bit) + " on; the sizes are 338976 and " +
                  std::to_string(other.stream_bits()) + " bits");
}

TEST_F(DifferenceTest, AStreamThatCannotBeFollowedIsComparedByOffset)
{
    std::size_t begin = 0;
    while (data.at(begin) != 0x50)
        begin += 4;
    const Difference difference = compare_with(spoilt(data, begin, 0x80)); // no packet header any more
    EXPECT_EQ(difference.device, nullptr);
    EXPECT_EQ(difference.bits, 1U);
    EXPECT_EQ(difference.words, "1 bit differs, from bit " + std::to_string(begin * 8) + " on");
}

TEST_F(DifferenceTest, ASpartanIsComparedByOffset)
{
    const fpga::Device& spartan = device("s10");
    const Data whole = fpga::make_stream(spartan);
    const Difference difference =
        kvn::compare(bit(spartan, whole), bit(spartan, spoilt(whole, 5000, 0x81), "b.bit"));
    EXPECT_EQ(difference.device, nullptr);
    EXPECT_EQ(difference.words, "2 bits differ, from bit 40000 on");
    Data longer = whole;
    longer.resize(longer.size() + 16, 0xFF);
    EXPECT_EQ(kvn::compare(bit(spartan, whole), bit(spartan, longer, "b.bit")).words, "same configuration");
}

TEST_F(DifferenceTest, DamagedFilesAreNotCompared)
{
    const kvn::Input good = bit(v2, data);
    const std::string text = content("a.bit");
    const kvn::Input cut = input_of(text.substr(0, 5000), "cut.bit");
    EXPECT_EQ(failure_of([&] { (void)kvn::compare(good, cut); }).what,
              "cut.bit: the configuration data are missing, cut or damaged");
    EXPECT_EQ(failure_of([&] { (void)kvn::compare(cut, good); }).status, kvn::ExitStatus::damaged);
}

TEST_F(DifferenceTest, MoreDataThanAnyDeviceTakesAreNotCompared)
{
    const Bytes whole(600, 0);
    (void)bit(v2, data);
    (void)mcb(v2, data);
    std::string text = content("a.mcb").substr(0, 522); // the header
    const std::uint32_t total = 65U << 20U;
    for (unsigned i = 0; i < 4; ++i)
        text[518 + i] = static_cast<char>(total >> 8U * i);
    for (std::uint32_t bytes = 0; bytes < total; bytes += 255)
        text += "\xFF\x01";
    const kvn::Input large = input_of(text, "large.mcb");
    EXPECT_EQ(failure_of([&] { (void)kvn::compare(large, large); }).what,
              "large.mcb: more than 67108864 bytes of configuration, too many to be compared");
}
} // namespace
