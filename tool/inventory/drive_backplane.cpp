#include "tool/inventory/drive_backplane.hpp"

#include "io/common/src/Format.hpp"
#include "io/common/src/Output.hpp"

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
    return io::formatted(
        "%s: i2c-%u, bay[%u-%u], formfactor=%s, location=%s",
        backplane.name.c_str(), unsigned{backplane.i2cBus},
        unsigned{backplane.startSlot},
        unsigned{backplane.startSlot} + backplane.numberOfSlots,
        backplane.formFactor.c_str(), backplane.location.c_str());
}

} // namespace storage

bool showBackplanes(const DbusConnPtr& bus)
{
    std::vector<std::shared_ptr<storage::DriveBackplane>> backplanes;
    if (fetchDriveBackplaneObjects(bus, backplanes) != 0)
    {
        return false;
    }
    for (const auto& backplane : backplanes)
    {
        io::out::line({storage::formatBackplane(*backplane)});
    }
    return true;
}
