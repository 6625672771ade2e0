// SPDX-License-Identifier: Apache-2.0
#include "sim/models/mapper.hpp"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using sim::Holdings;

namespace
{

Holdings example()
{
    Holdings holdings{{"/r", {{"s.one", {"i.R"}}}},
                      {"/r/a", {{"s.two", {"i.B"}}, {"s.one", {"i.A", "i.B"}}}},
                      {"/r/a/b", {{"s.one", {"i.A"}}}},
                      {"/r/a/b/c", {{"s.one", {"i.A"}}}},
                      {"/ra", {{"s.one", {"i.A"}}}}};
    sim::addParents(holdings);
    return holdings;
}

std::vector<std::string> paths(const std::string& root, int depth,
                               const std::vector<std::string>& interfaces)
{
    std::vector<std::string> result;
    for (const auto& [path, services] :
         sim::subTree(example(), root, depth, interfaces))
    {
        result.push_back(path);
    }
    return result;
}

using Paths = std::vector<std::string>;

TEST(Mapper, depthCountsPathWordsBelowTheRoot)
{
    EXPECT_EQ(paths("/r", 1, {}), (Paths{"/r/a"}));
    EXPECT_EQ(paths("/r", 2, {}), (Paths{"/r/a", "/r/a/b"}));
    EXPECT_EQ(paths("/", 1, {}), (Paths{"/", "/r", "/ra"}));
}

TEST(Mapper, depthOfZeroOrLessMeansAll)
{
    EXPECT_EQ(paths("/r", 0, {}), (Paths{"/r/a", "/r/a/b", "/r/a/b/c"}));
    EXPECT_EQ(paths("/r", -1, {}), paths("/r", 0, {}));
}

TEST(Mapper, neitherTheRootNorASiblingThatBeginsLikeItIsBelow)
{
    EXPECT_EQ(paths("/r/a", 0, {}), (Paths{"/r/a/b", "/r/a/b/c"}));
    EXPECT_EQ(paths("/ra", 0, {}), (Paths{}));
}

TEST(Mapper, oneSlashAtTheEndOfTheRootDoesNotCount)
{
    EXPECT_EQ(paths("/r/", 1, {}), paths("/r", 1, {}));
    EXPECT_EQ(paths("", 0, {}), paths("/", 0, {}));
    EXPECT_TRUE(sim::knows(example(), ""));
    EXPECT_TRUE(sim::knows(example(), "/r/"));
    EXPECT_FALSE(sim::knows(example(), "/r//"));
    EXPECT_EQ(paths("//", 0, {}), (Paths{}));
}

TEST(Mapper, anyOfTheInterfacesIsEnough)
{
    EXPECT_EQ(paths("/r", 0, {"i.B"}), (Paths{"/r/a"}));
    EXPECT_EQ(paths("/r", 0, {"i.None"}), (Paths{}));
    EXPECT_EQ(paths("/", 1, {"i.None", "i.R"}), (Paths{"/r"}));
}

TEST(Mapper, aServiceIsReportedWithAllItsInterfaces)
{
    Holdings::mapped_type expected{{"s.one", {"i.A", "i.B"}}};
    EXPECT_EQ(sim::servicesAt(example(), "/r/a", {"i.A"}), expected);
    EXPECT_EQ(sim::servicesAt(example(), "/r/a", {}).size(), 2U);
    EXPECT_TRUE(sim::servicesAt(example(), "/none", {}).empty());
}

TEST(Mapper, pathsAboveObjectsAreKnownButHeldByNobody)
{
    Holdings holdings{{"/x/y/z", {{"s", {"i"}}}}};
    sim::addParents(holdings);
    EXPECT_TRUE(sim::knows(holdings, "/"));
    EXPECT_TRUE(sim::knows(holdings, "/x/y"));
    EXPECT_FALSE(sim::knows(holdings, "/x/z"));
    EXPECT_TRUE(sim::servicesAt(holdings, "/x", {}).empty());
    EXPECT_EQ(sim::subTree(holdings, "/x", 1, {}), (Holdings{{"/x/y", {}}}));
    EXPECT_TRUE(sim::subTree(holdings, "/x", 1, {"i"}).empty());
}

} // namespace
