// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "sim/models/model.hpp"

#include <cstdint>

namespace sim
{

/** "pcie": the PCIe devices a service looks after. */
class PcieModel : public Model
{
  public:
    PcieModel(Bus& bus, Service& service, const Node& config);

  private:
    Reply device(uint32_t address) const;

    Json devices = Json::array();
};

} // namespace sim
