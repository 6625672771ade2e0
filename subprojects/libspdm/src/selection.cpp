// SPDX-License-Identifier: Apache-2.0
#include "requests.hpp"

namespace spdm
{

namespace
{

constexpr uint32_t keyExCap = SPDM_GET_CAPABILITIES_RESPONSE_FLAGS_KEY_EX_CAP;
constexpr uint32_t pskCap = SPDM_GET_CAPABILITIES_RESPONSE_FLAGS_PSK_CAP;

/** What the peer signs with its key outside of sessions. */
constexpr uint32_t signingCaps =
    SPDM_GET_CAPABILITIES_RESPONSE_FLAGS_CERT_CAP |
    SPDM_GET_CAPABILITIES_RESPONSE_FLAGS_CHAL_CAP |
    SPDM_GET_CAPABILITIES_RESPONSE_FLAGS_MEAS_CAP_SIG;

/** Groups, suites and the key schedule that have a defined size. */
constexpr uint16_t knownDhe = 0x3F;
constexpr uint16_t knownAead = 0x07;

bool usesKeyExchange(const Context& context)
{
    return bothHave(context, SPDM_GET_CAPABILITIES_REQUEST_FLAGS_KEY_EX_CAP,
                    keyExCap);
}

bool usesPsk(const Context& context)
{
    return bothHave(context, SPDM_GET_CAPABILITIES_REQUEST_FLAGS_PSK_CAP,
                    pskCap);
}

/** Whether one known algorithm was selected, and from what was offered. */
bool isOffered(uint32_t selected, uint32_t offered, uint32_t known)
{
    return (selected & offered & known) != 0;
}

libspdm_return_t checkMeasurements(const Context& context)
{
    const Algorithms& selected = context.connection.algorithms;
    if (!peerHas(context, SPDM_GET_CAPABILITIES_RESPONSE_FLAGS_MEAS_CAP) ||
        context.local.algorithms.measurementSpec == 0)
    {
        return selected.measurementSpec == 0 ? LIBSPDM_STATUS_SUCCESS
                                             : LIBSPDM_STATUS_INVALID_MSG_FIELD;
    }
    if (selected.measurementSpec != SPDM_MEASUREMENT_SPECIFICATION_DMTF)
    {
        return LIBSPDM_STATUS_INVALID_MSG_FIELD;
    }
    return libspdm_get_measurement_hash_size(selected.measurementHash) == 0
             ? LIBSPDM_STATUS_NEGOTIATION_FAIL
             : LIBSPDM_STATUS_SUCCESS;
}

bool isHashValid(const Context& context)
{
    if (!peerHas(context, signingCaps) && !usesKeyExchange(context) &&
        !usesPsk(context))
    {
        return true;
    }
    uint32_t selected = context.connection.algorithms.baseHash;
    return libspdm_get_hash_size(selected) != 0 &&
           (selected & context.local.algorithms.baseHash) != 0;
}

bool isAsymValid(const Context& context)
{
    if (!peerHas(context, signingCaps) && !usesKeyExchange(context))
    {
        return true;
    }
    uint32_t selected = context.connection.algorithms.baseAsym;
    return libspdm_get_asym_signature_size(selected) != 0 &&
           (selected & context.local.algorithms.baseAsym) != 0;
}

/** Sessions are never opened, but a peer that selects nothing for them does
 * not fit what it says it can do. */
bool areSessionsValid(const Context& context)
{
    const Algorithms& selected = context.connection.algorithms;
    const Algorithms& own = context.local.algorithms;
    if (usesKeyExchange(context) && !isOffered(selected.dhe, own.dhe, knownDhe))
    {
        return false;
    }
    bool isProtected =
        bothHave(context, SPDM_GET_CAPABILITIES_REQUEST_FLAGS_ENCRYPT_CAP,
                 SPDM_GET_CAPABILITIES_RESPONSE_FLAGS_ENCRYPT_CAP) ||
        bothHave(context, SPDM_GET_CAPABILITIES_REQUEST_FLAGS_MAC_CAP,
                 SPDM_GET_CAPABILITIES_RESPONSE_FLAGS_MAC_CAP);
    if (isProtected && !isOffered(selected.aead, own.aead, knownAead))
    {
        return false;
    }
    bool isMutual =
        bothHave(context, SPDM_GET_CAPABILITIES_REQUEST_FLAGS_MUT_AUTH_CAP,
                 SPDM_GET_CAPABILITIES_RESPONSE_FLAGS_MUT_AUTH_CAP);
    return !isMutual ||
           (libspdm_get_asym_signature_size(selected.reqBaseAsym) != 0 &&
            (selected.reqBaseAsym & own.reqBaseAsym) != 0);
}

/** Key schedule, opaque data format and log, which only a session uses. */
libspdm_return_t checkSchedule(const Context& context)
{
    const Algorithms& selected = context.connection.algorithms;
    const Algorithms& own = context.local.algorithms;
    uint8_t version = versionOf(context);
    if (!usesKeyExchange(context) && !usesPsk(context))
    {
        return LIBSPDM_STATUS_SUCCESS;
    }
    bool format1 =
        (selected.otherParams & SPDM_ALGORITHMS_OPAQUE_DATA_FORMAT_MASK) ==
        SPDM_ALGORITHMS_OPAQUE_DATA_FORMAT_1;
    if (!isOffered(selected.keySchedule, own.keySchedule,
                   SPDM_ALGORITHMS_KEY_SCHEDULE_HMAC_HASH) ||
        (version >= SPDM_MESSAGE_VERSION_12 && !format1))
    {
        return LIBSPDM_STATUS_NEGOTIATION_FAIL;
    }
    bool logs =
        peerHas(context, SPDM_GET_CAPABILITIES_RESPONSE_FLAGS_MEL_CAP) &&
        own.melSpec != 0;
    uint8_t melSpec = logs ? SPDM_MEL_SPECIFICATION_DMTF : 0;
    return version >= SPDM_MESSAGE_VERSION_13 && selected.melSpec != melSpec
             ? LIBSPDM_STATUS_INVALID_MSG_FIELD
             : LIBSPDM_STATUS_SUCCESS;
}

/** The peer asks for several requester keys just if the requester said that it
 * has them. */
bool isMultiKeyValid(const Context& context)
{
    uint32_t own = context.local.capability.flags &
                   SPDM_GET_CAPABILITIES_REQUEST_FLAGS_MULTI_KEY_CAP;
    bool selected = (context.connection.algorithms.otherParams &
                     SPDM_ALGORITHMS_MULTI_KEY_CONN) != 0;
    if (versionOf(context) < SPDM_MESSAGE_VERSION_13)
    {
        return true;
    }
    return selected
             ? own != 0
             : own != SPDM_GET_CAPABILITIES_REQUEST_FLAGS_MULTI_KEY_CAP_ONLY;
}

} // namespace

libspdm_return_t checkBaseSelection(const Context& context)
{
    libspdm_return_t status = checkMeasurements(context);
    if (status == LIBSPDM_STATUS_SUCCESS &&
        (!isHashValid(context) || !isAsymValid(context)))
    {
        status = LIBSPDM_STATUS_NEGOTIATION_FAIL;
    }
    return status;
}

libspdm_return_t checkSessionSelection(const Context& context)
{
    if (versionOf(context) < SPDM_MESSAGE_VERSION_11)
    {
        return LIBSPDM_STATUS_SUCCESS;
    }
    if (!areSessionsValid(context))
    {
        return LIBSPDM_STATUS_NEGOTIATION_FAIL;
    }
    libspdm_return_t status = checkSchedule(context);
    if (status == LIBSPDM_STATUS_SUCCESS && !isMultiKeyValid(context))
    {
        status = LIBSPDM_STATUS_NEGOTIATION_FAIL;
    }
    return status;
}

} // namespace spdm
