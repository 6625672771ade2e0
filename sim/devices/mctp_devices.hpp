// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "sim/bus/call.hpp"
#include "sim/devices/mctp_device.hpp"
#include "sim/spdm/key_store.hpp"

#include <map>
#include <memory>

namespace sim
{

/** The devices behind a daemon's endpoints that answer SPDM. */
class MctpDevices
{
  public:
    /** roots: folder that the root certificates are left in. Daemons that name
     *  the same folder share its certificate authorities. */
    explicit MctpDevices(std::string roots);

    /** Puts a device behind an endpoint. An object describes one in this
     *  process, whose keys and certificates are made now; an array has the
     *  words of a program. Throws ScenarioError. */
    void add(uint8_t eid, const Node& config);

    /** Hands a message over: endpoint id, payload, time-out in milliseconds.
     *
     *  Without a device, or with one that does not answer, the daemon says
     *  that no response came. */
    Reply exchange(const Call& call);

  private:
    spdm::KeyStore& keyStore();

    std::string rootsFolder;
    std::shared_ptr<spdm::KeyStore> keys;
    std::map<uint8_t, std::unique_ptr<MctpDevice>> devices;
};

} // namespace sim
