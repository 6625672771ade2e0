// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "sim/bus/call.hpp"
#include "sim/bus/object_tree.hpp"

#include <systemd/sd-bus.h>

#include <string>

namespace sim
{

class Bus;

/** One simulated service: its own connection, one well-known name, objects. */
class Service
{
  public:
    Service(Bus& home, std::string name);
    ~Service();
    Service(const Service&) = delete;
    Service& operator=(const Service&) = delete;

    const std::string& name() const
    {
        return busName;
    }

    ObjectTree& tree()
    {
        return objects;
    }

    const ObjectTree& tree() const
    {
        return objects;
    }

    /** Connects a service that is not alive and takes its name. Throws
     *  std::system_error. */
    void connect(const std::string& address);

    bool alive() const
    {
        return bus != nullptr;
    }

    /** Closes the connection: the bus drops the name and tells callers that
     *  wait that no reply will come. */
    void die();
    /** Nothing happens when the service is dead. */
    void emit(const Signal& signal);

  private:
    static int onMessage(sd_bus_message* message, void* data,
                         sd_bus_error* error);
    Call received(sd_bus_message* message) const;
    void open(const std::string& address);

    Bus& home;
    std::string busName;
    ObjectTree objects;
    sd_bus* bus = nullptr;
};

} // namespace sim
