#pragma once

#include "sim/devices/mctp_devices.hpp"
#include "sim/models/model.hpp"

namespace sim
{

/** "mctp": an MCTP daemon. Settings:
 *
 *  - "endpoints": an array of {"eid", "address"}; "second" (8 bits) and "third"
 *    (16 bits) fill the two fields between them and default to 0. "spdm"
 *    describes the device behind the endpoint (spdm/config.md), or is an array
 *    with the words of a program that is the device (DeviceProgram); without
 *    it nothing there answers;
 *  - "roots": the folder that the devices' root certificates are left in, by
 *    default /run/bmcsim/roots. */
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
