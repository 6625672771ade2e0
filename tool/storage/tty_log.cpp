// SPDX-License-Identifier: Apache-2.0
#include "tool/storage/tty_log.hpp"

#include "tool/guard.hpp"
#include "tool/output.hpp"
#include "tool/services_with_interface.hpp"
#include "tool/storage/service.hpp"

#include <sdbusplus/exception.hpp>

#include <cerrno>
#include <cstdint>
#include <string>

namespace tool
{

namespace
{

constexpr const char* logDirectory = "/tmp";

/** @return how many logs the service captured
 *  @throw sdbusplus::exception::SdBusError when it does not say
 */
int32_t captureLogs(const DbusConnPtr& bus, const io::bus::Target& service,
                    uint32_t address)
{
    const auto count = io::bus::ask<int32_t>(bus, service, "CaptureTTYLog",
                                             address, logDirectory);
    if (!count)
    {
        out::line({"Capture TTY log failed on ", service.service});
        // Reading the count of an error reply, which has none, ends the
        // captures.
        throw sdbusplus::exception::SdBusError(
            ENXIO, "sd_bus_message_read_basic fundamental");
    }
    out::line(
        {service.service, " captured ", std::to_string(*count), " device log"});
    return *count;
}

bool captureAll(const DbusConnPtr& bus, const Options& options,
                const ServicePaths& services)
{
    int64_t total = 0;
    const auto capture = [&]
    {
        for (const auto& [service, path] : services)
        {
            if (service.find(options.service) != std::string::npos)
            {
                total += captureLogs(
                    bus,
                    {service.c_str(), path.c_str(), storage_interface::misc},
                    options.address);
            }
        }
        return true;
    };
    guarded("getTTYlog exception: ", capture);
    return total > 0;
}

} // namespace

bool getTTYlog(const DbusConnPtr& bus, const Options& options)
{
    ServicePaths services;
    if (!getServicesWithInterface(bus, options, storage_interface::misc,
                                  services))
    {
        if (!options.service.empty())
        {
            out::line({options.service, " does not support tty log"});
        }
        return false;
    }
    if (services.empty())
    {
        out::line("No service supports tty log");
        return false;
    }
    return captureAll(bus, options, services);
}

} // namespace tool
