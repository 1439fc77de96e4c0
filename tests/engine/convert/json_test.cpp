// SPDX-License-Identifier: Apache-2.0
// A conversion as JSON.
#include "conversion_fixture.h"
#include "report/conversion_json.h"

namespace
{
using ConversionJson = ConversionTest;

TEST_F(ConversionJson, TellsTheWholeConversion)
{
    make("s10pc84", "a.bit");
    const kvn::Conversion made = normalise("a.bit", "b.mcb");
    const kvn::Json expected = {
        {"kvn", "conversion"},
        {"version", kvn::JSON_VERSION},
        {"error", nullptr},
        {"source", path("a.bit")},
        {"source_format", "BIT"},
        {"target", path("b.mcb")},
        {"format", "MCB"},
        {"bytes", content("b.mcb").size()},
        {"bits", 95136},
        {"digest", made.digest},
        {"part", "s10pc84"},
        {"kept", {{{"name", "date"}, {"text", "2006/02/17"}}, {{"name", "time"}, {"text", "12:00:00"}}}},
        {"lost", {{{"name", "design"}, {"text", "example.ncd"}}}},
        {"normalised", true},
        {"changes",
         {{{"kind", "tail"},
           {"count", 16},
           {"what",
            "16 bytes of ones were added behind the configuration, as a load holds back the last 4"}}}},
        {"problems", kvn::Json::array()},
    };
    EXPECT_EQ(kvn::to_json(made).dump(1), expected.dump(1));
    EXPECT_EQ(made.digest.size(), 64U);
}

TEST_F(ConversionJson, TellsWhatIsWrongWithTheResult)
{
    make("s10pc84", "a.bit");
    const kvn::Json json = kvn::to_json(convert_to("a.bit", "b.bit"));
    EXPECT_EQ(json["normalised"], false);
    EXPECT_EQ(json["changes"], kvn::Json::array());
    ASSERT_EQ(json["problems"].size(), 1U);
    EXPECT_EQ(json["problems"][0]["fatal"], true);
    EXPECT_EQ(json["problems"][0]["remedy"],
              "load the BIT file compressed, or lengthen it as docs/formats/spartan.md shows");
}

TEST(ChangeName, EveryKindHasOne)
{
    using Kind = kvn::Change::Kind;
    constexpr std::pair<Kind, const char*> names[] = {
        {Kind::header, "header"},
        {Kind::line_ends, "line ends"},
        {Kind::lines, "lines"},
        {Kind::bit_order, "bit order"},
        {Kind::characters, "characters"},
        {Kind::trailing_bytes, "trailing bytes"},
        {Kind::stated_size, "stated size"},
        {Kind::fill, "fill"},
        {Kind::tail, "tail"},
        {Kind::part, "part"},
    };
    for (const auto& [kind, name] : names)
        EXPECT_EQ(kvn::name_of(kind), name);
}
} // namespace
