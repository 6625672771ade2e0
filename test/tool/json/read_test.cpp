// SPDX-License-Identifier: Apache-2.0
#include "tool/json/read.hpp"

#include <gtest/gtest.h>

#include <cstdint>

using nlohmann::json;

namespace tool
{

namespace
{

const json sample = json::parse(R"({
    "Name": "drive", "Number": 300, "Nothing": null, "List": [1],
    "Internal": {"ResourceId": 7, "Deep": {"Value": "x"}}})");

TEST(ReadOr, findsMembersAndPaths)
{
    EXPECT_EQ(readText(sample, "Name"), "drive");
    EXPECT_EQ(readOr(sample, {"Internal", "ResourceId"}, 0U), 7U);
    EXPECT_EQ(readOr(sample, {"Internal", "Deep", "Value"}, std::string()),
              "x");
}

TEST(ReadOr, missingStepsGiveTheDefault)
{
    EXPECT_EQ(readOr(sample, {"Internal", "Other"}, 5U), 5U);
    EXPECT_EQ(readOr(sample, {"Other", "ResourceId"}, 5U), 5U);
    EXPECT_EQ(readOr(sample, {"Name", "ResourceId"}, 5U), 5U);
    EXPECT_EQ(readOr(sample, {"Nothing", "ResourceId"}, 5U), 5U);
    EXPECT_EQ(readText(sample, "Other"), "");
}

TEST(ReadOr, anotherTypeIsTheLibrarysError)
{
    EXPECT_THROW(readText(sample, "Number"), json::type_error);
    EXPECT_THROW(readText(sample, "Nothing"), json::type_error);
    EXPECT_THROW(readText(sample, "List"), json::type_error);
    EXPECT_THROW(readOr(sample, {"Name"}, 0U), json::type_error);
    EXPECT_THROW(readText(json("text"), "Name"), json::type_error);
    EXPECT_THROW(readText(json(), "Name"), json::type_error);
}

TEST(ReadOr, behavesAsTheLibrarysOwnReader)
{
    // A key of one character might be an index, and counts as a missing step.
    const json::json_pointer pointer("/List/x");
    EXPECT_EQ(sample.value(pointer, 5U), 5U);
    EXPECT_EQ(readOr(sample, {"List", "x"}, 5U), 5U);
    const json::json_pointer longer("/List/xy");
    EXPECT_THROW(static_cast<void>(sample.value(longer, 5U)),
                 json::parse_error);
    EXPECT_THROW(readOr(sample, {"List", "xy"}, 5U), json::parse_error);
    // Too large for the type: cut, as get() cuts.
    EXPECT_EQ(readOr(sample, {"Number"}, uint8_t{0}), 44);
}

TEST(ReadValue, cutsFloatingNumbers)
{
    EXPECT_EQ(readValue<uint32_t>(3.9), 3U);
    EXPECT_EQ(readValue<uint32_t>(-1.5), 0xFFFFFFFFU);
    EXPECT_EQ(readValue<uint8_t>(300.7), 44);
    EXPECT_EQ(readValue<uint64_t>(1.5e19), 15000000000000000000U);
    EXPECT_EQ(readValue<double>(1.5), 1.5);
}

TEST(ReadValue, isZeroForWhatNoIntegerHolds)
{
    for (double number : {1e300, -1e300, 18446744073709551616.0, -9.3e18})
    {
        EXPECT_EQ(readValue<uint64_t>(number), 0U) << number;
    }
    EXPECT_EQ(readValue<uint64_t>(-9223372036854775808.0), uint64_t{1} << 63);
    // The largest double below 2^64.
    EXPECT_EQ(readValue<uint64_t>(18446744073709549568.0),
              18446744073709549568U);
}

TEST(ReadValue, otherTypesAreTheLibrarys)
{
    EXPECT_THROW(readValue<uint32_t>("5"), json::type_error);
    EXPECT_THROW(readValue<std::string>(5), json::type_error);
    EXPECT_TRUE(readValue<bool>(true));
}

TEST(FindMember, isNullForWhatIsNoObject)
{
    EXPECT_EQ(findMember(json::array({1}), "x"), nullptr);
    EXPECT_EQ(findMember(json(), "x"), nullptr);
    EXPECT_NE(findMember(sample, "Nothing"), nullptr);
}

} // namespace

} // namespace tool
