// SPDX-License-Identifier: Apache-2.0
#include "io/common/src/Bus.hpp"
#include "test/io/private_bus.hpp"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <sdbusplus/asio/connection.hpp>
#include <sdbusplus/bus/match.hpp>
#include <sdbusplus/exception.hpp>

#include <cerrno>

namespace
{

using io::bus::Answer;
using sdbusplus::exception::SdBusError;

constexpr const char* nobody = "com.mervax.nobody";
constexpr uint64_t soon = 300'000; // microseconds
constexpr uint64_t tenMinutes = 600'000'000;
constexpr const char* late =
    "sd_bus_call: org.freedesktop.DBus.Error.Timeout: Connection timed out";

PrivateBus& sharedBus()
{
    static PrivateBus bus;
    return bus;
}

template <typename... Args>
Answer<sdbusplus::message_t>
callTest(const DbusConnPtr& conn, const std::string& name, const Args&... args)
{
    return io::bus::call(conn, {name.c_str(), testPath, testInterface}, "Do",
                         args...);
}

std::string textIn(sdbusplus::message_t& message)
{
    std::string text;
    message.read(text);
    return text;
}

/** What a call without a reply says. */
template <typename... Args>
std::string failureOf(const DbusConnPtr& conn, const std::string& name,
                      const Args&... args)
{
    try
    {
        callTest(conn, name, args...);
    }
    catch (const SdBusError& failure)
    {
        return failure.what();
    }
    return "none";
}

/** Sends the caller a signal that it did not ask for. */
void sendTo(sd_bus_message* call, const std::string& text)
{
    sd_bus* bus = sd_bus_message_get_bus(call);
    sd_bus_message* signal = nullptr;
    sd_bus_message_new_signal(bus, &signal, testPath, testInterface,
                              "Happened");
    sd_bus_message_set_destination(signal, sd_bus_message_get_sender(call));
    sd_bus_message_append(signal, "s", text.c_str());
    sd_bus_send(bus, signal, nullptr);
    sd_bus_message_unref(signal);
    sd_bus_flush(bus);
}

void sendToAll(sd_bus_message* call, const char* text)
{
    sd_bus_emit_signal(sd_bus_message_get_bus(call), testPath, testInterface,
                       "Happened", "s", text);
}

void replyEmpty(sd_bus_message* call)
{
    sd_bus_reply_method_return(call, nullptr);
}

/** The text of an error that the bus library makes up for an errno. */
sd_bus_error errorFor(int number)
{
    sd_bus_error error{};
    sd_bus_error_set_errno(&error, number);
    return error;
}

class ErrorReply : public testing::TestWithParam<int>
{
};

TEST_P(ErrorReply, isAReplyWhateverItIsCalled)
{
    const Service service(
        sharedBus(), [](sd_bus_message* call)
        { sd_bus_reply_method_errno(call, GetParam(), nullptr); });
    auto reply = callTest(sharedBus().connect(), service.name());
    ASSERT_FALSE(reply);
    sd_bus_error wanted = errorFor(GetParam());
    EXPECT_EQ(reply.error().name, wanted.name);
    EXPECT_EQ(reply.error().text, wanted.message);
    sd_bus_error_free(&wanted);
}

INSTANTIATE_TEST_SUITE_P(BusCall, ErrorReply,
                         testing::Values(ETIMEDOUT, ECONNRESET, ENOTCONN, EPIPE,
                                         ESTALE, EINTR, ENOMEM, ENOBUFS, EIO,
                                         EPROTO, EBADMSG, ECHILD, ELOOP, EINVAL,
                                         EACCES));

TEST(BusCall, anErrorReplyMayHaveNoText)
{
    const Service service(
        sharedBus(),
        [](sd_bus_message* call)
        {
            sd_bus_message* reply = nullptr;
            const sd_bus_error error{"com.mervax.Error", nullptr, 0};
            sd_bus_message_new_method_error(call, &reply, &error);
            sd_bus_message_append(reply, "i", 5);
            sd_bus_send(nullptr, reply, nullptr);
            sd_bus_message_unref(reply);
        });
    auto reply = callTest(sharedBus().connect(), service.name());
    ASSERT_FALSE(reply);
    EXPECT_EQ(reply.error().name, "com.mervax.Error");
    EXPECT_EQ(reply.error().text, "");
}

TEST(BusCall, aPeerThatDiesIsAnErrorReplyOfTheDaemon)
{
    const Service service(sharedBus(), [](sd_bus_message*) { _exit(0); });
    auto reply = callTest(sharedBus().connect(), service.name());
    ASSERT_FALSE(reply);
    EXPECT_EQ(reply.error().name, "org.freedesktop.DBus.Error.NoReply");
}

TEST(BusCall, aSilentPeerIsAnException)
{
    const Service service(sharedBus(), [](sd_bus_message*) {});
    EXPECT_EQ(failureOf(sharedBus().connect(soon), service.name()), late);
}

/** How often this process went to sleep. */
long sleeps()
{
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_nvcsw;
}

TEST(BusCall, aSilentPeerIsWaitedForAsleep)
{
    const Service service(sharedBus(), [](sd_bus_message*) {});
    const DbusConnPtr conn = sharedBus().connect(soon);
    const long before = sleeps();
    EXPECT_EQ(failureOf(conn, service.name()), late);
    EXPECT_GT(sleeps(), before);
}

TEST(BusCall, aBusThatEndsIsAnExceptionInThisCallAndTheNext)
{
    auto bus = std::make_unique<PrivateBus>();
    const DbusConnPtr conn = bus->connect();
    bus.reset();
    EXPECT_EQ(failureOf(conn, nobody),
              "sd_bus_call: org.freedesktop.DBus.Error."
              "Disconnected: Connection reset by peer");
    EXPECT_EQ(failureOf(conn, nobody),
              "sd_bus_call: System.Error.ENOTCONN: Transport "
              "endpoint is not connected");
}

TEST(BusCall, signalsWithoutEndDoNotPutOffTheEnd)
{
    const Service service(sharedBus(),
                          [](sd_bus_message* call)
                          {
                              for (;;)
                              {
                                  sendTo(call, "");
                              }
                          });
    EXPECT_EQ(failureOf(sharedBus().connect(soon), service.name()), late);
}

TEST(BusCall, keepsWhatTheRunHasAMatchForAndNothingElse)
{
    const Service service(sharedBus(),
                          [](sd_bus_message* call)
                          {
                              sendToAll(call, "first");
                              sendTo(call, "not asked for");
                              sendToAll(call, "second");
                              replyEmpty(call);
                          });
    const DbusConnPtr conn = sharedBus().connect();
    std::vector<std::string> seen;
    const sdbusplus::bus::match_t match(
        *conn, "type='signal', interface='com.mervax.Test',",
        [&seen](sdbusplus::message_t& signal)
        { seen.push_back(textIn(signal)); });
    callTest(conn, service.name());
    EXPECT_EQ(seen, std::vector<std::string>());
    while (conn->process_discard())
    {
    }
    EXPECT_EQ(seen, (std::vector<std::string>{"first", "second"}));
}

/** The most memory that this process ever had, in bytes. */
std::size_t peakMemory()
{
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return static_cast<std::size_t>(usage.ru_maxrss) * 1024;
}

TEST(BusCall, signalsDuringACallTakeTheMemoryOfAFew)
{
#ifdef __SANITIZE_ADDRESS__
    GTEST_SKIP() << "a sanitizer keeps what was freed";
#endif
    constexpr std::size_t size = 1 << 20;
    constexpr int count = 64;
    const Service service(sharedBus(),
                          [](sd_bus_message* call)
                          {
                              const std::string text(size, 'x');
                              for (int i = 0; i < count; i++)
                              {
                                  sendTo(call, text);
                              }
                              replyEmpty(call);
                          });
    const std::size_t before = peakMemory();
    callTest(sharedBus().connect(tenMinutes), service.name());
    EXPECT_LT(peakMemory() - before, size * count / 2);
}

/** Answers with the signature of the call. */
void replySignature(sd_bus_message* call)
{
    sd_bus_reply_method_return(call, "s",
                               sd_bus_message_get_signature(call, 1));
}

TEST(BusCall, argumentsGoOutAsTheTypesThatTheyAre)
{
    const Service service(sharedBus(), replySignature);
    auto reply = callTest(
        sharedBus().connect(), service.name(), "text", std::string("text"),
        uint8_t{1}, uint16_t{2}, int32_t{3}, uint32_t{4}, uint64_t{5},
        std::vector<uint8_t>{6}, std::vector<std::string>{"seven"},
        std::vector<std::pair<std::string, std::string>>{{"eight", "8"}});
    ASSERT_TRUE(reply);
    EXPECT_EQ(textIn(*reply), "ssyqiutayasa{ss}");
}

using Texts = std::vector<std::string>;
using Entries = std::vector<std::pair<std::string, std::string>>;

constexpr const char* refused =
    "An argument cannot be sent: sd_bus_message_append: "
    "org.freedesktop.DBus.Error.InvalidArgs: Invalid argument";

TEST(BusCall, aTextThatCannotTravelEndsTheCallBeforeItIsSent)
{
    // The daemon would answer for the service that is not there.
    const DbusConnPtr conn = sharedBus().connect();
    const std::string wrong = "com.mervax.\xff";
    EXPECT_EQ(failureOf(conn, nobody, wrong.c_str()), refused);
    EXPECT_EQ(failureOf(conn, nobody, wrong), refused);
    EXPECT_EQ(failureOf(conn, nobody, "right", wrong, "right"), refused);
    EXPECT_EQ(failureOf(conn, nobody, std::string("a\0b", 3)), refused);
    EXPECT_EQ(failureOf(conn, nobody, Texts{wrong}), refused);
    EXPECT_EQ(failureOf(conn, nobody, Texts{"right", wrong}), refused);
    EXPECT_EQ(failureOf(conn, nobody, Entries{{wrong, "right"}}), refused);
    EXPECT_EQ(failureOf(conn, nobody, Entries{{"right", wrong}}), refused);
    EXPECT_EQ(failureOf(conn, nobody, Entries{{"right", "right"}, {"", wrong}}),
              refused);
}

TEST(BusCall, namesThatAreNoneEndTheCallBeforeItIsSent)
{
    const DbusConnPtr conn = sharedBus().connect();
    const char* invalid = "sd_bus_message_new_method_call: "
                          "org.freedesktop.DBus.Error.InvalidArgs: "
                          "Invalid argument";
    const auto failure = [&conn](const char* service, const char* object,
                                 const char* member) -> std::string
    {
        try
        {
            io::bus::call(conn, {service, object, testInterface}, member);
        }
        catch (const SdBusError& error)
        {
            return error.what();
        }
        return "none";
    };
    EXPECT_EQ(failure("com.mervax.\xff", testPath, "Do"), invalid);
    EXPECT_EQ(failure(nobody, "/com/mervax/\xff", "Do"), invalid);
    EXPECT_EQ(failure(nobody, testPath, "Do\xff"), invalid);
}

} // namespace
