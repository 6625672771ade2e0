// SPDX-License-Identifier: Apache-2.0
#include "support/daemon.hpp"
#include "support/expect.hpp"
#include "support/peer.hpp"

#include <sdbusplus/bus.hpp>
#include <sdbusplus/bus/match.hpp>

#include <cstdio>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace
{

const std::string happened =
    "type='signal',path='/com/example',interface='com.example.Test',"
    "member='Happened',";

bool signalThenReply(sd_bus_message* call)
{
    emitHappened(sd_bus_message_get_bus(call), "first");
    emitHappened(sd_bus_message_get_bus(call), "second");
    sd_bus_reply_method_return(call, "");
    return true;
}

struct Match : public testing::Test
{
    BusPtr own = sharedDaemon().connect();
    sdbusplus::bus_t bus{own.get()};
    std::vector<std::string> seen;

    auto recorder()
    {
        return [this](sdbusplus::message_t& m)
        {
            EXPECT_TRUE(m.is_signal("com.example.Test", "Happened"));
            seen.push_back(m.unpack<std::string>());
        };
    }

    void callPeer(const Peer& peer)
    {
        auto m = bus.new_method_call(peer.name().c_str(), "/com/example",
                                     "com.example.Test", "Do");
        bus.call(m);
    }

    void drain()
    {
        while (bus.process_discard())
        {
        }
    }
};

using MatchDeathTest = Match;

TEST_F(Match, keepsSignalsOfABlockingCallForProcess)
{
    const Peer peer(sharedDaemon(), signalThenReply);
    const sdbusplus::bus::match_t match(bus, happened, recorder());
    callPeer(peer);
    EXPECT_TRUE(seen.empty());
    drain();
    EXPECT_EQ(seen, (std::vector<std::string>{"first", "second"}));
}

TEST_F(Match, reachesEveryMatchOfASignal)
{
    const Peer peer(sharedDaemon(), signalThenReply);
    const sdbusplus::bus::match_t one(bus, happened, recorder());
    const sdbusplus::bus::match_t two(bus, happened.c_str(), recorder());
    callPeer(peer);
    drain();
    EXPECT_EQ(seen.size(), 4U);
}

TEST_F(Match, followsTheObjectThatItIsMovedInto)
{
    const Peer peer(sharedDaemon(), signalThenReply);
    std::vector<sdbusplus::bus::match_t> matches;
    {
        sdbusplus::bus::match_t match(bus, happened, recorder());
        matches.push_back(std::move(match));
    }
    callPeer(peer);
    drain();
    EXPECT_EQ(seen.size(), 2U);
}

TEST_F(Match, endsWithItsObject)
{
    const Peer peer(sharedDaemon(), signalThenReply);
    {
        const sdbusplus::bus::match_t match(bus, happened, recorder());
    }
    callPeer(peer);
    drain();
    EXPECT_TRUE(seen.empty());
}

TEST_F(Match, passesOverOtherSignals)
{
    const Peer peer(sharedDaemon(), signalThenReply);
    const sdbusplus::bus::match_t match(
        bus, "type='signal',member='SomethingElse',", recorder());
    callPeer(peer);
    drain();
    EXPECT_TRUE(seen.empty());
}

TEST_F(Match, refusesARuleThatIsNone)
{
    expectError([&] { sdbusplus::bus::match_t(bus, "no rule", recorder()); },
                EINVAL, "sd_bus_match",
                "org.freedesktop.DBus.Error.InvalidArgs", "Invalid argument");
}

// The callback is called from C, where an exception has no way to go.
TEST_F(MatchDeathTest, endsTheProgramOnAnExceptionOfTheCallback)
{
    // A bus does not work on in a forked child, so start the program anew.
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    EXPECT_DEATH(
        {
            const Peer peer(sharedDaemon(), signalThenReply);
            const sdbusplus::bus::match_t match(
                bus, happened,
                [](sdbusplus::message_t&)
                { throw std::runtime_error("thrown in a callback"); });
            callPeer(peer);
            try
            {
                drain();
            }
            catch (...)
            {
                std::fputs("caught outside\n", stderr);
            }
        },
        "terminate called.*runtime_error");
}

} // namespace
