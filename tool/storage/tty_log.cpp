#include "tool/storage/tty_log.hpp"

#include "io/common/src/ObjectMapper.hpp"
#include "io/common/src/Output.hpp"
#include "tool/storage/service_call.hpp"

#include <cstdint>
#include <exception>
#include <string>
#include <unordered_map>

namespace
{

using Services = std::unordered_map<std::string, std::string>;

constexpr const char* logDirectory = "/tmp";

/** @return how many logs the service captured
 *  @throw sdbusplus::exception::SdBusError when it does not say */
int32_t captureLogs(const DbusConnPtr& bus, const std::string& service,
                    const std::string& path, uint32_t address)
{
    sdbusplus::message_t reply =
        io::bus::callMethod(bus, service, path, miscOperation, "CaptureTTYLog",
                            address, logDirectory);
    if (reply.is_method_error())
    {
        io::out::line({"Capture TTY log failed on ", service});
    }
    // An error reply has no count: reading it ends the captures.
    int32_t count = 0;
    reply.read(count);
    io::out::line(
        {service, " captured ", std::to_string(count), " device log"});
    return count;
}

bool captureAll(const DbusConnPtr& bus, const Options& options,
                const Services& services)
{
    int64_t total = 0;
    try
    {
        for (const auto& [service, path] : services)
        {
            if (service.find(options.service) != std::string::npos)
            {
                total += captureLogs(bus, service, path, options.address);
            }
        }
    }
    catch (const std::exception& failure)
    {
        io::out::line({"getTTYlog exception: ", failure.what()});
    }
    return total > 0;
}

} // namespace

bool getTTYlog(const DbusConnPtr& bus, const Options& options)
{
    Services services;
    if (!getServicesWithInterface(bus, options, miscOperation, services))
    {
        if (!options.service.empty())
        {
            io::out::line({options.service, " does not support tty log"});
        }
        return false;
    }
    if (services.empty())
    {
        io::out::line({"No service supports tty log"});
        return false;
    }
    return captureAll(bus, options, services);
}
