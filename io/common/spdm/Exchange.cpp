#include "io/common/spdm/Spdm.hpp"
#include "io/common/src/MctpRouting.hpp"

#include <phosphor-logging/lg2.hpp>

#include <exception>

namespace mctp::spdm
{

namespace
{
constexpr const char* pcieService = "xyz.openbmc_project.MCTP_PCIe";
} // namespace

int SpdmLib::sendRecvMctpMsg(uint8_t eid, std::vector<unsigned char>& request,
                             std::vector<unsigned char>& response,
                             uint16_t timeoutMs)
{
    const std::string service = mctpService.empty() ? pcieService : mctpService;
    try
    {
        sdbusplus::message_t reply = io::bus::callMethod(
            connection, service, objectPath, baseInterface,
            "SendReceiveMctpMessagePayload", eid, request, timeoutMs);
        if (reply.is_method_error())
        {
            lg2::error("[ERR] Tx/Rx SPDM msg failed. EID={E}, {S}", "E", eid,
                       "S", service);
            return -1;
        }
        reply.read(response);
        return 0;
    }
    catch (const std::exception& failure)
    {
        lg2::error("[ERR] Tx/Rx SPDM msg exception. EID={E}, {S}. {ER}", "E",
                   eid, "S", service, "ER", failure);
        return -1;
    }
}

} // namespace mctp::spdm
