// SPDX-License-Identifier: Apache-2.0
#include "tool/pcie/list_devices.hpp"

#include "io/common/src/MctpRouting.hpp"
#include "io/common/src/Text.hpp"
#include "tool/guard.hpp"
#include "tool/json/fetch.hpp"
#include "tool/json/read.hpp"
#include "tool/output.hpp"
#include "tool/pcie/device.hpp"
#include "tool/pcie/system_state.hpp"
#include "tool/services_with_interface.hpp"
#include "tool/storage/list_targets.hpp"

#include <ctime>
#include <string>

using nlohmann::json;

namespace tool
{

namespace
{

void printHeader(const DbusConnPtr& bus)
{
    const std::time_t now = std::time(nullptr);
    std::string progress;
    getBootProgress(bus, progress);
    std::string power = "Unknown";
    if (getChassisPowerState(bus, power))
    {
        power = io::text::afterLastDot(power);
    }
    out::line({"Power: ", power, ";  Boot Progress: ", progress, ";  ",
               io::text::date(now)});
}

void printPorts(const json& record)
{
    const json* ports = findMember(record, "Ports");
    if (ports == nullptr)
    {
        return;
    }
    std::size_t position = 0;
    for (const json& port : *ports)
    {
        out::line(portLine(port, position++));
    }
}

void printInventory(const json& record)
{
    const json* inventory = findMember(record, "PCIeDevice");
    if (inventory == nullptr)
    {
        return;
    }
    const std::string parts = partLine(*inventory);
    if (!parts.empty())
    {
        out::line(parts);
    }
    printPorts(record);
}

/** List what hangs behind a storage controller, under its own line. */
void printStorage(const DbusConnPtr& bus, const PcieDevice& device,
                  const std::string& service)
{
    std::string prefix(12, ' ');
    Options query;
    query.operation.clear();
    query.service = service;
    query.address = device.pcieAddress;
    for (const char* target : {"Drives", "Volumes"})
    {
        query.target = target;
        listDeviceTargets(bus, query, prefix);
    }
}

void printDevice(const DbusConnPtr& bus, const json& record,
                 const std::string& service, const mctp::RoutingTable& routes)
{
    const PcieDevice device = readPcieDevice(record);
    const auto route = mctp::findRoutingEntry(routes, device.pcieAddress);
    out::line(deviceLine(device, service, route ? route->eid : uint8_t{0},
                         trailingText(device, record)));
    printInventory(record);
    if (isStorageController(device))
    {
        printStorage(bus, device, service);
    }
}

/** Print one service's devices. @return false when it has none to tell */
bool printService(const DbusConnPtr& bus, const std::string& service,
                  const std::string& path, const mctp::RoutingTable& routes)
{
    constexpr const char* list = "PCIeDeviceComplexes";
    const auto document =
        fetchDocument(bus, {service.c_str(), path.c_str(), pcieInterface},
                      "GetPCIeDevices", {list, membersOfDevice()});
    if (!document)
    {
        out::line("getPCIeComplexes failed");
        return false;
    }
    const json* complexes = findMember(*document, list);
    if (complexes == nullptr)
    {
        return false;
    }
    const std::string shortName(io::text::afterLastDot(service));
    for (const json& record : *complexes)
    {
        printDevice(bus, record, shortName, routes);
    }
    return true;
}

} // namespace

bool listPCIeDevices(const DbusConnPtr& bus, const Options& options)
{
    ServicePaths services;
    if (!getServicesWithInterface(bus, options, pcieInterface, services))
    {
        if (!options.service.empty())
        {
            out::line(
                {options.service, " does not have interface ", pcieInterface});
        }
        return false;
    }
    printHeader(bus);
    const mctp::RoutingTable routes = mctp::getRoutingTable(bus);
    bool listed = true;
    for (const auto& [service, path] : services)
    {
        listed = guarded(io::text::cat({"getPCIeComplexes: ", service, ", ",
                                        path, "; exception: "}),
                         [&, &name = service, &object = path]
                         { return printService(bus, name, object, routes); });
        if (!listed && !options.service.empty())
        {
            out::line({"Failed to get PCIeDeviceComplexes from ", service});
        }
    }
    return listed;
}

} // namespace tool
