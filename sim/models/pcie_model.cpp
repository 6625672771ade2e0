// SPDX-License-Identifier: Apache-2.0
#include "sim/models/pcie_model.hpp"

#include "sim/scenario/address.hpp"

#include <utility>

namespace sim
{

namespace
{

constexpr const char* deviceInterface = "com.mervax.Inventory.PCIeDevice";

Json readDevice(const Node& node)
{
    Json device = node.json();
    if (auto address = node.find("PCIeAddress"))
    {
        device["PCIeAddress"] = readAddress(*address);
    }
    return device;
}

} // namespace

PcieModel::PcieModel(Bus& busIn, Service& serviceIn, const Node& config) :
    Model(busIn, serviceIn, config)
{
    config.allowOnly({"model", "path", "devices"});
    config.at("devices").eachItem([&](const Node& node)
                                  { devices.push_back(readDevice(node)); });
    method(deviceInterface, "GetPCIeDevices", "",
           [this](const Call&) {
               return Reply::json(Json{{"PCIeDeviceComplexes", devices}});
           });
    method(deviceInterface, "GetPCIeDevice", "u",
           [this](const Call& call)
           { return device(call.args[0].get<uint32_t>()); });
}

Reply PcieModel::device(uint32_t address) const
{
    for (const Json& candidate : devices)
    {
        if (candidate.value("PCIeAddress", uint32_t{0}) == address)
        {
            return Reply::json(candidate);
        }
    }
    return Reply::error("xyz.openbmc_project.Common.Error.ResourceNotFound",
                        "No such device.");
}

} // namespace sim
