// SPDX-License-Identifier: Apache-2.0
// Real bitstreams, in the folder that KVN_REAL_BITSTREAMS names, seen by kvn.
#include "devices.h"
#include "kvn_fixture.h"
#include "support/real_files.h"

#include <gmock/gmock.h>

namespace
{
namespace fs = std::filesystem;

using KvnRealFiles = KvnTest;

TEST_F(KvnRealFiles, AreJudgedByFamilyAndFormat)
{
    for (const fs::path& file : real_files()) {
        SCOPED_TRACE(file.filename().string());
        if (real_content(file).find("\nConverted from ") != std::string::npos) {
            EXPECT_EQ(kvn({"check", file.string()}).status, 4) << "its header is not as the tools write it";
            const nlohmann::json info = json({"info", file.string()});
            EXPECT_TRUE(file.filename().string().starts_with(info["devices_by_data"][0].get<std::string>()));
            EXPECT_EQ(info["found_bits"], info["stated_bits"]);
            EXPECT_EQ(info["configuration"]["starts"], true);
            continue;
        }
        const nlohmann::json check = json({"check", file.string()});
        const fpga::Device* device = fpga::find_device(check["part"].get<std::string>());
        const bool is_carried = device != nullptr && device->carried_by_modules();
        if (!is_carried) {
            EXPECT_EQ(check["check"]["result"], "no");
            EXPECT_TRUE(check["other_family"].is_string() || !check["problems"].empty());
            continue;
        }
        const bool is_serial = device->architecture() == fpga::Architecture::length_count;
        EXPECT_EQ(check["check"]["result"], is_serial ? "no" : "yes");
        EXPECT_EQ(check["problems"].empty(), !is_serial);
        EXPECT_EQ(check["configuration"]["crc"]["verdict"], "right");
        EXPECT_EQ(check["found_bits"], check["stated_bits"]);
    }
}

TEST_F(KvnRealFiles, AFlippedBitIsFound)
{
    for (const fs::path& file : real_files()) {
        const fpga::Device* device = fpga::find_device(file.filename().string());
        const std::string name = file.filename().string();
        const bool is_packet_bit = name.find(".bit") != std::string::npos && device != nullptr &&
                                   device->carried_by_modules() &&
                                   device->architecture() != fpga::Architecture::length_count;
        const bool is_debug = name.find("debug") != std::string::npos;
        if (!is_packet_bit || is_debug)
            continue;
        SCOPED_TRACE(name);
        std::string text = real_content(file);
        text[text.size() / 2] ^= 0x04;
        write("a.bit", text);
        EXPECT_EQ(kvn({"check", "a.bit"}).status, 4);
        EXPECT_THAT(kvn({"info", "a.bit"}).output, testing::HasSubstr("CRC:            wrong, "));
    }
}
} // namespace
