// SPDX-License-Identifier: Apache-2.0
#include "json.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

using mwtrace::Json;

namespace
{
TEST(JsonValues, ComeBackAsTheyWereWritten)
{
    for (const char* text : {"null", "true", "false", "0", "18446744073709551615", "-1", "1.5e3", R"("")",
                             R"("\"\\\b\f\n\r\t\u0001\u001f/ü")", "[]", "{}", R"([[],{},[1,"a",null]])",
                             R"({"a":{"b":[1]},"c":""})"})
        EXPECT_EQ(Json::parse(text, {}).value().dump(), text);
    EXPECT_EQ(Json::parse(R"({"b":1,"a":2,"b":3})", {}).value().dump(), R"({"a":2,"b":3})");
}

TEST(JsonValues, AreObjectsOfPairsAndOtherwiseArrays)
{
    EXPECT_EQ((Json{{"a", 1}, {"b", {{1, 2U}, {3, 4U}}}, {"c", nullptr}}).dump(),
              R"({"a":1,"b":[[1,2],[3,4]],"c":null})");
    EXPECT_EQ((Json{1, "a"}).dump(), R"([1,"a"])");
}

TEST(JsonValues, AreReadWithinLimits)
{
    EXPECT_FALSE(Json::parse("[[[1]]]", {2, 100}));
    EXPECT_TRUE(Json::parse("[[1]]", {2, 100}));
    EXPECT_TRUE(Json::parse("[1,2]", {8, 4}));
    EXPECT_FALSE(Json::parse("[1,2,3]", {8, 4}));
    for (const char* text : {"", "[", "[1", "1 2", "{1:2}", "\"\xFF\"", "1e999", "nul"})
        EXPECT_FALSE(Json::parse(text, {})) << text;
}

bool library_takes(const std::string& text)
{
    try {
        (void)nlohmann::json(text).dump();
        return true;
    } catch (const nlohmann::json::type_error&) {
        return false;
    }
}

TEST(JsonValues, KnowUtf8AsTheLibraryDoes)
{
    const std::string bytes{
        "\x00\x41\x7F\x80\x8F\x90\x9F\xA0\xBF\xC0\xC1\xC2\xDF\xE0\xED\xEF\xF0\xF4\xF5\xFF", 20};
    const std::string longest = "\xF0\xF4\xF5";
    for (const char first : bytes)
        for (const char second : bytes)
            for (const char third : bytes)
                for (const char fourth :
                     longest.find(first) == std::string::npos ? std::string{"A"} : bytes) {
                    const std::string text{first, second, third, fourth};
                    for (std::size_t size = 1; size <= text.size(); ++size)
                        ASSERT_EQ(mwtrace::is_utf8(text.substr(0, size)), library_takes(text.substr(0, size)))
                            << testing::PrintToString(text.substr(0, size));
                }
}
} // namespace
