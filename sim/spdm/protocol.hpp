// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

// Names for what DSP0274 (SPDM 1.0 to 1.3) and DSP0275 (SPDM over MCTP) put on
// the wire. All integers of SPDM messages are little endian.

namespace sim::spdm
{

using Bytes = std::vector<uint8_t>;
using View = std::span<const uint8_t>;

/** MCTP message type of an SPDM message, integrity check bit clear. */
inline constexpr uint8_t mctpTypeSpdm = 0x05;

/** Version, code, param1, param2. */
inline constexpr size_t headerSize = 4;
inline constexpr size_t nonceSize = 32;
/** RequesterContext of 1.3: an opaque value that is handed back. */
inline constexpr size_t requesterContextSize = 8;
inline constexpr uint8_t slotCount = 8;
/** Slot numbers are the low four bits of the byte that carries them. */
inline constexpr uint8_t slotMask = 0x0f;
/** The least DataTransferSize that an endpoint may announce. */
inline constexpr uint32_t minDataTransferSize = 42;

namespace version
{
inline constexpr uint8_t v10 = 0x10;
inline constexpr uint8_t v11 = 0x11;
inline constexpr uint8_t v12 = 0x12;
inline constexpr uint8_t v13 = 0x13;
} // namespace version

namespace request
{
inline constexpr uint8_t getDigests = 0x81;
inline constexpr uint8_t getCertificate = 0x82;
inline constexpr uint8_t challenge = 0x83;
inline constexpr uint8_t getVersion = 0x84;
inline constexpr uint8_t chunkSend = 0x85;
inline constexpr uint8_t chunkGet = 0x86;
inline constexpr uint8_t getMeasurements = 0xe0;
inline constexpr uint8_t getCapabilities = 0xe1;
inline constexpr uint8_t negotiateAlgorithms = 0xe3;
inline constexpr uint8_t getKeyPairInfo = 0xfc;
inline constexpr uint8_t respondIfReady = 0xff;
} // namespace request

namespace response
{
inline constexpr uint8_t digests = 0x01;
inline constexpr uint8_t certificate = 0x02;
inline constexpr uint8_t challengeAuth = 0x03;
inline constexpr uint8_t version = 0x04;
inline constexpr uint8_t chunkSendAck = 0x05;
inline constexpr uint8_t chunkResponse = 0x06;
inline constexpr uint8_t measurements = 0x60;
inline constexpr uint8_t capabilities = 0x61;
inline constexpr uint8_t algorithms = 0x63;
inline constexpr uint8_t keyPairInfo = 0x7c;
inline constexpr uint8_t error = 0x7f;
} // namespace response

namespace error
{
inline constexpr uint8_t invalidRequest = 0x01;
inline constexpr uint8_t busy = 0x03;
inline constexpr uint8_t unexpectedRequest = 0x04;
inline constexpr uint8_t unspecified = 0x05;
inline constexpr uint8_t unsupportedRequest = 0x07;
inline constexpr uint8_t responseTooLarge = 0x0d;
inline constexpr uint8_t requestTooLarge = 0x0e;
inline constexpr uint8_t largeResponse = 0x0f;
inline constexpr uint8_t versionMismatch = 0x41;
inline constexpr uint8_t responseNotReady = 0x42;
inline constexpr uint8_t requestResynch = 0x43;
} // namespace error

/** Flags of GET_CAPABILITIES and CAPABILITIES. */
namespace capability
{
inline constexpr uint32_t cert = 0x00000002;
inline constexpr uint32_t challenge = 0x00000004;
inline constexpr uint32_t measurementsUnsigned = 0x00000008;
inline constexpr uint32_t measurementsSigned = 0x00000010;
inline constexpr uint32_t encrypt = 0x00000040;
inline constexpr uint32_t mac = 0x00000080;
inline constexpr uint32_t keyExchange = 0x00000200;
inline constexpr uint32_t preSharedKey = 0x00000400;
inline constexpr uint32_t preSharedKeyReserved = 0x00000800;
inline constexpr uint32_t heartbeat = 0x00002000;
inline constexpr uint32_t keyUpdate = 0x00004000;
inline constexpr uint32_t handshakeInTheClear = 0x00008000;
inline constexpr uint32_t publicKeyId = 0x00010000;
inline constexpr uint32_t chunk = 0x00020000;
inline constexpr uint32_t aliasCert = 0x00040000;
inline constexpr uint32_t multiKeyOnly = 0x04000000;
inline constexpr uint32_t multiKeyNegotiable = 0x08000000;
inline constexpr uint32_t getKeyPairInfo = 0x10000000;
} // namespace capability

namespace algorithm
{
inline constexpr uint32_t ecdsaP256 = 0x00000010;
inline constexpr uint32_t ecdsaP384 = 0x00000080;
inline constexpr uint32_t sha256 = 0x00000001;
inline constexpr uint32_t sha384 = 0x00000002;
inline constexpr uint32_t sha512 = 0x00000004;
inline constexpr uint32_t measurementRawOnly = 0x00000001;
inline constexpr uint8_t measurementSpecDmtf = 0x01;
inline constexpr uint8_t opaqueFormat0 = 0x01;
inline constexpr uint8_t opaqueFormat1 = 0x02;
inline constexpr uint8_t multiKeyConnection = 0x10;
} // namespace algorithm

namespace certModel
{
inline constexpr uint8_t device = 1;
inline constexpr uint8_t alias = 2;
} // namespace certModel

/** Key usage bits of DIGESTS in 1.3. */
namespace keyUsage
{
inline constexpr uint16_t challenge = 0x0002;
inline constexpr uint16_t measurement = 0x0004;
} // namespace keyUsage

/** Attributes and operations of GET_MEASUREMENTS, DMTF block types. */
namespace measurement
{
inline constexpr uint8_t signatureRequested = 0x01;
inline constexpr uint8_t countOperation = 0x00;
inline constexpr uint8_t allOperation = 0xff;
inline constexpr uint8_t immutableRom = 0;
inline constexpr uint8_t mutableFirmware = 1;
inline constexpr uint8_t typeMask = 0x7f;
} // namespace measurement

/** Measurement summary hash types of CHALLENGE. */
namespace summary
{
inline constexpr uint8_t none = 0x00;
inline constexpr uint8_t trustedBase = 0x01;
inline constexpr uint8_t all = 0xff;
} // namespace summary

} // namespace sim::spdm
