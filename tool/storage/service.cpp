// SPDX-License-Identifier: Apache-2.0
#include "tool/storage/service.hpp"

#include "tool/json/fetch.hpp"

namespace tool
{

io::bus::Answer<nlohmann::json> fetchResources(const DbusConnPtr& bus,
                                               const std::string& service,
                                               const std::string& target,
                                               std::optional<uint32_t> address,
                                               const io::Wanted& wanted)
{
    const io::bus::Service named(service);
    const io::bus::Target inventory = named.at(storage_interface::inventory);
    if (service == "nvmed" && target == "Drives")
    {
        return fetchDocument(bus, inventory, "GetAllDrives", wanted);
    }
    const std::string method = "Get" + target;
    return address
             ? fetchDocument(bus, inventory, method.c_str(), wanted, *address)
             : fetchDocument(bus, inventory, method.c_str(), wanted);
}

uint32_t resourceIdOf(const Options& options)
{
    return static_cast<uint32_t>(options.resourceId);
}

} // namespace tool
