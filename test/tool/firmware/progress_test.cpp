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

json sample()
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
    json data = sample();
    data[name] = value;
    return data;
}

std::string shown(const ProgressRecord& record)
{
    return printedBy([&] { printProgress(record); });
}

TEST(Progress, readsEveryMember)
{
    EXPECT_EQ(numbers(sample()), (std::vector<uint32_t>{1, 2, 3, 4, 5, 6}));
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

TEST(Progress, refusesWhatNoCounterHolds)
{
    EXPECT_EQ(complaint(with("Progress", -1)), "Progress is out of range: -1");
    EXPECT_EQ(complaint(with("TotalDeviceCount", 4294967296)),
              "TotalDeviceCount is out of range: 4294967296");
    EXPECT_EQ(complaint(with("ElapsedSeconds", 1e300)),
              "ElapsedSeconds is out of range: 1e+300");
    EXPECT_EQ(complaint(with("ErrorCode", -2147483649)),
              "ErrorCode is out of range: -2147483649");
}

TEST(Progress, takesANegativeErrorCodeAsItsBits)
{
    EXPECT_EQ(numbers(with("ErrorCode", -5))[0], 0xfffffffbU);
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
