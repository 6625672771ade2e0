// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <sdbusplus/exception.hpp>

#include <cerrno>
#include <exception>
#include <stdexcept>
#include <string>
#include <utility>

namespace
{

using sdbusplus::exception::SdBusError;

TEST(SdBusError, tellsAnErrnoInTermsOfDBus)
{
    const SdBusError e(EINVAL, "sd_bus_do");
    EXPECT_STREQ(e.what(), "sd_bus_do: "
                           "org.freedesktop.DBus.Error.InvalidArgs: "
                           "Invalid argument");
    EXPECT_STREQ(e.name(), "org.freedesktop.DBus.Error.InvalidArgs");
    EXPECT_STREQ(e.description(), "Invalid argument");
    EXPECT_EQ(e.get_errno(), EINVAL);
}

TEST(SdBusError, takesItsPrefixAsAStringToo)
{
    const SdBusError e(EBUSY, std::string("some step"));
    EXPECT_STREQ(e.what(),
                 "some step: System.Error.EBUSY: Device or resource busy");
    EXPECT_EQ(e.get_errno(), EBUSY);
}

TEST(SdBusError, refusesZero)
{
    try
    {
        const SdBusError e(0, "sd_bus_do");
        FAIL() << e.what();
    }
    catch (const std::runtime_error& e)
    {
        EXPECT_STREQ(e.what(), "Failed to create SdBusError");
    }
}

TEST(SdBusError, takesAnErrorOver)
{
    sd_bus_error error{};
    sd_bus_error_set(&error, "com.example.Error.Broken", "it broke");

    const SdBusError e(&error, "sd_bus_do");
    EXPECT_EQ(error.name, nullptr);
    EXPECT_STREQ(e.what(), "sd_bus_do: com.example.Error.Broken: it broke");
    EXPECT_STREQ(e.get_error()->name, "com.example.Error.Broken");
    EXPECT_STREQ(e.get_error()->message, "it broke");
    EXPECT_EQ(e.get_errno(), EIO);
}

TEST(SdBusError, leavesOutTheTextThatIsMissing)
{
    sd_bus_error error{};
    sd_bus_error_set(&error, "com.example.Error.Broken", nullptr);

    const SdBusError e(&error, "sd_bus_do");
    EXPECT_STREQ(e.what(), "sd_bus_do: com.example.Error.Broken");
    EXPECT_EQ(e.description(), nullptr);
}

TEST(SdBusError, leavesOutAnErrorThatIsNotSet)
{
    sd_bus_error error{};
    const SdBusError e(&error, "sd_bus_do");
    EXPECT_STREQ(e.what(), "sd_bus_do");
    EXPECT_EQ(e.name(), nullptr);
    EXPECT_EQ(e.get_errno(), 0);
}

TEST(SdBusError, movesByConstruction)
{
    SdBusError from(EINVAL, "one");
    const SdBusError to(std::move(from));
    EXPECT_STREQ(to.what(), "one: org.freedesktop.DBus.Error.InvalidArgs: "
                            "Invalid argument");
    EXPECT_EQ(to.get_errno(), EINVAL);
    // Nothing of it is left behind to be freed twice.
    // NOLINTNEXTLINE(bugprone-use-after-move,clang-analyzer-cplusplus.Move)
    EXPECT_EQ(from.name(), nullptr);
}

TEST(SdBusError, movesByAssignment)
{
    sd_bus_error error{};
    sd_bus_error_set(&error, "com.example.Error.Broken", "it broke");
    SdBusError from(&error, "two");
    SdBusError to(EINVAL, "one");
    to = std::move(from);
    EXPECT_STREQ(to.what(), "two: com.example.Error.Broken: it broke");
    EXPECT_EQ(to.get_errno(), EIO);
}

TEST(SdBusError, isCaughtAsEachOfItsBases)
{
    const auto raise = [] { throw SdBusError(EINVAL, "sd_bus_do"); };
    EXPECT_THROW(raise(), std::exception);
    EXPECT_THROW(raise(), sdbusplus::exception_t);
    EXPECT_THROW(raise(), sdbusplus::internal_exception_t);
}

} // namespace
