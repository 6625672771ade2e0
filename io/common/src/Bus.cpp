#include "io/common/src/Bus.hpp"

#include "io/common/src/Output.hpp"

#include <systemd/sd-bus.h>

#include <boost/asio/io_context.hpp>
#include <sdbusplus/asio/connection.hpp>
#include <sdbusplus/exception.hpp>

#include <cerrno>
#include <string_view>

namespace io::bus
{

namespace
{

/** Can sd_bus_call() itself fail with this, without a reply? */
bool isLocalErrno(int error)
{
    switch (error)
    {
        case ETIMEDOUT:  // no reply within the time-out
        case ECONNRESET: // the bus went away during the call
        case ENOTCONN:   // the bus had gone before it
        case EPIPE:
        case ESTALE:
        case EINTR:
        case ENOMEM:
        case ENOBUFS:
        case EIO:
        case EPROTO:
        case EBADMSG: // a reply that cannot be parsed
        case ECHILD:
        case ELOOP:
            return true;
        default:
            return false;
    }
}

std::string_view viewOf(const char* text)
{
    return text != nullptr ? text : "";
}

/** Does the exception tell of a call that got no reply?
 *
 *  sd-bus gives such a failure the name and text that it derives from the
 *  errno alone; an error reply carries what its sender wrote.
 */
bool gotNoReply(const sdbusplus::exception::SdBusError& failure)
{
    const int error = failure.get_errno();
    if (!isLocalErrno(error))
    {
        return false;
    }
    sd_bus_error derived{};
    sd_bus_error_set_errno(&derived, -error);
    const bool same = viewOf(derived.name) == viewOf(failure.name()) &&
                      viewOf(derived.message) == viewOf(failure.description());
    sd_bus_error_free(&derived);
    return same;
}

/** An error reply to `method` with the failure's name and text. */
sdbusplus::message_t
makeErrorReply(sdbusplus::message_t& method,
               const sdbusplus::exception::SdBusError& failure)
{
    const sd_bus_error error{failure.name(), failure.description(), 0};
    sd_bus_message* reply = nullptr;
    int rc = sd_bus_message_new_method_error(method.get(), &reply, &error);
    if (rc < 0)
    {
        throw sdbusplus::exception::SdBusError(
            -rc, "sd_bus_message_new_method_error");
    }
    // Sealed, it can be read like a reply that came over the bus.
    rc = sd_bus_message_seal(reply, 1, 0);
    if (rc < 0)
    {
        sd_bus_message_unref(reply);
        throw sdbusplus::exception::SdBusError(-rc, "sd_bus_message_seal");
    }
    return sdbusplus::message_t(reply, std::false_type());
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

sdbusplus::message_t call(const DbusConnPtr& conn, sdbusplus::message_t& method)
{
    out::flush();
    try
    {
        return conn->call(method, 0);
    }
    catch (const sdbusplus::exception::SdBusError& failure)
    {
        if (gotNoReply(failure))
        {
            throw;
        }
        return makeErrorReply(method, failure);
    }
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
