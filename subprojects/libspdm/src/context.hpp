// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "crypto.hpp"
#include "transcript.hpp"
#include "wire.hpp"

#include <array>

namespace spdm
{

/** Capabilities of one side, DSP0274 GET_CAPABILITIES and CAPABILITIES. */
struct Capability
{
    uint32_t flags{0};
    uint32_t dataTransferSize{0};
    uint32_t maxMessageSize{0};
    uint8_t ctExponent{0};
};

/** Algorithms that one side offers or that were selected. */
struct Algorithms
{
    uint32_t measurementHash{0};
    uint32_t baseAsym{0};
    uint32_t baseHash{0};
    uint16_t dhe{0};
    uint16_t aead{0};
    uint16_t reqBaseAsym{0};
    uint16_t keySchedule{0};
    uint8_t measurementSpec{0};
    uint8_t otherParams{0};
    uint8_t melSpec{0};
};

/** What was learnt from a chain that was accepted. */
struct PeerChain
{
    Hash hash{};
    size_t hashSize{0};
    KeyPtr leafKey;
};

/** What DIGESTS said of a slot. */
struct PeerSlot
{
    uint8_t keyPairId{0};
    uint8_t certInfo{0};
    uint16_t keyUsage{0};
};

/** A root certificate of the program's, not copied. */
struct Root
{
    const uint8_t* data{nullptr};
    size_t size{0};
};

/** This side's settings. */
struct Local
{
    Capability capability;
    uint32_t senderDataTransferSize{0};
    uint64_t rttMicroseconds{0};
    Algorithms algorithms;
    std::array<Root, LIBSPDM_MAX_ROOT_CERT_SUPPORT> roots{};
};

/** What the two sides agreed on and what the peer said. */
struct Connection
{
    libspdm_connection_state_t state{LIBSPDM_CONNECTION_STATE_NOT_STARTED};
    spdm_version_number_t version{0};
    Capability capability;
    Algorithms algorithms;
    bool multiKey{false};
};

/** What the peer said of its slots; it outlives a new negotiation. */
struct Peer
{
    uint8_t provisionedSlots{0};
    std::array<uint8_t, SPDM_MAX_SLOT_COUNT * LIBSPDM_MAX_HASH_SIZE> digests{};
    std::array<PeerSlot, SPDM_MAX_SLOT_COUNT> slots{};
    std::array<PeerChain, SPDM_MAX_SLOT_COUNT> chains;
};

/** The program's functions. */
struct Device
{
    libspdm_device_send_message_func send{nullptr};
    libspdm_device_receive_message_func receive{nullptr};
    libspdm_transport_encode_message_func encode{nullptr};
    libspdm_transport_decode_message_func decode{nullptr};
    libspdm_device_acquire_sender_buffer_func acquireSender{nullptr};
    libspdm_device_release_sender_buffer_func releaseSender{nullptr};
    libspdm_device_acquire_receiver_buffer_func acquireReceiver{nullptr};
    libspdm_device_release_receiver_buffer_func releaseReceiver{nullptr};
    libspdm_verify_spdm_cert_chain_func verifyChain{nullptr};
    uint32_t headerSize{0};
    uint32_t tailSize{0};
};

/** Longest request: NEGOTIATE_ALGORITHMS with four tables. */
constexpr size_t maxRequest = 64;

} // namespace spdm

/** The context of a connection. Every pointer in it is owned by a member. */
struct libspdm_context
{
    spdm::Device device;
    spdm::Local local;
    spdm::Connection connection;
    spdm::Peer peer;
    spdm::NegotiationLog negotiation;
    /** M1/M2: what a challenge signs. */
    spdm::Transcript challenge;
    /** L1/L2: what measurements sign. */
    spdm::Transcript measurements;
    std::span<uint8_t> scratch;
    std::array<uint8_t, spdm::maxRequest> lastRequest{};
    size_t lastRequestSize{0};
    /** Whether the peer needs its time for cryptography to answer. */
    bool cryptoRequest{false};
    /** Counts CHUNK_SEND transfers. */
    uint8_t chunkHandle{0};
};

namespace spdm
{

using Context = libspdm_context;

/** The version byte that both sides write into their headers. */
inline uint8_t versionOf(const Context& context)
{
    return static_cast<uint8_t>(context.connection.version >>
                                SPDM_VERSION_NUMBER_SHIFT_BIT);
}

/** Whether any of the peer's capability bits is set. */
inline bool peerHas(const Context& context, uint32_t flags)
{
    return (context.connection.capability.flags & flags) != 0;
}

/** Whether each side has any of the bits asked of it. */
inline bool bothHave(const Context& context, uint32_t localFlags,
                     uint32_t peerFlags)
{
    return (context.local.capability.flags & localFlags) != 0 &&
           peerHas(context, peerFlags);
}

/** Bytes of a hash and of a signature as negotiated. */
inline size_t hashSize(const Context& context)
{
    return libspdm_get_hash_size(context.connection.algorithms.baseHash);
}

inline size_t signatureSize(const Context& context)
{
    return libspdm_get_asym_signature_size(
        context.connection.algorithms.baseAsym);
}

/** Adds to M1/M2. */
bool addToChallenge(Context& context, Bytes message);

/** Adds to L1/L2. */
bool addToMeasurements(Context& context, Bytes message);

/** Waits before a request is repeated. */
void sleepMicroseconds(uint64_t duration);

} // namespace spdm
