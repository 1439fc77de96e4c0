// SPDX-License-Identifier: Apache-2.0
// What is said of files that are damaged, or no bitstreams; and of good ones as JSON.
#include "file/inspection.h"

#include "examples.h"
#include "file/judgement.h"
#include "packing.h"
#include "report/json.h"
#include "support/bitstreams.h"

#include <gmock/gmock.h>

namespace
{
using kvn::Answer;
using kvn::Inspection;
using kvn::Json;
using kvn::LoadKind;
using testing::Contains;
using testing::ElementsAre;
using testing::StartsWith;

const std::vector<LoadKind> BOTH{LoadKind::plain, LoadKind::compressed};

std::vector<std::string> told(const Inspection& inspection)
{
    std::vector<std::string> all;
    for (const kvn::Problem& problem : inspection.problems)
        all.push_back(problem.what);
    return all;
}

std::vector<std::string> problems_of(std::string_view content, const std::string& name)
{
    return told(kvn::inspect(input_of(content, name)));
}

std::vector<std::string> problems_of(const BitFile& file)
{
    return problems_of(file.content(), "a.bit");
}

void replace(std::string& text, const std::string& old, const std::string& by)
{
    ASSERT_NE(text.find(old), std::string::npos);
    text.replace(text.find(old), old.size(), by);
}

class InspectionTest : public ExampleTest
{
protected:
    [[nodiscard]] std::string rbt_text()
    {
        (void)rbt(v2, data);
        return content("a.rbt");
    }
    const fpga::Device& v2 = device("2v40");
    const Data data = fpga::make_stream(v2);
};

TEST_F(InspectionTest, DamageOfABitHeaderIsNamedWithItsPlace)
{
    BitFile file{64};
    file.c_key = 'x';
    EXPECT_THAT(problems_of(file), Contains("the key letter 'c' is missing at offset 42, where 'x' stands"));
    file = BitFile{64};
    file.a_key = '\0';
    EXPECT_THAT(problems_of(file),
                Contains("the key letter 'a' is missing at offset 13, where byte 00 stands"));
    file = BitFile{64};
    file.a_key = ' ';
    EXPECT_THAT(problems_of(file),
                Contains("the key letter 'a' is missing at offset 13, where byte 20 stands"));
    file = BitFile{64};
    file.key_length = 2;
    EXPECT_THAT(problems_of(file),
                Contains("the length in front of the key letter 'a' is 2, not 1, at offset 11"));
    file = BitFile{64};
    file.magic_length = 8;
    EXPECT_THAT(problems_of(file), Contains("the file begins with the length 8, not 9: this is no BIT file"));
    file = BitFile{64};
    file.magic[2] = 'x';
    EXPECT_THAT(problems_of(file), Contains("the signature of a BIT file is missing at offset 2"));
    EXPECT_THAT(problems_of(BitFile{64}.content().substr(0, 60), "a.bit"),
                Contains("the file ends inside its header, behind 60 bytes (time string)"));
}

TEST_F(InspectionTest, ABitFileOfAnotherSizeThanItsHeaderStates)
{
    BitFile file{64};
    file.tail = "some";
    EXPECT_THAT(problems_of(file), Contains(StartsWith("4 bytes follow the stated configuration; ")));
    file = BitFile{64};
    file.byte_count = 268477828;
    EXPECT_THAT(problems_of(file),
                Contains("the header states 268477828 bytes of configuration, which are no "
                         "number of bits in the library's 32"));
    file.byte_count = (1U << 29) + 64;
    EXPECT_THAT(problems_of(file), Contains("the header states 536870976 bytes of configuration; the library "
                                            "counts bits in 32 bits, and takes it for 64"));
}

TEST_F(InspectionTest, DamageOfAnMcbHeader)
{
    McbFile file{64};
    EXPECT_THAT(problems_of(file.content().substr(0, 6), "a.mcb"),
                Contains("the file ends inside its header, behind 6 of 522 bytes"));
    file.second_magic = 0;
    EXPECT_THAT(problems_of(file.content(), "a.mcb"),
                Contains("the magic numbers of an MCB file are missing at offset 0"));
}

TEST_F(InspectionTest, DamageOfAnRbtHeader)
{
    const std::string good = rbt_text();
    std::string text = good;
    replace(text, "Xilinx ASCII", "XILINX ASCII");
    EXPECT_THAT(problems_of(text, "a.rbt"),
                Contains("line 1 is \"XILINX ASCII Bitstream\", not \"Xilinx ASCII Bitstream\""));
    text = good;
    replace(text, "Bits:", "Bytes");
    EXPECT_THAT(problems_of(text, "a.rbt"), Contains("neither line 6 nor line 7 states the number of bits"));
    EXPECT_THAT(problems_of(good.substr(0, good.find("Part:")), "a.rbt"),
                Contains("the file ends inside its header, behind line 4"));
    const std::size_t data_begin = good.find('\n', good.find("Bits:")) + 1;
    EXPECT_THAT(problems_of(good.substr(data_begin), "a.rbt"),
                Contains("the file has no header: it begins with data lines"));
    text = good;
    text.erase(text.find("Date:"), data_begin - text.find("Date:"));
    EXPECT_THAT(problems_of(text, "a.rbt"),
                Contains("the header has 5 lines and does not state the number of bits"));
}

TEST_F(InspectionTest, OnlyZerosAloneAreNoBitstream)
{
    std::string zeros(20'000, '\0');
    EXPECT_TRUE(kvn::inspect(input_of(zeros, "a.bit")).is_foreign);
    zeros.back() = 'x';
    EXPECT_FALSE(kvn::inspect(input_of(zeros, "a.bit")).is_foreign);
}

TEST_F(InspectionTest, AFileIsInspectedByItsPathToo)
{
    (void)bit(v2, data);
    const Inspection inspection = kvn::inspect(path("a.bit"));
    EXPECT_EQ(inspection.path, path("a.bit"));
    EXPECT_EQ(inspection.device, &v2);
    EXPECT_THAT(told(inspection), testing::IsEmpty());
}

TEST_F(InspectionTest, AGoodFileAsJsonHasPacketsAndConfiguration)
{
    const kvn::Input input = bit(v2, data);
    Inspection inspection = kvn::inspect(input);
    const kvn::Judgement judgement = kvn::judge(input, inspection, "", BOTH);
    const Json json = kvn::to_json(inspection, judgement);
    EXPECT_EQ(json["kvn"], "inspection");
    EXPECT_EQ(json["device"]["name"], "2v40");
    EXPECT_EQ(json["device"]["frames"], 404);
    EXPECT_EQ(json["packets"]["idcode"].get<std::string>().size(), 8U);
    EXPECT_FALSE(json["packets"]["sync_bit"].is_null());
    EXPECT_FALSE(json["packets"]["registers"].empty());
    EXPECT_FALSE(json["packets"]["commands"].empty());
    EXPECT_EQ(json["packets_unread"], nullptr);
    EXPECT_EQ(json["configuration"]["starts"], true);
    EXPECT_EQ(json["configuration"]["crc"]["verdict"], "right");
    EXPECT_EQ(json["configuration"]["frames"], (Json{{"written", 404}, {"expected", 404}}));
    EXPECT_EQ(json["check"]["plain"]["starts"], true);
    EXPECT_EQ(json["check"]["plain"]["module"], "DONE went high after 338784 bits");
    EXPECT_EQ(json["check"]["plain"]["bus_bytes"], 42374);
    EXPECT_EQ(json["check"]["result"], "yes");
    EXPECT_EQ(json["problems"], Json::array());
    const Json once = kvn::to_json(inspection, kvn::judge(input, inspection, "", {LoadKind::plain}));
    EXPECT_EQ(once["check"]["compressed"], nullptr);
}

TEST_F(InspectionTest, AFlippedBitIsAWrongSumWhichNoModuleTakes)
{
    Data flipped = data;
    flipped[flipped.size() / 2] ^= 0x10;
    const kvn::Input input = bit(v2, flipped);
    Inspection inspection = kvn::inspect(input);
    const kvn::Judgement judgement = kvn::judge(input, inspection, "", BOTH);
    EXPECT_EQ(judgement.answer, Answer::no);
    const Json json = kvn::to_json(inspection, judgement);
    EXPECT_EQ(json["configuration"]["crc"]["verdict"], "wrong");
    EXPECT_EQ(json["check"]["result"], "no");
    EXPECT_EQ(json["check"]["plain"]["starts"], false);
    ASSERT_EQ(json["problems"].size(), 1U);
    EXPECT_EQ(json["problems"][0]["fatal"], true);
    const std::string happens = kvn::what_happens(inspection, judgement.loads[0].trial);
    EXPECT_THAT(happens, testing::HasSubstr(" The module: "));
}

TEST_F(InspectionTest, WhatStopsPlainLoadsAloneIsToldWhereOneWasTried)
{
    BitFile file{64};
    file.data = data;
    file.device = std::string{"2v40fg1"} + '\0';
    file.tail = "some";
    const kvn::Input input = input_of(file.content(), "a.bit");
    for (const auto& [kinds, answer] : {std::pair{std::vector{LoadKind::plain}, Answer::no},
                                        {std::vector{LoadKind::compressed}, Answer::yes}}) {
        Inspection inspection = kvn::inspect(input);
        EXPECT_EQ(kvn::judge(input, inspection, "", kinds).answer, answer);
        EXPECT_EQ(inspection.has_fatal_problem(), answer == Answer::no);
    }
}

TEST_F(InspectionTest, NothingIsJudgedForADeviceThatNobodyKnows)
{
    const kvn::Input input = bit(v2, data);
    BitFile nameless{64};
    nameless.device = std::string(1, '\0');
    const kvn::Input other = input_of(nameless.content(), "b.bit");
    Inspection inspection = kvn::inspect(other);
    kvn::Judgement judgement = kvn::judge(other, inspection, "", BOTH);
    EXPECT_TRUE(judgement.loads.empty());
    EXPECT_NE(judgement.answer, Answer::yes);
    BitFile strange{64};
    strange.device = std::string{"9x99zz999"} + '\0';
    const kvn::Input third = input_of(strange.content(), "c.bit");
    inspection = kvn::inspect(third);
    judgement = kvn::judge(third, inspection, "", BOTH);
    EXPECT_TRUE(judgement.loads.empty());
    EXPECT_EQ(judgement.device, "9x99zz999");
    EXPECT_EQ(judgement.words, "no device 9x99zz999 is known");
    EXPECT_EQ(judgement.answer, Answer::unknown);
}

TEST_F(InspectionTest, APartOfAFamilyThatNoModuleCarries)
{
    BitFile file{64};
    file.device = std::string{"7a100tcsg324"} + '\0';
    const kvn::Input input = input_of(file.content(), "a.bit");
    Inspection inspection = kvn::inspect(input);
    ASSERT_NE(inspection.other_family, nullptr);
    const kvn::Judgement judgement = kvn::judge(input, inspection, "", BOTH);
    EXPECT_EQ(judgement.answer, Answer::no);
    EXPECT_THAT(judgement.words, StartsWith("no module carries a 7a100tcsg324 ("));
    EXPECT_TRUE(judgement.loads.empty());
    EXPECT_EQ(kvn::to_json(inspection, std::nullopt)["other_family"], inspection.other_family->name);
}

TEST_F(InspectionTest, ALabelNeedsNoBlankBehindItsColon)
{
    std::string text = rbt_text();
    const std::size_t label = text.find("Design name:");
    text.replace(label, text.find('\n', label) - label, "Design name:top.ncd");
    const Inspection inspection = kvn::inspect(input_of(text, "a.rbt"));
    EXPECT_EQ(inspection.header.design, "top.ncd");
    ASSERT_NE(inspection.device, nullptr);
    EXPECT_EQ(kvn::device_text(*inspection.device), "2v40 (Virtex-2)");
}

TEST_F(InspectionTest, ALineOfTheHeaderThatIsTooLongIsTold)
{
    std::string text = rbt_text();
    text.insert(text.find('\n') + 1, std::string(260, 'x') + '\n');
    EXPECT_THAT(problems_of(text, "a.rbt"),
                Contains("line 2 is longer than 254 characters and is taken for several"));
}

TEST_F(InspectionTest, TheDataNameTheDeviceWhereThePartIsMissing)
{
    for (const char* name : {"2v40", "s05"}) {
        (void)rbt(device(name), fpga::make_stream(device(name)));
        std::string bits = content("a.rbt");
        bits.erase(0, bits.find('\n', bits.find("Bits:")) + 1);
        std::erase(bits, '\n');
        const Inspection inspection =
            kvn::inspect(input_of("Xilinx ASCII Bitstream\nDate: today\n" + bits + "\n", "a.rbt"));
        EXPECT_EQ(inspection.part, "");
        EXPECT_THAT(inspection.candidates, testing::ElementsAre(&device(name))) << name;
    }
}

TEST_F(InspectionTest, EmptyLastLinesAreToBeDeleted)
{
    const auto remedy_of = [](const std::string& text) {
        return kvn::inspect(input_of(text, "a.rbt")).problems.at(0).remedy;
    };
    EXPECT_EQ(remedy_of(rbt_text() + "\n"), "delete it");
    EXPECT_EQ(remedy_of(rbt_text() + "\n\n"), "delete them");
}

TEST_F(InspectionTest, AFileThatWasPackedTwiceIsUnpackedOnce)
{
    const auto problem_of = [](const std::string& packed) {
        const Inspection inspection = kvn::inspect(input_of(gzip(packed), "a.bit.gz"));
        const kvn::Problem& problem = inspection.problems.front();
        return problem.what + ": " + problem.remedy;
    };
    EXPECT_EQ(problem_of(gzip("abc")),
              "the file is compressed by gzip, no RBT, BIT or MCB file: unpack it (gunzip) "
              "and give what was in it");
    EXPECT_EQ(problem_of(xz("abc")),
              "the file is compressed by xz, no RBT, BIT or MCB file: unpack it (unxz) and "
              "give what was in it");
    EXPECT_EQ(problem_of(zstd("abc")),
              "the file is compressed by zstd, no RBT, BIT or MCB file: unpack it (unzstd) "
              "and give what was in it");
}

TEST_F(InspectionTest, ASecondXzStreamThatIsNone)
{
    const kvn::Failure failure =
        failure_of([] { (void)input_of(xz("abc") + "\xFDzzzzzzzzzzzzzzzzzzz", "a"); });
    EXPECT_EQ(failure.what, "a: the xz data are damaged");
    EXPECT_EQ(failure.why, "the beginning of a stream is not one of xz");
}
} // namespace
