// SPDX-License-Identifier: Apache-2.0
#include "tool/firmware/list_devices.hpp"

#include "io/common/src/Text.hpp"
#include "tool/firmware/update.hpp"
#include "tool/guard.hpp"
#include "tool/json/fetch.hpp"
#include "tool/json/read.hpp"
#include "tool/output.hpp"

#include <array>

using nlohmann::json;

namespace tool
{

namespace
{

constexpr std::array<io::Kept, 7> deviceMembers{{
    {"PartNumber"},
    {"Name"},
    {"Model"},
    {"Identifier"},
    {"FirmwareVersion"},
    {"UpdateMethod"},
    {"ControllerAddress"},
}};

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

void printGroup(const std::string& service, const char* group,
                const std::vector<FirmwareDevice>& devices)
{
    out::line({"Get ", service, " devices: ", std::to_string(devices.size()),
               " devices"});
    out::line({group, " devices management by ", service});
    for (const FirmwareDevice& device : devices)
    {
        out::line({"  P/N: ", device.partNumber.c_str()});
        out::line(firmwareLine(device));
    }
}

} // namespace

std::string firmwareLine(const FirmwareDevice& device)
{
    return io::text::cat(
        {"    [", device.name.c_str(), "] Model: ", device.model.c_str(),
         ", ID: ", device.identifier.c_str(),
         ", F/W: ", device.firmwareVersion.c_str(),
         ", UpdateMethod: ", device.updateMethod.c_str(), ", Controller: 0x",
         io::text::hex(device.controllerAddress)});
}

io::Wanted groupWanted(const char* group)
{
    return {group, deviceMembers};
}

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
    constexpr const char* failed = "Failed to get device list. ";
    const char* group = updatable ? "Updatable" : "Unupdatable";
    const auto list = [&]
    {
        const io::bus::Service service(options.service);
        const auto devices =
            fetchDocument(bus, service.at(firmwareUpdater),
                          "GetUpdatableDevices", groupWanted(group));
        if (!devices)
        {
            out::line({failed, devices.error().text});
            return false;
        }
        printGroup(options.service, group, readDevices(*devices, group));
        return true;
    };
    return guarded(failed, list);
}

} // namespace tool
