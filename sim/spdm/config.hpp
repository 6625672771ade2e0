// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "sim/scenario/node.hpp"
#include "sim/spdm/crypto.hpp"

#include <chrono>
#include <optional>

// What one simulated device is: read from JSON once, constant afterwards. The
// JSON form is told in sim/README.md.

namespace sim::spdm
{

enum class MeasurementSupport : uint8_t
{
    none,
    withoutSignature,
    withSignature,
};

enum class MultiKey : uint8_t
{
    none,
    only,
    negotiable,
};

/** What is wrong with the certificate chain of a slot. */
enum class ChainDefect : uint8_t
{
    none,
    badSignature,    ///< an intermediate (the leaf if none) has a bad signature
    wrongRootHash,   ///< the chain's header names another root
    expiredLeaf,     ///< the leaf's validity ended in 2002
    foreignRoot,     ///< a complete chain of another root
    leafIsAuthority, ///< the leaf's basic constraints say CA
    noSigningUsage,  ///< the leaf's key usage lacks digitalSignature
    truncatedLeaf,   ///< the last certificate lacks its last byte
};

struct SlotConfig
{
    uint8_t number = 0;
    unsigned intermediates = 1;
    /** Slots with the same id have the same key. */
    uint8_t keyPairId = 1;
    uint8_t certInfo = certModel::device;
    uint16_t keyUsage = keyUsage::challenge | keyUsage::measurement;
    ChainDefect defect = ChainDefect::none;
    /** Bytes of filler in the leaf, to make a chain of a wanted size. */
    size_t leafFiller = 0;
};

struct BlockConfig
{
    uint8_t index = 1;
    /** DMTF value type; bit 0x80 says raw bit stream instead of digest. */
    uint8_t type = 0;
    Bytes value;
    /** The value sent is the digest of value by the measurement hash. */
    bool digestOfValue = false;
    /** Value size that the header claims, if it is to lie. */
    std::optional<uint16_t> claimedSize;
    /** Counts into the summary hash of the trusted computing base. */
    bool trustedBase = false;
};

enum class FaultKind : uint8_t
{
    wrongSignature,
    wrongNonce,
    wrongContext,
    error,
    notReady,
    resynch,
    truncate,
    pad,
    empty,
    raw,
    slow,
    dead,
    mutate,
};

/** Something that goes wrong at certain occurrences of a request. */
struct Fault
{
    FaultKind kind = FaultKind::dead;
    /** Request code; 0 stands for any request. */
    uint8_t at = 0;
    /** First occurrence, counted from 1 since the device was made. */
    unsigned nth = 1;
    /** How many occurrences in a row; 0 means all from the first on. */
    unsigned times = 1;
    uint8_t code = error::unspecified; ///< error
    uint8_t data = 0;                  ///< error: its data byte
    size_t bytes = 0;                  ///< truncate to, pad by
    uint64_t seed = 0;                 ///< mutate
    unsigned changes = 1;              ///< mutate: bytes changed
    Bytes answer;                      ///< raw: SPDM message, MCTP type apart
    std::chrono::milliseconds delay{}; ///< slow
};

struct DeviceConfig
{
    std::vector<uint8_t> versions{version::v11, version::v12};
    bool certificates = true;
    bool challenge = true;
    bool chunking = false;
    MeasurementSupport measurements = MeasurementSupport::withSignature;
    MultiKey multiKey = MultiKey::none;
    std::vector<Curve> curves{Curve::p384};
    std::vector<Hash> hashes{Hash::sha384};
    /** None: raw bit streams only. */
    std::optional<Hash> measurementHash = Hash::sha384;
    std::vector<SlotConfig> slots{SlotConfig{}};
    std::vector<BlockConfig> blocks;
    /** Number of blocks that the device claims, if it is to lie. */
    std::optional<uint8_t> claimedBlocks;
    /** The device takes and, unless transmitSize says less, sends so much. */
    uint32_t dataTransferSize = 4608;
    uint32_t maxMessageSize = 4608;
    /** Longest message that the device sends in one piece. */
    uint32_t transmitSize = 4608;
    /** Cryptographic time-out, 2^n microseconds. */
    uint8_t ctExponent = 0;
    Bytes challengeOpaque;
    Bytes measurementOpaque;
    std::vector<Fault> faults;
};

/** Bytes written in hexadecimal. Throws ScenarioError. */
Bytes bytesOf(const Node& node);

/**
 * Reads a device from its JSON form. Throws ScenarioError for an unknown key, a
 * wrong type and a value out of range.
 */
DeviceConfig parseDeviceConfig(const Node& node);
/** The same of a document of its own. */
DeviceConfig parseDeviceConfig(const Json& json);

} // namespace sim::spdm
