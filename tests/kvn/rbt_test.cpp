// SPDX-License-Identifier: Apache-2.0
// RBT files that no load takes, but whose data can be read: lines of other lengths, headers of other
// programs.
#include "kvn_fixture.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <sstream>
#include <tuple>

namespace
{
const std::string TITLE = "Xilinx ASCII Bitstream\n";

class KvnRbt : public KvnTest
{
protected:
    /// The characters of all data lines of a file.
    [[nodiscard]] std::string bits_of(const std::string& file) const
    {
        std::istringstream lines{content(file)};
        std::string bits;
        for (std::string line; std::getline(lines, line);)
            if (line.find_first_not_of("01") == std::string::npos)
                bits += line;
        return bits;
    }

    static std::string in_lines(const std::string& bits, std::size_t length)
    {
        std::string text;
        for (std::size_t at = 0; at < bits.size(); at += length)
            text += bits.substr(at, length) + "\n";
        return text;
    }

    static std::string eights_turned(std::string bits)
    {
        for (std::size_t at = 0; at < bits.size(); at += 8)
            std::reverse(bits.begin() + static_cast<std::ptrdiff_t>(at),
                         bits.begin() + static_cast<std::ptrdiff_t>(at + 8));
        return bits;
    }

    static std::string tools_header(const std::string& part, std::size_t bits)
    {
        return TITLE +
               "Created by Bitstream F.23\nDesign name: \tx.ncd\nArchitecture:\tvirtex\nPart:        \t" +
               part + "\nDate:        \tThu Oct 10 09:00:52 2002\nBits:        \t" + std::to_string(bits) +
               "\n";
    }

