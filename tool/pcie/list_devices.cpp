#include "tool/pcie/list_devices.hpp"

#include "io/common/src/MctpRouting.hpp"
#include "io/common/src/ObjectMapper.hpp"
#include "io/common/src/Output.hpp"
#include "tool/json/document.hpp"
#include "tool/json/read.hpp"
#include "tool/pcie/device.hpp"
#include "tool/pcie/system_state.hpp"
#include "tool/storage/list_targets.hpp"

#include <ctime>
#include <exception>
#include <optional>
#include <string>
#include <unordered_map>

using nlohmann::json;

namespace
{

constexpr const char* pcieInterface = "com.mervax.Inventory.PCIeDevice";

void printHeader(const DbusConnPtr& bus)
{
    const std::time_t now = std::time(nullptr);
    std::string progress;
    getBootProgress(bus, progress);
    std::string power = "Unknown";
    if (getChassisPowerState(bus, power))
    {
        power = afterLastDot(power);
    }
    char date[26]; // 24 characters and the line feed that the format has
    io::out::print("Power: %s;  Boot Progress: %s;  %.24s\n", power.c_str(),
                   progress.c_str(), ctime_r(&now, date));
}

/** Ask a service for its document; none when it answers with an error. */
std::optional<json> getPCIeComplexes(const DbusConnPtr& bus,
                                     const std::string& service,
                                     const std::string& path)
{
    sdbusplus::message_t reply = io::bus::callMethod(
        bus, service, path, pcieInterface, "GetPCIeDevices");
    if (reply.is_method_error())
    {
        io::out::line({"getPCIeComplexes failed"});
        return std::nullopt;
    }
    return parseDocument(io::bus::readText(reply));
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
        io::out::line({portLine(port, position++)});
    }
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
    const auto route = findRoutingEntry(routes, device.pcieAddress);
    io::out::line({deviceLine(device, service, route ? route->eid : uint8_t{0},
                              trailingText(device, record))});
    const json* inventory = findMember(record, "PCIeDevice");
    if (inventory != nullptr)
    {
        const std::string part = partLine(*inventory);
        if (!part.empty())
        {
            io::out::line({part});
        }
        printPorts(record);
    }
    if (isStorageController(device))
    {
        printStorage(bus, device, service);
    }
}

/** Print one service's devices. @return false when it has none to tell */
bool printService(const DbusConnPtr& bus, const std::string& service,
                  const std::string& path, const mctp::RoutingTable& routes)
{
    const std::optional<json> document = getPCIeComplexes(bus, service, path);
    const json* complexes =
        document ? findMember(*document, "PCIeDeviceComplexes") : nullptr;
    if (complexes == nullptr)
    {
        return false;
    }
    for (const json& record : *complexes)
    {
        printDevice(bus, record, afterLastDot(service), routes);
    }
    return true;
}

bool tryService(const DbusConnPtr& bus, const std::string& service,
                const std::string& path, const mctp::RoutingTable& routes)
{
    try
    {
        return printService(bus, service, path, routes);
    }
    catch (const std::exception& failure)
    {
        io::out::line({"getPCIeComplexes: ", service, ", ", path,
                       "; exception: ", failure.what()});
        return false;
    }
}

} // namespace

bool listPCIeDevices(const DbusConnPtr& bus, const Options& options)
{
    std::unordered_map<std::string, std::string> services;
    if (!getServicesWithInterface(bus, options, pcieInterface, services))
    {
        if (!options.service.empty())
        {
            io::out::line(
                {options.service, " does not have interface ", pcieInterface});
        }
        return false;
    }
    printHeader(bus);
    const mctp::RoutingTable routes = getRoutingTable(bus);
    bool listed = true;
    for (const auto& [service, path] : services)
    {
        listed = tryService(bus, service, path, routes);
        if (!listed && !options.service.empty())
        {
            io::out::line({"Failed to get PCIeDeviceComplexes from ", service});
        }
    }
    return listed;
}
