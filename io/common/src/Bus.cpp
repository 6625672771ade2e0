#include "io/common/src/Bus.hpp"

#include "io/common/src/Text.hpp"

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

std::string textOf(const char* text)
{
    return text != nullptr ? text : "";
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

Target Target::properties() const
{
    return {service, path, "org.freedesktop.DBus.Properties"};
}

Service::Service(std::string_view word) :
    busName(text::cat({"com.mervax.", word})),
    rootPath(text::cat({"/com/mervax/", word}))
{
}

Target Service::at(const char* interface) const
{
    return {busName.c_str(), rootPath.c_str(), interface};
}

const std::string& Service::name() const
{
    return busName;
}

const std::string& Service::path() const
{
    return rootPath;
}

std::string signalRule(std::string_view interface, std::string_view member)
{
    return text::cat(
        {"type='signal', interface='", interface, "', member='", member, "',"});
}

sdbusplus::message_t newCall(const DbusConnPtr& conn, const Target& target,
                             const char* method)
{
    return conn->new_method_call(target.service, target.path, target.interface,
                                 method);
}

Answer<sdbusplus::message_t> send(const DbusConnPtr& conn,
                                  sdbusplus::message_t& method)
{
    beforeWaiting();
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
        return std::unexpected(
            ErrorReply{textOf(failure.name()), textOf(failure.description())});
    }
}

} // namespace io::bus
