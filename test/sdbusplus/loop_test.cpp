// SPDX-License-Identifier: Apache-2.0
#include "test/io/private_bus.hpp"

#include <gtest/gtest.h>

#include <boost/asio/io_context.hpp>
#include <boost/asio/post.hpp>
#include <sdbusplus/asio/connection.hpp>
#include <sdbusplus/bus/match.hpp>
#include <sdbusplus/exception.hpp>

#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace
{

using Texts = std::vector<std::string>;

const std::string happened =
    "type='signal',path='/a',interface='a.b',member='Happened',";

/** A bus with a connection that a loop serves, and somebody who signals. */
class Loop : public testing::Test
{
  protected:
    std::optional<PrivateBus> daemon{std::in_place};
    sd_bus* own{daemon->open()};
    sd_bus* sender{daemon->open()};
    boost::asio::io_context io;
    std::optional<sdbusplus::asio::connection> connection{std::in_place, io,
                                                          own};
    Texts seen;

    ~Loop() override
    {
        sd_bus_unref(own);
        sd_bus_close_unref(sender);
    }

    void emit(const char* text)
    {
        EXPECT_GE(
            sd_bus_emit_signal(sender, "/a", "a.b", "Happened", "s", text), 0);
        EXPECT_GE(sd_bus_flush(sender), 0);
    }

    /** A match that notes the text of its signals and stops at the last. */
    sdbusplus::bus::match_t note(const std::string& rule = happened)
    {
        return {*connection, rule,
                [this](sdbusplus::message_t& m)
                {
                    m.read(seen.emplace_back());
                    if (seen.back() == "last")
                    {
                        io.stop();
                    }
                }};
    }

    void settle()
    {
        while (io.poll() != 0)
        {
        }
    }
};

using LoopDeathTest = Loop;

TEST_F(Loop, callsMatchesForSignals)
{
    const sdbusplus::bus::match_t match = note();
    settle();
    emit("one");
    emit("last");
    io.run();
    EXPECT_EQ(seen, (Texts{"one", "last"}));
}

TEST_F(Loop, waitsAnewAfterEachSignal)
{
    const sdbusplus::bus::match_t match = note();
    int count = 0;
    const sdbusplus::bus::match_t next(
        *connection, happened,
        [&](sdbusplus::message_t&) { emit(++count < 5 ? "next" : "last"); });
    emit("first");
    io.run();
    EXPECT_EQ(seen, (Texts{"first", "next", "next", "next", "next", "last"}));
}

TEST_F(Loop, processesWhatIsQueuedInItsFirstTurn)
{
    const sdbusplus::bus::match_t match = note();
    const Service service(*daemon,
                          [](sd_bus_message* call)
                          {
                              sd_bus_emit_signal(sd_bus_message_get_bus(call),
                                                 "/a", "a.b", "Happened", "s",
                                                 "last");
                              sd_bus_reply_method_return(call, nullptr);
                          });
    ASSERT_GE(sd_bus_call_method(own, service.name().c_str(), "/a", "a.b", "Do",
                                 nullptr, nullptr, nullptr),
              0);
    EXPECT_EQ(seen, Texts());
    io.run();
    EXPECT_EQ(seen, Texts{"last"});
}

TEST_F(Loop, passesOverOtherSignalsAndMatchesThatHaveEnded)
{
    const sdbusplus::bus::match_t match = note();
    const auto other = note("type='signal',member='SomethingElse',");
    {
        const sdbusplus::bus::match_t ended = note();
    }
    emit("last");
    io.run();
    EXPECT_EQ(seen, Texts{"last"});
}

TEST_F(Loop, goesOnWhileTheConnectionLives)
{
    settle();
    // Out of things to do, yet waiting for the descriptor.
    EXPECT_FALSE(io.stopped());
}

TEST_F(Loop, mayOutliveTheConnection)
{
    settle();
    connection.reset();
    io.run();
    EXPECT_TRUE(io.stopped());
}

/** What it says when it throws. */
template <typename F>
std::string failureOf(F&& f)
{
    try
    {
        f();
    }
    catch (const sdbusplus::exception::SdBusError& error)
    {
        return error.what();
    }
    return "none";
}

TEST_F(Loop, endsWithTheDaemon)
{
    boost::asio::post(io, [this] { daemon.reset(); });
    EXPECT_EQ(failureOf([this] { io.run(); }),
              "sd_bus_process discard: "
              "org.freedesktop.DBus.Error.Disconnected: "
              "Connection reset by peer");
}

TEST_F(Loop, aConnectionThatIsClosedHasNoName)
{
    sd_bus_close(own);
    EXPECT_THROW(sdbusplus::asio::connection(io, own), std::logic_error);
}

TEST_F(Loop, refusesARuleThatIsNone)
{
    EXPECT_EQ(failureOf([this] { note("no rule"); }),
              "sd_bus_match: org.freedesktop.DBus.Error.InvalidArgs: "
              "Invalid argument");
}

// The callback is called from C, where an exception has no way to go.
TEST_F(LoopDeathTest, endsTheProgramOnAnExceptionOfTheCallback)
{
    // A bus does not work on in a forked child, so start the program anew.
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_DEATH(
        {
            const sdbusplus::bus::match_t match(
                *connection, happened,
                [](sdbusplus::message_t&)
                { throw std::runtime_error("thrown in a callback"); });
            emit("now");
            try
            {
                io.run();
            }
            catch (...)
            {
            }
        },
        "terminate called.*runtime_error");
}

} // namespace
