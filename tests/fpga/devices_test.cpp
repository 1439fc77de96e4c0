// SPDX-License-Identifier: Apache-2.0
// The device table: names, frames and stream sizes as in the data sheets.
#include "devices.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

namespace
{

struct Known {
    const char* name;
    unsigned frames;
    std::uint32_t stream_bits;
};

const Known known_devices[] = {
    {"s05", 428, 53984},        {"s10", 572, 95008},        {"s20", 788, 178144},
    {"s30", 932, 247968},       {"s40", 1076, 329312},      {"s05xl", 429, 54544},
    {"s10xl", 573, 95752},      {"s20xl", 789, 179160},     {"s30xl", 933, 249168},
    {"s40xl", 1077, 330696},    {"2s15", 874, 197696},      {"2s30", 1162, 336768},
    {"2s50", 1450, 559200},     {"2s100", 1738, 781216},    {"2s150", 2026, 1040096},
    {"2s200", 2314, 1335840},   {"v50", 1450, 559200},      {"v100", 1738, 781216},
    {"v150", 2026, 1040096},    {"v200", 2314, 1335840},    {"v300", 2602, 1751808},
    {"v400", 3178, 2546048},    {"v600", 3754, 3607968},    {"v800", 4330, 4715616},
    {"v1000", 4906, 6127744},   {"v50e", 1632, 630048},     {"v100e", 1920, 863840},
    {"v200e", 2496, 1442016},   {"v300e", 2784, 1875648},   {"v400e", 3360, 2693440},
    {"v405e", 4270, 3430400},   {"v600e", 4118, 3961632},   {"v812e", 5968, 6519648},
    {"v1000e", 5270, 6587520},  {"v1600e", 6028, 8308992},  {"v2000e", 6604, 10159648},
    {"v2600e", 7468, 12922336}, {"v3200e", 8332, 16283712}, {"2s50e", 1632, 630048},
    {"2s100e", 1920, 863840},   {"2s150e", 2208, 1134496},  {"2s200e", 2496, 1442016},
    {"2s300e", 2784, 1875648},  {"2s400e", 3360, 2693440},  {"2s600e", 4118, 3961632},
    {"2v40", 404, 338976},      {"2v80", 404, 598816},      {"2v250", 752, 1593632},
    {"2v500", 928, 2560544},    {"2v1000", 1104, 4082592},  {"2v1500", 1280, 5170208},
    {"2v2000", 1456, 6812960},  {"2v3000", 1804, 10494368}, {"2v4000", 2156, 15659936},
    {"2v6000", 2508, 21849504}, {"2v8000", 2860, 26194208}, {"2vp2", 884, 1305376},
    {"2vp4", 884, 3006496},     {"2vp7", 1320, 4485408},    {"2vp20", 1756, 8214560},
    {"2vpx20", 1756, 8214560},  {"2vp30", 1756, 11589920},  {"2vp40", 2192, 15868192},
    {"2vp50", 2628, 19021344},  {"2vp70", 3064, 26098976},  {"2vpx70", 3064, 26098976},
    {"2vp100", 3500, 34292768},
};

using EachKnownDevice = testing::TestWithParam<Known>;

TEST_P(EachKnownDevice, HasItsFramesAndItsStreamSize)
{
    const fpga::Device* device = fpga::find_device(GetParam().name);
    ASSERT_NE(device, nullptr);
    EXPECT_EQ(device->name, GetParam().name);
    EXPECT_EQ(device->frames(), GetParam().frames);
    EXPECT_EQ(device->stream_bits(), GetParam().stream_bits);
}

TEST_P(EachKnownDevice, HasAsManyFrameAddressesAsFrames)
{
    const fpga::Device* device = fpga::find_device(GetParam().name);
    ASSERT_NE(device, nullptr);
    unsigned frames = 0;
    std::set<std::pair<unsigned, unsigned>> places;
    for (const fpga::Column& column : frame_columns(*device)) {
        frames += column.frames;
        EXPECT_TRUE(places.insert({column.block, column.major}).second);
    }
    if (device->architecture() != fpga::Architecture::length_count) {
        EXPECT_EQ(frames, device->frames());
    }
}

INSTANTIATE_TEST_SUITE_P(Devices, EachKnownDevice, testing::ValuesIn(known_devices),
                         [](const auto& tested) { return std::string{tested.param.name}; });

TEST(Devices, AreAllKnownHere)
{
    EXPECT_EQ(fpga::devices().size(), std::size(known_devices));
}

TEST(Devices, AreFoundByTheNamesOfModulesAndFiles)
{
    const std::pair<const char*, const char*> names[] = {
        {"2v3000fg676-4", "2v3000"}, {"2vp30ff896-6", "2vp30"}, {"s40xlpq208-4", "s40xl"},
        {"v1000efg680-6", "v1000e"}, {"v1000bg560-4", "v1000"}, {"v50ecs144", "v50e"},
        {"2s50eft256", "2s50e"},     {"2s50tq144", "2s50"},     {"XC2V40CS144", "2v40"},
        {"2v4000bf957", "2v4000"},   {"2vpx20ff896", "2vpx20"}, {"s10vq100", "s10"}};
    for (const auto& [name, device] : names) {
        const fpga::Device* found = fpga::find_device(name);
        ASSERT_NE(found, nullptr) << name;
        EXPECT_EQ(found->name, device);
    }
}

TEST(Devices, AreNotFoundByOtherNames)
{
    for (const char* name : {"", "2v", "2v300", "2v30000fg676", "3s50cp132", "xc", "v51bg256", "4005epc84"})
        EXPECT_EQ(fpga::find_device(name), nullptr) << name;
}

TEST(Devices, AreFoundByIdWhateverItsVersion)
{
    ASSERT_NE(fpga::find_idcode(0x21040093), nullptr);
    EXPECT_EQ(fpga::find_idcode(0x21040093)->name, "2v3000");
    EXPECT_EQ(fpga::find_idcode(0), nullptr);
    EXPECT_EQ(fpga::find_idcode(0x01234567), nullptr);
}

// Virtex-E groups run from the centre outwards; all but the innermost have 24 CLB columns.
TEST(Devices, VirtexEFramesAreGroupedAroundBlockRam)
{
    const auto columns = fpga::frame_columns(*fpga::find_device("v100e"));
    std::string order;
    for (const fpga::Column& column : columns)
        order += std::to_string(column.frames) + " ";
    std::string expected = "8 ";
    for (int i = 0; i < 6; ++i)
        expected += "48 ";
    expected += "27 27 ";
    for (int i = 0; i < 24; ++i)
        expected += "48 ";
    expected += "27 27 54 54 64 64 64 64 ";
    EXPECT_EQ(order, expected);
    EXPECT_EQ(columns.back().major, 4U);
}

TEST(Devices, OnlySpartan2EIsCarriedByNoModule)
{
    for (const fpga::Device& device : fpga::devices())
        EXPECT_EQ(device.carried_by_modules(), device.family != fpga::Family::spartan2e) << device.name;
}

} // namespace
