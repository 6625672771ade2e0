// SPDX-License-Identifier: Apache-2.0
#include "measurements.hpp"

#include "exchange.hpp"
#include "signature.hpp"

namespace spdm
{

namespace
{

using Query = MeasurementQuery;

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
        status = acceptMeasurements(context, query, exchange.request(),
                                    exchange.response());
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
    spdm::MeasurementQuery query{
        .attributes = request_attribute,
        .operation = measurement_operation,
        .slot = slot_id,
        .contentChanged = content_changed,
        .blockCount = number_of_blocks,
        .recordLength = measurement_record_length,
        .record = measurement_record,
        .extras = {requester_context, requester_nonce_in, requester_nonce,
                   responder_nonce, opaque_data, opaque_data_size}};
    return spdm::run(context, query);
}
