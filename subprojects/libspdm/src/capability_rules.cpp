// SPDX-License-Identifier: Apache-2.0
#include "requests.hpp"

namespace spdm
{

namespace
{

/** The flags of one CAPABILITIES message, by name. Two-bit fields are numbers
 * of their own, of which 3 is reserved. */
struct Flags
{
    uint32_t bits;

    bool has(uint32_t mask) const
    {
        return (bits & mask) != 0;
    }

    uint32_t field(unsigned int shift) const
    {
        return bits >> shift & 3;
    }

    uint32_t measurements() const
    {
        return field(3);
    }

    uint32_t psk() const
    {
        return field(10);
    }

    uint32_t endpointInfo() const
    {
        return field(22);
    }

    uint32_t multiKey() const
    {
        return field(26);
    }
};

constexpr uint32_t reserved = 3;
/** MEAS_CAP and EP_INFO_CAP: with a signature. */
constexpr uint32_t isSigned = 2;

constexpr uint32_t certCap = SPDM_GET_CAPABILITIES_RESPONSE_FLAGS_CERT_CAP;
constexpr uint32_t chalCap = SPDM_GET_CAPABILITIES_RESPONSE_FLAGS_CHAL_CAP;
constexpr uint32_t freshCap =
    SPDM_GET_CAPABILITIES_RESPONSE_FLAGS_MEAS_FRESH_CAP;
constexpr uint32_t protectCaps =
    SPDM_GET_CAPABILITIES_RESPONSE_FLAGS_ENCRYPT_CAP |
    SPDM_GET_CAPABILITIES_RESPONSE_FLAGS_MAC_CAP;
constexpr uint32_t mutAuthCap =
    SPDM_GET_CAPABILITIES_RESPONSE_FLAGS_MUT_AUTH_CAP;
constexpr uint32_t keyExCap = SPDM_GET_CAPABILITIES_RESPONSE_FLAGS_KEY_EX_CAP;
constexpr uint32_t encapCap = SPDM_GET_CAPABILITIES_RESPONSE_FLAGS_ENCAP_CAP;
constexpr uint32_t clearCap =
    SPDM_GET_CAPABILITIES_RESPONSE_FLAGS_HANDSHAKE_IN_THE_CLEAR_CAP;
/** What only a session makes use of. */
constexpr uint32_t sessionCaps =
    protectCaps | clearCap | SPDM_GET_CAPABILITIES_RESPONSE_FLAGS_HBEAT_CAP |
    SPDM_GET_CAPABILITIES_RESPONSE_FLAGS_KEY_UPD_CAP;
constexpr uint32_t pubKeyIdCap =
    SPDM_GET_CAPABILITIES_RESPONSE_FLAGS_PUB_KEY_ID_CAP;
constexpr uint32_t aliasCap =
    SPDM_GET_CAPABILITIES_RESPONSE_FLAGS_ALIAS_CERT_CAP;
constexpr uint32_t setCertCap =
    SPDM_GET_CAPABILITIES_RESPONSE_FLAGS_SET_CERT_CAP;
constexpr uint32_t csrCap = SPDM_GET_CAPABILITIES_RESPONSE_FLAGS_CSR_CAP;
constexpr uint32_t resetCap =
    SPDM_GET_CAPABILITIES_RESPONSE_FLAGS_CERT_INSTALL_RESET_CAP;
constexpr uint32_t eventCap = SPDM_GET_CAPABILITIES_RESPONSE_FLAGS_EVENT_CAP;
constexpr uint32_t getKeyPairCap =
    SPDM_GET_CAPABILITIES_RESPONSE_FLAGS_GET_KEY_PAIR_INFO_CAP;
constexpr uint32_t setKeyPairCap =
    SPDM_GET_CAPABILITIES_RESPONSE_FLAGS_SET_KEY_PAIR_INFO_CAP;

/** In 1.0 a certificate serves a challenge or signed measurements. */
bool areConsistent10(const Flags& flags)
{
    if (flags.measurements() == isSigned)
    {
        return flags.has(certCap);
    }
    return flags.has(certCap) == flags.has(chalCap);
}

/** Sessions need a key and protection, and nothing of a session is there
 * without one. */
bool areSessionsConsistent(const Flags& flags, uint8_t version)
{
    if (flags.psk() == reserved)
    {
        return false;
    }
    if (flags.has(keyExCap) || flags.psk() != 0)
    {
        bool pskInTheClear = !flags.has(keyExCap) && flags.has(clearCap);
        return flags.has(protectCaps) && !pskInTheClear;
    }
    bool events = version >= SPDM_MESSAGE_VERSION_13 && flags.has(eventCap);
    return !flags.has(sessionCaps) && !events;
}

/** A certificate or a provisioned public key has a use, and each use has
 * one. */
bool areKeysConsistent(const Flags& flags, uint8_t version)
{
    bool usesKey =
        flags.has(chalCap | keyExCap) || flags.measurements() == isSigned;
    if (flags.has(certCap | pubKeyIdCap))
    {
        return usesKey && !(flags.has(certCap) && flags.has(pubKeyIdCap));
    }
    bool signsEndpointInfo =
        version >= SPDM_MESSAGE_VERSION_13 && flags.endpointInfo() == isSigned;
    return !usesKey && !flags.has(mutAuthCap) && !signsEndpointInfo;
}

bool areConsistent11(const Flags& flags, uint8_t version)
{
    bool mutAuthHasUse =
        !flags.has(mutAuthCap) || flags.has(keyExCap | chalCap);
    bool mutAuthHasWay = version != SPDM_MESSAGE_VERSION_11 ||
                         !flags.has(mutAuthCap) || flags.has(encapCap);
    return areSessionsConsistent(flags, version) &&
           areKeysConsistent(flags, version) && mutAuthHasUse && mutAuthHasWay;
}

/** Certificates of an alias model, settable or requested need
 * certificates. */
bool areConsistent12(const Flags& flags)
{
    bool certificates = flags.has(certCap) || !flags.has(aliasCap | setCertCap);
    bool requests = !flags.has(csrCap) || flags.has(setCertCap);
    bool resets = !flags.has(resetCap) || flags.has(csrCap | setCertCap);
    return certificates && requests && resets;
}

bool areConsistent13(const Flags& flags)
{
    if (flags.endpointInfo() == reserved || flags.multiKey() == reserved)
    {
        return false;
    }
    if (flags.multiKey() != 0 && !flags.has(getKeyPairCap))
    {
        return false;
    }
    bool keyPairs =
        flags.multiKey() != 0 || flags.has(getKeyPairCap | setKeyPairCap);
    return !flags.has(pubKeyIdCap) || !keyPairs;
}

} // namespace

bool areConsistent(uint32_t flags, uint8_t version)
{
    Flags named{flags};
    bool freshOfNothing = named.measurements() == 0 && named.has(freshCap);
    if (named.measurements() == reserved || freshOfNothing)
    {
        return false;
    }
    if (version == SPDM_MESSAGE_VERSION_10)
    {
        return areConsistent10(named);
    }
    return areConsistent11(named, version) &&
           (version < SPDM_MESSAGE_VERSION_12 || areConsistent12(named)) &&
           (version < SPDM_MESSAGE_VERSION_13 || areConsistent13(named));
}

} // namespace spdm
