// SPDX-License-Identifier: Apache-2.0
#include "tool/mctp/i2c.hpp"

#include "io/common/src/I2CBus.hpp"
#include "io/common/src/MctpI2CBus.hpp"
#include "tool/output.hpp"

#include <phosphor-logging/lg2.hpp>

#include <exception>
#include <string>

namespace tool
{

namespace
{

/** For these operations the address is the number of an I2C bus. */
uint8_t busNumber(const Options& options)
{
    return static_cast<uint8_t>(options.address);
}

/** Start a daemon on the root bus of a bus, unless it has one. */
bool enableOn(const DbusConnPtr& bus, uint8_t number)
{
    // What the launcher expects behind the pool.
    constexpr uint32_t launcherWord = 0xFFFFFFFF;
    constexpr uint16_t launcherNumber = 300;

    const uint8_t root = io::I2CBus::getRootBus(number);
    if (!io::I2CBus::exists(root))
    {
        lg2::error("/sys/bus/i2c/devices/i2c-{BUS} is not a root bus", "BUS",
                   root);
        return false;
    }
    if (io::MctpI2CBus::isMaxMctpEpUnknown() &&
        !io::MctpI2CBus::getMaxMctpEpOnBuses(bus))
    {
        // The default number of endpoints will do.
        lg2::error("[ERR] getMaxMctpEpOnBuses failed");
    }
    if (!io::MctpI2CBus::findMctpService(bus, root, nullptr).empty())
    {
        return true;
    }
    return io::MctpI2CBus::enableMctpService(bus, root, launcherWord,
                                             launcherNumber);
}

} // namespace

bool showI2C(const DbusConnPtr& /*bus*/, const Options& options)
{
    const uint8_t number = busNumber(options);
    const bool isRoot = io::I2CBus::isRootBus(number);
    out::line({io::I2CBus::devicePrefix, std::to_string(number), " is",
               isRoot ? "" : " NOT", " a root bus."});
    if (isRoot)
    {
        return true;
    }
    const uint8_t root = io::I2CBus::getRootBus(number);
    if (root == io::I2CBus::unknown)
    {
        out::line("Unable to get its root bus.");
    }
    else
    {
        out::line({"root bus is i2c-", std::to_string(root)});
    }
    return true;
}

bool enableMctp(const DbusConnPtr& bus, const Options& options)
{
    try
    {
        return enableOn(bus, busNumber(options));
    }
    catch (const std::exception& failure)
    {
        lg2::error("[ERR] enabling mctp service. {E}", "E", failure);
        return false;
    }
}

bool discoverMctp(const DbusConnPtr& bus, const Options& options)
{
    return io::MctpI2CBus::triggerMctpDiscovery(bus, busNumber(options),
                                                nullptr);
}

} // namespace tool
