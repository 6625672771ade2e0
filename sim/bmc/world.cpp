// SPDX-License-Identifier: Apache-2.0
#include "sim/bmc/world.hpp"

#include <systemd/sd-bus.h>

#include <utility>

namespace sim
{

World::World(std::string address, const std::string& logFile) :
    bus(std::move(address), logFile)
{
}

void World::build(const Node& scenario)
{
    scenario.allowOnly({"services", "faults", "i2c"});
    if (auto buses = scenario.find("i2c"))
    {
        adapters = Adapters(*buses);
    }
    scenario.at("services")
        .eachMember([&](const std::string& name, const Node& node)
                    { readService(name, node); });
    if (auto list = scenario.find("faults"))
    {
        bus.setFaults(Faults(*list));
    }
}

void World::readService(const std::string& name, const Node& node)
{
    node.allowOnly({"objects", "models"});
    if (sd_bus_service_name_is_valid(name.c_str()) <= 0)
    {
        node.fail("is not a valid service name");
    }
    Service& service = bus.start(name);
    if (auto objects = node.find("objects"))
    {
        service.tree().read(*objects);
    }
    if (auto list = node.find("models"))
    {
        list->eachItem([&](const Node& item)
                       { models.push_back(makeModel(bus, service, item)); });
    }
}

void World::run()
{
    bus.loop().run();
}

} // namespace sim
