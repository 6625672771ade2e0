// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>
#include <stdexcept>

namespace
{

template <typename Thrown>
[[noreturn]] void throwPastAll(const Thrown& thrown) noexcept
{
    // By a call, since a throw that can be seen to end here is a warning.
    const auto raise = [&thrown] { throw thrown; };
    raise();
    std::abort();
}

TEST(TerminateDeathTest, anExceptionWithoutAHandlerIsReported)
{
    EXPECT_EXIT(throwPastAll(std::runtime_error("the reason")),
                testing::KilledBySignal(SIGABRT),
                "^zantric: terminated by an exception: the reason\n");
}

TEST(TerminateDeathTest, soIsOneThatHasNoText)
{
    EXPECT_EXIT(throwPastAll(7), testing::KilledBySignal(SIGABRT),
                "^zantric: terminated by an exception: of unknown kind\n");
}

} // namespace