    void make_frame_lines(const std::string& device, const std::string& file) const
    {
        ASSERT_EQ(run({KVN_BITGEN_PROGRAM, {device, "-o", file, "--frame-lines"}, folder, {}}).status, 0);
    }
};

TEST_F(KvnRbt, ALineForEachFrameIsReadAndLoadsWhenItIsWrittenAnew)
{
    for (const auto& [device, lengths, bits] :
         {std::tuple{"s10pc84-4", "16 to 166", 95008}, {"s20xlvq100-4", "17 to 227", 179160}}) {
        make_frame_lines(device, "a.rbt");
        const nlohmann::json check = json({"check", "a.rbt"});
        EXPECT_EQ(check["found_bits"], bits);
        EXPECT_EQ(check["configuration"]["starts"], true);
        EXPECT_EQ(check["configuration"]["frames"]["written"], check["device"]["frames"]);
        EXPECT_EQ(check["check"]["result"], "no");
        ASSERT_EQ(check["problems"].size(), 1U) << check["problems"];
        EXPECT_EQ(check["problems"][0]["what"],
                  "the data lines have " + std::string{lengths} + " characters, not 32");
        EXPECT_EQ(
            check["problems"][0]["remedy"],
            "the data are whole, and a " + check["device"]["name"].get<std::string>() +
                " starts with them: join the lines and break the whole into lines of 32 characters, with "
                "ones behind it, as docs/formats/spartan.md shows");

        std::string all = bits_of("a.rbt");
        all.append(32 - all.size() % 32 + 128, '1');
        write("b.rbt", tools_header(check["part"], all.size()) + in_lines(all, 32));
        EXPECT_EQ(kvn({"check", "b.rbt"}).status, 0) << "the advice is true";
    }
}

TEST_F(KvnRbt, AFileOfAnotherProgramIsReadAndLoadsWhenItIsWrittenAnew)
{
    make("2s15vq100-5", "good.rbt");
    const std::string bits = bits_of("good.rbt");
    const std::string header = TITLE + "Converted from X.SYS\nDate:           Fri Sep  5 20:26:03 2003\n"
                                       "Bits:           197696\n";
    write("a.rbt", header + in_lines(eights_turned(bits), 224));
    const nlohmann::json info = json({"info", "a.rbt"});
    EXPECT_EQ(info["header"]["tool"], "Converted from X.SYS");
    EXPECT_EQ(info["header"]["date"], "Fri Sep  5 20:26:03 2003");
    EXPECT_EQ(info["header"]["other"], nlohmann::json::array()) << "data are no label";
    EXPECT_EQ(info["part"], "");
    EXPECT_EQ(info["devices_by_data"], nlohmann::json::array({"2s15"}));
    EXPECT_EQ(info["found_bits"], 197696);
    EXPECT_EQ(info["packets"]["sync_bit"], 32);
    EXPECT_EQ(info["configuration"]["starts"], true);
    ASSERT_EQ(info["problems"].size(), 2U) << info["problems"];
    EXPECT_EQ(
        info["problems"][0]["what"],
        "the number of bits stands in line 4, not in line 6 or 7: the header is not as the Xilinx tools "
        "write it");
    EXPECT_EQ(info["problems"][1]["what"],
              "the data lines have 128 to 224 characters, not 32, and each eight of them stand the other way "
              "round");
    EXPECT_EQ(info["problems"][1]["remedy"],
              "the data are whole, and a 2s15 starts with them: turn each eight characters round, join the "
              "lines and break the whole into lines of 32 characters, behind a header as docs/formats/rbt.md "
              "shows");
    EXPECT_THAT(kvn({"info", "a.rbt"}).output,
                testing::HasSubstr("Device:         2s15 (Spartan-2), by the data; the header names none\n"));
    EXPECT_EQ(kvn({"check", "a.rbt"}).status, 4);

    const std::string again = eights_turned(bits_of("a.rbt"));
    write("b.rbt", tools_header("2s15vq100", again.size()) + in_lines(again, 32));
    EXPECT_EQ(kvn({"check", "b.rbt"}).status, 0) << "the advice is true";
}

TEST_F(KvnRbt, TheDeviceIsFoundByTheDataWhereNoPartIsNamed)
{
    struct Device {
        const char* name;
        nlohmann::json devices;
    };
    const Device devices[] = {
        {"2v40cs144-4", {"2v40"}}, {"v50pq240-5", {"2s50", "v50"}}, {"s10pc84-4", {"s10"}}};
    for (const Device& each : devices) {
        make(each.name, "good.rbt");
        write("a.rbt", TITLE + "Date: today\n" + in_lines(bits_of("good.rbt"), 64));
        const nlohmann::json info = json({"info", "a.rbt"});
        EXPECT_EQ(info["devices_by_data"], each.devices);
        EXPECT_EQ(info["configuration"]["starts"], true) << each.name;
    }
    write("a.rbt", TITLE + "Date: today\n" + in_lines(std::string(640, '1'), 64));
    const nlohmann::json info = json({"info", "a.rbt"});
    EXPECT_EQ(info["devices_by_data"], nlohmann::json::array());
    EXPECT_EQ(info["found_bits"], 640);
    EXPECT_EQ(info["problems"][1]["remedy"], "copy the file again in binary mode, else make it again");
}

TEST_F(KvnRbt, DataAreNoLabelHoweverShortTheHeader)
{
    make("2v40cs144-4", "good.rbt");
    const std::string lines = in_lines(bits_of("good.rbt"), 32);
    for (const std::string header :
         {"", "Part: 2v40cs144\n", "Design name: x\nPart: 2v40cs144\nBits: 338976\n"}) {
        write("a.rbt", TITLE + header + lines);
        const nlohmann::json info = json({"info", "a.rbt"});
        EXPECT_EQ(info["header"]["other"], nlohmann::json::array());
        EXPECT_EQ(info["header"]["tool"], nullptr);
        EXPECT_EQ(info["part"], header.empty() ? "" : "2v40cs144");
        EXPECT_EQ(info["found_bits"], 338976);
        EXPECT_EQ(info["configuration"]["starts"], true);
        EXPECT_EQ(info["problems"].size(), 1U) << info["problems"];
    }
    write("a.rbt", lines);
    EXPECT_EQ(json({"info", "a.rbt"})["problems"][0]["what"],
              "the file has no header: it begins with data lines");
}

TEST_F(KvnRbt, DataBehindADamagedHeaderAreJudgedToo)
{
    make("2v40cs144-4", "a.rbt", "crc");
    std::string text = content("a.rbt");
    text.replace(0, 6, "XILINX");
    write("a.rbt", text);
    const nlohmann::json problems = json({"info", "a.rbt"})["problems"];
    ASSERT_EQ(problems.size(), 2U);
    EXPECT_THAT(problems[1]["what"].get<std::string>(),
                testing::StartsWith("a 2v40 would not start: CRC word "));
}

TEST_F(KvnRbt, ReadsBitsThatEndInsideAByte)
{
    write("a.rbt", TITLE + "Date: today\n" + std::string(36, '0') + "\n" + std::string(5, '1') + "\n");
    EXPECT_EQ(json({"info", "a.rbt"})["found_bits"], 41);
}
} // namespace
