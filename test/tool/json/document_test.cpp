#include "tool/json/document.hpp"

#include <gtest/gtest.h>

#include <stdexcept>

namespace
{

std::string nested(std::size_t levels)
{
    return std::string(levels, '[') + std::string(levels, ']');
}

TEST(ParseDocument, boundsNesting)
{
    EXPECT_EQ(parseDocument(nested(512)).size(), 1U);
    EXPECT_THROW(parseDocument(nested(513)), std::length_error);
    EXPECT_THROW(parseDocument(nested(1000000)), std::length_error);
}

TEST(ParseDocument, countsObjectsAndArraysAlike)
{
    std::string text;
    for (int i = 0; i < 300; ++i)
    {
        text += R"([{"k":)";
    }
    EXPECT_TRUE(isTooDeep(text));
}

TEST(ParseDocument, bracketsInTextDoNotCount)
{
    const std::string brackets(600, '[');
    EXPECT_FALSE(isTooDeep("[\"" + brackets + "\"]"));
    EXPECT_FALSE(isTooDeep(R"(["\"\\)" + brackets + "\"]"));
    EXPECT_TRUE(isTooDeep(R"(["\\", )" + brackets));
}

TEST(ParseDocument, siblingsDoNotAddUp)
{
    std::string text = "[";
    for (int i = 0; i < 1000; ++i)
    {
        text += "[],";
    }
    EXPECT_FALSE(isTooDeep(text + "[]]"));
    EXPECT_FALSE(isTooDeep("]]]][[]]"));
}

TEST(ParseDocument, malformedTextIsTheLibrarysError)
{
    for (const char* text : {"", "{", "[1,]", "nul", "\"\xff\"", "{} x", "\\"})
    {
        EXPECT_THROW(parseDocument(text), nlohmann::json::parse_error) << text;
    }
}

} // namespace
