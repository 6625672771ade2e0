// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <systemd/sd-bus.h>

#include <sdbusplus/message.hpp>

#include <memory>
#include <string>
#include <type_traits>

namespace sdbusplus
{
namespace bus
{

using busp_t = sd_bus*;

namespace match
{
struct match;
} // namespace match

namespace details
{

struct BusUnref
{
    void operator()(busp_t b) const
    {
        sd_bus_unref(b);
    }
};

} // namespace details

/** A counted reference to one connection of sd-bus. */
struct bus
{
    /** Takes a reference of its own. Waits until the bus daemon has given the
     *  connection its name; a connection that cannot get one is a
     *  std::logic_error. */
    explicit bus(busp_t b) : owned(sd_bus_ref(b))
    {
        get_unique_name();
    }

    /** Do one piece of work: send, receive, call a handler; drop a message
     *  that no handler took.
     *  @return whether there was something to do
     *  @throw SdBusError when the connection is gone */
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

    friend struct match::match;

  protected:
    busp_t get() noexcept
    {
        return owned.get();
    }

  private:
    std::unique_ptr<sd_bus, details::BusUnref> owned;
};

} // namespace bus

using bus_t = bus::bus;

} // namespace sdbusplus
