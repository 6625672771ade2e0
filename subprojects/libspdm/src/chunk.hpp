// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "context.hpp"

/** Messages that are larger than the other side takes at once, from 1.2 on. */
namespace spdm
{

/**
 * Fetches with CHUNK_GET the response that ERROR(LargeResponse) announced.
 *
 * error is that message; large becomes the response, in the context's region
 * for large messages. UNSUPPORTED_CAP before 1.2; ERROR_PEER without the
 * capability on both sides and for an ERROR in between; INVALID_MSG_SIZE and
 * INVALID_MSG_FIELD for chunks that do not fit together.
 */
libspdm_return_t getLargeResponse(Context& context, Bytes error, Bytes& large);

/**
 * Sends a request with CHUNK_SEND. The response comes with the last
 * acknowledgement; it, or an ERROR that ended the transfer early, becomes
 * response, in the context's region for large messages.
 */
libspdm_return_t sendLargeRequest(Context& context, Bytes request,
                                  Bytes& response);

} // namespace spdm
