// SPDX-License-Identifier: Apache-2.0
#include "io/common/src/Text.hpp"

#include <gtest/gtest.h>

#include <limits>

namespace io::text
{

namespace
{

TEST(Text, piecesFollowEachOther)
{
    EXPECT_EQ(cat({}), "");
    EXPECT_EQ(cat({"a", std::string(300, 'b'), "", "c"}),
              "a" + std::string(300, 'b') + "c");
}

TEST(Text, numbersAreAsPrintfWritesThem)
{
    for (const uint64_t number :
         {uint64_t{0}, uint64_t{9}, uint64_t{10}, uint64_t{255},
          uint64_t{0x8C0000}, std::numeric_limits<uint64_t>::max()})
    {
        char text[32];
        std::snprintf(text, sizeof(text), "%ju", uintmax_t{number});
        EXPECT_EQ(decimal(number), text);
        std::snprintf(text, sizeof(text), "%02ju", uintmax_t{number});
        EXPECT_EQ(decimal(number, 2), text);
        std::snprintf(text, sizeof(text), "%jx", uintmax_t{number});
        EXPECT_EQ(hex(number), text);
        std::snprintf(text, sizeof(text), "%04jx", uintmax_t{number});
        EXPECT_EQ(hex(number, 4), text);
        std::snprintf(text, sizeof(text), "%08jX", uintmax_t{number});
        EXPECT_EQ(upperHex(number, 8), text);
    }
}

TEST(Text, decimalsAreRoundedAndHaveRoomForEveryNumber)
{
    EXPECT_EQ(fixed(0, 0), "0");
    EXPECT_EQ(fixed(893.004, 2), "893.00");
    EXPECT_EQ(fixed(0.0051, 2), "0.01");
    EXPECT_EQ(fixed(2.5, 0), "2");
    EXPECT_EQ(fixed(-1.25, 1), "-1.2");
    EXPECT_EQ(fixed(1e300, 1).size(), 303U);
    EXPECT_EQ(fixed(std::numeric_limits<double>::lowest(), 2).size(), 313U);
}

TEST(Text, fieldsAreFilledAndNeverCut)
{
    EXPECT_EQ(alignRight("LinkUp", 8), "  LinkUp");
    EXPECT_EQ(alignRight("LinkUpLinkUp", 8), "LinkUpLinkUp");
    EXPECT_EQ(alignLeft("key", 5), "key  ");
    EXPECT_EQ(alignLeft("longer key", 5), "longer key");
}

TEST(Text, datesAreAsCtimeWritesThem)
{
    const std::time_t moment = 1'000'000'000;
    EXPECT_EQ(date(moment) + "\n", std::ctime(&moment));
}

TEST(Text, aValueIsAllThatStandsBehindItsKey)
{
    EXPECT_EQ(findValue("PN=ABC123", "PN="), "ABC123");
    EXPECT_EQ(findValue("x,PN=A,B=PN=C", "PN="), "A,B=PN=C");
    EXPECT_EQ(findValue("x,PN=", "PN="), "");
    EXPECT_EQ(findValue("pn=ABC123", "PN="), std::nullopt);
    EXPECT_EQ(findValue("", "PN="), std::nullopt);
}

TEST(Text, theLastPieceOfAName)
{
    EXPECT_EQ(afterLastDot("xyz.openbmc_project.State.Chassis.PowerState.On"),
              "On");
    EXPECT_EQ(afterLastDot("xyz.openbmc_project.State.Chassis"), "Chassis");
    EXPECT_EQ(afterLastDot("On"), "On");
    EXPECT_EQ(afterLastDot("com.mervax."), "");
}

} // namespace

} // namespace io::text
