// SPDX-License-Identifier: Apache-2.0
#include "exchange.hpp"
#include "requests.hpp"

namespace spdm
{

namespace
{

/** Fields up to the flags; from 1.2 on two sizes follow. */
constexpr size_t sizeBefore12 = 12;
constexpr size_t size12 = 20;

/** CTExponent that fits a 64-bit time with room to spare. */
constexpr uint8_t maxCtExponent = 31;

/** Bits that a version defines, by version from 1.0 on. A responder's bits
 * beyond them are dropped, a requester's are not sent. */
constexpr std::array<uint32_t, 4> peerMasks{0x0000003F, 0x0001FFFF, 0x003FFFFF,
                                            0x3FFFFFFF};
constexpr std::array<uint32_t, 4> localMasks{0, 0x0001FFC6, 0x0003FFC6,
                                             0x0EC3FFC6};

uint32_t masked(uint32_t flags, const std::array<uint32_t, 4>& masks,
                uint8_t version)
{
    size_t minor = version - size_t{SPDM_MESSAGE_VERSION_10};
    return minor < masks.size() ? flags & masks[minor] : 0;
}

void write(Exchange& exchange, const Context& context)
{
    uint8_t version = versionOf(context);
    const Capability& own = context.local.capability;
    exchange.clear();
    Writer& writer = exchange.writer();
    writer.header(version, SPDM_GET_CAPABILITIES, 0, 0);
    if (version >= SPDM_MESSAGE_VERSION_11)
    {
        writer.u8(0);
        writer.u8(own.ctExponent);
        writer.u16(0);
        writer.u32(masked(own.flags, localMasks, version));
    }
    if (version >= SPDM_MESSAGE_VERSION_12)
    {
        writer.u32(own.dataTransferSize);
        writer.u32(own.maxMessageSize);
    }
}

/** A peer that does not chunk takes every message it can take at once. */
bool areSizesValid(const Capability& peer)
{
    bool chunks =
        (peer.flags & SPDM_GET_CAPABILITIES_RESPONSE_FLAGS_CHUNK_CAP) != 0;
    return peer.dataTransferSize >= SPDM_MIN_DATA_TRANSFER_SIZE_VERSION_12 &&
           peer.dataTransferSize <= peer.maxMessageSize &&
           (chunks || peer.dataTransferSize == peer.maxMessageSize);
}

Capability read(Bytes response)
{
    Capability peer;
    Reader reader(response.subspan(headerSize));
    reader.skip(1);
    peer.ctExponent = reader.u8();
    reader.skip(sizeof(uint16_t));
    peer.flags = reader.u32();
    if (response.size() >= size12)
    {
        peer.dataTransferSize = reader.u32();
        peer.maxMessageSize = reader.u32();
    }
    return peer;
}

libspdm_return_t accept(Context& context, Bytes request, Bytes response)
{
    uint8_t version = versionOf(context);
    bool hasSizes = version >= SPDM_MESSAGE_VERSION_12;
    size_t size = hasSizes ? size12 : sizeBefore12;
    if (response.size() < size)
    {
        return LIBSPDM_STATUS_INVALID_MSG_SIZE;
    }
    response = response.first(size);
    Capability peer = read(response);
    if (!areConsistent(peer.flags, version) ||
        (hasSizes && !areSizesValid(peer)) || peer.ctExponent > maxCtExponent)
    {
        return LIBSPDM_STATUS_INVALID_MSG_FIELD;
    }
    if (!context.negotiation.add(request) || !context.negotiation.add(response))
    {
        return LIBSPDM_STATUS_BUFFER_FULL;
    }
    peer.flags = masked(peer.flags, peerMasks, version);
    context.connection.capability = peer;
    context.connection.state = LIBSPDM_CONNECTION_STATE_AFTER_CAPABILITIES;
    return LIBSPDM_STATUS_SUCCESS;
}

} // namespace

libspdm_return_t getCapabilities(Context& context)
{
    if (context.connection.state != LIBSPDM_CONNECTION_STATE_AFTER_VERSION)
    {
        return LIBSPDM_STATUS_INVALID_STATE_LOCAL;
    }
    context.measurements.reset();
    return converse(
        context, SPDM_CAPABILITIES, NotReady::reported,
        [&](Exchange& exchange) { write(exchange, context); },
        [&](Bytes request, Bytes response)
        { return accept(context, request, response); });
}

} // namespace spdm
