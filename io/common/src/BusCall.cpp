// SPDX-License-Identifier: Apache-2.0
#include "io/common/src/Bus.hpp"

#include <systemd/sd-bus.h>

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

/** A call on its way: what its reply is known by, and what came meanwhile. */
struct PendingCall
{
    uint64_t cookie{0};
    sdbusplus::message_t reply{nullptr};
    std::vector<sdbusplus::message_t> signals;
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
        call.reply = sdbusplus::message_t(message);
        return 1;
    }
    if (type != SD_BUS_MESSAGE_SIGNAL)
    {
        return 0;
    }
    if (sd_bus_message_get_destination(message) == nullptr)
    {
        call.signals.emplace_back(message);
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

std::string textOf(const char* text)
{
    return text != nullptr ? text : "";
}

} // namespace

Answer<sdbusplus::message_t> send(sdbusplus::message_t& method)
{
    beforeWaiting();
    sd_bus* bus = sd_bus_message_get_bus(method.get());
    PendingCall pending;
    sd_bus_slot* slot = nullptr;
    check(sd_bus_add_filter(bus, &slot, takeMessage, &pending), failedCall);
    const std::unique_ptr<sd_bus_slot, decltype(&sd_bus_slot_unref)> filter(
        slot, sd_bus_slot_unref);
    check(sd_bus_send(bus, method.get(), &pending.cookie), failedCall);
    const int result = awaitReply(bus, pending);
    for (sdbusplus::message_t& signal : pending.signals)
    {
        sd_bus_enqueue_for_read(bus, signal.get());
    }
    check(result, failedCall);
    if (const sd_bus_error* error =
            sd_bus_message_get_error(pending.reply.get()))
    {
        return std::unexpected(
            ErrorReply{textOf(error->name), textOf(error->message)});
    }
    return std::move(pending.reply);
}

} // namespace io::bus
