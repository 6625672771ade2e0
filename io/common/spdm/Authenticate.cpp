// SPDX-License-Identifier: Apache-2.0
#include "io/common/spdm/Measurements.hpp"
#include "io/common/spdm/Spdm.hpp"
#include "io/common/src/Text.hpp"

#include <phosphor-logging/lg2.hpp>

#include <array>

namespace mctp::spdm
{

namespace
{

using io::text::hex;

// Responder capability flags and key usage bits, DSP0274.
constexpr uint32_t certificateCapability = 0x02;
constexpr uint32_t challengeCapability = 0x04;
constexpr uint32_t measurementCapability = 0x18;
constexpr uint32_t unsignedMeasurements = 0x08;
constexpr uint16_t usableForChallenge = 0x0002;
constexpr uint16_t usableForMeasurement = 0x0004;

constexpr uint16_t version13 = 0x1300;
constexpr uint8_t slotCount = 8;
constexpr size_t certificateBufferSize = 4096;
constexpr size_t largestHash = 64;
/** Of the challenge's kinds of measurement summary: all measurements. */
constexpr uint8_t allMeasurements = 0xFF;

std::string versionText(uint16_t version)
{
    return std::to_string(version >> 12) + '.' +
           std::to_string(version >> 8 & 0x0F);
}

/** Read an item of the library; false, with the value as it was, if not set. */
template <typename T>
bool getData(
    void* context, libspdm_data_type_t item, T& value, uint8_t slot = 0,
    libspdm_data_location_t location = LIBSPDM_DATA_LOCATION_CONNECTION)
{
    libspdm_data_parameter_t parameter{};
    parameter.location = location;
    parameter.additional_data[0] = slot;
    T read{};
    size_t size = sizeof(read);
    const libspdm_return_t status =
        libspdm_get_data(context, item, &parameter, &read, &size);
    if (LIBSPDM_STATUS_IS_ERROR(status))
    {
        return false;
    }
    value = read;
    return true;
}

void addItem(std::string& text, const char* name, const std::string& value)
{
    text.append(text.empty() ? "" : ", ").append(name).append(value);
}

/** The key usage of a slot, after a record of what is known about its key. */
uint16_t readSlotInfo(void* context, uint8_t slot)
{
    uint8_t keyPairId = 0;
    uint8_t info = 0;
    uint16_t usage = 0;
    std::string text;
    if (getData(context, LIBSPDM_DATA_PEER_KEY_PAIR_ID, keyPairId, slot))
    {
        addItem(text, "KeyPairId: ", std::to_string(keyPairId));
    }
    if (getData(context, LIBSPDM_DATA_PEER_CERT_INFO, info, slot))
    {
        addItem(text, "CertInfo: ", "0x" + hex(info));
    }
    if (getData(context, LIBSPDM_DATA_PEER_KEY_USAGE_BIT_MASK, usage, slot))
    {
        addItem(text, "KeyUsage: ", "0x" + hex(usage));
    }
    if (!text.empty())
    {
        lg2::info("  [Slot {I}] {S}", "I", slot, "S", text);
    }
    return usage;
}

} // namespace

// NOLINTBEGIN(performance-unnecessary-value-param): as it is declared
libspdm_return_t SpdmLib::authenticateTarget(uint32_t address,
                                             std::string rootCertDir)
// NOLINTEND(performance-unnecessary-value-param)
{
    if (context == nullptr || connection == nullptr)
    {
        lg2::error("[ERR] SPDM context not initialized or connection not set");
        return LIBSPDM_STATUS_INVALID_PARAMETER;
    }
    if (!lookUpTarget(address))
    {
        return LIBSPDM_STATUS_INVALID_PARAMETER;
    }
    libspdm_return_t status = libspdm_init_connection(context.get(), false);
    if (LIBSPDM_STATUS_IS_ERROR(status))
    {
        lg2::error("[ERR] libspdm_init_connection failed. rc = {R}", "R",
                   lg2::hex, status);
        uninitialize();
        return status;
    }
    const Negotiated negotiated = readNegotiated();
    if (negotiated.state != LIBSPDM_CONNECTION_STATE_NEGOTIATED)
    {
        lg2::error("[ERR] Failed to establish connection. state = {S}", "S",
                   negotiated.state);
        return LIBSPDM_STATUS_NEGOTIATION_FAIL;
    }
    lg2::info("Responder version {V}, capabilities {R}, asym algo {AA}, "
              "hash algo {HA}, measurement hash algo {MH}",
              "V", versionText(negotiated.version), "R", lg2::hex,
              responderFlags, "AA", lg2::hex, negotiated.baseAsymAlgo, "HA",
              lg2::hex, negotiated.baseHashAlgo, "MH", lg2::hex,
              negotiated.measurementHashAlgo);
    if ((responderFlags & certificateCapability) != 0)
    {
        status = authenticateSlots(negotiated, rootCertDir);
        if (LIBSPDM_STATUS_IS_ERROR(status))
        {
            return status;
        }
    }
    lg2::info("authenticateTarget succeeded");
    return LIBSPDM_STATUS_SUCCESS;
}

Negotiated SpdmLib::readNegotiated()
{
    void* const spdm = context.get();
    Negotiated result;
    uint32_t ownFlags = 0;
    getData(spdm, LIBSPDM_DATA_CAPABILITY_FLAGS, ownFlags, 0,
            LIBSPDM_DATA_LOCATION_LOCAL);
    responderFlags = 0;
    // These decide what the device is asked for, and 0 asks for nothing: where
    // one cannot be read there is no connection.
    const bool isKnown =
        getData(spdm, LIBSPDM_DATA_SPDM_VERSION, result.version) &&
        getData(spdm, LIBSPDM_DATA_CAPABILITY_FLAGS, responderFlags) &&
        getData(spdm, LIBSPDM_DATA_BASE_ASYM_ALGO, result.baseAsymAlgo) &&
        getData(spdm, LIBSPDM_DATA_BASE_HASH_ALGO, result.baseHashAlgo);
    if (isKnown)
    {
        getData(spdm, LIBSPDM_DATA_CONNECTION_STATE, result.state);
    }
    getData(spdm, LIBSPDM_DATA_MEASUREMENT_HASH_ALGO,
            result.measurementHashAlgo);
    return result;
}

libspdm_return_t SpdmLib::authenticateSlots(const Negotiated& negotiated,
                                            const std::string& rootCertDir)
{
    libspdm_return_t status = LIBSPDM_STATUS_SUCCESS;
    if (!rootCertDir.empty())
    {
        status = loadRootCert(rootCertDir, negotiated);
    }
    KeyUsageMap slots;
    if (!LIBSPDM_STATUS_IS_ERROR(status))
    {
        status = readSlots(negotiated, slots);
    }
    return LIBSPDM_STATUS_IS_ERROR(status) ? status : attestSlots(slots);
}

libspdm_return_t SpdmLib::readSlots(const Negotiated& negotiated,
                                    KeyUsageMap& slots)
{
    uint8_t mask = 0;
    std::array<uint8_t, largestHash * slotCount> digests{};
    const libspdm_return_t status =
        libspdm_get_digest(context.get(), nullptr, &mask, digests.data());
    if (LIBSPDM_STATUS_IS_ERROR(status))
    {
        lg2::error("[ERR] Failed to get responder digest. rc = {R}", "R",
                   lg2::hex, status);
        return status;
    }
    lg2::info("Certificate slot bitmask: {S}", "S", lg2::hex, mask);
    for (uint8_t slot = 0; slot < slotCount; ++slot)
    {
        if ((mask >> slot & 1) == 0)
        {
            continue;
        }
        // Before 1.3 a slot's key has no usage of its own.
        slots[slot] = negotiated.version < version13
                        ? usableForChallenge | usableForMeasurement
                        : readSlotInfo(context.get(), slot);
    }
    return status;
}

libspdm_return_t SpdmLib::attestSlots(const KeyUsageMap& slots)
{
    bool measured = (responderFlags & measurementCapability) == 0;
    for (const auto& [slot, usage] : slots)
    {
        libspdm_return_t status = readCertificate(slot);
        if (!LIBSPDM_STATUS_IS_ERROR(status) &&
            (responderFlags & challengeCapability) != 0 &&
            (usage & usableForChallenge) != 0)
        {
            status = challenge(slot);
        }
        if (!LIBSPDM_STATUS_IS_ERROR(status) && !measured &&
            (usage & usableForMeasurement) != 0)
        {
            measured = true;
            status = reportMeasurements(
                context.get(), slot,
                (responderFlags & unsignedMeasurements) == 0);
        }
        if (LIBSPDM_STATUS_IS_ERROR(status))
        {
            return status;
        }
    }
    return LIBSPDM_STATUS_SUCCESS;
}

libspdm_return_t SpdmLib::readCertificate(uint8_t slot)
{
    lg2::info("  Get cert-chain from slot {S}", "S", slot);
    std::array<uint8_t, certificateBufferSize> chain{};
    size_t size = chain.size();
    const libspdm_return_t status = libspdm_get_certificate(
        context.get(), nullptr, slot, &size, chain.data());
    if (LIBSPDM_STATUS_IS_ERROR(status))
    {
        lg2::error("  [ERR] Failed to get cert of slot {S}. rc = {R}", "S",
                   slot, "R", lg2::hex, status);
        return status;
    }
    lg2::info("  slot {S} cert chain size {SZ}", "S", slot, "SZ", size);
    return status;
}

libspdm_return_t SpdmLib::challenge(uint8_t slot)
{
    lg2::info("  Challenge based on slot {S}", "S", slot);
    const RequesterContext requesterContext{};
    std::array<uint8_t, largestHash> summary{};
    uint8_t mask = 0;
    const libspdm_return_t status = libspdm_challenge_ex2(
        context.get(), nullptr, slot, requesterContext.data(), allMeasurements,
        summary.data(), &mask, nullptr, nullptr, nullptr, nullptr, nullptr);
    if (LIBSPDM_STATUS_IS_ERROR(status))
    {
        lg2::error(
            "  [ERR] Failed to get challenge based on slot {S}. rc = {R}", "S",
            slot, "R", lg2::hex, status);
    }
    return status;
}

} // namespace mctp::spdm
