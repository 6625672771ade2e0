// SPDX-License-Identifier: Apache-2.0
#include "support/daemon.hpp"
#include "support/expect.hpp"
#include "support/peer.hpp"

#include <boost/asio/io_context.hpp>
#include <boost/asio/post.hpp>
#include <boost/system/system_error.hpp>
#include <sdbusplus/asio/connection.hpp>
#include <sdbusplus/bus/match.hpp>

#include <string>
#include <vector>

namespace
{

const std::string anyHappened = "type='signal',member='Happened',";

struct Connection : public testing::Test
{
    BusPtr own = sharedDaemon().connect();
    boost::asio::io_context io;
};

TEST_F(Connection, knowsItsContext)
{
    sdbusplus::asio::connection connection(io, own.get());
    EXPECT_EQ(&connection.get_io_context(), &io);
    EXPECT_GE(connection.get_fd(), 0);
    EXPECT_EQ(connection.get_unique_name().front(), ':');
}

TEST_F(Connection, holdsAReferenceOfItsOwn)
{
    BusPtr given = sharedDaemon().connect();
    auto* connection = new sdbusplus::asio::connection(io, given.get());
    sd_bus_unref(given.release());
    const Peer peer(sharedDaemon(),
                    [](sd_bus_message* call)
                    {
                        sd_bus_reply_method_return(call, "");
                        return true;
                    });
    auto m = connection->new_method_call(peer.name().c_str(), "/a", "a.b", "C");
    EXPECT_FALSE(connection->call(m, 0).is_method_error());
    delete connection;
}

TEST_F(Connection, leavesTheBusOpenBehind)
{
    {
        const sdbusplus::asio::connection connection(io, own.get());
    }
    sdbusplus::bus_t bus(own.get());
    auto m =
        bus.new_method_call("org.freedesktop.DBus", "/org/freedesktop/DBus",
                            "org.freedesktop.DBus", "GetId");
    EXPECT_FALSE(bus.call(m).unpack<std::string>().empty());
}

TEST_F(Connection, callsMatchesFromTheLoop)
{
    sdbusplus::asio::connection connection(io, own.get());
    std::string seen;
    const sdbusplus::bus::match_t match(connection, anyHappened,
                                        [&](sdbusplus::message_t& m)
                                        {
                                            seen = m.unpack<std::string>();
                                            io.stop();
                                        });
    const BusPtr sender = sharedDaemon().connect();
    mustWork(emitHappened(sender.get(), "now"), "emit");
    mustWork(sd_bus_flush(sender.get()), "flush");
    io.run();
    EXPECT_EQ(seen, "now");
}

TEST_F(Connection, goesOnAfterTheFirstSignal)
{
    sdbusplus::asio::connection connection(io, own.get());
    const BusPtr sender = sharedDaemon().connect();
    int count = 0;
    const sdbusplus::bus::match_t match(connection, anyHappened,
                                        [&](sdbusplus::message_t&)
                                        {
                                            if (++count == 5)
                                            {
                                                io.stop();
                                                return;
                                            }
                                            // Only now, so that each one has to
                                            // make the socket readable.
                                            emitHappened(sender.get(), "next");
                                            sd_bus_flush(sender.get());
                                        });
    emitHappened(sender.get(), "first");
    sd_bus_flush(sender.get());
    io.run();
    EXPECT_EQ(count, 5);
}

TEST_F(Connection, processesWhatIsQueuedInItsFirstTurn)
{
    const Peer peer(sharedDaemon(),
                    [](sd_bus_message* call)
                    {
                        emitHappened(sd_bus_message_get_bus(call), "queued");
                        sd_bus_reply_method_return(call, "");
                        return true;
                    });
    sdbusplus::asio::connection connection(io, own.get());
    bool seen = false;
    const sdbusplus::bus::match_t match(connection, anyHappened,
                                        [&](sdbusplus::message_t&)
                                        {
                                            seen = true;
                                            io.stop();
                                        });
    auto m = connection.new_method_call(peer.name().c_str(), "/a", "a.b", "C");
    connection.call(m, 0);
    EXPECT_FALSE(seen);
    io.run();
    EXPECT_TRUE(seen);
}

TEST_F(Connection, keepsTheLoopRunningWhileItLives)
{
    sdbusplus::asio::connection connection(io, own.get());
    while (io.poll() != 0)
    {
    }
    // Out of things to do, yet waiting for the descriptor.
    EXPECT_FALSE(io.stopped());
}

TEST_F(Connection, letsALoopEndThatOutlivesIt)
{
    {
        sdbusplus::asio::connection connection(io, own.get());
        while (io.poll() != 0)
        {
        }
    }
    io.run();
    EXPECT_TRUE(io.stopped());
}

TEST_F(Connection, losesItsDaemonInTheLoop)
{
    Daemon daemon;
    const BusPtr bus = daemon.connect();
    sdbusplus::asio::connection connection(io, bus.get());
    boost::asio::post(io, [&] { daemon.stop(); });
    expectError([&] { io.run(); }, ECONNRESET, "sd_bus_process discard",
                "org.freedesktop.DBus.Error.Disconnected",
                "Connection reset by peer");
}

TEST_F(Connection, cannotBeMadeOfNoBus)
{
    EXPECT_THROW(sdbusplus::asio::connection(io, nullptr),
                 boost::system::system_error);
}

} // namespace
