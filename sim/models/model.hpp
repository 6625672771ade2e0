// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "sim/bus/call.hpp"

#include <functional>
#include <memory>
#include <string>

namespace sim
{

class Service;
class Bus;

/** A stateful behaviour behind a service: it registers methods and properties
 *  on the service's objects and keeps what they work on. It lives as long as
 *  the simulation.
 *
 *  A new model is a class in a file of its own, a line in model.cpp, and its
 *  settings in sim/README.md. */
class Model
{
  public:
    Model(Bus& busIn, Service& serviceIn, const Node& config);
    virtual ~Model() = default;
    Model(const Model&) = delete;
    Model& operator=(const Model&) = delete;

  protected:
    Bus& bus() const
    {
        return theBus;
    }

    Service& service() const
    {
        return theService;
    }

    /** The object that the scenario puts the model at ("path"). */
    const std::string& path() const
    {
        return objectPath;
    }

    /** Adds a method that takes arguments of one signature. */
    void method(const std::string& interface, const std::string& member,
                const std::string& in, Handler handler);

  private:
    Bus& theBus;
    Service& theService;
    std::string objectPath;
};

/** Makes the model that the scenario names by "model". Throws ScenarioError. */
std::unique_ptr<Model> makeModel(Bus& bus, Service& service,
                                 const Node& config);

} // namespace sim
