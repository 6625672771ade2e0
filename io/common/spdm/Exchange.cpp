// SPDX-License-Identifier: Apache-2.0
#include "io/common/spdm/Spdm.hpp"
#include "io/common/src/Targets.hpp"

#include <phosphor-logging/lg2.hpp>

#include <exception>

namespace mctp::spdm
{

int SpdmLib::sendRecvMctpMsg(uint8_t eid, std::vector<unsigned char>& request,
                             std::vector<unsigned char>& response,
                             uint16_t timeoutMs)
{
    const std::string service =
        mctpService.empty() ? io::target::mctpPcie.service : mctpService;
    try
    {
        auto answer = io::bus::ask<std::vector<unsigned char>>(
            connection, io::target::mctpDaemon(service),
            "SendReceiveMctpMessagePayload", eid, request, timeoutMs);
        if (answer)
        {
            response = std::move(*answer);
            return 0;
        }
        lg2::error("[ERR] Tx/Rx SPDM msg failed. EID={E}, {S}", "E", eid, "S",
                   service);
    }
    catch (const std::exception& failure)
    {
        lg2::error("[ERR] Tx/Rx SPDM msg exception. EID={E}, {S}. {ER}", "E",
                   eid, "S", service, "ER", failure);
    }
    return -1;
}

} // namespace mctp::spdm
