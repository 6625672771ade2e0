// SPDX-License-Identifier: Apache-2.0
#include "sim/bus/bus.hpp"

#include <utility>

namespace sim
{

Bus::Bus(std::string address, const std::string& logFile) :
    busAddress(std::move(address)), callLog(logFile)
{
}

Service& Bus::start(const std::string& name)
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

Service* Bus::find(const std::string& name)
{
    auto service = byName.find(name);
    return service == byName.end() ? nullptr : service->second.get();
}

void Bus::setFaults(Faults list)
{
    faults = std::move(list);
}

Reply Bus::answer(const Service& service, const Call& call)
{
    // A service looks at the arguments before it can fail.
    if (service.tree().takes(call))
    {
        if (auto reply = faults.match(service.name(), call))
        {
            return *reply;
        }
    }
    return service.tree().answer(call);
}

} // namespace sim
