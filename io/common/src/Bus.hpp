// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "io/common/src/BusAppend.hpp"

#include <sdbusplus/message.hpp>

#include <cstdint>
#include <expected>
#include <memory>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <variant>

// Few files wait for the bus; to the others Asio's headers would only bring
// initialisers that run at each start.
namespace boost::asio
{
class io_context;
} // namespace boost::asio

namespace sdbusplus::asio
{
class connection;
} // namespace sdbusplus::asio

/** The run's one bus connection, shared by everything that talks on it. */
using DbusConnPtr = std::shared_ptr<sdbusplus::asio::connection>;
using DbusConnectionPtr = DbusConnPtr;

namespace io::bus
{

/** The process's one I/O context; it runs only while an operation waits. */
boost::asio::io_context& ioContext();

/** What is done before the process waits for somebody else, a reply or a
 *  signal: the front end hands on what it has printed. */
inline void (*beforeWaiting)() = [] {};

/** Throw for a negative result of sd-bus, which is an errno.
 *
 *  @param step the function that gave it, which the text begins with
 *  @throw sdbusplus::exception::SdBusError
 */
void check(int result, const char* step);

/** Connect to the bus that sd_bus_default() picks and arm the read wait.
 *
 *  @throw sdbusplus::exception::SdBusError when there is no bus, or when it
 *         does not let this process in
 */
DbusConnPtr connect();

/** Where a method is: the bus name of a service, an object of it, and an
 *  interface of that. The texts are somebody else's. Targets.hpp has those
 *  that the tool knows. */
struct Target
{
    const char* service;
    const char* path;
    const char* interface;

    /** The properties of the object. */
    Target properties() const;
};

/** The service that `-s` names with one word, and its root object. */
struct Service
{
    explicit Service(std::string_view word);

    /** An interface of the root object; valid as long as this is. */
    Target at(const char* interface) const;

    std::string name;
    std::string path;
};

/** A peer's error reply; a text that it lacks is empty. */
struct ErrorReply
{
    std::string name;
    std::string text;
};

/** What a peer answered to a call. A call that got no answer (timed out,
 *  disconnected) is an exception. */
template <typename T>
using Answer = std::expected<T, ErrorReply>;

/** A method call without arguments.
 *
 *  @throw sdbusplus::exception::SdBusError when one of the names is not valid
 */
sdbusplus::message_t newCall(const DbusConnPtr& conn, const Target& target,
                             const char* method);

/** Send a method call and wait for its reply, with sd-bus's default time-out.
 *
 *  What got no reply (timed out, disconnected) is an exception. Whether there
 *  was one can only be told by what came in: sd_bus_call() hands out an error
 *  reply and a failure of its own in the same form, and a service may use the
 *  names and texts of the latter. So the call is sent, and each message that
 *  comes is looked at here.
 *
 *  Meanwhile a signal that is addressed to this connection is dropped: it was
 *  not asked for, and anybody may send it. sd_bus_call() would keep it, and
 *  would look at the time only when nothing comes. Broadcast signals arrive
 *  because the run has a match for them; they are kept for the time after the
 *  call. Not to be called by the handler of a signal.
 *
 *  @throw sdbusplus::exception::SdBusError when no reply came
 */
Answer<sdbusplus::message_t> send(sdbusplus::message_t& method);

/** Build a method call out of its names and arguments, and send() it.
 *
 *  @throw sdbusplus::exception::SdBusError when it could not be built (a
 *         service word with characters that no bus name has, an argument that
 *         append() refuses), before anything is sent, or got no reply
 */
template <typename... Args>
Answer<sdbusplus::message_t> call(const DbusConnPtr& conn, const Target& target,
                                  const char* method, const Args&... args)
{
    sdbusplus::message_t message = newCall(conn, target, method);
    (append(message.get(), args), ...);
    return send(message);
}

/** call() a method and read the one value that its reply carries.
 *
 *  @throw sdbusplus::exception::SdBusError as call(), and for a reply that
 *         carries something else
 */
template <typename T, typename... Args>
Answer<T> ask(const DbusConnPtr& conn, const Target& target, const char* method,
              const Args&... args)
{
    auto reply = call(conn, target, method, args...);
    if (!reply)
    {
        return std::unexpected(std::move(reply.error()));
    }
    T value{};
    reply->read(value);
    return value;
}

/** What a property of that type is read into.
 *
 *  Reading a variant that holds none of the alternatives throws nothing but
 *  leaves the first of them, so the first one decides what another type means.
 */
template <typename T>
using PropertyValue =
    std::conditional_t<std::is_same_v<T, uint8_t>, std::variant<T>,
                       std::variant<std::monostate, T>>;

/** call() org.freedesktop.DBus.Properties.Get. */
Answer<sdbusplus::message_t>
getProperty(const DbusConnPtr& conn, const Target& target, const char* name);

/** The value in the reply of getProperty().
 *
 *  One of another type than the one asked for is an exception, but for a byte:
 *  that is 0 then.
 *
 *  @throw std::bad_variant_access for a value of another type
 *  @throw sdbusplus::exception::SdBusError for a reply that has no value
 */
template <typename T>
T propertyValue(sdbusplus::message_t& reply)
{
    PropertyValue<T> held;
    reply.read(held);
    return std::get<T>(std::move(held));
}

/** Read one property: getProperty(), then propertyValue(). */
template <typename T>
Answer<T> property(const DbusConnPtr& conn, const Target& target,
                   const char* name)
{
    auto reply = getProperty(conn, target, name);
    if (!reply)
    {
        return std::unexpected(std::move(reply.error()));
    }
    return propertyValue<T>(*reply);
}

/** The match rule for a signal, whoever sends it; with its last comma, as the
 *  rules of this tool have always been. */
std::string signalRule(std::string_view interface, std::string_view member);

} // namespace io::bus
