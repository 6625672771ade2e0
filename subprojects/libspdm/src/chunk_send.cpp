// SPDX-License-Identifier: Apache-2.0
#include "chunk.hpp"
#include "link.hpp"
#include "scratch.hpp"

#include <algorithm>

namespace spdm
{

namespace
{

/** Fields before a chunk: header, sequence number, reserved, chunk size. */
constexpr size_t chunkHead = 12;
constexpr size_t largeSizeField = 4;
/** Fields of the acknowledgement: header and sequence number. */
constexpr size_t ackHead = 6;

/** Sends the chunk that begins at offset; its size is added to offset. */
libspdm_return_t sendChunk(Context& context, Bytes request, size_t transfer,
                           uint16_t sequence, size_t& offset)
{
    std::span<uint8_t> region = chunkRegion(context);
    size_t head = chunkHead + (sequence == 0 ? largeSizeField : 0);
    size_t size = std::min(transfer - head, request.size() - offset);
    bool last = offset + size >= request.size();
    Writer writer(payloadOf(context, region));
    writer.header(versionOf(context), SPDM_CHUNK_SEND,
                  last ? SPDM_CHUNK_SEND_REQUEST_ATTRIBUTE_LAST_CHUNK : 0,
                  context.chunkHandle);
    writer.u16(sequence);
    writer.u16(0);
    writer.u32(static_cast<uint32_t>(size));
    if (sequence == 0)
    {
        writer.u32(static_cast<uint32_t>(request.size()));
    }
    writer.bytes(request.subspan(offset, size));
    offset += size;
    return sendMessage(context, region, writer.size());
}

/** Keeps what an acknowledgement carries as the response. What does not fit is
 * no part of a message, but follows what arrived. */
libspdm_return_t keep(const Context& context, Bytes carried, Bytes& response)
{
    std::span<uint8_t> area = largeRegion(context);
    carried = carried.first(std::min(carried.size(), area.size()));
    std::ranges::copy(carried, area.begin());
    response = area.first(carried.size());
    return LIBSPDM_STATUS_SUCCESS;
}

/** An ERROR inside the acknowledgement ends the transfer. */
libspdm_return_t earlyError(const Context& context, Bytes ack, Bytes& response)
{
    Bytes error = ack.subspan(ackHead);
    if (error.size() < headerSize)
    {
        return LIBSPDM_STATUS_INVALID_MSG_SIZE;
    }
    if (versionOf(error) != versionOf(context) || codeOf(error) != SPDM_ERROR)
    {
        return LIBSPDM_STATUS_INVALID_MSG_FIELD;
    }
    if (param1Of(error) == SPDM_ERROR_CODE_LARGE_RESPONSE)
    {
        return LIBSPDM_STATUS_ERROR_PEER;
    }
    return keep(context, error, response);
}

/** Looks at an acknowledgement; response is set when the transfer is over. */
libspdm_return_t checkAck(const Context& context, Bytes ack, uint16_t sequence,
                          bool last, Bytes& response)
{
    if (versionOf(ack) != versionOf(context))
    {
        return LIBSPDM_STATUS_INVALID_MSG_FIELD;
    }
    if (codeOf(ack) == SPDM_ERROR &&
        param1Of(ack) == SPDM_ERROR_CODE_LARGE_RESPONSE)
    {
        // Acknowledgement and response together were too large. The program's
        // receive function has to say how long this message is.
        return ack.size() < largeRegion(context).size()
                 ? keep(context, ack, response)
                 : LIBSPDM_STATUS_INVALID_MSG_SIZE;
    }
    if (codeOf(ack) != SPDM_CHUNK_SEND_ACK)
    {
        return LIBSPDM_STATUS_INVALID_MSG_FIELD;
    }
    if (ack.size() < ackHead)
    {
        return LIBSPDM_STATUS_INVALID_MSG_SIZE;
    }
    if ((param1Of(ack) &
         SPDM_CHUNK_SEND_ACK_RESPONSE_ATTRIBUTE_EARLY_ERROR_DETECTED) != 0)
    {
        return earlyError(context, ack, response);
    }
    Reader reader(ack.subspan(headerSize));
    if (param2Of(ack) != context.chunkHandle || reader.u16() != sequence)
    {
        return LIBSPDM_STATUS_INVALID_MSG_FIELD;
    }
    return last ? keep(context, reader.remaining(), response)
                : LIBSPDM_STATUS_SUCCESS;
}

libspdm_return_t transfer(Context& context, Bytes request, Bytes& response)
{
    size_t size = std::min(context.connection.capability.dataTransferSize,
                           context.local.senderDataTransferSize);
    size_t offset = 0;
    for (uint16_t sequence = 0; response.empty(); ++sequence)
    {
        libspdm_return_t status =
            sendChunk(context, request, size, sequence, offset);
        std::span<uint8_t> ack;
        if (!LIBSPDM_STATUS_IS_ERROR(status))
        {
            std::ranges::fill(chunkRegion(context), uint8_t{0});
            status = receiveMessage(context, chunkRegion(context), ack);
        }
        if (!LIBSPDM_STATUS_IS_ERROR(status))
        {
            status = checkAck(context, ack, sequence, offset >= request.size(),
                              response);
        }
        if (LIBSPDM_STATUS_IS_ERROR(status))
        {
            return status;
        }
        if (offset >= request.size())
        {
            break;
        }
    }
    return response.size() < headerSize ? LIBSPDM_STATUS_INVALID_MSG_SIZE
                                        : LIBSPDM_STATUS_SUCCESS;
}

} // namespace

libspdm_return_t sendLargeRequest(Context& context, Bytes request,
                                  Bytes& response)
{
    if (versionOf(context) < SPDM_MESSAGE_VERSION_12)
    {
        return LIBSPDM_STATUS_UNSUPPORTED_CAP;
    }
    if (!bothHave(context, SPDM_GET_CAPABILITIES_REQUEST_FLAGS_CHUNK_CAP,
                  SPDM_GET_CAPABILITIES_RESPONSE_FLAGS_CHUNK_CAP))
    {
        return LIBSPDM_STATUS_ERROR_PEER;
    }
    response = {};
    libspdm_return_t status = transfer(context, request, response);
    ++context.chunkHandle;
    return status;
}

} // namespace spdm
