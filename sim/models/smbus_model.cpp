// SPDX-License-Identifier: Apache-2.0
#include "sim/models/smbus_model.hpp"

#include "sim/bus/bus.hpp"
#include "sim/scenario/address.hpp"

#include <limits>

namespace sim
{

namespace
{

constexpr const char* launcherInterface =
    "xyz.openbmc_project.Configuration.MctpConfiguration";

uint8_t readByte(const Node& node)
{
    uint64_t number = node.number();
    if (number > std::numeric_limits<uint8_t>::max())
    {
        node.fail("is no byte");
    }
    return static_cast<uint8_t>(number);
}

uint8_t readByte(const Node& node, const std::string& key)
{
    auto member = node.find(key);
    return member ? readByte(*member) : uint8_t{0};
}

std::vector<uint32_t> readEndpoints(const Node& list)
{
    std::vector<uint32_t> endpoints;
    list.eachItem([&](const Node& item)
                  { endpoints.push_back(readAddress(item)); });
    return endpoints;
}

SmbusBus readBus(const Node& config)
{
    config.allowOnly(
        {"model", "path", "bus", "first_eid", "pool_size", "endpoints"});
    auto list = config.find("endpoints");
    return {.number = readByte(config.at("bus")),
            .firstEid = readByte(config, "first_eid"),
            .poolSize = readByte(config, "pool_size"),
            .endpoints = list ? readEndpoints(*list) : std::vector<uint32_t>{}};
}

} // namespace

SmbusModel::SmbusModel(Bus& busIn, Service& serviceIn, const Node& config) :
    Model(busIn, serviceIn, config), daemon(serviceIn, path(), readBus(config))
{
}

LauncherModel::LauncherModel(Bus& busIn, Service& serviceIn,
                             const Node& config) :
    Model(busIn, serviceIn, config)
{
    config.allowOnly({"model", "path", "endpoints"});
    if (auto buses = config.find("endpoints"))
    {
        buses->eachMember(
            [&](const std::string& key, const Node& list)
            {
                uint8_t bus = readByte(Node(Json(key), list.place()));
                endpoints[bus] = readEndpoints(list);
            });
    }
    method(launcherInterface, "LaunchMctpdOverI2C", "yyyuq",
           [this](const Call& call) { return launch(call); });
}

Reply LauncherModel::launch(const Call& call)
{
    SmbusBus served{.number = call.args[0].get<uint8_t>(),
                    .firstEid = call.args[1].get<uint8_t>(),
                    .poolSize = call.args[2].get<uint8_t>(),
                    .endpoints = {}};
    auto& daemon = daemons[served.number];
    if (daemon != nullptr)
    {
        return Reply::error("xyz.openbmc_project.Common.Error.NotAllowed",
                            "There is a daemon on this bus.");
    }
    served.endpoints = endpoints[served.number];
    Service& host = bus().start("xyz.openbmc_project.MCTP_SMBus_i2c" +
                                std::to_string(served.number));
    daemon = std::make_unique<SmbusDaemon>(host, "/xyz/openbmc_project/mctp",
                                           std::move(served));
    return Reply::of("", Json::array());
}

} // namespace sim
