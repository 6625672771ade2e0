// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <systemd/sd-bus.h>

#include <sdbusplus/exception.hpp>
#include <sdbusplus/message/append.hpp>
#include <sdbusplus/message/native_types.hpp>
#include <sdbusplus/message/read.hpp>
#include <sdbusplus/sdbus.hpp>

#include <memory>
#include <tuple>
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

/** A counted reference to one message of sd-bus. Copies share the message and
 *  its reading position. */
class message
{
  public:
    /** Takes a reference of its own. */
    explicit message(msgp_t m = nullptr) : msg(sd_bus_message_ref(m))
    {
    }

    /** Takes over the caller's reference. */
    message(msgp_t m, std::false_type /*owned*/) : msg(m)
    {
    }

    message(message&&) = default;
    message& operator=(message&&) = default;

    message(const message& other) : message(other.msg.get())
    {
    }

    message& operator=(const message& other)
    {
        message copy(other);
        msg.swap(copy.msg);
        return *this;
    }

    ~message() = default;

    /** Hand the reference to the caller. */
    msgp_t release()
    {
        return msg.release();
    }

    explicit operator bool() const
    {
        return bool(msg);
    }

    /** The message for functions of sd-bus; still owned by this object. */
    msgp_t get()
    {
        return msg.get();
    }

    /** Write the values to the end of the message. Never throws: what sd-bus
     *  refuses is missing, and the next value of its type takes its place. */
    template <typename... Args>
    void append(Args&&... args)
    {
        (details::appendItem(msg.get(), args), ...);
    }

    /** Read the next values. Containers are added to, not replaced.
     *  @throw SdBusError where the message holds something else */
    template <typename... Args>
    void read(Args&&... args)
    {
        (details::readItem(msg.get(), args), ...);
    }

    /** read() with the values as its result: nothing, the value, or a tuple
     *  of them. */
    template <typename... Args>
    auto unpack()
    {
        if constexpr (sizeof...(Args) == 1)
        {
            std::tuple_element_t<0, std::tuple<Args...>> value{};
            read(value);
            return value;
        }
        else if constexpr (sizeof...(Args) > 1)
        {
            std::tuple<Args...> values{};
            std::apply([this](auto&... v) { read(v...); }, values);
            return values;
        }
    }

    // The texts below belong to the message and live as long as it does;
    // null where the message has no such field.

    const char* get_signature() const
    {
        return sd_bus_message_get_signature(msg.get(), 1);
    }

    const char* get_path() const
    {
        return sd_bus_message_get_path(msg.get());
    }

    const char* get_interface() const
    {
        return sd_bus_message_get_interface(msg.get());
    }

    const char* get_member() const
    {
        return sd_bus_message_get_member(msg.get());
    }

    const char* get_destination() const
    {
        return sd_bus_message_get_destination(msg.get());
    }

    const char* get_sender() const
    {
        return sd_bus_message_get_sender(msg.get());
    }

    /** Whether this is an error reply. */
    bool is_method_error() const
    {
        return sd_bus_message_is_method_error(msg.get(), nullptr) != 0;
    }

    /** errno that an error reply stands for; 0 for any other message. */
    int get_errno() const
    {
        return sd_bus_message_get_errno(msg.get());
    }

    /** Name and text of an error reply; null for any other message. */
    const sd_bus_error* get_error() const
    {
        return sd_bus_message_get_error(msg.get());
    }

    /** Null for interface or member stands for any. */
    bool is_method_call(const char* interface, const char* member) const
    {
        return sd_bus_message_is_method_call(msg.get(), interface, member) != 0;
    }

    bool is_signal(const char* interface, const char* member) const
    {
        return sd_bus_message_is_signal(msg.get(), interface, member) != 0;
    }

  private:
    std::unique_ptr<sd_bus_message, details::MessageUnref> msg;
};

} // namespace message

using message_t = message::message;

} // namespace sdbusplus
