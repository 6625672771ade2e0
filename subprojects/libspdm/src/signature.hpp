// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "context.hpp"

#include <string_view>

namespace spdm
{

/**
 * Checks a responder's signature over a transcript, which is ended by it.
 *
 * purpose is the context string of the message from 1.2 on, for example
 * "responder-measurements signing". False as well if no chain of the slot was
 * accepted.
 */
bool verifySignature(Context& context, uint8_t slot, Transcript& transcript,
                     std::string_view purpose, Bytes signature);

/** Uses the caller's 32 bytes as nonce, or random ones; false if there are
 * none to be had. copy gets them too, unless null. */
bool writeNonce(Writer& writer, const void* given, void* copy);

/** Writes the caller's 8 bytes, or zeros. */
void writeRequesterContext(Writer& writer, const void* given);

} // namespace spdm
