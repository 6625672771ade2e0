// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "sim/bus/call_log.hpp"
#include "sim/bus/event_loop.hpp"
#include "sim/bus/faults.hpp"
#include "sim/bus/service.hpp"

#include <map>
#include <memory>
#include <string>

namespace sim
{

/** The services on one bus, the loop they run from, the log of their calls,
 *  and the faults laid over them. */
class Bus
{
  public:
    /** address: where the services connect; logFile: see CallLog. Throws
     *  std::system_error. */
    Bus(std::string address, const std::string& logFile);

    EventLoop& loop()
    {
        return eventLoop;
    }

    CallLog& log()
    {
        return callLog;
    }

    /** The service of that name, made or brought back to life if need be: a
     *  model may bring up services while the simulation runs. Throws
     *  std::system_error. */
    Service& start(const std::string& name);
    /** nullptr when there is none. */
    Service* find(const std::string& name);

    const std::map<std::string, std::unique_ptr<Service>>& services() const
    {
        return byName;
    }

    void setFaults(Faults list);
    /** A fault, else what the service's objects say; these also refuse what
     *  a method does not take. */
    Reply answer(const Service& service, const Call& call);

  private:
    std::string busAddress;
    // Outlives the services, which are attached to it.
    EventLoop eventLoop;
    CallLog callLog;
    std::map<std::string, std::unique_ptr<Service>> byName;
    Faults faults;
};

} // namespace sim
