// SPDX-License-Identifier: Apache-2.0
// Part names of all families, as files hold them.
#include "devices.h"
#include "file/families.h"

#include <gtest/gtest.h>

#include <cctype>
#include <string>
#include <string_view>

namespace
{

struct Named {
    const char* part;
    const char* family;
};

constexpr Named others[] = {
    {"2064pc68", "XC2000"},           {"3020apc84", "XC3000"},          {"3190apq160", "XC3100"},
    {"4003pc84", "XC4000"},           {"4005epc84", "XC4000E"},         {"4028exhq240", "XC4000EX"},
    {"4010xlpc84", "XC4000XL"},       {"4085xlabg432", "XC4000XLA"},    {"40150xvbg560", "XC4000XV"},
    {"5202pc84", "XC5200"},           {"6216pc84", "XC6200"},           {"2s50eft256", "Spartan-2E"},
    {"2s600efg676", "Spartan-2E"},    {"3s50cp132", "Spartan-3"},       {"3s5000fg900", "Spartan-3"},
    {"3s500ecp132", "Spartan-3E"},    {"3s1600efg320", "Spartan-3E"},   {"3s200aft256", "Spartan-3A"},
    {"3s1400afg676", "Spartan-3A"},   {"3s700anfgg484", "Spartan-3AN"}, {"3sd1800acs484", "Spartan-3A DSP"},
    {"4vlx25ff668", "Virtex-4"},      {"4vsx35ff668", "Virtex-4"},      {"4vfx12sf363", "Virtex-4"},
    {"5vlx50ff676", "Virtex-5"},      {"5vlx110tff1136", "Virtex-5"},   {"5vsx95tff1136", "Virtex-5"},
    {"5vfx70tff1136", "Virtex-5"},    {"5vtx150tff1156", "Virtex-5"},   {"6slx9tqg144", "Spartan-6"},
    {"6slx4cpg196", "Spartan-6"},     {"6slx45tcsg324", "Spartan-6"},   {"6slx150tfgg676", "Spartan-6"},
    {"6vlx240tff1156", "Virtex-6"},   {"6vsx475tff1759", "Virtex-6"},   {"6vhx380tff1923", "Virtex-6"},
    {"6vcx75tff784", "Virtex-6"},     {"7a35tcpg236", "7 Series"},      {"7k325tffg900", "7 Series"},
    {"7s50csga324", "7 Series"},      {"7vx485tffg1761", "7 Series"},   {"7v2000tflg1925", "7 Series"},
    {"7z020clg484", "Zynq-7000"},     {"ku040-ffva1156", "UltraScale"}, {"vu9p-flga2104", "UltraScale"},
    {"zu9eg-ffvb1156", "UltraScale"},
};

constexpr Named carried[] = {
    {"s10pc84", "Spartan"},       {"s20xlvq100", "Spartan-XL"},   {"2s15vq100", "Spartan-2"},
    {"2s200fg456", "Spartan-2"},  {"v50bg256", "Virtex"},         {"v800hq240", "Virtex"},
    {"v300ebg352", "Virtex-E"},   {"v812efg900", "Virtex-E"},     {"2v40cs144", "Virtex-2"},
    {"2v8000ff1517", "Virtex-2"}, {"2vp30ff896", "Virtex-2 Pro"}, {"2vpx70ff1704", "Virtex-2 Pro"},
};

TEST(Families, NamesThePartsOfEveryOtherFamily)
{
    for (const auto& [part, family] : others) {
        const kvn::OtherFamily* found = kvn::other_family(part);
        ASSERT_NE(found, nullptr) << part;
        EXPECT_EQ(found->name, family) << part;
        const fpga::Device* device = fpga::find_device(part);
        EXPECT_TRUE(device == nullptr || !device->carried_by_modules()) << part;
        std::string upper = "XC";
        for (const char* c = part; *c != '\0'; ++c)
            upper += static_cast<char>(std::toupper(static_cast<unsigned char>(*c)));
        EXPECT_EQ(kvn::other_family(upper), found) << upper;
    }
}

TEST(Families, PartsThatModulesCarryAreOfNoOther)
{
    for (const auto& [part, family] : carried) {
        EXPECT_EQ(kvn::other_family(part), nullptr) << part;
        const fpga::Device* device = fpga::find_device(part);
        ASSERT_NE(device, nullptr) << part;
        EXPECT_EQ(fpga::family_name(device->family), family) << part;
    }
}

TEST(Families, WhatIsNoPartIsOfNone)
{
    for (const char* name : {"", "xc", "6s", "6slx", "5v", "40", "7", "z80", "example.ncd"})
        EXPECT_EQ(kvn::other_family(name), nullptr) << name;
}

TEST(Families, TellWhosePacketsAreKnown)
{
    using kvn::Packets;
    EXPECT_EQ(kvn::other_family("3s50cp132")->packets, Packets::known);
    EXPECT_EQ(kvn::other_family("3s500ecp132")->packets, Packets::known);
    EXPECT_EQ(kvn::other_family("2s50eft256")->packets, Packets::known);
    EXPECT_EQ(kvn::other_family("3s700anfgg484")->packets, Packets::others);
    EXPECT_EQ(kvn::other_family("6slx9tqg144")->packets, Packets::others);
    EXPECT_EQ(kvn::other_family("4010xlpc84")->packets, Packets::none);
}

} // namespace
