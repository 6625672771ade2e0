// SPDX-License-Identifier: Apache-2.0
#include "tool/inventory/drive_backplane.hpp"

#include "io/common/src/Text.hpp"
#include "tool/output.hpp"

#include <phosphor-logging/lg2.hpp>

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
