#include "sim/bmc/world.hpp"

#include <systemd/sd-bus.h>

#include <utility>

namespace sim
{

World::World(std::string address, const std::string& logFile) :
    busAddress(std::move(address)), callLog(logFile)
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
        faults = Faults(*list);
    }
}

void World::readService(const std::string& name, const Node& node)
{
    node.allowOnly({"objects", "models"});
    if (sd_bus_service_name_is_valid(name.c_str()) <= 0)
    {
        node.fail("is not a valid service name");
    }
    Service& service = start(name);
    if (auto objects = node.find("objects"))
    {
        service.tree().read(*objects);
    }
    if (auto list = node.find("models"))
    {
        list->eachItem([&](const Node& item)
                       { models.push_back(makeModel(*this, service, item)); });
    }
}

Service& World::start(const std::string& name)
{
    auto& service = byName[name];
    if (service == nullptr)
    {
        service = std::make_unique<Service>(*this, name);
    }
    if (!service->alive())
    {
        service->connect(busAddress);
    }
    return *service;
}

Service* World::find(const std::string& name)
{
    auto service = byName.find(name);
    return service == byName.end() ? nullptr : service->second.get();
}

Reply World::answer(const Service& service, const Call& call)
{
    if (auto reply = faults.match(service.name(), call))
    {
        return *reply;
    }
    return service.tree().answer(call);
}

} // namespace sim
