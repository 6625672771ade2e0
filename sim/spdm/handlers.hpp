// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "sim/spdm/connection.hpp"
#include "sim/spdm/identity.hpp"

#include <string_view>

// One function per request. Each is called only for a request that has its
// header, whose version fits the connection, at a stage that allows it, to a
// device that has the capability (dispatch.cpp), and gives the whole response,
// which may be an ERROR. Everything else of the request is unchecked.

namespace sim::spdm
{

/** What a fault does to a response while it is built. */
struct Effects
{
    bool wrongSignature = false;
    bool wrongNonce = false;
    bool wrongContext = false;
};

/** All that a request handler works on. */
struct Context
{
    const DeviceConfig& config;
    const Identity& identity;
    Connection& connection;
    Effects effects;
};

/** An ERROR response. */
Bytes errorResponse(const Context& context, uint8_t code, uint8_t data = 0,
                    View extended = {});

Bytes getVersion(Context& context, View request);
Bytes getCapabilities(Context& context, View request);
Bytes negotiateAlgorithms(Context& context, View request);
Bytes getDigests(Context& context, View request);
Bytes getCertificate(Context& context, View request);
Bytes challenge(Context& context, View request);
Bytes getMeasurements(Context& context, View request);
Bytes getKeyPairInfo(Context& context, View request);

/** Answers any request but those that carry others (chunks, retries). */
Bytes dispatch(Context& context, View request);

/**
 * Signature over a transcript with the slot's key. From 1.2 on it covers the
 * 100-byte combined prefix, which names the version and the purpose, and the
 * transcript's hash.
 */
Bytes signTranscript(const Context& context, uint8_t slot,
                     std::string_view purpose, View transcript);

/** Slots' key usage counts only in a multi-key connection. */
bool slotPermits(const Context& context, uint8_t slot, uint16_t usage);

/** Both sides can transfer large messages in chunks. */
bool chunksAgreed(const Context& context);

/** Record of all blocks in order of configuration, or of those that count
 * into the trusted computing base. */
Bytes allBlocks(const Context& context, bool trustedBaseOnly);

/** Record of one block; empty if there is none with the index. */
Bytes oneBlock(const Context& context, uint8_t index);

} // namespace sim::spdm
