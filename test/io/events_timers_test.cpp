// SPDX-License-Identifier: Apache-2.0
#include "io/common/src/EventsTimers.hpp"

#include <gtest/gtest.h>

#include <boost/asio/error.hpp>

#include <memory>
#include <vector>

namespace
{

using namespace std::chrono_literals;
using boost::system::error_code;
using io::events::Timers;

class TimersTest : public testing::Test
{
  protected:
    boost::asio::io_context context;
    std::vector<error_code> done;

    Timers::Work note()
    {
        return [this](const error_code& error) { done.push_back(error); };
    }
};

TEST_F(TimersTest, doTheWorkWhenItsTimeHasCome)
{
    Timers timers(context);
    const auto start = std::chrono::steady_clock::now();
    EXPECT_FALSE(timers.isPending());
    EXPECT_TRUE(timers.schedule(2, 20ms, note()));
    EXPECT_TRUE(timers.isPending());
    EXPECT_TRUE(done.empty());
    EXPECT_EQ(context.run_one(), 1U);
    EXPECT_GE(std::chrono::steady_clock::now() - start, 20ms);
    EXPECT_EQ(done, std::vector{error_code()});
    EXPECT_FALSE(timers.isPending());
}

TEST_F(TimersTest, coverALaterRequestOfTheSameKind)
{
    Timers timers(context);
    EXPECT_TRUE(timers.schedule(2, 1ms, note()));
    EXPECT_FALSE(timers.schedule(2, 0ms, note()));
    context.run();
    EXPECT_EQ(done.size(), 1U);
}

TEST_F(TimersTest, areOneForEachKind)
{
    Timers timers(context);
    EXPECT_TRUE(timers.schedule(1, 0ms, note()));
    EXPECT_TRUE(timers.schedule(2, 1ms, note()));
    EXPECT_EQ(context.run_one(), 1U);
    EXPECT_TRUE(timers.isPending());
    context.run();
    EXPECT_EQ(done.size(), 2U);
    EXPECT_FALSE(timers.isPending());
}

TEST_F(TimersTest, areFreeAgainAfterTheWork)
{
    Timers timers(context);
    timers.schedule(2, 0ms, note());
    context.run();
    context.restart();
    EXPECT_TRUE(timers.schedule(2, 0ms, note()));
    context.run();
    EXPECT_EQ(done.size(), 2U);
}

TEST_F(TimersTest, tellCancelledWork)
{
    Timers timers(context);
    timers.schedule(2, 1h, note());
    timers.cancel();
    context.run();
    ASSERT_EQ(done.size(), 1U);
    EXPECT_EQ(done[0], boost::asio::error::operation_aborted);
    EXPECT_FALSE(timers.isPending());
}

TEST_F(TimersTest, mayGoBeforeTheContextRunsOn)
{
    {
        Timers timers(context);
        timers.schedule(2, 1h, note());
    }
    context.run();
    ASSERT_EQ(done.size(), 1U);
    EXPECT_EQ(done[0], boost::asio::error::operation_aborted);
}

TEST(TimersAtTheEnd, neverRunWorkThatStillWaits)
{
    int ran = 0;
    auto held = std::make_shared<int>();
    {
        boost::asio::io_context context;
        Timers timers(context);
        timers.schedule(2, 1h, [&ran, held](const error_code&) { ++ran; });
        EXPECT_EQ(held.use_count(), 2);
    }
    EXPECT_EQ(ran, 0);
    EXPECT_EQ(held.use_count(), 1);
}

} // namespace
