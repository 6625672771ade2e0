// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "sim/models/model.hpp"
#include "sim/models/smbus_daemon.hpp"

#include <map>
#include <memory>
#include <vector>

namespace sim
{

/** "mctp-smbus": a running MCTP daemon of one I2C bus. */
class SmbusModel : public Model
{
  public:
    SmbusModel(Bus& bus, Service& service, const Node& config);

  private:
    SmbusDaemon daemon;
};

/** "mctp-launcher": starts MCTP daemons on I2C buses, each as a service
 *  "xyz.openbmc_project.MCTP_SMBus_i2c" with the bus's number. */
class LauncherModel : public Model
{
  public:
    LauncherModel(Bus& bus, Service& service, const Node& config);

  private:
    Reply launch(const Call& call);

    std::map<uint8_t, std::vector<uint32_t>> endpoints;
    std::map<uint8_t, std::unique_ptr<SmbusDaemon>> daemons;
};

} // namespace sim
