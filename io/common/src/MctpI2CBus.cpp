// SPDX-License-Identifier: Apache-2.0
#include "io/common/src/MctpI2CBus.hpp"

#include "io/common/src/I2CBus.hpp"
#include "io/common/src/MctpI2CBusPool.hpp"
#include "io/common/src/ObjectMapper.hpp"
#include "io/common/src/Targets.hpp"

#include <phosphor-logging/lg2.hpp>
#include <sdbusplus/exception.hpp>

#include <exception>
#include <stdexcept>
#include <utility>
#include <vector>

namespace io
{

namespace
{

/** What the process knows and has reserved. */
mctp_pool::Tables& tables()
{
    static mctp_pool::Tables all;
    return all;
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
    auto services =
        mapper::getServices(conn, target::mctpPath, target::mctpSmbus);
    if (!services)
    {
        lg2::error("[ERR] Failed to get mctp service list from obj mapper");
        return {};
    }
    return std::move(*services);
}

/** A daemon's answer to the question for its bus, none when it refuses to
 *  tell or gives no answer: the next daemon may still be the one. */
std::optional<sdbusplus::message_t> askForBus(const DbusConnPtr& conn,
                                              const std::string& service)
{
    try
    {
        auto reply = bus::getProperty(
            conn, target::mctpDaemon(service, target::mctpSmbus), "BusPath");
        if (reply)
        {
            return std::move(*reply);
        }
    }
    // Told below, like a refusal. NOLINTNEXTLINE(bugprone-empty-catch)
    catch (const sdbusplus::exception::SdBusError&)
    {
    }
    lg2::error("[ERR] Failed to get BusPath from {SRV}", "SRV", service);
    return std::nullopt;
}

/** @throw std::exception when the daemon's path is something else than text */
bool serves(const DbusConnPtr& conn, const std::string& service, uint8_t bus)
{
    auto reply = askForBus(conn, service);
    return reply && MctpI2CBus::busOfPath(
                        bus::propertyValue<std::string>(*reply)) == bus;
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
        const auto words = bus::property<std::vector<uint32_t>>(
            conn, target::backplanes, property);
        if (!words)
        {
            lg2::error("[ERR] Failed to get {P}", "P", property);
            return false;
        }
        for (uint32_t word : *words)
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
    if (!bus::call(conn, target::mctpLauncher, "LaunchMctpdOverI2C", bus,
                   pool->first, pool->second, word, number))
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
            if (serves(conn, service, bus))
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
    const auto reply =
        bus::call(conn, target::mctpDaemon(service), "TriggerDeviceDiscovery");
    if (reply)
    {
        lg2::info("Trigger mctp discover on {S} succeeded", "S", service);
    }
    else if (reply.error().name.empty())
    {
        lg2::error("[ERR] Trigger mctp discover on {S} failed", "S", service);
    }
    else
    {
        lg2::error("[ERR] Trigger mctp discover on {S} failed. {N}: {M}", "S",
                   service, "N", reply.error().name, "M", reply.error().text);
    }
    return reply.has_value();
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
