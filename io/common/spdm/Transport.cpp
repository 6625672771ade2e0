// SPDX-License-Identifier: Apache-2.0
#include "io/common/spdm/Spdm.hpp"

#include <phosphor-logging/lg2.hpp>

#include <cerrno>
#include <cstring>

namespace mctp::spdm
{

namespace
{
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

libspdm_return_t SpdmLib::spdmReceiveMessage(void* /*context*/, size_t* size,
                                             void** message, uint64_t timeout)
{
    return socket.receive(*message, *size, timeout) < 0
             ? LIBSPDM_STATUS_RECEIVE_FAIL
             : LIBSPDM_STATUS_SUCCESS;
}

} // namespace mctp::spdm
