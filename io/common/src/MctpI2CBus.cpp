#include "io/common/src/MctpI2CBus.hpp"

#include "io/common/src/I2CBus.hpp"
#include "io/common/src/MctpI2CBusPool.hpp"
#include "io/common/src/MctpRouting.hpp"
#include "io/common/src/ObjectMapper.hpp"

#include <phosphor-logging/lg2.hpp>
#include <sdbusplus/exception.hpp>

#include <exception>
#include <optional>
#include <stdexcept>
#include <utility>
#include <variant>
#include <vector>

namespace io
{

namespace
{

constexpr const char* smbusInterface = "xyz.openbmc_project.MCTP.Binding.SMBus";

/** What the process knows and has reserved. */
mctp_pool::Tables& tables()
{
    static mctp_pool::Tables all;
    return all;
}

sdbusplus::message_t getProperty(const DbusConnPtr& conn,
                                 const std::string& service,
                                 const std::string& path, const char* interface,
                                 const char* property)
{
    return bus::callMethod(conn, service, path,
                           "org.freedesktop.DBus.Properties", "Get", interface,
                           property);
}

/** Take the value out of a property's variant; another type throws. */
template <typename T>
T readVariant(sdbusplus::message_t& reply)
{
    std::variant<std::monostate, T> held;
    reply.read(held);
    return std::get<T>(std::move(held));
}

void enterWord(uint32_t packed)
{
    const mctp_pool::BackplaneWord word = mctp_pool::unpackWord(packed);
    if (!mctp_pool::isPlausible(word))
    {
        lg2::error("[ERR] Invalid data. bus {B}, BP count {C}, NVMe drive "
                   "count {D}",
                   "B", word.bus, "C", word.backplanes, "D", word.drives);
        return;
    }
    tables().maxEndpoints[word.bus] = mctp_pool::endpointCount(word);
}

/** The services with an SMBus binding, in the mapper's order; none, with a
 *  word in the journal, when the mapper answers with an error. */
std::vector<std::string> listServices(const DbusConnPtr& conn)
{
    const std::vector<std::string> interfaces{smbusInterface};
    sdbusplus::message_t reply =
        bus::callMethod(conn, mapper::service, mapper::path, mapper::interface,
                        "GetObject", mctp::objectPath, interfaces);
    if (reply.is_method_error())
    {
        lg2::error("[ERR] Failed to get mctp service list from obj mapper");
        return {};
    }
    std::vector<std::pair<std::string, std::vector<std::string>>> found;
    reply.read(found);
    std::vector<std::string> services;
    services.reserve(found.size());
    for (auto& [service, held] : found)
    {
        services.push_back(std::move(service));
    }
    return services;
}

/** A daemon's answer to the question for its bus, none when it refuses to
 *  tell or gives no answer: the next daemon may still be the one. */
std::optional<sdbusplus::message_t> askForBus(const DbusConnPtr& conn,
                                              const std::string& service)
{
    try
    {
        sdbusplus::message_t reply = getProperty(
            conn, service, mctp::objectPath, smbusInterface, "BusPath");
        if (!reply.is_method_error())
        {
            return reply;
        }
    }
    catch (const sdbusplus::exception::SdBusError&)
    {
        // Told below, like a refusal.
    }
    lg2::error("[ERR] Failed to get BusPath from {SRV}", "SRV", service);
    return std::nullopt;
}

/** The bus that a daemon serves, none when it does not tell.
 *
 *  @throw std::exception when it tells something else than a text
 */
std::optional<uint8_t> busOfService(const DbusConnPtr& conn,
                                    const std::string& service)
{
    std::optional<sdbusplus::message_t> reply = askForBus(conn, service);
    return reply ? MctpI2CBus::busOfPath(readVariant<std::string>(*reply))
                 : std::nullopt;
}

} // namespace

bool MctpI2CBus::isMaxMctpEpUnknown()
{
    return tables().maxEndpoints.empty();
}

bool MctpI2CBus::getMaxMctpEpOnBuses(const DbusConnPtr& conn)
{
    constexpr const char* property = "MaxNumOfNVMeDrvOnI2CBuses";
    try
    {
        sdbusplus::message_t reply =
            getProperty(conn, "com.mervax.bpm", "/com/mervax/bpm",
                        "com.mervax.Inventory.DriveBackplane", property);
        if (reply.is_method_error())
        {
            lg2::error("[ERR] Failed to get {P}", "P", property);
            return false;
        }
        for (uint32_t word : readVariant<std::vector<uint32_t>>(reply))
        {
            enterWord(word);
        }
        return true;
    }
    catch (const std::exception& failure)
    {
        lg2::error("getMaxMctpEpOnBuses exception. {E}", "E", failure);
        return false;
    }
}

bool MctpI2CBus::enableMctpService(const DbusConnPtr& conn, uint8_t bus,
                                   uint32_t word, uint16_t number)
{
    const auto pool = mctp_pool::reserve(tables(), bus);
    if (!pool)
    {
        lg2::error("[ERR] Failed to reserve EID pool for i2c bus {B}", "B",
                   bus);
        return false;
    }
    sdbusplus::message_t reply = bus::callMethod(
        conn, "xyz.openbmc_project.PMCI_Launcher",
        "/xyz/openbmc_project/pmci_launcher",
        "xyz.openbmc_project.Configuration.MctpConfiguration",
        "LaunchMctpdOverI2C", bus, pool->first, pool->second, word, number);
    if (reply.is_method_error())
    {
        lg2::error("[ERR] Failed to enable mctp on bus {B}", "B", bus);
        return false;
    }
    return true;
}

std::string
MctpI2CBus::findMctpService(const DbusConnPtr& conn, uint8_t bus,
                            const boost::asio::yield_context* /*yield*/)
{
    try
    {
        for (const std::string& service : listServices(conn))
        {
            if (busOfService(conn, service) == bus)
            {
                return service;
            }
        }
    }
    catch (const std::exception& failure)
    {
        lg2::error("[ERR] checking mctp services. {E}", "E", failure);
    }
    return {};
}

bool MctpI2CBus::triggerMctpDiscovery(const DbusConnPtr& conn, uint8_t bus,
                                      const boost::asio::yield_context* yield)
{
    try
    {
        const uint8_t root = I2CBus::getRootBus(bus);
        const std::string service = findMctpService(conn, root, yield);
        if (service.empty())
        {
            lg2::error("[ERR] Unable to trigger mctp discovery: service not "
                       "found on root bus {BUS}",
                       "BUS", root);
            return false;
        }
        return triggerMctpDiscovery(conn, service, yield);
    }
    catch (const std::exception& failure)
    {
        lg2::error("[ERR] trigger mctp discovery exception. {E}", "E", failure);
        return false;
    }
}

bool MctpI2CBus::triggerMctpDiscovery(
    const DbusConnPtr& conn, const std::string& service,
    const boost::asio::yield_context* /*yield*/)
{
    sdbusplus::message_t reply =
        bus::callMethod(conn, service, mctp::objectPath, mctp::baseInterface,
                        "TriggerDeviceDiscovery");
    if (!reply.is_method_error())
    {
        lg2::info("Trigger mctp discover on {S} succeeded", "S", service);
        return true;
    }
    if (bus::errorName(reply).empty())
    {
        lg2::error("[ERR] Trigger mctp discover on {S} failed", "S", service);
        return false;
    }
    lg2::error("[ERR] Trigger mctp discover on {S} failed. {N}: {M}", "S",
               service, "N", bus::errorName(reply), "M", bus::errorText(reply));
    return false;
}

std::optional<uint8_t> MctpI2CBus::busOfPath(std::string_view path)
{
    constexpr std::string_view prefix = "/dev/i2c-";
    if (!path.starts_with(prefix))
    {
        return std::nullopt;
    }
    try
    {
        const std::string number(path.substr(prefix.size()));
        return static_cast<uint8_t>(std::stoul(number));
    }
    catch (const std::logic_error&)
    {
        return std::nullopt; // no number
    }
}

} // namespace io
