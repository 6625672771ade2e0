#pragma once

#include "sim/bmc/adapters.hpp"
#include "sim/bus/call_log.hpp"
#include "sim/bus/event_loop.hpp"
#include "sim/bus/faults.hpp"
#include "sim/bus/service.hpp"
#include "sim/models/model.hpp"

#include <map>
#include <memory>
#include <string>
#include <vector>

namespace sim
{

/** Everything that is simulated: services, the models that drive them, and
 *  the faults laid over both. */
class World
{
  public:
    World(std::string address, const std::string& logFile);

    /** Starts what the scenario describes. Throws ScenarioError and
     *  std::system_error. */
    void build(const Node& scenario);

    EventLoop& loop()
    {
        return eventLoop;
    }

    CallLog& log()
    {
        return callLog;
    }

    /** The service of that name, made or brought back to life if need be: a
     *  model may bring up services while the simulation runs. */
    Service& start(const std::string& name);
    /** nullptr when there is none. */
    Service* find(const std::string& name);

    const std::map<std::string, std::unique_ptr<Service>>& services() const
    {
        return byName;
    }

    /** A fault, else what the service's objects say. */
    Reply answer(const Service& service, const Call& call);

  private:
    void readService(const std::string& name, const Node& node);

    std::string busAddress;
    // Outlives the services, which are attached to it.
    EventLoop eventLoop;
    CallLog callLog;
    std::map<std::string, std::unique_ptr<Service>> byName;
    std::vector<std::unique_ptr<Model>> models;
    Faults faults;
    Adapters adapters;
};

} // namespace sim
