#pragma once

#include <sdbusplus/message.hpp>

#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

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

/** Connect to the bus that sd_bus_default() picks and arm the read wait.
 *
 *  @throw sdbusplus::exception::SdBusError when there is no bus
 */
DbusConnPtr connect();

/** Send a method call and wait for its reply, with sd-bus's default time-out.
 *
 *  An error reply comes back as a message: `is_method_error()` holds, its name
 *  and text can be read, and it holds no values. What got no reply (timed out,
 *  disconnected) is an exception. Which of the two it is can only be told by
 *  whether a reply came in: sd_bus_call() hands out an error reply and a
 *  failure of its own in the same form, and a service may use the names and
 *  texts of the latter. So the call is sent, and each message that comes is
 *  looked at here.
 *
 *  Meanwhile a signal that is addressed to this connection is dropped: it was
 *  not asked for, and anybody may send it. sd_bus_call() would keep it, and
 *  would look at the time only when nothing comes. Broadcast signals arrive
 *  because the run has a match for them; they are kept for the time after the
 *  call. Not to be called by the handler of a signal.
 *
 *  @throw sdbusplus::exception::SdBusError when no reply came
 */
sdbusplus::message_t call(const DbusConnPtr& conn,
                          sdbusplus::message_t& method);

/** A method call without arguments.
 *
 *  @throw sdbusplus::exception::SdBusError when one of the names is not valid
 */
sdbusplus::message_t newCall(const DbusConnPtr& conn,
                             const std::string& service,
                             const std::string& path, const char* interface,
                             const char* method);

/** Write one argument to the end of a call.
 *
 *  sdbusplus's append() does not tell when sd-bus refuses a value, and the call
 *  would go out without it.
 *
 *  @throw sdbusplus::exception::SdBusError when the value is refused, as a text
 *         is that is not UTF-8 or holds a NUL
 */
void append(sd_bus_message* call, const char* text);
void append(sd_bus_message* call, const std::string& text);
void append(sd_bus_message* call, uint8_t number);
void append(sd_bus_message* call, uint16_t number);
void append(sd_bus_message* call, int32_t number);
void append(sd_bus_message* call, uint32_t number);
void append(sd_bus_message* call, uint64_t number);
void append(sd_bus_message* call, const std::vector<uint8_t>& bytes);
void append(sd_bus_message* call, const std::vector<std::string>& texts);
/** A dictionary of texts, in the order given. */
void append(sd_bus_message* call,
            const std::vector<std::pair<std::string, std::string>>& entries);
void append(sd_bus_message* call, bool flag) = delete; // would go as a number

/** Build a method call out of its names and arguments, and call() it.
 *
 *  @throw sdbusplus::exception::SdBusError when it could not be built (a
 *         service word with characters that no bus name has, an argument that
 *         append() refuses), before anything is sent, or got no reply
 */
template <typename... Args>
sdbusplus::message_t callMethod(const DbusConnPtr& conn,
                                const std::string& service,
                                const std::string& path, const char* interface,
                                const char* method, const Args&... args)
{
    sdbusplus::message_t message =
        newCall(conn, service, path, interface, method);
    (append(message.get(), args), ...);
    return call(conn, message);
}

/** Read the one string that a reply carries.
 *
 *  @throw sdbusplus::exception::SdBusError when it is not a string
 */
std::string readText(sdbusplus::message_t& reply);

/** Name and text of an error reply, each empty when the reply has none. */
std::string errorName(const sdbusplus::message_t& reply);
std::string errorText(const sdbusplus::message_t& reply);

/** The bus name of the service that `-s` names with one word. */
std::string serviceName(const std::string& word);

/** The root object path of that service. */
std::string servicePath(const std::string& word);

} // namespace io::bus
