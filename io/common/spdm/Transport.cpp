#include "io/common/spdm/Spdm.hpp"
#include "io/common/src/MctpRouting.hpp"

#include <phosphor-logging/lg2.hpp>

#include <cerrno>
#include <cstring>
#include <exception>

namespace mctp::spdm
{

namespace
{
constexpr const char* pcieService = "xyz.openbmc_project.MCTP_PCIe";
constexpr uint64_t microsecondsPerMillisecond = 1000;
// No endpoint has these (DSP0236): one is the null id, the other all of them.
constexpr uint8_t nullEid = 0;
constexpr uint8_t broadcastEid = 255;
} // namespace

libspdm_return_t SpdmLib::spdmSendMessage(void* /*context*/, size_t size,
                                          const void* message, uint64_t timeout)
{
    if (targetEid == nullEid || targetEid == broadcastEid)
    {
        lg2::error("[ERR] Failed to send SPDM msg. Invalid target EID {E}", "E",
                   targetEid);
        return LIBSPDM_STATUS_SEND_FAIL;
    }
    const auto* bytes = static_cast<const unsigned char*>(message);
    std::vector<unsigned char> request(bytes, bytes + size);
    std::vector<unsigned char> response;
    // The daemon's argument has 16 bits; longer times wrap.
    const auto timeoutMs =
        static_cast<uint16_t>(timeout / microsecondsPerMillisecond);
    if (connection == nullptr ||
        sendRecvMctpMsg(targetEid, request, response, timeoutMs) != 0 ||
        socket.init() != 0)
    {
        return LIBSPDM_STATUS_SEND_FAIL;
    }
    const ssize_t sent = socket.sendToSelf(response);
    if (sent != static_cast<ssize_t>(response.size()))
    {
        const int error = errno;
        lg2::error("[ERR] send to uds failed, rc={R}. {S}", "R", sent, "S",
                   std::string(std::strerror(error)));
        return LIBSPDM_STATUS_SEND_FAIL;
    }
    return LIBSPDM_STATUS_SUCCESS;
}

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

libspdm_return_t SpdmLib::spdmReceiveMessage(void* /*context*/, size_t* size,
                                             void** message, uint64_t timeout)
{
    return socket.receive(*message, *size, timeout) < 0
             ? LIBSPDM_STATUS_RECEIVE_FAIL
             : LIBSPDM_STATUS_SUCCESS;
}

} // namespace mctp::spdm
