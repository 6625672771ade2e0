#include "tool/storage/query.hpp"

std::string storageMethod(const std::string& service, const std::string& target)
{
    const bool all = service == "nvmed" && target == "Drives";
    return all ? "GetAllDrives" : "Get" + target;
}

sdbusplus::message_t queryStorage(const DbusConnPtr& bus,
                                  const std::string& service,
                                  const std::string& method,
                                  std::optional<uint32_t> address)
{
    const std::string name = io::bus::serviceName(service);
    const std::string path = io::bus::servicePath(service);
    if (!address)
    {
        return io::bus::callMethod(bus, name, path, storageInventory,
                                   method.c_str());
    }
    return io::bus::callMethod(bus, name, path, storageInventory,
                               method.c_str(), *address);
}
