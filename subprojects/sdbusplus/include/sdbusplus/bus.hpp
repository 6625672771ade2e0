// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <systemd/sd-bus.h>

#include <sdbusplus/exception.hpp>
#include <sdbusplus/message.hpp>
#include <sdbusplus/sdbus.hpp>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <type_traits>

namespace sdbusplus
{
namespace bus
{

using busp_t = sd_bus*;

namespace details
{

struct BusUnref
{
    void operator()(busp_t b) const
    {
        sd_bus_unref(b);
    }
};

struct bus_friend;

} // namespace details

/** A counted reference to one connection of sd-bus. */
struct bus
{
    /** Takes a reference of its own. Waits until the bus daemon has given the
     *  connection its name; a connection that cannot get one is a
     *  std::logic_error. A null bus is taken as it is. */
    explicit bus(busp_t b) : bus(sd_bus_ref(b), std::false_type())
    {
    }

    /** Takes over the caller's reference. */
    bus(busp_t b, std::false_type /*owned*/) : owned(b)
    {
        if (b != nullptr)
        {
            get_unique_name();
        }
    }

    bus() = delete;
    bus(const bus&) = delete;
    bus& operator=(const bus&) = delete;
    bus(bus&&) = default;
    bus& operator=(bus&&) = default;
    ~bus() = default;

    /** Wait for something to process.
     *  @param[in] timeoutUs - microseconds; UINT64_MAX waits without end
     *  @return 0 when the time ran out */
    int wait(uint64_t timeoutUs)
    {
        const int r = sd_bus_wait(get(), timeoutUs);
        message::details::check(r, "sd_bus_wait");
        return r;
    }

    int wait(std::optional<SdBusDuration> timeout = std::nullopt)
    {
        return wait(timeout ? timeout->count() : UINT64_MAX);
    }

    /** Do one piece of work: send, receive, call a handler.
     *  @return a message that no handler took; empty where there was none */
    message_t process()
    {
        sd_bus_message* m = nullptr;
        message::details::check(sd_bus_process(get(), &m), "sd_bus_process");
        return message_t(m, std::false_type());
    }

    /** Do one piece of work and drop a message that no handler took.
     *  @return whether there may be more to do */
    bool process_discard()
    {
        const int r = sd_bus_process(get(), nullptr);
        message::details::check(r, "sd_bus_process discard");
        return r > 0;
    }

    /** @throw SdBusError where one of the names is not valid */
    message_t new_method_call(const char* service, const char* path,
                              const char* interface, const char* method)
    {
        sd_bus_message* m = nullptr;
        message::details::check(
            sd_bus_message_new_method_call(get(), &m, service, path, interface,
                                           method),
            "sd_bus_message_new_method_call");
        return message_t(m, std::false_type());
    }

    /** Send the call and wait for its reply; signals that arrive meanwhile
     *  stay queued for process().
     *  @param[in] timeoutUs - microseconds, 0 for sd-bus's default
     *  @throw SdBusError where no reply came, and for an error reply too */
    message_t call(message_t& m, uint64_t timeoutUs)
    {
        sd_bus_error error{};
        sd_bus_message* reply = nullptr;
        if (sd_bus_call(get(), m.get(), timeoutUs, &error, &reply) < 0)
        {
            throw exception::SdBusError(&error, "sd_bus_call");
        }
        return message_t(reply, std::false_type());
    }

    message_t call(message_t& m,
                   std::optional<SdBusDuration> timeout = std::nullopt)
    {
        return call(m, timeout ? timeout->count() : 0);
    }

    /** call() for a caller who only wants to know that it worked. */
    void call_noreply(message_t& m, uint64_t timeoutUs)
    {
        sd_bus_error error{};
        if (sd_bus_call(get(), m.get(), timeoutUs, &error, nullptr) < 0)
        {
            throw exception::SdBusError(&error, "sd_bus_call noreply");
        }
    }

    void call_noreply(message_t& m,
                      std::optional<SdBusDuration> timeout = std::nullopt)
    {
        call_noreply(m, timeout ? timeout->count() : 0);
    }

    /** The name that the bus daemon gave, such as ":1.11". */
    std::string get_unique_name()
    {
        const char* name = nullptr;
        sd_bus_get_unique_name(get(), &name);
        return std::string(name);
    }

    /** Descriptor to poll; negative errno where there is none. */
    int get_fd()
    {
        return sd_bus_get_fd(get());
    }

    friend struct details::bus_friend;

  protected:
    busp_t get() noexcept
    {
        return owned.get();
    }

  private:
    std::unique_ptr<sd_bus, details::BusUnref> owned;
};

/** The connection that the thread shares: to the system bus for root, to the
 *  session bus for others. */
inline bus new_default()
{
    sd_bus* b = nullptr;
    sd_bus_default(&b);
    return bus(b, std::false_type());
}

namespace details
{

/** Lets this library's own classes reach the sd-bus pointer. */
struct bus_friend
{
    static busp_t get_busp(sdbusplus::bus::bus& b) noexcept
    {
        return b.get();
    }
};

} // namespace details

} // namespace bus

using bus_t = bus::bus;

} // namespace sdbusplus
