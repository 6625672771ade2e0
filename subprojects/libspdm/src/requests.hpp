// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "context.hpp"

/** The requests behind the public functions, each sent once. */
namespace spdm
{

/** GET_VERSION starts the connection anew. NEGOTIATION_FAIL: no version in
 * common. */
libspdm_return_t getVersion(Context& context);

/** GET_CAPABILITIES, after GET_VERSION. */
libspdm_return_t getCapabilities(Context& context);

/** Whether a responder's capability flags go together, DSP0274 CAPABILITIES. */
bool areConsistent(uint32_t flags, uint8_t version);

/** NEGOTIATE_ALGORITHMS, after GET_CAPABILITIES. NEGOTIATION_FAIL: something
 * that a capability needs was not selected, or not from what was offered. */
libspdm_return_t negotiateAlgorithms(Context& context);

/** Whether measurement hash, hash and signature algorithm fit both sides'
 * capabilities and settings. */
libspdm_return_t checkBaseSelection(const Context& context);

/** Whether what was selected for sessions does, from 1.1 on. */
libspdm_return_t checkSessionSelection(const Context& context);

/** Whether opaque data holds together: format 1 from 1.2 on, else anything. */
bool isWellFormedOpaqueData(const Context& context, Bytes data);

} // namespace spdm
