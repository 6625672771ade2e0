// SPDX-License-Identifier: Apache-2.0
#include "io/common/src/Events.hpp"
#include "io/common/src/Wait.hpp"

#include <gtest/gtest.h>

#include <chrono>

namespace
{

using io::Events;
using std::chrono::steady_clock;

/** Of a class that has no name nothing is written, so no bus is asked. */
constexpr io::HiddenInvChgType unnamed{4};
constexpr io::HiddenInvChgType unnamedToo{5};

void request(io::HiddenInvChgType type, uint32_t delaySeconds)
{
    Events::hiddenLogForChange(nullptr, type, delaySeconds);
}

TEST(HiddenLog, waitsOnceForEachClass)
{
    const auto start = steady_clock::now();
    EXPECT_FALSE(Events::isHiddenLogPending());
    request(unnamed, 0);
    EXPECT_FALSE(Events::isHiddenLogPending());

    request(unnamed, 1);
    // Covered by the one before, or this would wait for an hour.
    testing::internal::CaptureStderr();
    request(unnamed, 3600);
    EXPECT_NE(testing::internal::GetCapturedStderr().find(
                  "[WARN] The existing hidden log timer has not expired"),
              std::string::npos);
    request(unnamedToo, 2);
    EXPECT_TRUE(Events::isHiddenLogPending());
    io::bus::runWhile(Events::isHiddenLogPending);
    EXPECT_GE(steady_clock::now() - start, std::chrono::seconds(2));

    // Free again, and one that still waits when the process ends is no harm.
    testing::internal::CaptureStderr();
    request(unnamed, 3600);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_TRUE(Events::isHiddenLogPending());
}

} // namespace
