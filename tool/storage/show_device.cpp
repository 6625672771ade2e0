#include "tool/storage/show_device.hpp"

#include "io/common/src/Output.hpp"
#include "tool/json/document.hpp"
#include "tool/json/print.hpp"
#include "tool/json/read.hpp"
#include "tool/storage/query.hpp"

#include <exception>
#include <optional>

using nlohmann::json;

bool showDeviceInfo(const DbusConnPtr& bus, const Options& options)
{
    const char* service = options.service.c_str();
    try
    {
        sdbusplus::message_t reply =
            io::bus::callMethod(bus, io::bus::serviceName(options.service),
                                io::bus::servicePath(options.service),
                                "com.mervax.Inventory.PCIeDevice",
                                "GetPCIeDevice", options.address);
        if (reply.is_method_error())
        {
            io::out::print("Failed to get device 0x%x from %s\n",
                           options.address, service);
            return false;
        }
        printJson(parseDocument(io::bus::readText(reply)), 0);
        return true;
    }
    catch (const std::exception& failure)
    {
        io::out::print("showDeviceInfo: %s, device 0x%x; exception: %s\n",
                       service, options.address, failure.what());
        return false;
    }
}

bool showStorageResources(const DbusConnPtr& bus, const Options& options)
{
    const bool nvme = options.service == "nvmed";
    sdbusplus::message_t reply = queryStorage(
        bus, options.service, storageMethod(options.service, options.target),
        nvme ? std::nullopt : std::optional(options.address));
    if (reply.is_method_error())
    {
        io::out::line({"Dbus call Get", options.target, " failed"});
        return false;
    }
    const json document = parseDocument(io::bus::readText(reply));
    if (findMember(document, options.target.c_str()) == nullptr)
    {
        io::out::line({"getStorageResouces: returned data does not contain ",
                       options.target,
                       ", json size = ", std::to_string(document.size())});
        return false;
    }
    printJson(document, 0);
    return true;
}
