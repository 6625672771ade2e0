// SPDX-License-Identifier: Apache-2.0
#include "support/daemon.hpp"
#include "support/expect.hpp"
#include "support/peer.hpp"

#include <sdbusplus/bus.hpp>

#include <chrono>
#include <stdexcept>
#include <string>

namespace
{

constexpr uint64_t shortTimeUs = 50000; // 50 ms

bool echoText(sd_bus_message* call)
{
    const char* text = nullptr;
    sd_bus_message_read(call, "s", &text);
    sd_bus_reply_method_return(call, "s", text);
    return true;
}

bool stayAway(sd_bus_message* /*call*/)
{
    return true;
}

bool leave(sd_bus_message* /*call*/)
{
    return false;
}

void drain(sdbusplus::bus_t& bus)
{
    while (bus.process_discard())
    {
    }
}

struct Call : public testing::Test
{
    BusPtr own = sharedDaemon().connect();
    sdbusplus::bus_t bus{own.get()};

    sdbusplus::message_t callTo(const std::string& service)
    {
        return bus.new_method_call(service.c_str(), "/com/example",
                                   "com.example.Test", "Do");
    }
};

TEST_F(Call, returnsTheReply)
{
    const Peer peer(sharedDaemon(), echoText);
    auto m = callTo(peer.name());
    m.append("hello");
    auto reply = bus.call(m);
    EXPECT_FALSE(reply.is_method_error());
    EXPECT_EQ(reply.get_sender(), peer.name());
    EXPECT_EQ(reply.get_destination(), bus.get_unique_name());
    EXPECT_EQ(reply.unpack<std::string>(), "hello");
}

TEST_F(Call, takesATimeoutInEveryForm)
{
    const Peer peer(sharedDaemon(), echoText);
    const auto textOf = [&](auto... timeout)
    {
        auto m = callTo(peer.name());
        m.append("x");
        return bus.call(m, timeout...).template unpack<std::string>();
    };
    EXPECT_EQ(textOf(), "x");
    EXPECT_EQ(textOf(0), "x");
    EXPECT_EQ(textOf(uint64_t{5000000}), "x");
    EXPECT_EQ(textOf(std::chrono::seconds(5)), "x");
    EXPECT_EQ(textOf(std::nullopt), "x");
}

TEST_F(Call, carriesAMegabyteEachWay)
{
    const Peer peer(sharedDaemon(), echoText);
    const std::string text(1U << 20U, 'x');
    auto m = callTo(peer.name());
    m.append(text);
    EXPECT_EQ(bus.call(m).unpack<std::string>(), text);
}

TEST_F(Call, throwsForAnErrorReply)
{
    const Peer peer(sharedDaemon(),
                    [](sd_bus_message* call)
                    {
                        sd_bus_reply_method_errorf(
                            call, "com.example.Error.Broken", "it broke");
                        return true;
                    });
    auto m = callTo(peer.name());
    expectError([&] { bus.call(m); }, EIO, "sd_bus_call",
                "com.example.Error.Broken", "it broke");
    auto again = callTo(peer.name());
    expectError([&] { bus.call_noreply(again); }, EIO, "sd_bus_call noreply",
                "com.example.Error.Broken", "it broke");
}

TEST_F(Call, throwsForAnErrorReplyWithoutText)
{
    const Peer peer(
        sharedDaemon(),
        [](sd_bus_message* call)
        {
            const sd_bus_error error{"com.example.Error.Broken", nullptr, 0};
            sd_bus_reply_method_error(call, &error);
            return true;
        });
    auto m = callTo(peer.name());
    try
    {
        bus.call(m);
        FAIL() << "nothing thrown";
    }
    catch (const sdbusplus::exception::SdBusError& e)
    {
        EXPECT_STREQ(e.what(), "sd_bus_call: com.example.Error.Broken");
        EXPECT_STREQ(e.name(), "com.example.Error.Broken");
        EXPECT_EQ(e.description(), nullptr);
    }
}

TEST_F(Call, throwsForASilentService)
{
    const Peer peer(sharedDaemon(), stayAway);
    auto m = callTo(peer.name());
    expectError([&] { bus.call(m, shortTimeUs); }, ETIMEDOUT, "sd_bus_call",
                "org.freedesktop.DBus.Error.Timeout", "Connection timed out");
    auto again = callTo(peer.name());
    expectError([&] { bus.call(again, sdbusplus::SdBusDuration(shortTimeUs)); },
                ETIMEDOUT, "sd_bus_call", "org.freedesktop.DBus.Error.Timeout",
                "Connection timed out");
}

TEST_F(Call, throwsForAServiceThatLeavesInTheCall)
{
    const Peer peer(sharedDaemon(), leave);
    auto m = callTo(peer.name());
    expectError([&] { bus.call(m); }, ETIMEDOUT, "sd_bus_call",
                "org.freedesktop.DBus.Error.NoReply",
                "Message recipient disconnected from message bus without "
                "replying");
}

TEST_F(Call, throwsForAServiceThatIsNotThere)
{
    auto m = callTo("com.example.Nobody");
    expectError([&] { bus.call(m); }, EHOSTUNREACH, "sd_bus_call",
                "org.freedesktop.DBus.Error.ServiceUnknown",
                "The name com.example.Nobody was not provided by any .service "
                "files");
}

TEST_F(Call, throwsWhenItCannotBeBuilt)
{
    const auto refused = [&](const char* service, const char* path,
                             const char* interface, const char* method)
    {
        expectError(
            [&] { bus.new_method_call(service, path, interface, method); },
            EINVAL, "sd_bus_message_new_method_call",
            "org.freedesktop.DBus.Error.InvalidArgs", "Invalid argument");
    };
    refused("not a name", "/a", "a.b", "C");
    refused("", "/a", "a.b", "C");
    refused("a.b", "no/path", "a.b", "C");
    refused("a.b", "/a/", "a.b", "C");
    refused("a.b", "/a", "nodot", "C");
    refused("a.b", "/a", "a.b", "no member");
    refused("a.b", "/a", "a.b", nullptr);
    refused("a.b", nullptr, "a.b", "C");
}

TEST(CallWithoutDaemon, throwsForADaemonThatHasGone)
{
    Daemon daemon;
    const BusPtr own = daemon.connect();
    sdbusplus::bus_t bus(own.get());
    auto m = bus.new_method_call("com.example", "/a", "a.b", "C");
    daemon.stop();
    const std::string disconnected = "org.freedesktop.DBus.Error.Disconnected";
    const std::string reset = "Connection reset by peer";
    expectError([&] { bus.call(m); }, ECONNRESET, "sd_bus_call", disconnected,
                reset);
    expectError([&] { drain(bus); }, ECONNRESET, "sd_bus_process discard",
                disconnected, reset);
    expectError([&] { bus.process(); }, ECONNRESET, "sd_bus_process",
                disconnected, reset);
    expectError([&] { bus.wait(0); }, ENOTCONN, "sd_bus_wait",
                "System.Error.ENOTCONN", "Transport endpoint is not connected");
    // A call can still be built, and only fails when it is sent.
    auto late = bus.new_method_call("com.example", "/a", "a.b", "C");
    expectError([&] { bus.call(late); }, ENOTCONN, "sd_bus_call",
                "System.Error.ENOTCONN", "Transport endpoint is not connected");
}

// The daemon ends the connection of a client whose message is not valid: text
// from outside has to be checked before it is appended.
TEST(CallWithBadText, losesTheConnection)
{
    const BusPtr own = sharedDaemon().connect();
    sdbusplus::bus_t bus(own.get());
    auto m =
        bus.new_method_call("org.freedesktop.DBus", "/org/freedesktop/DBus",
                            "org.freedesktop.DBus", "NameHasOwner");
    m.append(std::string("\xff\xfe"));
    expectError([&] { bus.call(m); }, ECONNRESET, "sd_bus_call",
                "org.freedesktop.DBus.Error.Disconnected",
                "Connection reset by peer");
}

TEST(CallWithoutDaemon, isNoBusWithoutAName)
{
    Daemon daemon;
    const BusPtr own = daemon.connect();
    sd_bus_close(own.get());
    EXPECT_THROW(sdbusplus::bus_t{own.get()}, std::logic_error);
}

} // namespace
