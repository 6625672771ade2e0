#include "tool/operations.hpp"
#include "tool/pcie/list_devices.hpp"
#include "tool/storage/list_targets.hpp"

bool operation::list(const DbusConnPtr& bus, Options& options)
{
    if (options.target.empty())
    {
        return listPCIeDevices(bus, options);
    }
    std::string prefix;
    return listDeviceTargets(bus, options, prefix);
}
