// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "sim/devices/mctp_devices.hpp"
#include "sim/models/model.hpp"

namespace sim
{

/** "mctp": an MCTP daemon and the devices behind its endpoints. */
class MctpModel : public Model
{
  public:
    MctpModel(Bus& bus, Service& service, const Node& config);

  private:
    void addEndpoint(const Node& node);

    Json routingTable = Json::array();
    MctpDevices devices;
};

} // namespace sim
