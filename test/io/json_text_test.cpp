// SPDX-License-Identifier: Apache-2.0
#include "io/common/src/JsonText.hpp"

#include <gtest/gtest.h>

#include <array>
#include <stdexcept>
#include <string>
#include <vector>

namespace
{

std::string nested(std::size_t levels)
{
    return std::string(levels, '[') + std::string(levels, ']');
}

TEST(ParseJson, boundsNesting)
{
    EXPECT_EQ(io::parseJson(nested(512)).size(), 1U);
    EXPECT_THROW(io::parseJson(nested(513)), std::length_error);
    EXPECT_THROW(io::parseJson(nested(1000000)), std::length_error);
}

TEST(ParseJson, countsObjectsAndArraysAlike)
{
    std::string text;
    for (int i = 0; i < 300; ++i)
    {
        text += R"([{"k":)";
    }
    EXPECT_THROW(io::parseJson(text), std::length_error);
    EXPECT_THROW(io::tryParseJson(text), std::length_error);
}

TEST(ParseJson, bracketsInTextDoNotCount)
{
    const std::string brackets(600, '[');
    EXPECT_EQ(io::parseJson("[\"" + brackets + "\"]").front(), brackets);
    EXPECT_EQ(io::parseJson(R"(["\"\\)" + brackets + "\"]").front(),
              "\"\\" + brackets);
    EXPECT_THROW(io::parseJson(R"(["\\", )" + brackets), std::length_error);
}

TEST(ParseJson, siblingsDoNotAddUp)
{
    std::string text = "[";
    for (int i = 0; i < 1000; ++i)
    {
        text += "[],{},";
    }
    EXPECT_EQ(io::parseJson(text + "[]]").size(), 2001U);
}

TEST(ParseJson, boundsTheNumberOfValues)
{
    std::string text = "[";
    for (int i = 1; i < 250'000; ++i)
    {
        text += R"({"k":{}},)";
    }
    // The array, 249,999 times two, and the last one: 500,000.
    EXPECT_EQ(io::parseJson(text + "1]").size(), 250'000U);
    EXPECT_THROW(io::parseJson(text + "[1]]"), std::length_error);
    EXPECT_THROW(io::tryParseJson(text + "[1]]"), std::length_error);
}

TEST(ParseJson, keepsEveryKindOfValue)
{
    const nlohmann::json document = io::parseJson(
        R"( {"n": null, "b": [true, false], "i": -1, "u": 18446744073709551615,
             "f": 0.5, "s": "\u00e4\n", "o": {"a": [{"x": {}}, []]}} )");
    EXPECT_TRUE(document["n"].is_null());
    EXPECT_EQ(document["b"], nlohmann::json::array({true, false}));
    EXPECT_EQ(document["i"].get<int64_t>(), -1);
    EXPECT_EQ(document["u"].get<uint64_t>(), 18446744073709551615U);
    EXPECT_EQ(document["f"].get<double>(), 0.5);
    EXPECT_EQ(document["s"].get<std::string>(), "\u00e4\n");
    EXPECT_EQ(document["o"].dump(), R"({"a":[{"x":{}},[]]})");
    EXPECT_EQ(document.size(), 7U);
}

TEST(ParseJson, ofTwoMembersWithOneNameTheLastStays)
{
    EXPECT_EQ(io::parseJson(R"({"a": [1, 2], "b": 1, "a": {"c": 3}})").dump(),
              R"({"a":{"c":3},"b":1})");
}

TEST(ParseJson, numbersBeyondADoubleAreTheLibrarysError)
{
    EXPECT_THROW(io::parseJson("[1e999]"), nlohmann::json::out_of_range);
    EXPECT_TRUE(io::tryParseJson("[1e999]").is_discarded());
}

TEST(ParseJson, malformedTextIsTheLibrarysError)
{
    for (const char* text : {"", "{", "[1,]", "nul", "\"\xff\"", "{} x", "\\"})
    {
        EXPECT_THROW(io::parseJson(text), nlohmann::json::parse_error) << text;
        EXPECT_TRUE(io::tryParseJson(text).is_discarded()) << text;
    }
}

constexpr std::array<io::Kept, 1> inner{{{"b"}}};
constexpr std::array<io::Kept, 2> members{{{"a", inner}, {"c"}}};

std::string listOf(const char* text)
{
    return io::parseJson(text, {"list", members}).dump();
}

TEST(ParseJsonList, whatIsNotWantedIsNotThere)
{
    EXPECT_EQ(listOf(R"({"x":[{"a":1}],"list":[{"a":{"b":1,"c":2},"b":3,
                         "c":[{"x":[]}]},{"x":{"a":1}}],"y":{"list":[1]}})"),
              R"({"list":[{"a":{"b":1},"c":[{"x":[]}]},{}]})");
}

TEST(ParseJsonList, everyKindStays)
{
    EXPECT_EQ(listOf(R"({"list":{"k":{"a":[1,{"b":2}]},"l":[{"a":1}],"m":7}})"),
              R"({"list":{"k":{"a":[]},"l":[],"m":7}})");
    EXPECT_EQ(listOf(R"([{"list":[]}])"), "[]");
    EXPECT_EQ(listOf(R"("list")"), R"("list")");
    EXPECT_EQ(listOf(R"({"list":null})"), R"({"list":null})");
}

TEST(ParseJsonList, ofTwoMembersWithOneNameTheLastStays)
{
    EXPECT_EQ(listOf(R"({"list":[{"c":1}],"list":[{"c":1,"c":{"d":2}}]})"),
              R"({"list":[{"c":{"d":2}}]})");
}

TEST(ParseJsonList, whatIsNotWantedIsBoundedAsWell)
{
    const io::Wanted wanted{"list", members};
    const std::string deep = nested(511);
    EXPECT_EQ(io::parseJson("{\"x\":" + deep + "}", wanted).size(), 0U);
    EXPECT_THROW(io::parseJson("{\"x\":[" + deep + "]}", wanted),
                 std::length_error);
    EXPECT_THROW(io::parseJson("{\"x\":" + deep.substr(1) + "}", wanted),
                 nlohmann::json::parse_error);
    std::string many = "{\"x\":[";
    for (int i = 2; i < 500'000; ++i)
    {
        many += "1,";
    }
    EXPECT_THROW(io::parseJson(many + "1]}", wanted), std::length_error);
    EXPECT_THROW(io::parseJson(R"({"x":1e999})", wanted),
                 nlohmann::json::out_of_range);
}

TEST(ParseJsonList, aFoldSeesEachWholeItemOnce)
{
    std::vector<std::string> seen;
    const io::Wanted wanted{"list", members,
                            [&seen](nlohmann::json& item)
                            {
                                seen.push_back(item.dump());
                                item = seen.size();
                            }};
    const auto document = io::parseJson(
        R"({"x":[{}],"list":[{"c":[[]]},3,[4],{"a":{}}]})", wanted);
    EXPECT_EQ(seen,
              (std::vector<std::string>{R"({"c":[[]]})", "[]", R"({"a":{}})"}));
    EXPECT_EQ(document.dump(), R"({"list":[1,3,2,3]})");
}

} // namespace
