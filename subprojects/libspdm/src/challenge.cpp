// SPDX-License-Identifier: Apache-2.0
#include "exchange.hpp"
#include "signature.hpp"
#include "tail.hpp"

namespace spdm
{

namespace
{

constexpr std::string_view purpose = "responder-challenge_auth signing";

/** What the caller asks for and where the answers go. */
struct Challenge
{
    uint8_t slot;
    uint8_t summaryType;
    void* summary;
    uint8_t* slotMask;
    Extras extras;
};

/** Bytes of the summary hash over measurements. */
size_t summarySize(const Context& context, uint8_t type)
{
    bool asked = type == SPDM_REQUEST_TCB_COMPONENT_MEASUREMENT_HASH ||
                 type == SPDM_REQUEST_ALL_MEASUREMENTS_HASH;
    return asked && peerHas(context,
                            SPDM_GET_CAPABILITIES_RESPONSE_FLAGS_MEAS_CAP)
             ? hashSize(context)
             : 0;
}

bool write(Exchange& exchange, const Context& context,
           const Challenge& challenge)
{
    Writer& writer = exchange.writer();
    writer.header(versionOf(context), SPDM_CHALLENGE, challenge.slot,
                  challenge.summaryType);
    if (!writeNonce(writer, challenge.extras.requesterNonceIn,
                    challenge.extras.requesterNonce))
    {
        return false;
    }
    if (versionOf(context) >= SPDM_MESSAGE_VERSION_13)
    {
        writeRequesterContext(writer, challenge.extras.requesterContext);
    }
    return true;
}

/** The attributes are the slot alone in 1.0; later it takes four bits and the
 * highest asks for basic mutual authentication. */
libspdm_return_t checkAttributes(const Context& context,
                                 const Challenge& challenge, Bytes response)
{
    uint8_t attributes = param1Of(response);
    uint8_t slot =
        versionOf(context) >= SPDM_MESSAGE_VERSION_11
            ? attributes & SPDM_CHALLENGE_AUTH_RESPONSE_ATTRIBUTE_SLOT_ID_MASK
            : attributes;
    bool provisioned = (param2Of(response) >> challenge.slot & 1) != 0;
    if (slot != challenge.slot || !provisioned)
    {
        return LIBSPDM_STATUS_INVALID_MSG_FIELD;
    }
    if ((attributes &
         SPDM_CHALLENGE_AUTH_RESPONSE_ATTRIBUTE_BASIC_MUT_AUTH_REQ) == 0)
    {
        return LIBSPDM_STATUS_SUCCESS;
    }
    // Not spoken here; without the capability the peer must not ask for it.
    return bothHave(context, SPDM_GET_CAPABILITIES_REQUEST_FLAGS_MUT_AUTH_CAP,
                    SPDM_GET_CAPABILITIES_RESPONSE_FLAGS_MUT_AUTH_CAP)
             ? LIBSPDM_STATUS_UNSUPPORTED_CAP
             : LIBSPDM_STATUS_INVALID_MSG_FIELD;
}

bool isChainHash(const Context& context, uint8_t slot, Bytes hash)
{
    const PeerChain& chain = context.peer.chains[slot];
    return equal(Bytes(chain.hash).first(chain.hashSize), hash);
}

/** Adds both messages to the transcript and checks the signature over it. */
libspdm_return_t authenticate(Context& context, uint8_t slot, Bytes request,
                              Bytes response, Bytes signature)
{
    if (!addToChallenge(context, request) || !addToChallenge(context, response))
    {
        return LIBSPDM_STATUS_CRYPTO_ERROR;
    }
    return verifySignature(context, slot, context.challenge, purpose, signature)
             ? LIBSPDM_STATUS_SUCCESS
             : LIBSPDM_STATUS_VERIF_FAIL;
}

void handOver(const Challenge& challenge, Bytes summary, uint8_t slotMask)
{
    if (challenge.summary != nullptr && !summary.empty())
    {
        std::memcpy(challenge.summary, summary.data(), summary.size());
    }
    if (challenge.slotMask != nullptr)
    {
        *challenge.slotMask = slotMask;
    }
}

libspdm_return_t accept(Context& context, const Challenge& challenge,
                        Bytes request, Bytes response)
{
    libspdm_return_t status = checkAttributes(context, challenge, response);
    if (status != LIBSPDM_STATUS_SUCCESS)
    {
        return status;
    }
    Reader reader(response.subspan(headerSize));
    size_t size = summarySize(context, challenge.summaryType);
    if (reader.left() <=
        hashSize(context) + SPDM_NONCE_SIZE + size + sizeof(uint16_t))
    {
        return LIBSPDM_STATUS_INVALID_MSG_SIZE;
    }
    if (!isChainHash(context, challenge.slot, reader.take(hashSize(context))))
    {
        return LIBSPDM_STATUS_VERIF_FAIL;
    }
    readNonce(reader, challenge.extras);
    Bytes summary = reader.take(size);
    Bytes signature;
    Bytes returned;
    status =
        readTail(context, reader,
                 {.signatureSize = signatureSize(context), .needsFormat = true},
                 challenge.extras, signature, returned);
    if (status != LIBSPDM_STATUS_SUCCESS)
    {
        return status;
    }
    if (!isContextReturned(context, request, returned))
    {
        context.challenge.reset();
        return LIBSPDM_STATUS_INVALID_MSG_FIELD;
    }
    size_t covered = response.size() - reader.left() - signature.size();
    status = authenticate(context, challenge.slot, request,
                          response.first(covered), signature);
    if (status == LIBSPDM_STATUS_SUCCESS)
    {
        handOver(challenge, summary, param2Of(response));
        context.connection.state = LIBSPDM_CONNECTION_STATE_AUTHENTICATED;
    }
    return status;
}

libspdm_return_t run(Context& context, const Challenge& challenge)
{
    if (!peerHas(context, SPDM_GET_CAPABILITIES_RESPONSE_FLAGS_CHAL_CAP))
    {
        return LIBSPDM_STATUS_UNSUPPORTED_CAP;
    }
    if (context.connection.state < LIBSPDM_CONNECTION_STATE_NEGOTIATED)
    {
        return LIBSPDM_STATUS_INVALID_STATE_LOCAL;
    }
    context.measurements.reset();
    Exchange exchange(context);
    libspdm_return_t status = exchange.open();
    if (LIBSPDM_STATUS_IS_ERROR(status))
    {
        return status;
    }
    if (!write(exchange, context, challenge))
    {
        return LIBSPDM_STATUS_LOW_ENTROPY;
    }
    status = exchange.run(SPDM_CHALLENGE_AUTH, NotReady::awaited);
    return LIBSPDM_STATUS_IS_ERROR(status)
             ? status
             : accept(context, challenge, exchange.request(),
                      exchange.response());
}

} // namespace

} // namespace spdm

libspdm_return_t
libspdm_challenge_ex2(void* spdm_context, void* /*reserved*/, uint8_t slot_id,
                      const void* requester_context,
                      uint8_t measurement_hash_type, void* measurement_hash,
                      uint8_t* slot_mask, const void* requester_nonce_in,
                      void* requester_nonce, void* responder_nonce,
                      void* opaque_data, size_t* opaque_data_size)
{
    spdm::Context& context = *static_cast<spdm::Context*>(spdm_context);
    context.cryptoRequest = true;
    if (slot_id >= SPDM_MAX_SLOT_COUNT)
    {
        return LIBSPDM_STATUS_INVALID_PARAMETER;
    }
    spdm::Challenge challenge{.slot = slot_id,
                              .summaryType = measurement_hash_type,
                              .summary = measurement_hash,
                              .slotMask = slot_mask,
                              .extras = {requester_context, requester_nonce_in,
                                         requester_nonce, responder_nonce,
                                         opaque_data, opaque_data_size}};
    return spdm::run(context, challenge);
}
