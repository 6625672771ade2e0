// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <sdbusplus/message/native_types.hpp>

#include <map>
#include <string>
#include <unordered_set>

namespace
{

using sdbusplus::message::object_path;
using sdbusplus::message::signature;

TEST(ObjectPath, isMadeOfTextAndTurnsBackIntoIt)
{
    const std::string text = "/com/example";
    const object_path path(text);
    const std::string& back = path;
    EXPECT_EQ(back, text);
    EXPECT_EQ(path.str, text);

    std::string moved = object_path("/com/example");
    EXPECT_EQ(moved, text);
}

TEST(ObjectPath, comparesWithPathsAndText)
{
    const object_path a("/a");
    const object_path b("/b");
    EXPECT_TRUE(a == object_path("/a"));
    EXPECT_TRUE(a != b);
    EXPECT_TRUE(a < b);
    EXPECT_TRUE(a == std::string("/a"));
    EXPECT_TRUE(std::string("/a") == a);
    EXPECT_TRUE(a != std::string("/b"));
    EXPECT_TRUE(a < std::string("/b"));
    EXPECT_TRUE(std::string("/0") < a);
}

TEST(ObjectPath, isAKey)
{
    const std::map<object_path, int> ordered{{object_path("/a"), 1}};
    EXPECT_EQ(ordered.at(object_path("/a")), 1);
    const std::unordered_set<object_path> hashed{object_path("/a")};
    EXPECT_EQ(hashed.count(object_path("/a")), 1U);
    const std::unordered_set<signature> signatures{
        signature(std::string("as"))};
    EXPECT_EQ(signatures.count(signature(std::string("as"))), 1U);
}

TEST(ObjectPath, givesItsLastElement)
{
    const std::map<std::string, std::string> table{
        {"/com/example/drive0", "drive0"},
        {"/", ""},
        {"", ""},
        {"none", ""},
        {"/a/", ""},
        {"/a/_30", "0"},
        {"/a/_2E_2f", "./"},
        {"/a/_31_x", ""},
        {"/a/_3", ""},
        {"/a/_", ""},
        {"/a/b_2d", "b_2d"},
    };
    for (const auto& [path, name] : table)
    {
        EXPECT_EQ(object_path(path).filename(), name) << path;
    }
}

TEST(ObjectPath, givesItsParent)
{
    const std::map<std::string, std::string> table{
        {"/com/example/drive0", "/com/example"},
        {"/com", "/"},
        {"/", "/"},
        {"", "/"},
        {"none", "/"},
        {"//a", "/"},
        {"/ab/", "/ab"},
    };
    for (const auto& [path, parent] : table)
    {
        EXPECT_EQ(object_path(path).parent_path().str, parent) << path;
    }
}

TEST(ObjectPath, escapesWhatItIsExtendedBy)
{
    const std::map<std::string, std::string> table{
        {"drive0", "/a/drive0"}, {"1st", "/a/1st"},           {"a_b", "/a/a_b"},
        {"_a", "/a/_5fa"},       {"a.b_c", "/a/_61_2eb_5fc"}, {"", "/a/"},
        {"\xc3", "/a/_c3"},
    };
    for (const auto& [element, path] : table)
    {
        EXPECT_EQ((object_path("/a") / element).str, path) << element;
    }
}

TEST(ObjectPath, extendsTheRootAndNothing)
{
    EXPECT_EQ((object_path("/") / "a").str, "/a");
    object_path empty;
    empty /= "a";
    EXPECT_EQ(empty.str, "a");
}

TEST(ObjectPath, readsBackWhatItEscaped)
{
    for (const std::string element : {"a.b", "_x", "10:00", "\xff\x01"})
    {
        EXPECT_EQ((object_path("/a") / element).filename(), element);
    }
}

} // namespace
