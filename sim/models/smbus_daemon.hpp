// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "sim/bus/call.hpp"

#include <cstdint>
#include <string>
#include <vector>

namespace sim
{

class Service;

/** Where a daemon sits and what it may assign. */
struct SmbusBus
{
    uint8_t number = 0;
    uint8_t firstEid = 0;
    uint8_t poolSize = 0;
    /** Addresses of the endpoints on the bus. */
    std::vector<uint32_t> endpoints;
};

/** The MCTP daemon of one I2C bus: says which bus it serves ("BusPath"), and
 *  gives the endpoints there ids out of its pool when discovery is triggered.
 *
 *  The routing table holds what has been discovered. */
class SmbusDaemon
{
  public:
    /** Puts the daemon's object on the service. */
    SmbusDaemon(Service& service, const std::string& path, SmbusBus bus);
    SmbusDaemon(const SmbusDaemon&) = delete;
    SmbusDaemon& operator=(const SmbusDaemon&) = delete;

  private:
    Reply discover();
    Reply routingTable() const;

    SmbusBus bus;
    Json routes = Json::array();
};

} // namespace sim
