#include "io/common/src/Output.hpp"
#include "tool/inventory/drive_backplane.hpp"
#include "tool/inventory/show_objects.hpp"
#include "tool/operations.hpp"
#include "tool/storage/show_device.hpp"

#include <algorithm>
#include <array>
#include <string_view>

namespace
{

bool isStorageTarget(std::string_view target)
{
    constexpr std::array<std::string_view, 4> targets{
        "Drives", "Volumes", "StoragePools", "Storage"};
    return std::find(targets.begin(), targets.end(), target) != targets.end();
}

bool refuse(std::initializer_list<std::string_view> message)
{
    io::out::line(message);
    return false;
}

} // namespace

bool operation::show(const DbusConnPtr& bus, Options& options)
{
    const std::string& target = options.target;
    if (target == "backplanes" || target == "Backplanes")
    {
        return showBackplanes(bus);
    }
    if (target == "objects" || target == "Objects")
    {
        return showObjects(bus, options);
    }
    if (options.service.empty())
    {
        return refuse({"Service not specified"});
    }
    if (options.address == 0 && options.service != "nvmed")
    {
        return refuse({"Device address not specified"});
    }
    if (target.empty())
    {
        return showDeviceInfo(bus, options);
    }
    if (!isStorageTarget(target))
    {
        return refuse({"Unknown target: ", target});
    }
    return showStorageResources(bus, options);
}
