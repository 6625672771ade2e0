// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "context.hpp"

/** One message out and one message in, through the program's functions. */
namespace spdm
{

/**
 * Sends the first size bytes of the region's payload.
 *
 * Returns what the transport or the program's send function returned.
 */
libspdm_return_t sendMessage(Context& context, std::span<uint8_t> region,
                             size_t size);

/**
 * Receives a message into the region; message is what the transport found in
 * it. It is no longer than the region, but may be longer than what arrived: a
 * receive function need not say how much it was. At least a header's bytes.
 *
 * RECEIVE_FAIL for a message of a session; INVALID_MSG_SIZE for one that is too
 * short for a header; else what the transport or the program's receive function
 * returned.
 */
libspdm_return_t receiveMessage(Context& context, std::span<uint8_t> region,
                                std::span<uint8_t>& message);

/** Keeps the state that goes with an ERROR code; the status for it. */
libspdm_return_t statusOfError(Context& context, uint8_t errorCode);

} // namespace spdm
