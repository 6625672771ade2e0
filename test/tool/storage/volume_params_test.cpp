// SPDX-License-Identifier: Apache-2.0
#include "test/support.hpp"
#include "tool/storage/volume_params.hpp"

#include <gtest/gtest.h>

#include <climits>
#include <stdexcept>
#include <string>

using nlohmann::json;

namespace tool
{

namespace
{

/** All that comes of one parameter text. */
struct Outcome
{
    bool produced{false};
    json request;
    std::string operation;
    std::string printed;
};

Outcome parse(const std::string& params)
{
    Options options;
    options.operation = "create";
    options.params = params;
    Outcome outcome;
    outcome.printed = printedBy(
        [&]
        { outcome.produced = parseVolumeParams(options, outcome.request); });
    outcome.operation = options.operation;
    return outcome;
}

json volume(const std::string& params)
{
    const Outcome outcome = parse(params);
    EXPECT_TRUE(outcome.produced) << params;
    EXPECT_EQ(outcome.printed, "") << params;
    return outcome.request.at("Volume");
}

/** The text of the exception that the parameters raise. */
template <typename Exception>
std::string complaint(const std::string& params)
{
    try
    {
        parse(params);
    }
    catch (const Exception& failure)
    {
        return failure.what();
    }
    return "no such exception";
}

TEST(VolumeParams, namesDrivesAndMembers)
{
    const Outcome outcome =
        parse("DisplayName=vd1,RAIDType=RAID1,Drives=22:23");
    EXPECT_TRUE(outcome.produced);
    EXPECT_EQ(outcome.operation, "create");
    EXPECT_EQ(outcome.request.dump(),
              R"({"Volume":{"DisplayName":"vd1","Links":{"Drives":)"
              R"([{"@odata.id":22},{"@odata.id":23}]},"RAIDType":"RAID1"}})");
}

TEST(VolumeParams, driveCountSwitchesToAutomaticConfiguration)
{
    const Outcome outcome = parse("RAIDType=RAID1,DrvCnt=2,HotspareCnt=1");
    EXPECT_EQ(outcome.operation, "autocfg");
    EXPECT_EQ(outcome.request.dump(),
              R"({"Volume":{"DrvCnt":2,"HotspareCnt":1,"RAIDType":"RAID1"}})");
    // Anywhere in the text, not only as a key.
    EXPECT_EQ(parse("DisplayName=DrvCnt").operation, "autocfg");
    EXPECT_EQ(parse("drvcnt=2").operation, "create");
}

TEST(VolumeParams, valuesTakeTheTypeThatTheyLookLike)
{
    EXPECT_EQ(volume("a=true,b=false,c=True,d=,e=-1,f=x=y").dump(),
              R"({"a":true,"b":false,"c":"True","d":"","e":"-1","f":"x=y"})");
    EXPECT_EQ(volume("DisplayName=007").dump(), R"({"DisplayName":7})");
    EXPECT_EQ(volume("a=12abc,b=1.9,c=0x10").dump(), R"({"a":12,"b":1,"c":0})");
    EXPECT_EQ(volume("CapacityBytes=18446744073709551615")
                  .at("CapacityBytes")
                  .get<uint64_t>(),
              UINT64_MAX);
    EXPECT_TRUE(volume("a=7").at("a").is_number_unsigned());
}

TEST(VolumeParams, aLaterPairReplacesAnEarlierOne)
{
    EXPECT_EQ(volume("a=1,a=x,a=true").dump(), R"({"a":true})");
}

TEST(VolumeParams, aPieceWithoutAnEqualsSignIsNoPair)
{
    EXPECT_EQ(volume(",,a=1,,b,").dump(), R"({"a":1})");
    EXPECT_EQ(volume("=1").dump(), R"({"":1})");
}

TEST(VolumeParams, driveListsKeepTheirNumbersOnly)
{
    EXPECT_EQ(volume("Drives=22:x:23").dump(),
              R"({"Links":{"Drives":[{"@odata.id":22},{"@odata.id":23}]}})");
    EXPECT_EQ(volume("Drives=::1x:-2:+3: 4,a=1").dump(),
              R"({"Links":{"Drives":[{"@odata.id":1}]},"a":1})");
    // Nothing named, nothing linked.
    EXPECT_EQ(volume("Drives=x,a=1").dump(), R"({"a":1})");
    EXPECT_EQ(volume("drives=1").dump(), R"({"drives":1})");
}

TEST(VolumeParams, driveListsAddUp)
{
    EXPECT_EQ(volume("Drives=1,Hotspares=9:8,Drives=2,Hotspares=7").dump(),
              R"({"Links":{"DedicatedSpareDrives":[{"@odata.id":9},)"
              R"({"@odata.id":8},{"@odata.id":7}],)"
              R"("Drives":[{"@odata.id":1},{"@odata.id":2}]}})");
}

TEST(VolumeParams, withoutAMemberThereIsNoRequest)
{
    for (const char* params : {"", ",", "x", "Count=2", "Count=", "Drives=",
                               "Drives=x:y", "Hotspares=-1"})
    {
        const Outcome outcome = parse(params);
        EXPECT_FALSE(outcome.produced) << params;
        EXPECT_EQ(outcome.printed, "") << params;
        EXPECT_TRUE(outcome.request.is_null()) << params;
    }
}

TEST(VolumeParams, aCountOfNothingIsOne)
{
    for (const char* params : {"Count=0,a=1", "Count=1,a=1",
                               "a=1,Count=", "Count=00,a=1", "a=1,Count=1x"})
    {
        EXPECT_EQ(volume(params).dump(), R"({"a":1})") << params;
    }
}

TEST(VolumeParams, theCountIsTheFirstOneInTheText)
{
    // Also as the end of another word, which stays a member.
    const Outcome outcome = parse("SpanCount=2,Drives=1:2,Count=1");
    EXPECT_EQ(outcome.request.dump(),
              R"([{"Volume":{"Links":{"Drives":[{"@odata.id":1}]},)"
              R"("SpanCount":2}},)"
              R"({"Volume":{"Links":{"Drives":[{"@odata.id":2}]},)"
              R"("SpanCount":2}}])");
}

TEST(VolumeParams, severalVolumesShareTheDrivesInOrder)
{
    const Outcome outcome =
        parse("Count=2,RAIDType=RAID1,Drives=1:2:3:4,Hotspares=9");
    EXPECT_TRUE(outcome.produced);
    EXPECT_EQ(outcome.printed, "");
    EXPECT_EQ(outcome.request.dump(),
              R"([{"Volume":{"Links":{"DedicatedSpareDrives":)"
              R"([{"@odata.id":9}],"Drives":[{"@odata.id":1},)"
              R"({"@odata.id":2}]},"RAIDType":"RAID1"}},)"
              R"({"Volume":{"Links":{"DedicatedSpareDrives":)"
              R"([{"@odata.id":9}],"Drives":[{"@odata.id":3},)"
              R"({"@odata.id":4}]},"RAIDType":"RAID1"}}])");
}

TEST(VolumeParams, drivesThatCannotBeSharedEvenlyAreRefused)
{
    const Outcome outcome = parse("Count=2,RAIDType=RAID1,Drives=1:2:3");
    EXPECT_FALSE(outcome.produced);
    EXPECT_EQ(outcome.printed,
              "Drive count 3 mismatch with the expected volume count 2\n");
    EXPECT_EQ(parse("Count=-1,Drives=1:2").printed,
              "Drive count 2 mismatch with the expected volume count " +
                  std::to_string(ULONG_MAX) + "\n");
}

TEST(VolumeParams, automaticConfigurationOfSeveralHasNoVolume)
{
    const Outcome outcome = parse("Count=2,RAIDType=RAID1,DrvCnt=2");
    EXPECT_TRUE(outcome.produced);
    EXPECT_EQ(outcome.operation, "autocfg");
    EXPECT_EQ(outcome.request.dump(), "{}");
}

TEST(VolumeParams, numbersThatDoNotConvertAreExceptions)
{
    using Invalid = std::invalid_argument;
    using Range = std::out_of_range;
    EXPECT_EQ(complaint<Invalid>("Count=x,a=1"), "stoul");
    EXPECT_EQ(complaint<Invalid>("Count=,a=1"), "stoul");
    EXPECT_EQ(complaint<Range>("Count=99999999999999999999,a=1"), "stoul");
    EXPECT_EQ(complaint<Range>("Drives=99999999999999999999"), "stoul");
    EXPECT_EQ(complaint<Range>("a=18446744073709551616"), "stoull");
}

TEST(VolumeParams, linksThatAreNoObjectRaiseTheLibrarysErrors)
{
    using Type = json::type_error;
    EXPECT_EQ(complaint<Type>("Count=2,a=1"),
              "[json.exception.type_error.307] cannot use erase() with null");
    EXPECT_EQ(complaint<Type>("Count=2,Drives=1:2,Links=x"),
              "[json.exception.type_error.307] cannot use erase() with string");
    EXPECT_EQ(complaint<Type>("Links=1,Drives=1"),
              "[json.exception.type_error.305] cannot use operator[] with a "
              "string argument with number");
}

TEST(VolumeParams, moreVolumesThanCanBeSentAreRefusedBeforeTheyAreBuilt)
{
    EXPECT_EQ(complaint<std::length_error>("Count=4000000000,Hotspares=1"),
              "Request is longer than a bus message");
}

} // namespace

} // namespace tool
