// SPDX-License-Identifier: Apache-2.0
#include "tool/event/event_params.hpp"

#include <gtest/gtest.h>

#include <climits>
#include <cstdint>
#include <stdexcept>
#include <string>

namespace tool
{

namespace
{

TEST(EventParams, absentKeysHaveTheirDefaults)
{
    for (const char* params : {"", ";", "Slot=1;slot 2;sl0t=3", "slot", "id"})
    {
        const EventParams read = readEventParams(params);
        EXPECT_EQ(read.slot, 255);
        EXPECT_EQ(read.port, 255);
        EXPECT_EQ(read.severity, 255);
        EXPECT_EQ(read.senState, 0);
        EXPECT_EQ(read.id, "");
        EXPECT_EQ(read.name, "");
        EXPECT_EQ(read.link, "");
    }
}

TEST(EventParams, keysStandInAnyOrder)
{
    const EventParams read = readEventParams(
        "link=up;name=LOM1;id=X;senState=18;severity=2;port=1;slot=3");
    EXPECT_EQ(read.slot, 3);
    EXPECT_EQ(read.port, 1);
    EXPECT_EQ(read.severity, 2);
    EXPECT_EQ(read.senState, 18);
    EXPECT_EQ(read.id, "X");
    EXPECT_EQ(read.name, "LOM1");
    EXPECT_EQ(read.link, "up");
}

TEST(EventParams, theFirstOccurrenceCounts)
{
    const EventParams read =
        readEventParams("slot=1;slot=2;name=;name=b;link=up;link=down");
    EXPECT_EQ(read.slot, 1);
    EXPECT_EQ(read.name, "");
    EXPECT_EQ(read.link, "up");
}

TEST(EventParams, aKeyIsFoundInsideOtherText)
{
    EXPECT_EQ(readEventParams("myslot=4").slot, 4);
    EXPECT_EQ(readEventParams("name=slot=5;slot=6").slot, 5);
    EXPECT_EQ(readEventParams("id=port=7").port, 7);
    EXPECT_EQ(readEventParams("id=port=7").id, "port=7");
    EXPECT_EQ(readEventParams("pid=3").id, "3");
    EXPECT_EQ(readEventParams("filename=x").name, "x");
}

TEST(EventParams, onlyASemicolonEndsAText)
{
    const EventParams read = readEventParams("id=a,b c=d;name= e :;link=x y");
    EXPECT_EQ(read.id, "a,b c=d");
    EXPECT_EQ(read.name, " e :");
    EXPECT_EQ(read.link, "x y");
}

TEST(EventParams, numbersKeepTheirLowByte)
{
    EXPECT_EQ(readEventParams("slot=300").slot, 44);
    EXPECT_EQ(readEventParams("slot=256").slot, 0);
    EXPECT_EQ(readEventParams("slot=-1").slot, 255);
    EXPECT_EQ(readEventParams("slot=-2").slot, 254);
    EXPECT_EQ(readEventParams("slot=" + std::to_string(ULONG_MAX)).slot, 255);
}

TEST(EventParams, numbersAreReadInBaseTenUpToTheFirstOtherCharacter)
{
    EXPECT_EQ(readEventParams("slot=12;34").slot, 12);
    EXPECT_EQ(readEventParams("slot=12abc").slot, 12);
    EXPECT_EQ(readEventParams("slot=  12").slot, 12);
    EXPECT_EQ(readEventParams("slot=\t+12").slot, 12);
    EXPECT_EQ(readEventParams("slot=0x12").slot, 0);
    EXPECT_EQ(readEventParams("slot=012").slot, 12);
    EXPECT_EQ(readEventParams("slot=1 2").slot, 1);
}

template <typename Error>
void expectStoul(const std::string& params)
{
    try
    {
        readHiddenRequest(params);
        readEventParams(params);
        ADD_FAILURE() << params;
    }
    catch (const Error& error)
    {
        EXPECT_STREQ(error.what(), "stoul") << params;
    }
}

TEST(EventParams, aNumberWithoutDigitsIsRefused)
{
    for (const char* key :
         {"slot=", "port=", "severity=", "senState=", "hide=", "hide=1;delay="})
    {
        for (const char* value : {"", ";1", "x", "-", "+", " ", "- 1", "--1"})
        {
            expectStoul<std::invalid_argument>(std::string(key) + value);
        }
    }
}

TEST(EventParams, aNumberBeyondUnsignedLongIsRefused)
{
    for (const char* key :
         {"slot=", "port=", "severity=", "senState=", "hide=", "hide=1;delay="})
    {
        expectStoul<std::out_of_range>(std::string(key) +
                                       "99999999999999999999");
        expectStoul<std::out_of_range>(std::string(key) +
                                       "-99999999999999999999");
    }
}

TEST(HiddenRequest, isAskedForByItsKey)
{
    EXPECT_FALSE(readHiddenRequest(""));
    EXPECT_FALSE(readHiddenRequest("delay=3;Hide=1;hide"));
    const auto plain = readHiddenRequest("hide=2");
    ASSERT_TRUE(plain);
    EXPECT_EQ(plain->type, 2U);
    EXPECT_EQ(plain->delay, 0U);
    const auto delayed = readHiddenRequest("delay=3;slot=x;hide=1");
    ASSERT_TRUE(delayed);
    EXPECT_EQ(delayed->type, 1U);
    EXPECT_EQ(delayed->delay, 3U);
}

TEST(HiddenRequest, numbersKeepTheirLow32Bits)
{
    const auto request = readHiddenRequest("hide=2;delay=-1");
    ASSERT_TRUE(request);
    EXPECT_EQ(request->type, 2U);
    EXPECT_EQ(request->delay, 4294967295U);
}

TEST(HiddenRequest, aNumberOfMoreThan32BitsIsCutWhereItIsRead)
{
    if (ULONG_MAX > UINT32_MAX)
    {
        EXPECT_EQ(readHiddenRequest("hide=4294967298")->type, 2U);
    }
    else
    {
        EXPECT_THROW(readHiddenRequest("hide=4294967298"), std::out_of_range);
    }
}

struct Selection
{
    const char* params;
    uint32_t address;
    EventKind kind;
};

constexpr Selection selections[] = {
    {"link=up;port=1;slot=3", 0x3B000000, EventKind::link},
    {"link=x;port=0;slot=0", 1, EventKind::link},
    {"link=up;port=1;slot=3;id=X;severity=1;senState=18", 1, EventKind::link},
    // Each of the four that a link event needs, missing.
    {"link=;port=1;slot=3", 1, EventKind::insufficient},
    {"link=up;slot=3", 1, EventKind::insufficient},
    {"link=up;port=1", 1, EventKind::insufficient},
    {"link=up;port=1;slot=3", 0, EventKind::insufficient},
    {"link=up;port=255;slot=3", 1, EventKind::insufficient},
    {"link=up;port=1;slot=255", 1, EventKind::insufficient},
    // A link key that does not suffice leaves the field to the others.
    {"link=up;port=1;id=X;severity=1", 1, EventKind::storage},
    {"link=up;port=1;senState=18", 1, EventKind::temperature},
    {"id=X;severity=0", 0, EventKind::storage},
    {"id=X;severity=0;senState=18", 0, EventKind::storage},
    {"id=X;severity=255;senState=18", 0, EventKind::temperature},
    {"id=;severity=1;senState=18", 0, EventKind::temperature},
    {"id=X;slot=2", 0, EventKind::insufficient},
    {"severity=1", 0, EventKind::insufficient},
    {"senState=18", 0, EventKind::temperature},
    {"senState=0", 0, EventKind::insufficient},
    {"senState=256", 0, EventKind::insufficient},
    {"", 0x3B000000, EventKind::insufficient},
};

TEST(SelectEvent, theFirstThatTheParametersSufficeFor)
{
    for (const Selection& row : selections)
    {
        EXPECT_EQ(selectEvent(readEventParams(row.params), row.address),
                  row.kind)
            << row.params;
    }
}

TEST(DescribeDevice, showsTheThreeUpperBytes)
{
    EXPECT_EQ(describeDevice(0x3B000000, 3), "3B:00:00 in Slot 3");
    EXPECT_EQ(describeDevice(0x8c0000, 255), "00:8C:00 in Slot 255");
    EXPECT_EQ(describeDevice(0xFFFFFFFF, 0), "FF:FF:FF in Slot 0");
}

} // namespace

} // namespace tool
