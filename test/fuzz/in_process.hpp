// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "io/common/spdm/Spdm.hpp"
#include "sim/spdm/device.hpp"

#include <nlohmann/json.hpp>

#include <string>

/** The tool's whole requester in one process with a device, for tests that
 *  change what the device answers. The loopback socket and the SPDM library are
 *  the real ones; the exchange over the bus is replaced. */
namespace in_process
{

/** The device that every lookup finds. */
constexpr uint32_t address = 0x8c0000;

/** What stands behind the endpoint. */
class Responder
{
  public:
    Responder() = default;
    Responder(const Responder&) = delete;
    Responder& operator=(const Responder&) = delete;
    virtual ~Responder() = default;

    /** @return false when the device does not answer */
    virtual bool answer(const sim::spdm::Bytes& request,
                        sim::spdm::Bytes& response) = 0;
};

/** A device of one version, with a slot that may do all and two measurements;
 *  from 1.3 on it offers a key per slot. */
nlohmann::json configOf(const std::string& version);

/** Attest the device from initialization to the end.
 *
 *  @param[in] roots directory of root certificates, may be empty
 *  @return the library's status
 */
libspdm_return_t attest(Responder& responder, const std::string& roots);

} // namespace in_process
