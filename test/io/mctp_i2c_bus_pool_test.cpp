// SPDX-License-Identifier: Apache-2.0
#include "io/common/src/MctpI2CBusPool.hpp"

#include <gtest/gtest.h>

#include <optional>
#include <set>

namespace
{

using namespace io::mctp_pool;

/** A second way to the pools, block by block over a set of taken EIDs. */
class Reference
{
  public:
    /** First EID and size, none when there is no room. */
    std::optional<std::pair<int, int>> reserve(int bus, int endpoints)
    {
        int blocks = 0;
        while (blocks * 16 < endpoints)
        {
            ++blocks;
        }
        int block = bus;
        if (!fits(block, blocks))
        {
            for (block = 1; block <= 15 && !fits(block, blocks); ++block)
            {
            }
            if (block > 15)
            {
                return std::nullopt;
            }
        }
        for (int i = 0; i < blocks * 16; ++i)
        {
            taken.insert(block * 16 + i);
        }
        return std::pair(block * 16, blocks * 16);
    }

    std::set<int> taken;

  private:
    bool fits(int block, int blocks) const
    {
        const auto first = taken.lower_bound(block * 16);
        const bool meets =
            first != taken.end() && *first < (block + blocks) * 16;
        return block + blocks <= 16 && !meets;
    }
};

void expectSame(const std::optional<Pool>& pool,
                const std::optional<std::pair<int, int>>& expected)
{
    ASSERT_EQ(pool.has_value(), expected.has_value());
    if (pool && expected)
    {
        EXPECT_EQ(pool->first, expected->first & 0xFF);
        EXPECT_EQ(pool->second, expected->second & 0xFF);
    }
}

void expectSame(const std::bitset<eidCount>& reserved,
                const std::set<int>& taken)
{
    ASSERT_EQ(reserved.count(), taken.size());
    for (int eid : taken)
    {
        ASSERT_TRUE(reserved[static_cast<std::size_t>(eid)]) << eid;
    }
}

TEST(ReservePool, everyBusWithEveryNumberOfEndpoints)
{
    for (int bus = 0; bus < 256; ++bus)
    {
        for (int endpoints = 0; endpoints < 256; ++endpoints)
        {
            SCOPED_TRACE(std::to_string(bus) + ": " +
                         std::to_string(endpoints));
            Tables tables;
            const auto number = static_cast<uint8_t>(bus);
            tables.maxEndpoints[number] = static_cast<uint8_t>(endpoints);
            Reference reference;
            const auto pool = reserve(tables, number);
            expectSame(pool, reference.reserve(bus, endpoints));
            expectSame(tables.reserved, reference.taken);
            EXPECT_EQ(tables.pools.count(number), pool ? 1U : 0U);
        }
    }
}

/** One process that enables bus after bus, in a stride through all of them. */
TEST(ReservePool, oneBusAfterTheOther)
{
    for (int endpoints = 0; endpoints < 256; ++endpoints)
    {
        for (int stride : {1, 7, 255})
        {
            Tables tables;
            Reference reference;
            for (int step = 0; step < 256; ++step)
            {
                SCOPED_TRACE(std::to_string(endpoints) + ", " +
                             std::to_string(stride) + ": " +
                             std::to_string(step));
                const auto bus = static_cast<uint8_t>(step * stride);
                const int count = (endpoints + step) % 256;
                tables.maxEndpoints[bus] = static_cast<uint8_t>(count);
                expectSame(reserve(tables, bus), reference.reserve(bus, count));
            }
            expectSame(tables.reserved, reference.taken);
        }
    }
}

TEST(ReservePool, aBusThatIsNotInTheTableEntersItWithTheDefault)
{
    Tables tables;
    EXPECT_EQ(reserve(tables, 5), Pool(80, 16));
    EXPECT_EQ(tables.maxEndpoints.at(5), 16);
    EXPECT_EQ(tables.pools.at(5), Pool(80, 16));
    EXPECT_EQ(tables.reserved.count(), 16U);
}

TEST(ReservePool, twentyEndpointsTakeTwoBlocks)
{
    Tables tables;
    tables.maxEndpoints[3] = 20;
    EXPECT_EQ(reserve(tables, 3), Pool(48, 32));
    EXPECT_FALSE(tables.reserved[47]);
    EXPECT_TRUE(tables.reserved[48]);
    EXPECT_TRUE(tables.reserved[79]);
    EXPECT_FALSE(tables.reserved[80]);
}

TEST(ReservePool, whatWouldPassTheLastEidGoesToTheFirstFreePlace)
{
    Tables tables;
    tables.maxEndpoints[15] = 20;
    EXPECT_EQ(reserve(tables, 15), Pool(16, 32));
}

TEST(ReservePool, theLastPlaceForTwoBlocksIs224)
{
    Tables tables;
    for (std::size_t eid = 16; eid < 224; ++eid)
    {
        tables.reserved.set(eid);
    }
    tables.maxEndpoints[3] = 20;
    EXPECT_EQ(reserve(tables, 3), Pool(224, 32));
    tables.maxEndpoints[4] = 20;
    EXPECT_FALSE(reserve(tables, 4));
    EXPECT_EQ(tables.pools.count(4), 0U);
    EXPECT_EQ(tables.reserved.count(), 240U);
}

TEST(ReservePool, noPlaceForOneBlock)
{
    Tables tables;
    tables.reserved.set();
    EXPECT_FALSE(reserve(tables, 3));
    tables.reserved.reset(0);
    EXPECT_FALSE(reserve(tables, 3));
}

TEST(BackplaneWord, unpacksDrivesBackplanesAndBus)
{
    const BackplaneWord word = unpackWord(0xFF030210);
    EXPECT_EQ(word.drives, 16);
    EXPECT_EQ(word.backplanes, 2);
    EXPECT_EQ(word.bus, 3);
    EXPECT_TRUE(isPlausible(word));
    EXPECT_EQ(endpointCount(word), 20);
}

TEST(BackplaneWord, eachPartHasItsLimit)
{
    EXPECT_TRUE(isPlausible(unpackWord(0x000F0430)));
    EXPECT_FALSE(isPlausible(unpackWord(0x000F0431)));
    EXPECT_FALSE(isPlausible(unpackWord(0x000F0530)));
    EXPECT_FALSE(isPlausible(unpackWord(0x00100430)));
    EXPECT_FALSE(isPlausible(unpackWord(0x00100004)));
    EXPECT_FALSE(isPlausible(unpackWord(0xFFFFFFFF)));
    EXPECT_TRUE(isPlausible(unpackWord(0)));
}

TEST(BackplaneWord, eachMissingBackplaneLeavesRoomForTwo)
{
    EXPECT_EQ(endpointCount(unpackWord(0x00000000)), 8);
    EXPECT_EQ(endpointCount(unpackWord(0x00000400)), 0);
    EXPECT_EQ(endpointCount(unpackWord(0x00000030)), 56);
    EXPECT_EQ(endpointCount(unpackWord(0x00000130)), 54);
}

} // namespace
