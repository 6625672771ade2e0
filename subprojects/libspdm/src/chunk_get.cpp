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
/** The first chunk is preceded by the size of the whole message. */
constexpr size_t largeSizeField = 4;

constexpr size_t minTransfer = SPDM_MIN_DATA_TRANSFER_SIZE_VERSION_12;

/** A response that is put together. */
struct Assembly
{
    std::span<uint8_t> area;
    size_t expected{0};
    size_t used{0};
    uint16_t next{0};

    bool complete() const
    {
        return used >= expected;
    }
};

libspdm_return_t requestChunk(Context& context, uint8_t handle,
                              uint16_t sequence, std::span<uint8_t>& response)
{
    std::span<uint8_t> region = chunkRegion(context);
    Writer writer(payloadOf(context, region));
    writer.header(versionOf(context), SPDM_CHUNK_GET, 0, handle);
    writer.u16(sequence);
    libspdm_return_t status = sendMessage(context, region, writer.size());
    if (LIBSPDM_STATUS_IS_ERROR(status))
    {
        return status;
    }
    std::ranges::fill(region, uint8_t{0});
    return receiveMessage(context, region, response);
}

/** The checks on a CHUNK_RESPONSE that come before its fields. */
libspdm_return_t checkHeader(Context& context, Bytes response)
{
    if (versionOf(response) != versionOf(context))
    {
        return LIBSPDM_STATUS_INVALID_MSG_FIELD;
    }
    if (codeOf(response) == SPDM_ERROR)
    {
        return statusOfError(context, param1Of(response));
    }
    return codeOf(response) == SPDM_CHUNK_RESPONSE
             ? LIBSPDM_STATUS_SUCCESS
             : LIBSPDM_STATUS_INVALID_MSG_FIELD;
}

/** Takes the size of the whole message from the first chunk. */
libspdm_return_t begin(const Context& context, Assembly& assembly,
                       Bytes response)
{
    Reader reader(response);
    reader.skip(chunkHead - sizeof(uint32_t));
    uint32_t chunkSize = reader.u32();
    uint32_t expected = reader.u32();
    if (response.size() < minTransfer ||
        chunkSize < minTransfer - chunkHead - largeSizeField)
    {
        return LIBSPDM_STATUS_INVALID_MSG_SIZE;
    }
    if (chunkSize > expected || expected <= minTransfer ||
        expected > context.local.capability.maxMessageSize)
    {
        return LIBSPDM_STATUS_INVALID_MSG_FIELD;
    }
    assembly.expected = expected;
    return LIBSPDM_STATUS_SUCCESS;
}

/** Checks that a later chunk fits what is still expected. Only the last one
 * may be shorter than a peer's smallest message. */
libspdm_return_t checkNext(const Assembly& assembly, Bytes response)
{
    Reader reader(response);
    reader.skip(chunkHead - sizeof(uint32_t));
    uint32_t chunkSize = reader.u32();
    bool last = (param1Of(response) &
                 SPDM_CHUNK_GET_RESPONSE_ATTRIBUTE_LAST_CHUNK) != 0;
    if (!reader.ok() || chunkSize > assembly.expected - assembly.used)
    {
        return LIBSPDM_STATUS_INVALID_MSG_SIZE;
    }
    if (!last &&
        (response.size() < minTransfer || chunkSize < minTransfer - chunkHead))
    {
        return LIBSPDM_STATUS_INVALID_MSG_SIZE;
    }
    return LIBSPDM_STATUS_SUCCESS;
}

libspdm_return_t take(const Context& context, Assembly& assembly,
                      Bytes response)
{
    bool first = assembly.next == 0;
    libspdm_return_t status = first ? begin(context, assembly, response)
                                    : checkNext(assembly, response);
    if (LIBSPDM_STATUS_IS_ERROR(status))
    {
        return status;
    }
    Reader reader(response.subspan(headerSize));
    uint16_t sequence = reader.u16();
    reader.skip(sizeof(uint16_t));
    uint32_t chunkSize = reader.u32();
    reader.skip(first ? largeSizeField : 0);
    if (sequence != assembly.next)
    {
        return LIBSPDM_STATUS_INVALID_MSG_FIELD;
    }
    Bytes chunk = reader.take(chunkSize);
    if (!reader.ok() || chunk.size() > assembly.area.size() - assembly.used)
    {
        return LIBSPDM_STATUS_INVALID_MSG_SIZE;
    }
    std::ranges::copy(chunk, assembly.area.subspan(assembly.used).begin());
    assembly.used += chunk.size();
    ++assembly.next;
    return LIBSPDM_STATUS_SUCCESS;
}

} // namespace

libspdm_return_t getLargeResponse(Context& context, Bytes error, Bytes& large)
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
    if (error.size() <= headerSize)
    {
        return LIBSPDM_STATUS_INVALID_MSG_SIZE;
    }
    uint8_t handle = error[headerSize];
    Assembly assembly{.area = largeRegion(context)};
    bool last = false;
    do
    {
        std::span<uint8_t> response;
        libspdm_return_t status =
            requestChunk(context, handle, assembly.next, response);
        if (!LIBSPDM_STATUS_IS_ERROR(status))
        {
            status = checkHeader(context, response);
        }
        if (!LIBSPDM_STATUS_IS_ERROR(status))
        {
            status = take(context, assembly, response);
        }
        if (LIBSPDM_STATUS_IS_ERROR(status))
        {
            return status;
        }
        last = (param1Of(response) &
                SPDM_CHUNK_GET_RESPONSE_ATTRIBUTE_LAST_CHUNK) != 0;
    } while (!assembly.complete() && !last);
    if (assembly.used != assembly.expected)
    {
        return LIBSPDM_STATUS_INVALID_MSG_FIELD;
    }
    large = assembly.area.first(assembly.used);
    return LIBSPDM_STATUS_SUCCESS;
}

} // namespace spdm
