// SPDX-License-Identifier: Apache-2.0
#include "measurements.hpp"
#include "signature.hpp"

#include <string_view>

namespace spdm
{

namespace
{

using Query = MeasurementQuery;

/** What a response holds. */
struct Parts
{
    uint8_t blocks{0};
    Bytes record;
    Bytes signature;
    Bytes requesterContext;
    /** All of the message before the signature. */
    Bytes covered;
};

constexpr std::string_view purpose = "responder-measurements signing";

constexpr uint8_t allBlocks =
    SPDM_GET_MEASUREMENTS_REQUEST_MEASUREMENT_OPERATION_ALL_MEASUREMENTS;
/** Number and index that no block has. */
constexpr uint8_t none = 0xFF;

/** Number of blocks that goes with what was asked for. */
bool isCountValid(uint8_t operation, uint8_t blocks)
{
    switch (operation)
    {
        case totalNumber:
            return blocks == 0;
        case allBlocks:
            return blocks != 0 && blocks != none;
        default:
            return blocks == 1;
    }
}

/** One block: index, specification, size, value. */
bool isBlockValid(const Context& context, const Query& query, Reader& reader)
{
    uint8_t index = reader.u8();
    uint8_t specification = reader.u8();
    reader.skip(reader.u16());
    bool asked = query.operation == allBlocks || query.operation == index;
    return reader.ok() && asked && index != 0 && index != none &&
           specification != 0 && atMostOneBit(specification) &&
           specification == context.connection.algorithms.measurementSpec;
}

/** The blocks fill the record and are not more than it says. */
bool isRecordValid(const Context& context, const Query& query, Bytes record,
                   size_t blocks)
{
    Reader reader(record);
    size_t seen = 0;
    while (reader.left() > 0)
    {
        ++seen;
        if (!isBlockValid(context, query, reader) || seen > blocks)
        {
            return false;
        }
    }
    return seen != 0;
}

libspdm_return_t handOverCount(const Query& query, uint8_t total)
{
    *query.blockCount = total;
    // A peer without any block has no such capability, and none of its blocks
    // can be asked for by the number 255.
    return total == 0 || total == none ? LIBSPDM_STATUS_INVALID_MSG_FIELD
                                       : LIBSPDM_STATUS_SUCCESS;
}

libspdm_return_t handOverRecord(const Context& context, const Query& query,
                                Bytes record, uint8_t blocks)
{
    *query.blockCount = blocks;
    if (*query.recordLength < record.size())
    {
        return LIBSPDM_STATUS_BUFFER_TOO_SMALL;
    }
    if (!isRecordValid(context, query, record, blocks))
    {
        return LIBSPDM_STATUS_INVALID_MSG_FIELD;
    }
    *query.recordLength = static_cast<uint32_t>(record.size());
    std::memcpy(query.record, record.data(), record.size());
    return LIBSPDM_STATUS_SUCCESS;
}

/** A signature says whether the content changed since an earlier one; nothing
 * else does, and only from 1.2 on. */
libspdm_return_t checkChange(const Context& context, const Query& query,
                             Bytes response)
{
    uint8_t change =
        param2Of(response) & SPDM_MEASUREMENTS_RESPONSE_CONTENT_CHANGE_MASK;
    bool mayBeSet =
        query.isSigned() || versionOf(context) < SPDM_MESSAGE_VERSION_12;
    return mayBeSet || change == 0 ? LIBSPDM_STATUS_SUCCESS
                                   : LIBSPDM_STATUS_INVALID_MSG_FIELD;
}

void handOverChange(const Context& context, const Query& query, Bytes response)
{
    bool isSaid =
        query.isSigned() && versionOf(context) >= SPDM_MESSAGE_VERSION_12;
    if (query.contentChanged != nullptr)
    {
        *query.contentChanged =
            isSaid ? param2Of(response) &
                         SPDM_MEASUREMENTS_RESPONSE_CONTENT_CHANGE_MASK
                   : 0;
    }
}

bool isSlotValid(const Context& context, const Query& query, Bytes response)
{
    uint8_t slot = param2Of(response) & SPDM_MEASUREMENTS_RESPONSE_SLOT_ID_MASK;
    return !query.isSigned() || versionOf(context) < SPDM_MESSAGE_VERSION_11 ||
           slot == query.slot;
}

libspdm_return_t readRecord(const Query& query, Reader& reader, Parts& parts)
{
    parts.blocks = reader.u8();
    uint32_t length = reader.u24();
    if (!reader.ok())
    {
        return LIBSPDM_STATUS_INVALID_MSG_SIZE;
    }
    if (!isCountValid(query.operation, parts.blocks) ||
        (query.operation == totalNumber && length != 0))
    {
        return LIBSPDM_STATUS_INVALID_MSG_FIELD;
    }
    parts.record = reader.take(length);
    size_t least = sizeof(uint16_t) + (query.isSigned() ? SPDM_NONCE_SIZE : 0);
    return reader.ok() && reader.left() >= least
             ? LIBSPDM_STATUS_SUCCESS
             : LIBSPDM_STATUS_INVALID_MSG_SIZE;
}

libspdm_return_t read(const Context& context, const Query& query,
                      Bytes response, Parts& parts)
{
    Reader reader(response.subspan(headerSize));
    libspdm_return_t status = readRecord(query, reader, parts);
    if (status != LIBSPDM_STATUS_SUCCESS)
    {
        return status;
    }
    if (!isSlotValid(context, query, response))
    {
        return LIBSPDM_STATUS_INVALID_MSG_FIELD;
    }
    readNonce(reader, query.extras);
    status = readTail(
        context, reader,
        {.signatureSize = query.isSigned() ? signatureSize(context) : 0,
         .needsFormat = query.isSigned()},
        query.extras, parts.signature, parts.requesterContext);
    parts.covered = response.first(response.size() - reader.left() -
                                   parts.signature.size());
    return status;
}

/** Adds both messages to the transcript, and ends it with a signature. */
libspdm_return_t cover(Context& context, const Query& query, Bytes request,
                       Bytes response, Bytes signature)
{
    if (!addToMeasurements(context, request) ||
        !addToMeasurements(context, response))
    {
        return LIBSPDM_STATUS_CRYPTO_ERROR;
    }
    return !query.isSigned() ||
                   verifySignature(context, query.slot, context.measurements,
                                   purpose, signature)
             ? LIBSPDM_STATUS_SUCCESS
             : LIBSPDM_STATUS_VERIF_FAIL;
}

} // namespace

libspdm_return_t acceptMeasurements(Context& context, const Query& query,
                                    Bytes request, Bytes response)
{
    Parts parts;
    libspdm_return_t status = read(context, query, response, parts);
    if (status == LIBSPDM_STATUS_SUCCESS &&
        !isContextReturned(context, request, parts.requesterContext))
    {
        status = LIBSPDM_STATUS_INVALID_MSG_FIELD;
    }
    if (status == LIBSPDM_STATUS_SUCCESS)
    {
        status = checkChange(context, query, response);
    }
    if (status == LIBSPDM_STATUS_SUCCESS)
    {
        status = cover(context, query, request, parts.covered, parts.signature);
    }
    if (status != LIBSPDM_STATUS_SUCCESS)
    {
        return status;
    }
    handOverChange(context, query, response);
    return query.operation == totalNumber
             ? handOverCount(query, param1Of(response))
             : handOverRecord(context, query, parts.record, parts.blocks);
}

} // namespace spdm
