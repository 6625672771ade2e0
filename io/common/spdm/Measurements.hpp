// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "io/common/spdm/Libspdm.hpp"

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace mctp::spdm
{

/** What a 1.3 requester may send to tell its requests apart: zeros here. */
using RequesterContext = std::array<uint8_t, 8>;

/** A measurement block's value as DMTF lays it out (DSP0274). */
struct MeasurementValue
{
    uint8_t type{0}; //!< bit 7: raw bit stream; the others: what is measured
    uint16_t size{0};
    std::span<const uint8_t> bytes; //!< cut to what the record has room for

    bool isBitStream() const;
    uint8_t kind() const;
    std::string_view kindName() const; //!< "(ImmutableROM)"; empty if unknown
};

/** A record's block header, the value's header and the value. */
inline constexpr std::size_t measurementRecordSize = 4096;
using MeasurementRecord = std::array<uint8_t, measurementRecordSize>;

/** Values of this size or more leave no room for the headers. */
inline constexpr uint16_t measurementTooBig = 4090;

/** Read the headers of a record that holds one block. */
MeasurementValue decodeMeasurement(const MeasurementRecord& record);

/** Two digits per byte, lower case. */
std::string hexDigits(std::span<const uint8_t> bytes);

/** Ask for a device's measurement blocks one by one and log each.
 *
 *  A block that fails is logged and does not end the rest.
 *
 *  @param isSigned whether to ask for a signature with each block
 *  @return 0, or the status of the request for the number of blocks
 */
libspdm_return_t reportMeasurements(void* context, uint8_t slot, bool isSigned);

} // namespace mctp::spdm
