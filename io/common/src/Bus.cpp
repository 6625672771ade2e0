// SPDX-License-Identifier: Apache-2.0
#include "io/common/src/Bus.hpp"

#include "io/common/src/Text.hpp"

#include <systemd/sd-bus.h>

#include <boost/asio/io_context.hpp>
#include <sdbusplus/asio/connection.hpp>
#include <sdbusplus/exception.hpp>

namespace io::bus
{

void check(int result, const char* step)
{
    if (result < 0)
    {
        throw sdbusplus::exception::SdBusError(-result, step);
    }
}

boost::asio::io_context& ioContext()
{
    static boost::asio::io_context context;
    return context;
}

DbusConnPtr connect()
{
    sd_bus* bus = nullptr;
    check(sd_bus_default(&bus), "sd_bus_default");
    // The connection holds a reference of its own.
    const std::unique_ptr<sd_bus, decltype(&sd_bus_unref)> ours(bus,
                                                                sd_bus_unref);
    // It takes the name that the daemon gives it for granted.
    const char* name = nullptr;
    check(sd_bus_get_unique_name(bus, &name), "sd_bus_get_unique_name");
    return std::make_shared<sdbusplus::asio::connection>(ioContext(), bus);
}

Target Target::properties() const
{
    return {service, path, "org.freedesktop.DBus.Properties"};
}

Service::Service(std::string_view word) :
    name(text::cat({"com.mervax.", word})),
    path(text::cat({"/com/mervax/", word}))
{
}

Target Service::at(const char* interface) const
{
    return {name.c_str(), path.c_str(), interface};
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

Answer<sdbusplus::message_t> getProperty(const DbusConnPtr& conn,
                                         const Target& target, const char* name)
{
    return call(conn, target.properties(), "Get", target.interface, name);
}

} // namespace io::bus
