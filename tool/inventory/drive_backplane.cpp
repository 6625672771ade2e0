// SPDX-License-Identifier: Apache-2.0
#include "tool/inventory/drive_backplane.hpp"

#include "io/common/src/ObjectMapper.hpp"
#include "io/common/src/Targets.hpp"
#include "io/common/src/Text.hpp"
#include "tool/output.hpp"

#include <phosphor-logging/lg2.hpp>

#include <exception>
#include <string_view>

namespace storage
{

namespace
{

template <typename T>
void readProperty(const BackplaneProperties& properties, const char* name,
                  T& value)
{
    const auto found = properties.find(name);
    if (found != properties.end())
    {
        if (const T* held = std::get_if<T>(&found->second))
        {
            value = *held;
            return;
        }
    }
    lg2::error("Drivebackplane object does not have {PROP}", "PROP", name);
}

constexpr const char* routine = "fetchDriveBackplaneObjects";

/** Does an error's name or text say that the objects are not there yet? Then
 *  the journal tells so. */
bool isNotReady(std::string_view error)
{
    if (error.find("ResourceNotFound") == std::string_view::npos)
    {
        return false;
    }
    // One attempt, without a wait.
    lg2::info("backplane object not ready, wait {WT}/{TO} seconds", "WT", 0,
              "TO", 0);
    return true;
}

void logBackplane(const DriveBackplane& backplane)
{
    lg2::info("{N}: i2c-{B}, {D}; location={L}, ff={F}, Slots=[{S1}, {S2}]",
              "N", backplane.name, "B", backplane.i2cBus, "D",
              backplane.description, "L", backplane.location, "F",
              backplane.formFactor, "S1", backplane.startSlot, "S2",
              unsigned{backplane.startSlot} + backplane.numberOfSlots);
}

/** @return false, after a record in the journal, when they cannot be read */
bool readProperties(const DbusConnPtr& bus, const std::string& path,
                    BackplaneProperties& properties)
{
    const io::bus::Target backplane = io::target::backplane(path);
    auto all = io::bus::ask<BackplaneProperties>(bus, backplane.properties(),
                                                 "GetAll", backplane.interface);
    if (!all)
    {
        if (!isNotReady(all.error().name))
        {
            lg2::error("[ERR] {F}: get DriveBackplane properties failed", "F",
                       routine);
        }
        return false;
    }
    if (all->empty())
    {
        lg2::error("[ERR] {F}: DriveBackplane properties empty", "F", routine);
        return false;
    }
    properties = std::move(*all);
    return true;
}

bool fetchAll(const DbusConnPtr& bus,
              std::vector<std::shared_ptr<DriveBackplane>>& backplanes)
{
    const auto paths = io::mapper::getSubTreePaths(
        bus, io::target::backplaneInventory, 1, io::target::backplaneItem);
    if (!paths)
    {
        if (!isNotReady(paths.error().name))
        {
            lg2::error("[ERR] {F}: GetSubTreePaths failed", "F", routine);
        }
        return false;
    }
    for (const std::string& path : *paths)
    {
        BackplaneProperties properties;
        if (!readProperties(bus, path, properties))
        {
            return false;
        }
        backplanes.push_back(
            std::make_shared<DriveBackplane>(readBackplane(properties)));
        logBackplane(*backplanes.back());
    }
    return true;
}

} // namespace

DriveBackplane readBackplane(const BackplaneProperties& properties)
{
    DriveBackplane read;
    readProperty(properties, "I2CBusNumber", read.i2cBus);
    readProperty(properties, "StartSlotNumber", read.startSlot);
    readProperty(properties, "NumberOfSlots", read.numberOfSlots);
    readProperty(properties, "IsBootKit", read.isBootKit);
    readProperty(properties, "Name", read.name);
    readProperty(properties, "Description", read.description);
    readProperty(properties, "FormFactor", read.formFactor);
    readProperty(properties, "LocationReference", read.location);
    readProperty(properties, "PCIeSlots", read.pcieSlots);
    return read;
}

std::string formatBackplane(const DriveBackplane& backplane)
{
    using io::text::decimal;
    const unsigned start = backplane.startSlot;
    return io::text::cat({backplane.name.c_str(), ": i2c-",
                          decimal(backplane.i2cBus), ", bay[", decimal(start),
                          "-", decimal(start + backplane.numberOfSlots),
                          "], formfactor=", backplane.formFactor.c_str(),
                          ", location=", backplane.location.c_str()});
}

int fetchDriveBackplaneObjects(
    const DbusConnPtr& bus,
    std::vector<std::shared_ptr<DriveBackplane>>& backplanes)
{
    try
    {
        return fetchAll(bus, backplanes) ? 0 : -1;
    }
    catch (const std::exception& failure)
    {
        if (!isNotReady(failure.what()))
        {
            lg2::error("[ERR] {F}: {E}", "F", routine, "E", failure);
        }
        return -1;
    }
}

} // namespace storage

bool tool::showBackplanes(const DbusConnPtr& bus, const Options& /*options*/)
{
    std::vector<std::shared_ptr<storage::DriveBackplane>> backplanes;
    if (storage::fetchDriveBackplaneObjects(bus, backplanes) != 0)
    {
        return false;
    }
    for (const auto& backplane : backplanes)
    {
        out::line(storage::formatBackplane(*backplane));
    }
    return true;
}
