#include "exchange.hpp"
#include "signature.hpp"
#include "tail.hpp"

namespace spdm
{

namespace
{

constexpr std::string_view purpose = "responder-measurements signing";

constexpr uint8_t totalNumber =
    SPDM_GET_MEASUREMENTS_REQUEST_MEASUREMENT_OPERATION_TOTAL_NUMBER_OF_MEASUREMENTS;
constexpr uint8_t allBlocks =
    SPDM_GET_MEASUREMENTS_REQUEST_MEASUREMENT_OPERATION_ALL_MEASUREMENTS;
/** Number and index that no block has. */
constexpr uint8_t none = 0xFF;

/** Fields before the record: header, number of blocks, record length. */
constexpr size_t measurementsHead = 8;

/** What the caller asks for and where the answers go. */
struct Query
{
    uint8_t attributes;
    uint8_t operation;
    uint8_t slot;
    uint8_t* contentChanged;
    uint8_t* blockCount;
    uint32_t* recordLength;
    void* record;
    Extras extras;

    bool isSigned() const
    {
        return (attributes &
                SPDM_GET_MEASUREMENTS_REQUEST_ATTRIBUTES_GENERATE_SIGNATURE) !=
               0;
    }
};

bool write(Exchange& exchange, const Context& context, const Query& query)
{
    uint8_t version = versionOf(context);
    Writer& writer = exchange.writer();
    writer.header(version, SPDM_GET_MEASUREMENTS, query.attributes,
                  query.operation);
    if (query.isSigned())
    {
        if (!writeNonce(writer, query.extras.requesterNonceIn,
                        query.extras.requesterNonce))
        {
            return false;
        }
        if (version >= SPDM_MESSAGE_VERSION_11)
        {
            writer.u8(query.slot);
        }
    }
    else if (query.extras.requesterNonce != nullptr)
    {
        std::memset(query.extras.requesterNonce, 0, SPDM_NONCE_SIZE);
    }
    if (version >= SPDM_MESSAGE_VERSION_13)
    {
        writeRequesterContext(writer, query.extras.requesterContext);
    }
    return true;
}

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

libspdm_return_t readRecord(const Query& query, Reader& reader, Bytes& record,
                            uint8_t& blocks)
{
    blocks = reader.u8();
    uint32_t length = reader.u24();
    if (!reader.ok())
    {
        return LIBSPDM_STATUS_INVALID_MSG_SIZE;
    }
    if (!isCountValid(query.operation, blocks) ||
        (query.operation == totalNumber && length != 0))
    {
        return LIBSPDM_STATUS_INVALID_MSG_FIELD;
    }
    record = reader.take(length);
    size_t least = sizeof(uint16_t) + (query.isSigned() ? SPDM_NONCE_SIZE : 0);
    return reader.ok() && reader.left() >= least
             ? LIBSPDM_STATUS_SUCCESS
             : LIBSPDM_STATUS_INVALID_MSG_SIZE;
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

libspdm_return_t accept(Context& context, const Query& query, Bytes request,
                        Bytes response)
{
    Reader reader(response.subspan(headerSize));
    Bytes record;
    uint8_t blocks = 0;
    libspdm_return_t status = readRecord(query, reader, record, blocks);
    if (status != LIBSPDM_STATUS_SUCCESS)
    {
        return status;
    }
    if (!isSlotValid(context, query, response))
    {
        return LIBSPDM_STATUS_INVALID_MSG_FIELD;
    }
    readNonce(reader, query.extras);
    Bytes signature;
    Bytes returned;
    status = readTail(
        context, reader,
        {.signatureSize = query.isSigned() ? signatureSize(context) : 0,
         .needsFormat = query.isSigned()},
        query.extras, signature, returned);
    if (status == LIBSPDM_STATUS_SUCCESS &&
        !isContextReturned(context, request, returned))
    {
        status = LIBSPDM_STATUS_INVALID_MSG_FIELD;
    }
    if (status == LIBSPDM_STATUS_SUCCESS)
    {
        status = checkChange(context, query, response);
    }
    size_t covered = response.size() - reader.left() - signature.size();
    if (status == LIBSPDM_STATUS_SUCCESS)
    {
        status =
            cover(context, query, request, response.first(covered), signature);
    }
    if (status != LIBSPDM_STATUS_SUCCESS)
    {
        return status;
    }
    handOverChange(context, query, response);
    return query.operation == totalNumber
             ? handOverCount(query, param1Of(response))
             : handOverRecord(context, query, record, blocks);
}

libspdm_return_t receive(Context& context, const Query& query,
                         Exchange& exchange)
{
    libspdm_return_t status = exchange.receive();
    if (!LIBSPDM_STATUS_IS_ERROR(status))
    {
        status = exchange.expect(SPDM_MEASUREMENTS, NotReady::awaited);
    }
    if (!LIBSPDM_STATUS_IS_ERROR(status))
    {
        status =
            accept(context, query, exchange.request(), exchange.response());
    }
    // After a failure the two sides no longer agree on what was said.
    if (status != LIBSPDM_STATUS_SUCCESS &&
        status != LIBSPDM_STATUS_NOT_READY_PEER)
    {
        context.measurements.reset();
    }
    return status;
}

libspdm_return_t run(Context& context, const Query& query)
{
    if (!peerHas(context, SPDM_GET_CAPABILITIES_RESPONSE_FLAGS_MEAS_CAP))
    {
        return LIBSPDM_STATUS_UNSUPPORTED_CAP;
    }
    if (context.connection.state < LIBSPDM_CONNECTION_STATE_NEGOTIATED)
    {
        return LIBSPDM_STATUS_INVALID_STATE_LOCAL;
    }
    if (query.isSigned() &&
        peerHas(context, SPDM_GET_CAPABILITIES_RESPONSE_FLAGS_MEAS_CAP_NO_SIG))
    {
        return LIBSPDM_STATUS_INVALID_PARAMETER;
    }
    // A challenge that never came is not going to cover what was said.
    if (context.connection.state < LIBSPDM_CONNECTION_STATE_AUTHENTICATED)
    {
        context.challenge.reset();
    }
    Exchange exchange(context);
    libspdm_return_t status = exchange.open();
    if (LIBSPDM_STATUS_IS_ERROR(status))
    {
        return status;
    }
    if (!write(exchange, context, query))
    {
        return LIBSPDM_STATUS_LOW_ENTROPY;
    }
    status = exchange.send();
    return LIBSPDM_STATUS_IS_ERROR(status) ? status
                                           : receive(context, query, exchange);
}

} // namespace

} // namespace spdm

libspdm_return_t libspdm_get_measurement_ex2(
    void* spdm_context, const uint32_t* session_id, uint8_t request_attribute,
    uint8_t measurement_operation, uint8_t slot_id,
    const void* requester_context, uint8_t* content_changed,
    uint8_t* number_of_blocks, uint32_t* measurement_record_length,
    void* measurement_record, const void* requester_nonce_in,
    void* requester_nonce, void* responder_nonce, void* opaque_data,
    size_t* opaque_data_size)
{
    spdm::Context& context = *static_cast<spdm::Context*>(spdm_context);
    context.cryptoRequest = true;
    if (session_id != nullptr)
    {
        return LIBSPDM_STATUS_INVALID_STATE_LOCAL;
    }
    if (slot_id >= SPDM_MAX_SLOT_COUNT || number_of_blocks == nullptr ||
        (measurement_operation != spdm::totalNumber &&
         (measurement_record_length == nullptr ||
          measurement_record == nullptr)))
    {
        return LIBSPDM_STATUS_INVALID_PARAMETER;
    }
    spdm::Query query{.attributes = request_attribute,
                      .operation = measurement_operation,
                      .slot = slot_id,
                      .contentChanged = content_changed,
                      .blockCount = number_of_blocks,
                      .recordLength = measurement_record_length,
                      .record = measurement_record,
                      .extras = {requester_context, requester_nonce_in,
                                 requester_nonce, responder_nonce, opaque_data,
                                 opaque_data_size}};
    return spdm::retryWhileBusy(context,
                                [&] { return spdm::run(context, query); });
}
