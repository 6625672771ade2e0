// SPDX-License-Identifier: Apache-2.0
#include "test/support.hpp"
#include "tool/firmware/progress.hpp"

#include <gtest/gtest.h>

#include <stdexcept>

using nlohmann::json;

namespace tool
{

namespace
{

constexpr const char* names[] = {
    "ErrorCode",        "Progress",       "CompletedDeviceCount",
    "TotalDeviceCount", "ElapsedSeconds", "EstimatedRemainingSeconds"};

json progressSample()
{
    return {{"ErrorCode", 1},
            {"Progress", 2},
            {"CompletedDeviceCount", 3},
            {"TotalDeviceCount", 4},
            {"ElapsedSeconds", 5},
            {"EstimatedRemainingSeconds", 6}};
}

/** The six numbers in their order. */
std::vector<uint32_t> numbers(const json& data)
{
    ProgressRecord record;
    EXPECT_EQ(readProgress(data, record), nullptr);
    return {record.errorCode, record.progress, record.completed,
            record.total,     record.elapsed,  record.remaining};
}

std::string complaint(const json& data)
{
    ProgressRecord record;
    try
    {
        readProgress(data, record);
    }
    catch (const std::exception& failure)
    {
        return failure.what();
    }
    return "no exception";
}

json with(const char* name, const json& value)
{
    json data = progressSample();
    data[name] = value;
    return data;
}

std::string shown(const ProgressRecord& record)
{
    return printedBy([&] { printProgress(record); });
}

TEST(Progress, readsEveryMember)
{
    EXPECT_EQ(numbers(progressSample()),
              (std::vector<uint32_t>{1, 2, 3, 4, 5, 6}));
    EXPECT_EQ(numbers(with("Progress", 4294967295U))[1], 4294967295U);
    EXPECT_EQ(numbers(with("Progress", 50.9))[1], 50U);
}

TEST(Progress, namesTheFirstMemberThatIsMissing)
{
    json data = json::object();
    ProgressRecord record;
    for (const char* name : names)
    {
        EXPECT_STREQ(readProgress(data, record), name);
        data[name] = 1;
    }
    EXPECT_EQ(readProgress(data, record), nullptr);
    for (const char* text : {"[]", "5", "null", "\"ErrorCode\""})
    {
        EXPECT_STREQ(readProgress(json::parse(text), record), "ErrorCode");
    }
}

TEST(Progress, refusesWhatIsNoNumber)
{
    for (const char* name : names)
    {
        for (const char* text : {"\"1\"", "true", "null", "[1]", "{}"})
        {
            const json value = json::parse(text);
            EXPECT_EQ(complaint(with(name, value)),
                      "[json.exception.type_error.302] type must be number, "
                      "but is " +
                          std::string(value.type_name()));
        }
    }
}

TEST(Progress, cutsAnIntegerToItsLow32Bits)
{
    EXPECT_EQ(numbers(with("ErrorCode", -5))[0], 0xfffffffbU);
    EXPECT_EQ(numbers(with("Progress", -1))[1], 0xffffffffU);
    EXPECT_EQ(numbers(with("Progress", INT64_MIN))[1], 0U);
    EXPECT_EQ(numbers(with("Progress", 4294967298))[1], 2U);
    EXPECT_EQ(numbers(with("Progress", UINT64_MAX))[1], 0xffffffffU);
}

TEST(Progress, takesTheNearestEndForAFloatingNumber)
{
    EXPECT_EQ(numbers(with("Progress", -0.5))[1], 0U);
    EXPECT_EQ(numbers(with("Progress", -1e300))[1], 0U);
    EXPECT_EQ(numbers(with("Progress", 4294967294.9))[1], 4294967294U);
    EXPECT_EQ(numbers(with("Progress", 4294967296.0))[1], 4294967295U);
    EXPECT_EQ(numbers(with("Progress", 1e300))[1], 4294967295U);
}

TEST(Progress, endsWithAnErrorOrWhenAllIsDone)
{
    EXPECT_EQ(exitStatusOf({0, 0, 0, 2, 0, 0}), std::nullopt);
    EXPECT_EQ(exitStatusOf({0, 99, 1, 2, 0, 0}), std::nullopt);
    EXPECT_EQ(exitStatusOf({0, 100, 1, 2, 0, 0}), 0);
    EXPECT_EQ(exitStatusOf({0, 101, 1, 2, 0, 0}), 0);
    EXPECT_EQ(exitStatusOf({0, 50, 2, 2, 0, 0}), 0);
    EXPECT_EQ(exitStatusOf({1, 100, 2, 2, 0, 0}), 255);
}

TEST(Progress, goesOnUntilItIsToldOtherwise)
{
    const ProgressRecord record{.total = 2};
    EXPECT_EQ(exitStatusOf(record), std::nullopt);
    EXPECT_EQ(shown(record), "Preparing...\n");
    EXPECT_EQ(exitStatusOf({.completed = 2, .total = 2}), 0);
}

TEST(Progress, linesAreAsTheyStand)
{
    EXPECT_EQ(shown({0, 0, 0, 2, 0, 40}), "Preparing...\n");
    EXPECT_EQ(shown({0, 50, 1, 2, 20, 21}),
              "\x1b[A\x1b[KProgress 50%, Completed 1/2, Elapsed Time(s) = 20, "
              "Estimated Remaining Time(s) = 21\n");
    EXPECT_EQ(shown({0x1f, 100, 1, 2, 0, 0}),
              "Update failed, rc = 0x1f. Updated 1/2 devices\n");
}

} // namespace

} // namespace tool
