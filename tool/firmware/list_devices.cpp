#include "tool/firmware/list_devices.hpp"

#include "io/common/src/Output.hpp"
#include "tool/firmware/updater.hpp"
#include "tool/json/document.hpp"
#include "tool/json/read.hpp"

#include <exception>

using nlohmann::json;

namespace
{

FirmwareDevice readDevice(const json& record)
{
    return {readText(record, "PartNumber"),
            readText(record, "Name"),
            readText(record, "Model"),
            readText(record, "Identifier"),
            readText(record, "FirmwareVersion"),
            readText(record, "UpdateMethod"),
            readOr(record, {"ControllerAddress"}, uint32_t{0})};
}

void printDevice(const FirmwareDevice& device)
{
    io::out::print("  P/N: %s\n", device.partNumber.c_str());
    io::out::print("    [%s] Model: %s, ID: %s, F/W: %s, UpdateMethod: %s, "
                   "Controller: 0x%x\n",
                   device.name.c_str(), device.model.c_str(),
                   device.identifier.c_str(), device.firmwareVersion.c_str(),
                   device.updateMethod.c_str(), device.controllerAddress);
}

void printGroup(const std::string& service, const char* group,
                const std::vector<FirmwareDevice>& devices)
{
    io::out::line({"Get ", service,
                   " devices: ", std::to_string(devices.size()), " devices"});
    io::out::line({group, " devices management by ", service});
    for (const FirmwareDevice& device : devices)
    {
        printDevice(device);
    }
}

bool fail(const std::string& reason)
{
    io::out::line({"Failed to get device list. ", reason});
    return false;
}

} // namespace

std::vector<FirmwareDevice> readDevices(const json& list, const char* group)
{
    std::vector<FirmwareDevice> devices;
    const json* records = findPath(list, {group});
    if (records == nullptr)
    {
        return devices;
    }
    for (const json& record : records->get_ref<const json::array_t&>())
    {
        devices.push_back(readDevice(record));
    }
    return devices;
}

bool listUpdatableDevices(const DbusConnPtr& bus, const Options& options,
                          bool updatable)
{
    const char* group = updatable ? "Updatable" : "Unupdatable";
    try
    {
        sdbusplus::message_t reply =
            io::bus::callMethod(bus, io::bus::serviceName(options.service),
                                io::bus::servicePath(options.service),
                                firmwareUpdater, "GetUpdatableDevices");
        if (reply.is_method_error())
        {
            return fail(io::bus::errorText(reply));
        }
        const json list = parseDocument(io::bus::readText(reply));
        printGroup(options.service, group, readDevices(list, group));
        return true;
    }
    catch (const std::exception& failure)
    {
        return fail(failure.what());
    }
}
