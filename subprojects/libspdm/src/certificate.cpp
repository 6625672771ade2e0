// SPDX-License-Identifier: Apache-2.0
#include "chain.hpp"
#include "exchange.hpp"

#include <algorithm>

namespace spdm
{

namespace
{

/** Fields before a portion: header, its length, the length that remains. */
constexpr size_t certificateHead = 8;

/** A chain that is read block by block into the caller's buffer. */
struct Reading
{
    uint8_t slot;
    std::span<uint8_t> buffer;
    size_t offset{0};
    uint16_t remainder{0};
    size_t total{0};
};

/** Portion of a CERTIFICATE response. */
struct Portion
{
    uint16_t requested;
    uint16_t length;
    uint16_t remainder;
};

uint16_t blockLength(const Reading& reading)
{
    uint16_t block = LIBSPDM_MAX_CERT_CHAIN_BLOCK_LEN;
    return reading.offset == 0 ? block : std::min(block, reading.remainder);
}

/** From 1.3 on the response says which model the slot's certificate is of;
 * with several keys it has one, which DIGESTS said too. */
bool isModelValid(Context& context, uint8_t slot, uint8_t model)
{
    if (!context.connection.multiKey)
    {
        if (model != SPDM_CERTIFICATE_INFO_CERT_MODEL_NONE)
        {
            return false;
        }
    }
    else if (model == SPDM_CERTIFICATE_INFO_CERT_MODEL_NONE ||
             model > SPDM_CERTIFICATE_INFO_CERT_MODEL_GENERIC_CERT ||
             (slot == 0 &&
              model == SPDM_CERTIFICATE_INFO_CERT_MODEL_GENERIC_CERT))
    {
        return false;
    }
    uint8_t& known = context.peer.slots[slot].certInfo;
    if (known == SPDM_CERTIFICATE_INFO_CERT_MODEL_NONE)
    {
        known = model;
    }
    return known == model;
}

/** Offsets and lengths are 16 bits; all portions add up to the same total. */
bool isPortionValid(const Reading& reading, const Portion& portion)
{
    size_t end = reading.offset + portion.length + portion.remainder;
    return end <= UINT16_MAX && (reading.offset == 0 || end == reading.total);
}

libspdm_return_t check(Context& context, const Reading& reading,
                       const Portion& portion, Bytes response)
{
    uint8_t slot = param1Of(response) & SPDM_CERTIFICATE_RESPONSE_SLOT_ID_MASK;
    uint8_t model = param2Of(response) &
                    SPDM_CERTIFICATE_RESPONSE_ATTRIBUTES_CERTIFICATE_INFO_MASK;
    if (portion.length == 0 || portion.length > portion.requested ||
        slot != reading.slot)
    {
        return LIBSPDM_STATUS_INVALID_MSG_FIELD;
    }
    if (versionOf(context) >= SPDM_MESSAGE_VERSION_13 &&
        !isModelValid(context, slot, model))
    {
        return LIBSPDM_STATUS_INVALID_MSG_FIELD;
    }
    if (response.size() < certificateHead + portion.length)
    {
        return LIBSPDM_STATUS_INVALID_MSG_SIZE;
    }
    return isPortionValid(reading, portion) ? LIBSPDM_STATUS_SUCCESS
                                            : LIBSPDM_STATUS_INVALID_MSG_FIELD;
}

libspdm_return_t take(Context& context, Reading& reading, uint16_t requested,
                      const Exchange& exchange)
{
    Bytes response = exchange.response();
    if (response.size() < certificateHead)
    {
        return LIBSPDM_STATUS_INVALID_MSG_SIZE;
    }
    Reader reader(response.subspan(headerSize));
    Portion portion{.requested = requested,
                    .length = reader.u16(),
                    .remainder = reader.u16()};
    libspdm_return_t status = check(context, reading, portion, response);
    if (status != LIBSPDM_STATUS_SUCCESS)
    {
        return status;
    }
    response = response.first(certificateHead + portion.length);
    if (!addToChallenge(context, exchange.request()) ||
        !addToChallenge(context, response))
    {
        return LIBSPDM_STATUS_CRYPTO_ERROR;
    }
    if (portion.length > reading.buffer.size() - reading.offset)
    {
        return LIBSPDM_STATUS_BUFFER_FULL;
    }
    std::ranges::copy(response.subspan(certificateHead),
                      reading.buffer.subspan(reading.offset).begin());
    reading.total = reading.offset + portion.length + portion.remainder;
    reading.offset += portion.length;
    reading.remainder = portion.remainder;
    context.connection.state = std::max(
        context.connection.state, LIBSPDM_CONNECTION_STATE_AFTER_CERTIFICATE);
    return LIBSPDM_STATUS_SUCCESS;
}

libspdm_return_t readBlock(Context& context, Reading& reading)
{
    Exchange exchange(context);
    libspdm_return_t status = exchange.open();
    if (LIBSPDM_STATUS_IS_ERROR(status))
    {
        return status;
    }
    uint16_t length = blockLength(reading);
    Writer& writer = exchange.writer();
    writer.header(versionOf(context), SPDM_GET_CERTIFICATE, reading.slot, 0);
    writer.u16(static_cast<uint16_t>(reading.offset));
    writer.u16(length);
    // Whatever went wrong underneath is told as one of these two.
    if (LIBSPDM_STATUS_IS_ERROR(exchange.send()))
    {
        return LIBSPDM_STATUS_SEND_FAIL;
    }
    if (LIBSPDM_STATUS_IS_ERROR(exchange.receive()))
    {
        return LIBSPDM_STATUS_RECEIVE_FAIL;
    }
    status = exchange.expect(SPDM_CERTIFICATE, NotReady::awaited);
    return LIBSPDM_STATUS_IS_ERROR(status)
             ? status
             : take(context, reading, length, exchange);
}

/** The program's verdict, or that of the two checks. */
libspdm_return_t verify(Context& context, uint8_t slot, Bytes chain)
{
    if (context.device.verifyChain != nullptr)
    {
        return context.device.verifyChain(&context, slot, chain.size(),
                                          chain.data(), nullptr, nullptr)
                 ? LIBSPDM_STATUS_SUCCESS
                 : LIBSPDM_STATUS_VERIF_FAIL;
    }
    if (!libspdm_verify_peer_cert_chain_buffer_integrity(&context, chain.data(),
                                                         chain.size()))
    {
        return LIBSPDM_STATUS_VERIF_FAIL;
    }
    return libspdm_verify_peer_cert_chain_buffer_authority(
               &context, chain.data(), chain.size(), nullptr, nullptr)
             ? LIBSPDM_STATUS_SUCCESS
             : LIBSPDM_STATUS_VERIF_NO_AUTHORITY;
}

/** Keeps the chain's hash and its leaf's key for the signatures to come. */
libspdm_return_t keep(Context& context, uint8_t slot, Bytes chain)
{
    const Algorithms& selected = context.connection.algorithms;
    PeerChain& kept = context.peer.chains[slot];
    if (!libspdm_hash_all(selected.baseHash, chain.data(), chain.size(),
                          kept.hash.data()))
    {
        return LIBSPDM_STATUS_CRYPTO_ERROR;
    }
    kept.hashSize = hashSize(context);
    Bytes row = split(chain, hashSize(context)).certificates;
    CertificatePtr leaf = parse(certificateAt(row, -1));
    kept.leafKey = leaf ? keyOf(*leaf, selected.baseAsym) : KeyPtr{};
    return kept.leafKey ? LIBSPDM_STATUS_SUCCESS : LIBSPDM_STATUS_INVALID_CERT;
}

libspdm_return_t getCertificate(Context& context, uint8_t slot, size_t& size,
                                void* buffer)
{
    if (!peerHas(context, SPDM_GET_CAPABILITIES_RESPONSE_FLAGS_CERT_CAP))
    {
        return LIBSPDM_STATUS_UNSUPPORTED_CAP;
    }
    if (context.connection.state < LIBSPDM_CONNECTION_STATE_NEGOTIATED)
    {
        return LIBSPDM_STATUS_INVALID_STATE_LOCAL;
    }
    context.measurements.reset();
    Reading reading{.slot = slot,
                    .buffer = {static_cast<uint8_t*>(buffer), size}};
    do
    {
        libspdm_return_t status = readBlock(context, reading);
        if (LIBSPDM_STATUS_IS_ERROR(status))
        {
            return status;
        }
    } while (reading.remainder != 0);
    size = reading.offset;
    Bytes chain = reading.buffer.first(size);
    libspdm_return_t verdict = verify(context, slot, chain);
    if (LIBSPDM_STATUS_IS_ERROR(verdict))
    {
        return verdict;
    }
    libspdm_return_t status = keep(context, slot, chain);
    return LIBSPDM_STATUS_IS_ERROR(status) ? status : verdict;
}

} // namespace

} // namespace spdm

libspdm_return_t libspdm_get_certificate(void* spdm_context,
                                         const uint32_t* session_id,
                                         uint8_t slot_id,
                                         size_t* cert_chain_size,
                                         void* cert_chain)
{
    spdm::Context& context = *static_cast<spdm::Context*>(spdm_context);
    context.cryptoRequest = true;
    if (session_id != nullptr)
    {
        return LIBSPDM_STATUS_INVALID_STATE_LOCAL;
    }
    if (slot_id >= SPDM_MAX_SLOT_COUNT || cert_chain_size == nullptr ||
        cert_chain == nullptr)
    {
        return LIBSPDM_STATUS_INVALID_PARAMETER;
    }
    return spdm::getCertificate(context, slot_id, *cert_chain_size, cert_chain);
}
