// SPDX-License-Identifier: Apache-2.0
#include "exchange.hpp"

#include <algorithm>
#include <bit>

namespace spdm
{

namespace
{

/** Per slot after all digests: key-pair id, certificate info, key usage. */
constexpr size_t multiKeyFields = 4;

constexpr uint16_t anyUse = SPDM_KEY_USAGE_BIT_MASK_KEY_EX_USE |
                            SPDM_KEY_USAGE_BIT_MASK_CHALLENGE_USE |
                            SPDM_KEY_USAGE_BIT_MASK_MEASUREMENT_USE |
                            SPDM_KEY_USAGE_BIT_MASK_ENDPOINT_INFO_USE;

/** Slot 0 belongs to the manufacturer: never generic, never without use. A slot
 * without a model has no digest, which comes as zeros. */
bool isSlotValid(size_t slot, const PeerSlot& read, Bytes digest)
{
    if (read.certInfo > SPDM_CERTIFICATE_INFO_CERT_MODEL_GENERIC_CERT)
    {
        return false;
    }
    if (slot == 0 &&
        (read.certInfo == SPDM_CERTIFICATE_INFO_CERT_MODEL_GENERIC_CERT ||
         (read.keyUsage & anyUse) == 0))
    {
        return false;
    }
    return read.certInfo != SPDM_CERTIFICATE_INFO_CERT_MODEL_NONE ||
           std::ranges::all_of(digest, [](uint8_t byte) { return byte == 0; });
}

/** Reads the fields of all provisioned slots; each kind comes in a row. */
libspdm_return_t readSlots(Context& context, Bytes digests, Bytes fields)
{
    Peer& peer = context.peer;
    size_t count = static_cast<size_t>(std::popcount(peer.provisionedSlots));
    Reader ids(fields.first(count));
    Reader infos(fields.subspan(count, count));
    Reader usages(fields.subspan(2 * count));
    Reader digest(digests);
    for (size_t slot = 0; slot < SPDM_MAX_SLOT_COUNT; ++slot)
    {
        if ((peer.provisionedSlots >> slot & 1) == 0)
        {
            continue;
        }
        PeerSlot read;
        read.keyPairId = ids.u8();
        read.certInfo = infos.u8() & SPDM_CERTIFICATE_INFO_CERT_MODEL_MASK;
        read.keyUsage = usages.u16();
        peer.slots[slot].keyPairId = read.keyPairId;
        if (!isSlotValid(slot, read, digest.take(hashSize(context))))
        {
            return LIBSPDM_STATUS_INVALID_MSG_FIELD;
        }
        peer.slots[slot] = read;
    }
    return LIBSPDM_STATUS_SUCCESS;
}

/** From 1.3 on a slot that is provisioned is one that is supported. */
libspdm_return_t checkMasks(const Context& context, Bytes response)
{
    uint8_t supported = param1Of(response);
    uint8_t provisioned = param2Of(response);
    bool outside = versionOf(context) >= SPDM_MESSAGE_VERSION_13 &&
                   (provisioned & ~unsigned{supported}) != 0;
    return outside || provisioned == 0 ? LIBSPDM_STATUS_INVALID_MSG_FIELD
                                       : LIBSPDM_STATUS_SUCCESS;
}

libspdm_return_t accept(Context& context, Bytes request, Bytes response,
                        void* digestBuffer)
{
    libspdm_return_t status = checkMasks(context, response);
    if (status != LIBSPDM_STATUS_SUCCESS)
    {
        return status;
    }
    size_t count = static_cast<size_t>(std::popcount(param2Of(response)));
    size_t digestBytes = count * hashSize(context);
    size_t fieldBytes =
        context.connection.multiKey ? count * multiKeyFields : 0;
    if (response.size() < headerSize + digestBytes + fieldBytes)
    {
        return LIBSPDM_STATUS_INVALID_MSG_SIZE;
    }
    response = response.first(headerSize + digestBytes + fieldBytes);
    if (!addToChallenge(context, request) || !addToChallenge(context, response))
    {
        return LIBSPDM_STATUS_CRYPTO_ERROR;
    }
    Bytes digests = response.subspan(headerSize, digestBytes);
    if (digestBuffer != nullptr)
    {
        std::ranges::copy(digests, static_cast<uint8_t*>(digestBuffer));
    }
    context.peer.provisionedSlots = param2Of(response);
    std::ranges::copy(digests, context.peer.digests.begin());
    context.peer.slots = {};
    if (context.connection.multiKey)
    {
        status = readSlots(context, digests,
                           response.subspan(headerSize + digestBytes));
    }
    if (status == LIBSPDM_STATUS_SUCCESS)
    {
        context.connection.state = std::max(
            context.connection.state, LIBSPDM_CONNECTION_STATE_AFTER_DIGESTS);
    }
    return status;
}

libspdm_return_t getDigests(Context& context, uint8_t* slotMask,
                            void* digestBuffer)
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
    context.challenge.reset();
    return converse(
        context, SPDM_DIGESTS, NotReady::awaited,
        [&](Exchange& exchange) {
            exchange.writer().header(versionOf(context), SPDM_GET_DIGESTS, 0,
                                     0);
        },
        [&](Bytes request, Bytes response)
        {
            if (slotMask != nullptr)
            {
                *slotMask = param2Of(response);
            }
            return accept(context, request, response, digestBuffer);
        });
}

} // namespace

} // namespace spdm

libspdm_return_t libspdm_get_digest(void* spdm_context,
                                    const uint32_t* session_id,
                                    uint8_t* slot_mask,
                                    void* total_digest_buffer)
{
    spdm::Context& context = *static_cast<spdm::Context*>(spdm_context);
    context.cryptoRequest = true;
    if (session_id != nullptr)
    {
        return LIBSPDM_STATUS_INVALID_STATE_LOCAL;
    }
    return spdm::getDigests(context, slot_mask, total_digest_buffer);
}
