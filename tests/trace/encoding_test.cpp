// SPDX-License-Identifier: Apache-2.0
#include "encoding.h"

#include <gtest/gtest.h>

#include <limits>

using mwtrace::Bytes;
using mwtrace::Json;

namespace
{
Json parsed(std::string_view text)
{
    return Json::parse(text, {}).value();
}

Bytes pattern(std::size_t size)
{
    Bytes bytes(size);
    for (std::size_t i = 0; i < size; ++i)
        bytes[i] = static_cast<std::uint8_t>(i * 37 + 11);
    return bytes;
}

TEST(Encoding, BytesOfEveryLengthComeBack)
{
    for (std::size_t size = 0; size < 100; ++size)
        EXPECT_EQ(mwtrace::bytes_from_json(mwtrace::bytes_to_json(pattern(size))), pattern(size)) << size;
}

TEST(Encoding, FewBytesAreReadable)
{
    EXPECT_EQ(mwtrace::bytes_to_json(Bytes{}).dump(), R"({"hex":""})");
    EXPECT_EQ(mwtrace::bytes_to_json(Bytes{0x0D, 0x05}).dump(), R"({"hex":"0D 05"})");
    EXPECT_NE(mwtrace::bytes_to_json(pattern(32)).find("hex"), nullptr);
    EXPECT_NE(mwtrace::bytes_to_json(pattern(33)).find("base64"), nullptr);
}

TEST(Encoding, Base64IsTheUsualOne)
{
    const std::string text = "any carnal pleasure, any carnal pleas";
    EXPECT_EQ(mwtrace::bytes_to_json(Bytes{text.begin(), text.end()}).at("base64"),
              "YW55IGNhcm5hbCBwbGVhc3VyZSwgYW55IGNhcm5hbCBwbGVhcw==");
}

TEST(Encoding, WhatIsNoBytesIsRefused)
{
    for (const char* text :
         {R"({"hex":"0D0"})", R"({"hex":"0G"})", R"({"hex":"0d"})", R"({"hex":"0D,05"})", R"({"hex":"0"})",
          R"({"base64":"AAA"})", R"({"base64":"A==="})", R"({"base64":"====AAAA"})", R"({"base64":"AA*A"})",
          R"({"base64":"AA==AAAA"})", R"({"base64":"AAA=AAAA"})", R"({"hex":1})",
          R"({"hex":"00","base64":""})", R"({})", R"([])", R"("00")", R"(null)", R"(1)"})
        EXPECT_EQ(mwtrace::bytes_from_json(parsed(text)), std::nullopt) << text;
}

TEST(Encoding, TextsOfAnyBytesComeBack)
{
    for (const std::string& text : {std::string{}, std::string{"mwc4a"}, std::string{"gr\xC3\xBC\xC3\x9F"},
                                    std::string{"\xFF\xFE broken"}, std::string{"\0\x01\n", 3}})
        EXPECT_EQ(mwtrace::text_from_json(parsed(mwtrace::text_to_json(text).dump())), text);
    EXPECT_EQ(mwtrace::text_to_json("\xFF").dump(), R"({"hex":"FF"})");
    EXPECT_EQ(mwtrace::text_from_json(Json(7)), std::nullopt);
}

TEST(Encoding, NumbersHave32Bits)
{
    EXPECT_EQ(mwtrace::number_from_json(parsed("4294967295")), std::numeric_limits<std::uint32_t>::max());
    for (const char* text : {"4294967296", "-1", "1.0", "\"1\"", "null", "1e3"})
        EXPECT_EQ(mwtrace::number_from_json(parsed(text)), std::nullopt) << text;
}
} // namespace
