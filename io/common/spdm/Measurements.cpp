// SPDX-License-Identifier: Apache-2.0
#include "io/common/spdm/Measurements.hpp"

#include "io/common/src/Text.hpp"

#include <phosphor-logging/lg2.hpp>

#include <algorithm>

namespace mctp::spdm
{

namespace
{

// GET_MEASUREMENTS of DSP0274.
constexpr uint8_t noAttributes = 0;
constexpr uint8_t generateSignature = 0x01;
constexpr uint8_t totalNumber = 0;
constexpr uint8_t lastBlockIndex = 254; // 255 asks for all blocks
constexpr uint8_t slotIdMask = 0x0F;

// Index, specification and 16 bits of size; then the type and 16 bits of size.
constexpr std::size_t blockHeaderSize = 4;
constexpr std::size_t valueHeaderSize = 3;

constexpr uint8_t bitStreamBit = 0x80;

struct Request
{
    uint8_t attributes;
    uint8_t operation;
    uint8_t slot;
};

libspdm_return_t getMeasurement(void* context, const Request& request,
                                uint8_t& blocks, MeasurementRecord& record)
{
    const RequesterContext requesterContext{};
    uint8_t contentChanged = 0;
    uint32_t length = record.size();
    return libspdm_get_measurement_ex2(
        context, nullptr, request.attributes, request.operation,
        request.slot & slotIdMask, requesterContext.data(), &contentChanged,
        &blocks, &length, record.data(), nullptr, nullptr, nullptr, nullptr,
        nullptr);
}

void logBlock(uint8_t block, const MeasurementValue& value)
{
    if (value.size >= measurementTooBig)
    {
        lg2::error("    [ERR] measurement block {B} size {SZ} is too big", "B",
                   block, "SZ", value.size);
        return;
    }
    const char* form = value.isBitStream() ? "BitStream" : "Digest";
    lg2::info("    measurement block {B}, {D} of {T}{TS}, {N} bytes. {S}", "B",
              block, "D", form, "T", value.kind(), "TS", value.kindName(), "N",
              value.size, "S", hexDigits(value.bytes));
}

void reportBlock(void* context, const Request& request)
{
    MeasurementRecord record{};
    uint8_t blocks = 0;
    const libspdm_return_t status =
        getMeasurement(context, request, blocks, record);
    if (LIBSPDM_STATUS_IS_ERROR(status))
    {
        lg2::error("    [ERR] Failed to get measurement block {B} based on "
                   "slot {S}. rc = {R}",
                   "B", request.operation, "S", request.slot, "R", lg2::hex,
                   status);
        return;
    }
    logBlock(request.operation, decodeMeasurement(record));
}

} // namespace

bool MeasurementValue::isBitStream() const
{
    return (type & bitStreamBit) != 0;
}

uint8_t MeasurementValue::kind() const
{
    return type & static_cast<uint8_t>(~bitStreamBit);
}

std::string_view MeasurementValue::kindName() const
{
    constexpr std::array<std::string_view, 4> names{
        "(ImmutableROM)", "(MutableFirmware)", "(H/W Configuration)",
        "(F/W Configuration)"};
    return kind() < names.size() ? names.at(kind()) : "";
}

MeasurementValue decodeMeasurement(const MeasurementRecord& record)
{
    const std::span<const uint8_t> value =
        std::span(record).subspan<blockHeaderSize>();
    MeasurementValue result;
    result.type = value[0];
    result.size = static_cast<uint16_t>(value[1] | value[2] << 8);
    const auto rest = value.subspan<valueHeaderSize>();
    result.bytes = rest.first(std::min<std::size_t>(result.size, rest.size()));
    return result;
}

std::string hexDigits(std::span<const uint8_t> bytes)
{
    std::string text;
    for (uint8_t byte : bytes)
    {
        text += io::text::hex(byte, 2);
    }
    return text;
}

libspdm_return_t reportMeasurements(void* context, uint8_t slot, bool isSigned)
{
    uint8_t blocks = 0;
    MeasurementRecord record{};
    const libspdm_return_t status = getMeasurement(
        context, {noAttributes, totalNumber, slot}, blocks, record);
    if (LIBSPDM_STATUS_IS_ERROR(status))
    {
        lg2::error("  [ERR] Failed to get num of measurement blocks based on "
                   "slot {S}. rc = {R}",
                   "S", slot, "R", lg2::hex, status);
        return status;
    }
    lg2::info("  The responder has {N} measurement blocks", "N", blocks);
    const uint8_t attributes = isSigned ? generateSignature : noAttributes;
    const uint8_t last = std::min(blocks, lastBlockIndex);
    for (uint8_t block = 1; block <= last; ++block)
    {
        reportBlock(context, {attributes, block, slot});
    }
    return status;
}

} // namespace mctp::spdm
