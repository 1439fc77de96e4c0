// SPDX-License-Identifier: Apache-2.0
#include "report/file_json.h"

#include "examples.h"
#include "packing.h"
#include "support/bitstreams.h"

namespace
{
using kvn::Json;

class FileJson : public ExampleTest
{
protected:
    const kvn::Input input = input_of(gzip(BitFile{64}.content()), "a.bit.gz");
    const kvn::Inspection inspection = kvn::inspect(input);
};

TEST_F(FileJson, OfADigest)
{
    const kvn::Digest digest = kvn::digest_of(inspection);
    EXPECT_EQ(kvn::to_json(inspection, digest),
              (Json{{"kvn", "digest"},
                    {"version", "1.0"},
                    {"error", nullptr},
                    {"file", "a.bit.gz"},
                    {"stored",
                     {{"size", input.stored().size}, {"sha256", input.stored().sha256}, {"packing", "gzip"}}},
                    {"format", "BIT"},
                    {"part", "2v3000fg676"},
                    {"digest", digest.sha256},
                    {"bits", 512}}));
}

TEST_F(FileJson, OfAnInspectionHoldsTheSums)
{
    const Json json = kvn::to_json(inspection, std::nullopt);
    EXPECT_EQ(json["stored"]["sha256"], input.stored().sha256);
    EXPECT_EQ(json["digest"], kvn::digest_of(inspection).sha256);
    EXPECT_EQ(kvn::to_json(kvn::inspect(input_of("hello\n", "a")), std::nullopt)["digest"], nullptr);
}

TEST_F(FileJson, OfAnEstimate)
{
    const kvn::EstimateRequest request{.takes_compressed = false, .bytes_per_second = 66};
    const kvn::Estimate estimate = kvn::estimate(input, inspection, request);
    const Json json = kvn::to_json(inspection, request, estimate);
    EXPECT_EQ(json["kvn"], "estimate");
    EXPECT_EQ(json["version"], "1.0");
    EXPECT_EQ(json["error"], nullptr);
    EXPECT_EQ(json["file"], "a.bit.gz");
    EXPECT_EQ(json["format"], "BIT");
    EXPECT_EQ(json["device"], "2v3000fg676");
    EXPECT_EQ(json["takes_compressed"], false);
    EXPECT_EQ(json["mode"], "plain");
    EXPECT_EQ(json["why"], "the module takes plain loads only");
    EXPECT_EQ(json["bytes_per_second"], 66.0);
    EXPECT_EQ(json["plain"], (Json{{"loadable", true},
                                   {"number", 0},
                                   {"error", ""},
                                   {"bus_bytes", 66},
                                   {"words", 16},
                                   {"held_back", 0},
                                   {"seconds", 1.0}}));
    EXPECT_EQ(json["compressed"]["pairs"], estimate.compressed.units);
    const Json other =
        kvn::to_json(inspection, {.device = "v50"}, kvn::estimate(input, inspection, {.device = "v50"}));
    EXPECT_EQ(other["device"], "v50");
    EXPECT_EQ(other["takes_compressed"], nullptr);
    EXPECT_EQ(other["bytes_per_second"], nullptr);
    EXPECT_EQ(other["plain"]["loadable"], false);
    EXPECT_EQ(other["plain"]["number"], 9336);
    EXPECT_EQ(other["plain"]["seconds"], nullptr);
}

TEST_F(FileJson, OfADifference)
{
    const fpga::Device& v2 = device("2v40");
    Data data = fpga::make_stream(v2);
    const kvn::Input first = bit(v2, data);
    data[20000] ^= 1;
    const kvn::Input second = bit(v2, data, "b.bit");
    const kvn::Difference difference = kvn::compare(first, second);
    ASSERT_EQ(difference.frames.size(), 1U);
    const kvn::FrameDifference& frame = difference.frames[0];
    EXPECT_EQ(kvn::to_json(first, second, difference),
              (Json{{"kvn", "difference"},
                    {"version", "1.0"},
                    {"error", nullptr},
                    {"first", {{"file", path("a.bit")}, {"bits", 338976}}},
                    {"second", {{"file", path("b.bit")}, {"bits", 338976}}},
                    {"same_configuration", false},
                    {"headers", Json::array()},
                    {"device", "2v40"},
                    {"frames_compared", 404},
                    {"frames", Json::array({{{"block", frame.block},
                                             {"major", frame.major},
                                             {"minor", frame.minor},
                                             {"bits", 1},
                                             {"in_first", true},
                                             {"in_second", true}}})},
                    {"registers", Json::array()},
                    {"bits", 1},
                    {"first_bit", 160007},
                    {"words", "1 bit of configuration differs, in 1 of 404 frames"}}));
}

TEST_F(FileJson, OfADifferenceOfARegister)
{
    kvn::Difference difference;
    difference.device = &device("2v40");
    difference.registers = {{"COR", {0x00003FE5}, {0x00003FE4, 0x1}}, {"MASK", {}, {0xFFFFFFFF}}};
    EXPECT_EQ(kvn::to_json(input, input, difference)["registers"],
              (Json{{{"name", "COR"}, {"first", {"00003FE5"}}, {"second", {"00003FE4", "00000001"}}},
                    {{"name", "MASK"}, {"first", Json::array()}, {"second", {"FFFFFFFF"}}}}));
}

TEST_F(FileJson, OfADifferenceByOffset)
{
    BitFile file{64};
    Bytes data = file.data;
    data[3] ^= 0x80;
    BitFile other{64};
    other.data = data;
    const kvn::Difference difference =
        kvn::compare(input_of(file.content(), "a.bit"), input_of(other.content(), "b.bit"));
    const Json json = kvn::to_json(input, input, difference);
    EXPECT_EQ(json["device"], nullptr);
    EXPECT_EQ(json["frames"], nullptr);
    EXPECT_EQ(json["registers"], nullptr);
    EXPECT_EQ(json["first_bit"], 24);
}

TEST_F(FileJson, OfAFailureIsADocumentOfItsOwn)
{
    const kvn::Failure failure{kvn::ExitStatus::damaged, 0, "a.gz: the gzip data are cut", "", ""};
    EXPECT_EQ(kvn::failure_json(failure), (Json{{"kvn", "failure"},
                                                {"version", "1.0"},
                                                {"error",
                                                 {{"kind", "damaged"},
                                                  {"status", 4},
                                                  {"class", "a file is damaged, or no bitstream"},
                                                  {"number", nullptr},
                                                  {"what", "a.gz: the gzip data are cut"},
                                                  {"why", nullptr},
                                                  {"remedy", nullptr}}}}));
}
} // namespace
