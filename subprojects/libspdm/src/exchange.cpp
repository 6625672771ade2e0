// SPDX-License-Identifier: Apache-2.0
#include "exchange.hpp"

#include "chunk.hpp"
#include "link.hpp"
#include "scratch.hpp"

#include <algorithm>

namespace spdm
{

namespace
{

/** Largest RDTExponent that is waited for, as 2 to its power microseconds. */
constexpr uint8_t maxRdtExponent = 31;

/** Requests that are no requests of their own. */
bool isAuxiliary(uint8_t code)
{
    return code == SPDM_RESPOND_IF_READY || code == SPDM_CHUNK_GET ||
           code == SPDM_CHUNK_SEND;
}

bool mayBeChunked(uint8_t code)
{
    return code != SPDM_GET_VERSION && code != SPDM_GET_CAPABILITIES;
}

bool exceeds(size_t size, size_t limit)
{
    return limit != 0 && size > limit;
}

} // namespace

Exchange::Exchange(Context& connected) : context(connected)
{
}

Exchange::~Exchange()
{
    releaseSender();
    releaseReceiver();
}

libspdm_return_t Exchange::open()
{
    if (messageRegion(context).empty())
    {
        return LIBSPDM_STATUS_INVALID_STATE_LOCAL;
    }
    void* buffer = nullptr;
    libspdm_return_t status = context.device.acquireSender(&context, &buffer);
    if (status != LIBSPDM_STATUS_SUCCESS)
    {
        return status;
    }
    sender = buffer;
    requestWriter = Writer(payloadOf(context, messageRegion(context)));
    return LIBSPDM_STATUS_SUCCESS;
}

void Exchange::clear()
{
    std::ranges::fill(payloadOf(context, messageRegion(context)), uint8_t{0});
}

Bytes Exchange::request() const
{
    return Bytes(context.lastRequest).first(context.lastRequestSize);
}

libspdm_return_t Exchange::send()
{
    Bytes out =
        payloadOf(context, messageRegion(context)).first(requestWriter.size());
    if (!isAuxiliary(codeOf(out)))
    {
        if (out.size() > context.lastRequest.size())
        {
            return LIBSPDM_STATUS_BUFFER_TOO_SMALL;
        }
        std::ranges::copy(out, context.lastRequest.begin());
        context.lastRequestSize = out.size();
    }
    libspdm_return_t status = transmit(out);
    releaseSender();
    return LIBSPDM_STATUS_IS_ERROR(status) ? status : acquireReceiver();
}

libspdm_return_t Exchange::transmit(Bytes out)
{
    size_t peerTransfer = context.connection.capability.dataTransferSize;
    size_t ownTransfer = context.local.senderDataTransferSize;
    if (!bothHave(context, SPDM_GET_CAPABILITIES_REQUEST_FLAGS_CHUNK_CAP,
                  SPDM_GET_CAPABILITIES_RESPONSE_FLAGS_CHUNK_CAP))
    {
        if (exceeds(out.size(), peerTransfer))
        {
            return LIBSPDM_STATUS_PEER_BUFFER_TOO_SMALL;
        }
        if (exceeds(out.size(), ownTransfer))
        {
            return LIBSPDM_STATUS_BUFFER_TOO_SMALL;
        }
    }
    if (exceeds(out.size(), context.connection.capability.maxMessageSize))
    {
        return LIBSPDM_STATUS_PEER_BUFFER_TOO_SMALL;
    }
    if (mayBeChunked(codeOf(out)) &&
        (exceeds(out.size(), peerTransfer) || exceeds(out.size(), ownTransfer)))
    {
        return sendLargeRequest(context, out, carried);
    }
    return sendMessage(context, messageRegion(context), out.size());
}

libspdm_return_t Exchange::acquireReceiver()
{
    void* buffer = nullptr;
    libspdm_return_t status = context.device.acquireReceiver(&context, &buffer);
    if (status == LIBSPDM_STATUS_SUCCESS)
    {
        receiver = buffer;
    }
    return status;
}

libspdm_return_t Exchange::receive()
{
    if (!carried.empty())
    {
        message = messageRegion(context).first(carried.size());
        std::ranges::copy(carried, message.begin());
        carried = {};
    }
    else
    {
        libspdm_return_t status =
            receiveMessage(context, messageRegion(context), message);
        if (LIBSPDM_STATUS_IS_ERROR(status))
        {
            return status;
        }
    }
    bool isLarge = codeOf(message) == SPDM_ERROR &&
                   param1Of(message) == SPDM_ERROR_CODE_LARGE_RESPONSE;
    return isLarge ? fetchLarge() : LIBSPDM_STATUS_SUCCESS;
}

libspdm_return_t Exchange::fetchLarge()
{
    Bytes large;
    libspdm_return_t status = getLargeResponse(context, message, large);
    if (LIBSPDM_STATUS_IS_ERROR(status))
    {
        return status;
    }
    // In the place of the ERROR; the region has room for the largest message
    // and the transport's head and tail.
    std::span<uint8_t> place = messageRegion(context);
    if (message.data() > place.data() &&
        message.data() < place.data() + context.device.headerSize)
    {
        place =
            place.subspan(static_cast<size_t>(message.data() - place.data()));
    }
    message = place.first(large.size());
    std::ranges::copy(large, message.begin());
    bool isShort =
        codeOf(message) == SPDM_VERSION || codeOf(message) == SPDM_CAPABILITIES;
    return isShort ? LIBSPDM_STATUS_INVALID_MSG_FIELD : LIBSPDM_STATUS_SUCCESS;
}

libspdm_return_t Exchange::expect(uint8_t responseCode, NotReady notReady)
{
    if (versionOf(message) != versionOf(request()))
    {
        return LIBSPDM_STATUS_INVALID_MSG_FIELD;
    }
    if (codeOf(message) == responseCode)
    {
        return LIBSPDM_STATUS_SUCCESS;
    }
    if (codeOf(message) != SPDM_ERROR)
    {
        return LIBSPDM_STATUS_INVALID_MSG_FIELD;
    }
    if (param1Of(message) == SPDM_ERROR_CODE_RESPONSE_NOT_READY)
    {
        if (notReady == NotReady::awaited)
        {
            return respondIfReady(responseCode);
        }
        if (notReady == NotReady::refused)
        {
            return LIBSPDM_STATUS_ERROR_PEER;
        }
    }
    return statusOfError(context, param1Of(message));
}

libspdm_return_t Exchange::run(uint8_t responseCode, NotReady notReady)
{
    libspdm_return_t status = send();
    if (!LIBSPDM_STATUS_IS_ERROR(status))
    {
        status = receive();
    }
    if (!LIBSPDM_STATUS_IS_ERROR(status))
    {
        status = expect(responseCode, notReady);
    }
    return status;
}

libspdm_return_t Exchange::respondIfReady(uint8_t responseCode)
{
    // Extended error data: exponent of the time, request code, token, and how
    // many of those times the response is kept.
    Reader reader(Bytes(message).subspan(headerSize));
    uint8_t exponent = reader.u8();
    uint8_t requestCode = reader.u8();
    uint8_t token = reader.u8();
    uint8_t multiplier = reader.u8();
    if (!reader.ok())
    {
        return LIBSPDM_STATUS_INVALID_MSG_SIZE;
    }
    if (requestCode != codeOf(request()) || multiplier <= 1 ||
        exponent > maxRdtExponent)
    {
        return LIBSPDM_STATUS_INVALID_MSG_FIELD;
    }
    sleepMicroseconds(uint64_t{1} << exponent);
    return askAgain(token, responseCode);
}

libspdm_return_t Exchange::askAgain(uint8_t token, uint8_t responseCode)
{
    releaseReceiver();
    libspdm_return_t status = open();
    if (LIBSPDM_STATUS_IS_ERROR(status))
    {
        return status;
    }
    context.cryptoRequest = true;
    requestWriter.header(versionOf(context), SPDM_RESPOND_IF_READY,
                         codeOf(request()), token);
    status = send();
    if (!LIBSPDM_STATUS_IS_ERROR(status))
    {
        status = receive();
    }
    if (!LIBSPDM_STATUS_IS_ERROR(status))
    {
        status = expect(responseCode, NotReady::reported);
    }
    return status;
}

void Exchange::releaseSender()
{
    if (sender != nullptr)
    {
        context.device.releaseSender(&context, sender);
        sender = nullptr;
    }
}

void Exchange::releaseReceiver()
{
    if (receiver != nullptr)
    {
        context.device.releaseReceiver(&context, receiver);
        receiver = nullptr;
    }
}

} // namespace spdm
