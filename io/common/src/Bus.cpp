#include "io/common/src/Bus.hpp"

#include "io/common/src/Output.hpp"

#include <systemd/sd-bus.h>

#include <boost/asio/io_context.hpp>
#include <sdbusplus/asio/connection.hpp>
#include <sdbusplus/exception.hpp>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <vector>

namespace io::bus
{

namespace
{

using std::chrono::steady_clock;

/** What the text of a call without a reply begins with. */
constexpr const char* failedCall = "sd_bus_call";

/** Throw for a negative result of sd-bus. */
void check(int result, const char* step)
{
    if (result < 0)
    {
        throw sdbusplus::exception::SdBusError(-result, step);
    }
}

struct Unref
{
    void operator()(sd_bus_message* message) const
    {
        sd_bus_message_unref(message);
    }

    void operator()(sd_bus_slot* slot) const
    {
        sd_bus_slot_unref(slot);
    }
};

using MessagePtr = std::unique_ptr<sd_bus_message, Unref>;
using SlotPtr = std::unique_ptr<sd_bus_slot, Unref>;

/** A call on its way: what its reply is known by, and what came meanwhile. */
struct PendingCall
{
    uint64_t cookie{0};
    MessagePtr reply;
    std::vector<MessagePtr> signals;
};

bool isReplyTo(const PendingCall& call, sd_bus_message* message, uint8_t type)
{
    uint64_t cookie = 0;
    return (type == SD_BUS_MESSAGE_METHOD_RETURN ||
            type == SD_BUS_MESSAGE_METHOD_ERROR) &&
           sd_bus_message_get_reply_cookie(message, &cookie) >= 0 &&
           cookie == call.cookie;
}

/** Sees each message that comes during a call.
 *
 *  @return whether sd-bus is done with it
 */
int takeMessage(sd_bus_message* message, void* data,
                sd_bus_error* /*error*/) noexcept
{
    auto& call = *static_cast<PendingCall*>(data);
    uint8_t type = 0;
    sd_bus_message_get_type(message, &type);
    if (isReplyTo(call, message, type))
    {
        call.reply.reset(sd_bus_message_ref(message));
        return 1;
    }
    if (type != SD_BUS_MESSAGE_SIGNAL)
    {
        return 0;
    }
    if (sd_bus_message_get_destination(message) == nullptr)
    {
        call.signals.emplace_back(sd_bus_message_ref(message));
    }
    return 1;
}

/** Microseconds until the bus library gives a call up; UINT64_MAX is never. */
uint64_t timeLeft(steady_clock::time_point start, uint64_t limit)
{
    const std::chrono::microseconds passed =
        std::chrono::duration_cast<std::chrono::microseconds>(
            steady_clock::now() - start);
    const auto used = static_cast<uint64_t>(passed.count());
    return limit == UINT64_MAX ? limit : limit - std::min(limit, used);
}

/** Process messages until the call has its reply.
 *
 *  @return negative errno when none came
 */
int awaitReply(sd_bus* bus, const PendingCall& call)
{
    const steady_clock::time_point start = steady_clock::now();
    uint64_t limit = 0;
    int rc = sd_bus_get_method_call_timeout(bus, &limit);
    while (rc >= 0 && !call.reply)
    {
        const uint64_t left = timeLeft(start, limit);
        rc = sd_bus_process(bus, nullptr);
        if (rc == 0)
        {
            rc = sd_bus_wait(bus, left);
        }
        if (rc >= 0 && left == 0 && !call.reply)
        {
            rc = -ETIMEDOUT;
        }
    }
    return rc;
}

/** An error reply says what is wrong, and nothing else. */
void skipValues(sd_bus_message* reply)
{
    if (sd_bus_message_is_method_error(reply, nullptr) > 0)
    {
        sd_bus_message_rewind(reply, 1);
        sd_bus_message_skip(reply, sd_bus_message_get_signature(reply, 1));
    }
}

/** What a call that cannot be built says. */
void checkAppended(int result)
{
    check(result, "An argument cannot be sent: sd_bus_message_append");
}

template <typename T>
void appendNumber(sd_bus_message* call, char type, T number)
{
    checkAppended(sd_bus_message_append_basic(call, type, &number));
}

} // namespace

boost::asio::io_context& ioContext()
{
    static boost::asio::io_context context;
    return context;
}

DbusConnPtr connect()
{
    sd_bus* bus = nullptr;
    const int rc = sd_bus_default(&bus);
    if (rc < 0)
    {
        throw sdbusplus::exception::SdBusError(-rc, "sd_bus_default");
    }
    // The connection holds a reference of its own.
    const std::unique_ptr<sd_bus, decltype(&sd_bus_unref)> ours(bus,
                                                                sd_bus_unref);
    return std::make_shared<sdbusplus::asio::connection>(ioContext(), bus);
}

sdbusplus::message_t newCall(const DbusConnPtr& conn,
                             const std::string& service,
                             const std::string& path, const char* interface,
                             const char* method)
{
    return conn->new_method_call(service.c_str(), path.c_str(), interface,
                                 method);
}

void append(sd_bus_message* call, const char* text)
{
    checkAppended(sd_bus_message_append_basic(call, SD_BUS_TYPE_STRING, text));
}

void append(sd_bus_message* call, const std::string& text)
{
    if (text.find('\0') != std::string::npos)
    {
        checkAppended(-EINVAL);
    }
    append(call, text.c_str());
}

void append(sd_bus_message* call, uint8_t number)
{
    appendNumber(call, SD_BUS_TYPE_BYTE, number);
}

void append(sd_bus_message* call, uint16_t number)
{
    appendNumber(call, SD_BUS_TYPE_UINT16, number);
}

void append(sd_bus_message* call, int32_t number)
{
    appendNumber(call, SD_BUS_TYPE_INT32, number);
}

void append(sd_bus_message* call, uint32_t number)
{
    appendNumber(call, SD_BUS_TYPE_UINT32, number);
}

void append(sd_bus_message* call, uint64_t number)
{
    appendNumber(call, SD_BUS_TYPE_UINT64, number);
}

void append(sd_bus_message* call, const std::vector<uint8_t>& bytes)
{
    checkAppended(sd_bus_message_append_array(call, SD_BUS_TYPE_BYTE,
                                              bytes.data(), bytes.size()));
}

void append(sd_bus_message* call, const std::vector<std::string>& texts)
{
    checkAppended(sd_bus_message_open_container(call, SD_BUS_TYPE_ARRAY, "s"));
    for (const std::string& text : texts)
    {
        append(call, text);
    }
    checkAppended(sd_bus_message_close_container(call));
}

void append(sd_bus_message* call,
            const std::vector<std::pair<std::string, std::string>>& entries)
{
    checkAppended(
        sd_bus_message_open_container(call, SD_BUS_TYPE_ARRAY, "{ss}"));
    for (const auto& [key, value] : entries)
    {
        checkAppended(
            sd_bus_message_open_container(call, SD_BUS_TYPE_DICT_ENTRY, "ss"));
        append(call, key);
        append(call, value);
        checkAppended(sd_bus_message_close_container(call));
    }
    checkAppended(sd_bus_message_close_container(call));
}

sdbusplus::message_t call(const DbusConnPtr& /*conn*/,
                          sdbusplus::message_t& method)
{
    out::flush();
    sd_bus* bus = sd_bus_message_get_bus(method.get());
    PendingCall pending;
    sd_bus_slot* slot = nullptr;
    check(sd_bus_add_filter(bus, &slot, takeMessage, &pending), failedCall);
    const SlotPtr filter(slot);
    check(sd_bus_send(bus, method.get(), &pending.cookie), failedCall);
    const int result = awaitReply(bus, pending);
    for (const MessagePtr& signal : pending.signals)
    {
        sd_bus_enqueue_for_read(bus, signal.get());
    }
    check(result, failedCall);
    skipValues(pending.reply.get());
    return sdbusplus::message_t(pending.reply.release(), std::false_type());
}

std::string readText(sdbusplus::message_t& reply)
{
    std::string text;
    reply.read(text);
    return text;
}

std::string errorName(const sdbusplus::message_t& reply)
{
    const sd_bus_error* error = reply.get_error();
    return error != nullptr && error->name != nullptr ? error->name : "";
}

std::string errorText(const sdbusplus::message_t& reply)
{
    const sd_bus_error* error = reply.get_error();
    return error != nullptr && error->message != nullptr ? error->message : "";
}

std::string serviceName(const std::string& word)
{
    return "com.mervax." + word;
}

std::string servicePath(const std::string& word)
{
    return "/com/mervax/" + word;
}

} // namespace io::bus
