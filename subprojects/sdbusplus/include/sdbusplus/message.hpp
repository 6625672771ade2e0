// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <systemd/sd-bus.h>

#include <sdbusplus/message/read.hpp>

#include <memory>
#include <type_traits>

namespace sdbusplus
{
namespace message
{

using msgp_t = sd_bus_message*;

namespace details
{

struct MessageUnref
{
    void operator()(msgp_t m) const
    {
        sd_bus_message_unref(m);
    }
};

} // namespace details

/** A counted reference to one message of sd-bus. */
class message
{
  public:
    /** Takes a reference of its own. */
    explicit message(msgp_t m) : msg(sd_bus_message_ref(m))
    {
    }

    /** Takes over the caller's reference. */
    message(msgp_t m, std::false_type /*owned*/) : msg(m)
    {
    }

    /** Whether there is a message. */
    explicit operator bool() const
    {
        return bool(msg);
    }

    /** The message for functions of sd-bus; still owned by this object. */
    msgp_t get()
    {
        return msg.get();
    }

    /** Read the next values. Containers are added to, not replaced.
     *  @throw SdBusError where the message holds something else, or nothing */
    template <typename... Args>
    void read(Args&&... args)
    {
        (details::readItem(msg.get(), args), ...);
    }

  private:
    std::unique_ptr<sd_bus_message, details::MessageUnref> msg;
};

} // namespace message

using message_t = message::message;

} // namespace sdbusplus
