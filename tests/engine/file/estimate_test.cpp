// SPDX-License-Identifier: Apache-2.0
#include "file/estimate.h"

#include "examples.h"
#include "packing.h"
#include "support/bitstreams.h"

namespace
{
using kvn::Estimate;
using kvn::EstimateRequest;
using kvn::LoadKind;
using kvn::ModeWish;

class EstimateTest : public ExampleTest
{
protected:
    static Estimate estimate(const kvn::Input& input, const EstimateRequest& request = {})
    {
        return kvn::estimate(input, kvn::inspect(input), request);
    }
    [[nodiscard]] kvn::Input example(std::string_view name, fpga::Fill fill = fpga::Fill::pattern) const
    {
        return bit(device(name), fpga::make_stream(device(name), {.fill = fill}));
    }
};

TEST_F(EstimateTest, ModeIsWhatTheModuleTakes)
{
    const kvn::Input input = example("2v40");
    struct Row {
        EstimateRequest request;
        LoadKind mode;
        const char* why;
    };
    const Row rows[] = {
        {{}, LoadKind::compressed, "most modules take compressed loads"},
        {{.takes_compressed = true}, LoadKind::compressed, "the module takes compressed loads"},
        {{.takes_compressed = false}, LoadKind::plain, "the module takes plain loads only"},
        {{.takes_compressed = true, .wish = ModeWish::plain}, LoadKind::plain, "asked for"},
        {{.takes_compressed = true, .wish = ModeWish::compressed}, LoadKind::compressed, "asked for"},
        {{.wish = ModeWish::compressed}, LoadKind::compressed, "asked for"},
        {{.takes_compressed = false, .wish = ModeWish::compressed},
         LoadKind::plain,
         "the module takes plain loads only, though compressed was asked for"},
        {{.takes_compressed = false, .wish = ModeWish::smallest},
         LoadKind::plain,
         "the module takes plain loads only"},
        {{.wish = ModeWish::smallest}, LoadKind::compressed, "shorter by 40148 bytes than a plain load"},
    };
    for (const Row& row : rows) {
        const Estimate result = estimate(input, row.request);
        EXPECT_EQ(result.mode, row.mode) << row.why;
        EXPECT_EQ(result.why, row.why);
        EXPECT_EQ(&result.chosen(), row.mode == LoadKind::plain ? &result.plain : &result.compressed);
    }
}

TEST_F(EstimateTest, SmallestIsPlainWhereRunCodingGrows)
{
    const Estimate result = estimate(example("2v40", fpga::Fill::random), {.wish = ModeWish::smallest});
    EXPECT_EQ(result.mode, LoadKind::plain);
    EXPECT_GT(result.compressed.wire_bytes, result.plain.wire_bytes);
    EXPECT_EQ(result.why, "shorter by " +
                              std::to_string(result.compressed.wire_bytes - result.plain.wire_bytes) +
                              " bytes than a compressed load");
}

TEST_F(EstimateTest, CountsWordsPairsAndWhatIsHeldBack)
{
    const Estimate v2 = estimate(example("2v40"), {.bytes_per_second = 1000});
    EXPECT_EQ(v2.plain.wire_bytes, 42374U);
    EXPECT_EQ(v2.plain.units, 42372U / 4);
    EXPECT_EQ(v2.plain.held_back, 0U);
    EXPECT_DOUBLE_EQ(*v2.plain.seconds, 42.374);
    EXPECT_EQ(v2.compressed.wire_bytes, 2226U);
    EXPECT_EQ(v2.compressed.units, 1112U);
    EXPECT_DOUBLE_EQ(*v2.compressed.seconds, 2.226);
    const Estimate v = estimate(example("v50"));
    EXPECT_EQ(v.plain.held_back, 16U);
    EXPECT_EQ(v.compressed.held_back, 0U);
    EXPECT_EQ(v.plain.seconds, std::nullopt);
    const fpga::Device& v50 = device("v50");
    const Estimate of_mcb = estimate(mcb(v50, fpga::make_stream(v50)));
    EXPECT_EQ(of_mcb.plain.held_back, 4U);
    EXPECT_EQ(of_mcb.compressed.held_back, 4U);
}

TEST_F(EstimateTest, TheModulesDeviceDecidesOnTheTail)
{
    const kvn::Input input = input_of(BitFile{64}.content(), "a.bit"); // for a 2v3000fg676
    EXPECT_EQ(estimate(input).plain.held_back, 0U);
    EXPECT_EQ(estimate(input, {.device = "2v3000fg676-4"}).plain.held_back, 0U);
    const Estimate other = estimate(input, {.device = "v50pq240-5"});
    EXPECT_FALSE(other.plain.is_loadable);
    EXPECT_EQ(other.plain.number, 9336);
    EXPECT_EQ(other.plain.error.substr(0, 11), "Error 9336.");
    EXPECT_EQ(other.plain.wire_bytes + other.plain.units + other.plain.held_back, 0U);
}

TEST_F(EstimateTest, ALoadThatTheLibraryBreaksOffHasNoSize)
{
    const fpga::Device& spartan = device("s10xl");
    const kvn::Input input = bit(spartan, fpga::make_stream(spartan));
    const Estimate result = estimate(input, {.wish = ModeWish::smallest, .bytes_per_second = 10});
    EXPECT_FALSE(result.plain.is_loadable);
    EXPECT_EQ(result.plain.number, 9358);
    EXPECT_EQ(result.compressed.number, 9352);
    EXPECT_EQ(result.plain.seconds, std::nullopt);
    EXPECT_EQ(result.why, "a compressed load fails");
}

TEST_F(EstimateTest, SmallestIsTheOnlyModeThatSucceeds)
{
    (void)example("2v40");
    const std::string trailing = content("a.bit") + "four"; // which only a plain load notices
    const Estimate result = estimate(input_of(trailing, "a.bit"), {.wish = ModeWish::smallest});
    EXPECT_EQ(result.plain.number, 9365);
    EXPECT_EQ(result.mode, LoadKind::compressed);
    EXPECT_EQ(result.why, "a plain load fails");
}

TEST_F(EstimateTest, NamesTheFileAsTheUserDid)
{
    (void)example("2v40");
    const kvn::Input input = input_of(gzip(content("a.bit")).append(3, '\0'), "my file.bit.gz");
    EXPECT_EQ(estimate(input, {.device = "2v80"}).plain.error,
              "Error 9336. Bitstream my file.bit.gz is not for a 2v80 device.");
}

TEST_F(EstimateTest, WhatIsNoBitstreamHasNone)
{
    const kvn::Failure failure = failure_of([&] { (void)estimate(input_of("hello\n", "a.txt")); });
    EXPECT_EQ(failure.status, kvn::ExitStatus::damaged);
    EXPECT_EQ(failure.what, "a.txt: no RBT, BIT or MCB file");
}
} // namespace
