// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "sim/bmc/adapters.hpp"
#include "sim/bus/bus.hpp"
#include "sim/models/model.hpp"

#include <memory>
#include <string>
#include <vector>

namespace sim
{

/** Everything that is simulated: the bus with its services, the models that
 *  drive them, and the I2C adapters. */
class World
{
  public:
    World(std::string address, const std::string& logFile);

    /** Starts what the scenario describes. Throws ScenarioError and
     *  std::system_error. */
    void build(const Node& scenario);
    /** Until a signal asks for the end. */
    void run();

  private:
    void readService(const std::string& name, const Node& node);

    Bus bus;
    std::vector<std::unique_ptr<Model>> models;
    Adapters adapters;
};

} // namespace sim
