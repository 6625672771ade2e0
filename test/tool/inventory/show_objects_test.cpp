// SPDX-License-Identifier: Apache-2.0
#include "test/support.hpp"
#include "tool/inventory/show_objects.hpp"

#include <gtest/gtest.h>

namespace tool
{

namespace
{

using io::mapper::SubTree;
using nlohmann::json;

const SubTree sample{
    {"/b", {{"com.mervax.rsa", {"I2", "I1"}}, {"com.mervax.lsa", {"I1"}}}},
    {"/a", {{"com.mervax.lsa", {}}}},
    {"/b", {{"com.mervax.rsa", {"I3"}}}},
};

TEST(ObjectDocument, joinsPiecesInTheMappersOrder)
{
    EXPECT_EQ(objectDocument(sample, ""),
              json::parse(R"({"/a": {"com.mervax.lsa": []},
                              "/b": {"com.mervax.lsa": ["I1"],
                                     "com.mervax.rsa": ["I2", "I1", "I3"]}})"));
}

TEST(ObjectDocument, keepsOneServiceByItsWholeName)
{
    EXPECT_EQ(objectDocument(sample, "com.mervax.rsa"),
              json::parse(R"({"/b": {"com.mervax.rsa": ["I2", "I1", "I3"]}})"));
    EXPECT_EQ(objectDocument(sample, "com.mervax.rs"), json::object());
    EXPECT_EQ(objectDocument(sample, "com.mervax.rsax"), json::object());
}

TEST(ObjectDocument, isAnObjectWhenThereIsNothing)
{
    EXPECT_EQ(objectDocument({}, ""), json::object());
}

/** Refused before anything is asked: no bus is needed. */
std::string refusal(const std::string& path,
                    const std::vector<std::string>& interfaces, json found)
{
    bool done = true;
    const std::string printed = printedBy(
        [&] { done = getSubTree(nullptr, path, interfaces, "", found); });
    EXPECT_FALSE(done);
    return printed;
}

TEST(GetSubTree, refusesToAskForNothing)
{
    EXPECT_EQ(refusal("", {"a"}, nullptr),
              "getSubTree failed, invalid parameter: searchPath  "
              "requiredInterfaces size 1\n");
    EXPECT_EQ(refusal("/a", {}, nullptr),
              "getSubTree failed, invalid parameter: searchPath /a "
              "requiredInterfaces size 0\n");
    EXPECT_EQ(refusal("/a", {"a", "b"}, json::object()),
              "getSubTree failed, invalid parameter: searchPath /a "
              "requiredInterfaces size 2\n");
}

} // namespace

} // namespace tool
