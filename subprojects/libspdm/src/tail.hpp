// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "context.hpp"

/** What CHALLENGE_AUTH and MEASUREMENTS have in common: a nonce, and at the end
 * opaque data, from 1.3 on the requester's context, and a signature. */
namespace spdm
{

/** What the caller gives and wants; each may be null. */
struct Extras
{
    const void* requesterContext{nullptr};
    const void* requesterNonceIn{nullptr};
    void* requesterNonce{nullptr};
    void* responderNonce{nullptr};
    void* opaque{nullptr};
    size_t* opaqueSize{nullptr};
};

/** What a tail has to look like. */
struct TailRules
{
    /** Bytes; 0 if none was asked for. */
    size_t signatureSize;
    /** Whether opaque data needs a format that was agreed on, from 1.2 on. */
    bool needsFormat;
};

/** Reads the responder's nonce; zeros if it is cut off. */
void readNonce(Reader& reader, const Extras& extras);

/**
 * Reads a tail and hands the caller what was wanted.
 *
 * signature and requesterContext become those fields; the latter is empty
 * before 1.3. INVALID_MSG_SIZE: the tail is cut off.
 * INVALID_MSG_FIELD: opaque data is too long or broken. BUFFER_TOO_SMALL: there
 * must be more room for opaque data than it takes.
 */
libspdm_return_t readTail(const Context& context, Reader& reader,
                          const TailRules& rules, const Extras& extras,
                          Bytes& signature, Bytes& requesterContext);

/** Whether the response returned the context that the request ended with. */
bool isContextReturned(const Context& context, Bytes request, Bytes returned);

} // namespace spdm
