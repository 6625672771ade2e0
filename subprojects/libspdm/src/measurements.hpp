// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tail.hpp"

/** GET_MEASUREMENTS: what is asked for, and what a response has to be. */
namespace spdm
{

/** The operation that asks for the number of blocks only. */
constexpr uint8_t totalNumber =
    SPDM_GET_MEASUREMENTS_REQUEST_MEASUREMENT_OPERATION_TOTAL_NUMBER_OF_MEASUREMENTS;

/** What the caller asks for and where the answers go. */
struct MeasurementQuery
{
    uint8_t attributes;
    uint8_t operation;
    uint8_t slot;
    uint8_t* contentChanged;
    uint8_t* blockCount;
    uint32_t* recordLength;
    void* record;
    Extras extras;

    bool isSigned() const
    {
        return (attributes &
                SPDM_GET_MEASUREMENTS_REQUEST_ATTRIBUTES_GENERATE_SIGNATURE) !=
               0;
    }
};

/**
 * Checks a MEASUREMENTS response, adds both messages to the transcript, and
 * hands the caller what was asked for.
 *
 * INVALID_MSG_SIZE: it is cut off. INVALID_MSG_FIELD: a field is not what was
 * asked for. VERIF_FAIL: the signature is not the slot's key's over what was
 * said. BUFFER_TOO_SMALL: the record does not fit.
 */
libspdm_return_t acceptMeasurements(Context& context,
                                    const MeasurementQuery& query,
                                    Bytes request, Bytes response);

} // namespace spdm
