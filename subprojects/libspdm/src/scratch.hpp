// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "context.hpp"

/**
 * The program's scratch buffer, in which all messages are built and received.
 *
 * Requests and responses share one region: a response is received at its start
 * and a request is built behind the room for the transport's head, so the
 * region still holds the previous messages when a response arrives. Chunks have
 * a region of their own, and so has the message they are parts of.
 */
namespace spdm
{

/** Bytes of a region for a message with the transport's head and tail. */
size_t messageCapacity(const Context& context);

/** Bytes of all regions. */
size_t scratchSize(const Context& context);

/** Region of requests and responses; empty if the buffer was never lent or is
 * too small. */
std::span<uint8_t> messageRegion(const Context& context);

/** Region of chunks. */
std::span<uint8_t> chunkRegion(const Context& context);

/** Region of a message that is sent or received in chunks. */
std::span<uint8_t> largeRegion(const Context& context);

/** The part of a region in which a message without head and tail is built. */
std::span<uint8_t> payloadOf(const Context& context, std::span<uint8_t> region);

} // namespace spdm
