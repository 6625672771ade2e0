// SPDX-License-Identifier: Apache-2.0
#include "io/common/src/Wait.hpp"
#include "test/io/private_bus.hpp"

#include <gtest/gtest.h>
#include <unistd.h>

#include <boost/asio/io_context.hpp>
#include <boost/asio/steady_timer.hpp>
#include <sdbusplus/asio/connection.hpp>
#include <sdbusplus/bus/match.hpp>
#include <sdbusplus/exception.hpp>

#include <chrono>
#include <cstdio>
#include <cstdlib>

namespace
{

using namespace std::chrono_literals;

constexpr unsigned longest = 4; // seconds that a wait may hang
constexpr int ended = 7;

void say(const char* word)
{
    std::fprintf(stderr, "%s ", word);
}

/** A match whose handler ends the process. */
sdbusplus::bus::match_t endOnSignal(const DbusConnPtr& conn)
{
    say("subscribed");
    return {*conn, io::bus::signalRule(testInterface, "Happened"),
            [](sdbusplus::message_t&)
            {
                say("signal");
                std::exit(ended);
            }};
}

/** The service's signal comes before its reply, or right behind it. */
Service signalling(const PrivateBus& bus, bool first)
{
    return Service(bus,
                   [first](sd_bus_message* call)
                   {
                       const auto signal = [call]
                       {
                           sd_bus_emit_signal(sd_bus_message_get_bus(call),
                                              testPath, testInterface,
                                              "Happened", "");
                       };
                       first ? signal() : void();
                       sd_bus_reply_method_return(call, "");
                       first ? void() : signal();
                   });
}

/** Each wait of this process has that time of its own. */
void hangShortly()
{
    io::bus::beforeWaiting = []
    {
        say("flushed");
        alarm(longest);
    };
}

/** Calls the service and waits for its signal, which ends the process. */
void waitForSignal(bool first)
{
    hangShortly();
    const PrivateBus bus;
    const Service service = signalling(bus, first);
    const DbusConnPtr conn = bus.connect();
    // The look at the queue that every connection begins with is over.
    io::bus::ioContext().poll();
    const auto start = [&]
    {
        const io::bus::Target target{service.name().c_str(), testPath,
                                     testInterface};
        const bool done = io::bus::call(conn, target, "Do").has_value();
        say(done ? "started" : "refused");
        return done;
    };
    io::bus::startAndWait(
        conn, [&] { return endOnSignal(conn); }, start);
}

/** Waits on a bus that is gone by then. */
void waitWithoutABus()
{
    hangShortly();
    auto bus = std::make_unique<PrivateBus>();
    const DbusConnPtr conn = bus->connect();
    try
    {
        io::bus::startAndWait(
            conn, [&] { return endOnSignal(conn); },
            [&]
            {
                bus.reset();
                return true;
            });
    }
    catch (const sdbusplus::exception::SdBusError&)
    {
        std::exit(ended);
    }
}

bool isPending = false;

/** Waits for a timer on a loop that a connection keeps busy for ever. */
[[noreturn]] void waitForTimer()
{
    hangShortly();
    const PrivateBus bus;
    const DbusConnPtr conn = bus.connect();
    const auto start = std::chrono::steady_clock::now();
    boost::asio::steady_timer timer(io::bus::ioContext(), 20ms);
    isPending = true;
    timer.async_wait([](const auto&) { isPending = false; });
    io::bus::runWhile([] { return isPending; });
    const auto passed = std::chrono::steady_clock::now() - start;
    std::exit(!isPending && passed >= 20ms ? ended : 1);
}

/** In a process of its own, whose loop and signals are nobody else's. */
class WaitDeathTest : public testing::Test
{
  protected:
    WaitDeathTest()
    {
        GTEST_FLAG_SET(death_test_style, "threadsafe");
    }
};

TEST_F(WaitDeathTest, subscribesThenStartsThenWaits)
{
    EXPECT_EXIT(waitForSignal(false), testing::ExitedWithCode(ended),
                "subscribed flushed started flushed signal $");
}

TEST_F(WaitDeathTest, aSignalBeforeTheReplyIsNotLost)
{
    EXPECT_EXIT(waitForSignal(true), testing::ExitedWithCode(ended),
                "subscribed flushed started flushed signal $");
}

TEST_F(WaitDeathTest, aBusThatEndsEndsTheWait)
{
    EXPECT_EXIT(waitWithoutABus(), testing::ExitedWithCode(ended), "");
}

TEST_F(WaitDeathTest, aTimerIsWaitedForAndNoLonger)
{
    EXPECT_EXIT(waitForTimer(), testing::ExitedWithCode(ended), "");
}

TEST(Wait, whereNothingStartedNothingIsWaitedFor)
{
    const PrivateBus bus;
    const DbusConnPtr conn = bus.connect();
    bool isSubscribed = false;
    io::bus::startAndWait(
        conn,
        [&]
        {
            isSubscribed = true;
            return endOnSignal(conn);
        },
        [&]
        {
            EXPECT_TRUE(isSubscribed);
            return false;
        });
    EXPECT_TRUE(isSubscribed);
}

int handedOn = 0;

TEST(Wait, handsOnWhatIsPrintedFirst)
{
    void (*const before)() = io::bus::beforeWaiting;
    io::bus::beforeWaiting = [] { ++handedOn; };
    handedOn = 0;
    isPending = false;
    io::bus::runWhile([] { return isPending; });
    io::bus::beforeWaiting = before;
    EXPECT_EQ(handedOn, 1);
}

} // namespace
