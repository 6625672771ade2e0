// SPDX-License-Identifier: Apache-2.0
#include "sim/models/model.hpp"

#include "sim/bus/service.hpp"
#include "sim/models/eventlog_model.hpp"
#include "sim/models/firmware_model.hpp"
#include "sim/models/mapper_model.hpp"
#include "sim/models/mctp_model.hpp"
#include "sim/models/pcie_model.hpp"
#include "sim/models/raid_model.hpp"
#include "sim/models/smbus_model.hpp"
#include "sim/models/storage_model.hpp"
#include "sim/models/tty_log_model.hpp"

#include <systemd/sd-bus.h>

#include <map>
#include <utility>

namespace sim
{

namespace
{

using Maker = std::unique_ptr<Model> (*)(Bus&, Service&, const Node&);

template <typename T>
std::unique_ptr<Model> make(Bus& bus, Service& service, const Node& config)
{
    return std::make_unique<T>(bus, service, config);
}

const std::map<std::string, Maker>& makers()
{
    static const std::map<std::string, Maker> table{
        {"eventlog", make<EventLogModel>},
        {"firmware", make<FirmwareModel>},
        {"mapper", make<MapperModel>},
        {"mctp", make<MctpModel>},
        {"mctp-launcher", make<LauncherModel>},
        {"mctp-smbus", make<SmbusModel>},
        {"pcie", make<PcieModel>},
        {"raid", make<RaidModel>},
        {"storage", make<StorageModel>},
        {"ttylog", make<TtyLogModel>},
    };
    return table;
}

std::string readPath(const Node& config)
{
    Node node = config.at("path");
    std::string path = node.text();
    if (sd_bus_object_path_is_valid(path.c_str()) <= 0)
    {
        node.fail("is not a valid object path");
    }
    return path;
}

} // namespace

Model::Model(Bus& busIn, Service& serviceIn, const Node& config) :
    theBus(busIn), theService(serviceIn), objectPath(readPath(config))
{
}

void Model::method(const std::string& interface, const std::string& member,
                   const std::string& in, Handler handler)
{
    theService.tree().addMethod(objectPath, interface, member,
                                {.in = in, .handler = std::move(handler)});
}

std::unique_ptr<Model> makeModel(Bus& bus, Service& service, const Node& config)
{
    Node name = config.at("model");
    auto maker = makers().find(name.text());
    if (maker == makers().end())
    {
        name.fail("is not a known model");
    }
    return maker->second(bus, service, config);
}

} // namespace sim
