// SPDX-License-Identifier: Apache-2.0
#include "link.hpp"

#include "scratch.hpp"

#include <algorithm>

namespace spdm
{

namespace
{

/** Microseconds that the peer may take: round trip and its own time, which it
 * gives itself for cryptography and DSP0274 gives it for the rest. */
uint64_t responseTimeout(const Context& context)
{
    uint64_t own = context.cryptoRequest
                     ? uint64_t{1} << context.connection.capability.ctExponent
                     : SPDM_ST1_VALUE_US;
    return context.local.rttMicroseconds + own;
}

} // namespace

libspdm_return_t sendMessage(Context& context, std::span<uint8_t> region,
                             size_t size)
{
    std::span<uint8_t> payload = payloadOf(context, region);
    if (size > payload.size())
    {
        return LIBSPDM_STATUS_BUFFER_TOO_SMALL;
    }
    void* message = region.data();
    size_t messageSize = region.size();
    libspdm_return_t status =
        context.device.encode(&context, nullptr, false, true, size,
                              payload.data(), &messageSize, &message);
    if (LIBSPDM_STATUS_IS_ERROR(status))
    {
        return status;
    }
    return context.device.send(&context, messageSize, message,
                               context.local.rttMicroseconds);
}

libspdm_return_t receiveMessage(Context& context, std::span<uint8_t> region,
                                std::span<uint8_t>& message)
{
    void* received = region.data();
    size_t receivedSize = region.size();
    libspdm_return_t status = context.device.receive(
        &context, &receivedSize, &received, responseTimeout(context));
    if (LIBSPDM_STATUS_IS_ERROR(status))
    {
        return status;
    }
    if (received == region.data())
    {
        receivedSize = std::min(receivedSize, region.size());
    }
    uint32_t* session = nullptr;
    bool isApplication = false;
    void* found = nullptr;
    size_t foundSize = 0;
    status = context.device.decode(&context, &session, &isApplication, false,
                                   receivedSize, received, &foundSize, &found);
    if (session != nullptr || isApplication)
    {
        return LIBSPDM_STATUS_RECEIVE_FAIL;
    }
    if (LIBSPDM_STATUS_IS_ERROR(status))
    {
        return status;
    }
    message = {static_cast<uint8_t*>(found), foundSize};
    return foundSize < headerSize ? LIBSPDM_STATUS_INVALID_MSG_SIZE
                                  : LIBSPDM_STATUS_SUCCESS;
}

libspdm_return_t statusOfError(Context& context, uint8_t errorCode)
{
    switch (errorCode)
    {
        case SPDM_ERROR_CODE_RESPONSE_NOT_READY:
            return LIBSPDM_STATUS_NOT_READY_PEER;
        case SPDM_ERROR_CODE_BUSY:
            return LIBSPDM_STATUS_BUSY_PEER;
        case SPDM_ERROR_CODE_REQUEST_RESYNCH:
            context.connection.state = LIBSPDM_CONNECTION_STATE_NOT_STARTED;
            return LIBSPDM_STATUS_RESYNCH_PEER;
        default:
            return LIBSPDM_STATUS_ERROR_PEER;
    }
}

} // namespace spdm
