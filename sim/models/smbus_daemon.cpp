// SPDX-License-Identifier: Apache-2.0
#include "sim/models/smbus_daemon.hpp"

#include "sim/bus/service.hpp"

#include <utility>

namespace sim
{

namespace
{

constexpr const char* baseInterface = "xyz.openbmc_project.MCTP.Base";
constexpr const char* smbusInterface = "xyz.openbmc_project.MCTP.Binding.SMBus";

void appendRoute(Json& routes, uint64_t eid, uint32_t address)
{
    for (uint64_t byte : {eid, uint64_t{0}, uint64_t{0}, uint64_t{0}})
    {
        routes.push_back(byte);
    }
    for (unsigned shift : {0U, 8U, 16U, 24U})
    {
        routes.push_back(address >> shift & 0xff);
    }
}

} // namespace

SmbusDaemon::SmbusDaemon(Service& service, const std::string& path,
                         SmbusBus busIn) :
    bus(std::move(busIn))
{
    ObjectTree& tree = service.tree();
    tree.setProperty(path, smbusInterface, "BusPath", "s",
                     "/dev/i2c-" + std::to_string(bus.number));
    tree.addMethod(
        path, baseInterface, "TriggerDeviceDiscovery",
        {.in = "", .handler = [this](const Call&) { return discover(); }});
    tree.addMethod(
        path, baseInterface, "GetRoutingTable",
        {.in = "", .handler = [this](const Call&) { return routingTable(); }});
}

Reply SmbusDaemon::discover()
{
    routes = Json::array();
    uint64_t assigned = 0;
    for (uint32_t address : bus.endpoints)
    {
        if (assigned == bus.poolSize)
        {
            break;
        }
        appendRoute(routes, bus.firstEid + assigned, address);
        ++assigned;
    }
    return Reply::of("", Json::array());
}

Reply SmbusDaemon::routingTable() const
{
    return Reply::one("ay", routes);
}

} // namespace sim
