// SPDX-License-Identifier: Apache-2.0
// Real bitstreams, in the folder that KVN_REAL_BITSTREAMS names: each starts its device, whole and as far as
// it may be cut.
#include "bits.h"
#include "packet_reader.h"
#include "packets.h"
#include "port_support.h"
#include "support/process.h"
#include "support/real_files.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <iostream>

namespace
{

namespace fs = std::filesystem;
using Bytes = std::vector<std::uint8_t>;

/// Files whose names begin with a device that modules carry; the others serve as wrong devices.
std::vector<fs::path> files(bool of_known_devices)
{
    std::vector<fs::path> found = real_files();
    std::erase_if(found, [&](const fs::path& file) {
        const fpga::Device* device = fpga::find_device(file.filename().string());
        return (device != nullptr && device->carried_by_modules()) != of_known_devices;
    });
    return found;
}

// Data lines hold nothing but 0 and 1.
Bytes rbt_data(const Bytes& content)
{
    Bytes data;
    unsigned count = 0;
    for (auto at = content.begin(); at != content.end();) {
        const auto end = std::find(at, content.end(), '\n');
        const bool is_data =
            end - at > 8 && std::all_of(at, end, [](int c) { return c == '0' || c == '1' || c == '\r'; });
        for (; is_data && at != end; ++at) {
            if (*at == '\r')
                continue;
            if (count++ % 8 == 0)
                data.push_back(0);
            data.back() = static_cast<std::uint8_t>(data.back() << 1 | (*at == '1' ? 1 : 0));
        }
        at = end == content.end() ? end : end + 1;
    }
    return data;
}

Bytes bit_data(const Bytes& content)
{
    std::size_t at = 13;
    const auto length16 = [&] { return std::size_t{content.at(at)} << 8 | content.at(at + 1); };
    for (int field = 0; field < 4; ++field) {
        ++at;
        at += 2 + length16();
    }
    return {content.begin() + static_cast<std::ptrdiff_t>(at + 5), content.end()};
}

// RBT files that another program converted from driver data hold each group of eight characters the other way
// round.
bool converted(const Bytes& content)
{
    const std::string head{content.begin(), content.begin() + static_cast<std::ptrdiff_t>(
                                                                  std::min<std::size_t>(64, content.size()))};
    return head.find("\nConverted from ") != std::string::npos;
}

Bytes data_of(const fs::path& path)
{
    const std::string text = real_content(path);
    const Bytes content{text.begin(), text.end()};
    if (path.filename().string().find(".rbt") == std::string::npos)
        return bit_data(content);
    return converted(content) ? fpga::reverse_each(rbt_data(content)) : rbt_data(content);
}

/// Offsets of the bytes that hold frame data.
std::vector<std::size_t> frame_bytes(const fpga::Device& device, const Bytes& stream)
{
    std::vector<std::size_t> offsets;
    if (device.architecture() == fpga::Architecture::length_count) {
        const std::size_t frame_bits = std::size_t{device.frame_size} * device.frames();
        for (std::size_t at = 6; at < (40 + frame_bits) / 8; ++at)
            offsets.push_back(at);
        return offsets;
    }
    fpga::PacketReader reader{device.architecture()};
    for (std::size_t at = 0; at < stream.size(); ++at) {
        const auto word = reader.take(fpga::reverse_bits(stream[at]));
        if (word && word->kind == fpga::PacketWord::Kind::data && word->address == fpga::REG_FDRI)
            offsets.insert(offsets.end(), {at - 3, at - 2, at - 1, at});
    }
    return offsets;
}

class EachRealBitstream : public testing::TestWithParam<fs::path>
{
protected:
    const fpga::Device& device = *fpga::find_device(GetParam().filename().string());
    const Bytes stream = data_of(GetParam());
    [[nodiscard]] bool packets() const { return device.architecture() != fpga::Architecture::length_count; }
};
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(EachRealBitstream);

TEST_P(EachRealBitstream, StartsItsDevice)
{
    const fpga::PortReport report = configure(device, stream);
    EXPECT_EQ(report.outcome, fpga::Outcome::done) << report.reason;
}

// Packet streams end in padding; streams of the length-count families lose their last frame.
TEST_P(EachRealBitstream, StartsItsDeviceWithoutTheTailOnlyInPacketFamilies)
{
    const fpga::Outcome expected = packets() ? fpga::Outcome::done : fpga::Outcome::data_short;
    EXPECT_EQ(configure(device, less_words(stream, 1)).outcome, expected);
    EXPECT_EQ(configure(device, less_words(stream, 4)).outcome, expected);
    EXPECT_EQ(configure(device, less_words(stream, 7)).outcome, fpga::Outcome::data_short);
}

TEST_P(EachRealBitstream, ASingleFlippedBitInFrameDataIsACrcError)
{
    constexpr std::size_t SAMPLES = 32;
    const std::vector<std::size_t> offsets = frame_bytes(device, stream);
    ASSERT_FALSE(offsets.empty());
    Bytes spoilt = stream;
    for (std::size_t sample = 0; sample < SAMPLES; ++sample) {
        const std::size_t at = offsets[(offsets.size() - 1) * sample / (SAMPLES - 1)];
        const auto mask = static_cast<std::uint8_t>(1U << sample % 8);
        spoilt[at] = static_cast<std::uint8_t>(spoilt[at] ^ mask);
        EXPECT_EQ(configure(device, spoilt).outcome, fpga::Outcome::crc_error) << "byte " << at;
        spoilt[at] = static_cast<std::uint8_t>(spoilt[at] ^ mask);
    }
}

INSTANTIATE_TEST_SUITE_P(Files, EachRealBitstream, testing::ValuesIn(files(true)),
                         [](const auto& tested) { return test_name(tested.param.filename().string()); });

using EachForeignBitstream = testing::TestWithParam<fs::path>;
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(EachForeignBitstream);

TEST_P(EachForeignBitstream, StartsNoDeviceThatModulesCarryButItsTwin)
{
    const Bytes stream = data_of(GetParam());
    const std::string name = GetParam().filename().string();
    for (const fpga::Device& device : fpga::devices()) {
        // The XC4005E shares frame format and size with the XCS10, Spartan-2E all its logic with Virtex-E;
        // only the part name in the file tells them apart.
        const fpga::Device* made_for = fpga::find_device(name);
        const bool twin =
            (name.starts_with("4005e") && device.name == "s10") ||
            (made_for != nullptr && device.family == fpga::Family::virtex_e &&
             device.frame_size == made_for->frame_size && device.frames() == made_for->frames());
        if (device.carried_by_modules()) {
            EXPECT_EQ(configure(device, stream).outcome == fpga::Outcome::done, twin) << device.name;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Files, EachForeignBitstream, testing::ValuesIn(files(false)),
                         [](const auto& tested) { return test_name(tested.param.filename().string()); });

TEST(RealBitstreams, AreTestedWhereTheirFolderIsGiven)
{
    const char* folder = std::getenv("KVN_REAL_BITSTREAMS");
    if (folder == nullptr) {
        std::cout << "KVN_REAL_BITSTREAMS is not set: no real bitstream was tested.\n";
        SUCCEED();
        return;
    }
    std::cout << "Real bitstreams tested: " << files(true).size() << " of known devices, "
              << files(false).size() << " of others, from " << folder << ".\n";
    EXPECT_FALSE(files(true).empty()) << "KVN_REAL_BITSTREAMS names a folder without bitstreams";
}

} // namespace
