// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "sim/models/model.hpp"

#include <cstdint>
#include <string>
#include <vector>

namespace sim
{

/** "ttylog": a service that saves the logs of its adapters' consoles.
 *
 *  CaptureTTYLog writes adapter_slot<slot>_tty.txt for the adapter of that
 *  address, for all with address 0, and returns how many it wrote. */
class TtyLogModel : public Model
{
  public:
    TtyLogModel(Bus& bus, Service& service, const Node& config);

  private:
    struct Adapter
    {
        uint32_t address;
        uint64_t slot;
        std::string log;
    };

    Reply capture(uint32_t address, const std::string& folder) const;

    std::vector<Adapter> adapters;
};

} // namespace sim
